// GPX reading for recorded journeys, with GLib's markup parser.
#include <glib.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "RadioMap.h"
#include "Track.h"

namespace {

// Where a point came from, for the messages that name its line.
struct RawPoint {
    TrackPoint point;
    bool hasTime = false;
    gint64 timeUs = 0;  // since the epoch
    int line = 0;
};

enum class List { Track, Route, Waypoints };

struct GpxReader {
    std::vector<std::string> path;  // the open elements, local names
    std::vector<RawPoint> lists[3];
    RawPoint* point = nullptr;   // the point being read
    std::size_t pointDepth = 0;  // how many elements were open around it
    std::string field;           // "ele" or "time" of the point, else empty
    std::size_t fieldDepth = 0;
    std::string fieldText;
    int fieldLine = 0;
};

const char* localName(const char* name) {
    const char* colon = std::strrchr(name, ':');
    return colon ? colon + 1 : name;
}

int currentLine(GMarkupParseContext* context) {
    gint line = 0;
    g_markup_parse_context_get_position(context, &line, nullptr);
    return line;
}

void fail(GError** error, int line, const std::string& why) {
    g_set_error(error, G_MARKUP_ERROR, G_MARKUP_ERROR_INVALID_CONTENT, "line %d: %s", line,
                why.c_str());
}

bool readNumber(const char* text, double min, double max, double& out) {
    if (text == nullptr || *text == '\0' || g_ascii_isspace(*text)) {
        return false;
    }
    char* end = nullptr;
    double value = g_ascii_strtod(text, &end);
    while (g_ascii_isspace(*end)) {
        ++end;
    }
    if (*end != '\0' || !std::isfinite(value) || value < min || value > max) {
        return false;
    }
    out = value;
    return true;
}

// Which list a point element belongs to, from the element and its parent.
bool pointList(const std::string& name, const std::vector<std::string>& path, List& list) {
    const std::string parent = path.empty() ? std::string() : path.back();
    if (name == "trkpt" && parent == "trkseg") {
        list = List::Track;
    } else if (name == "rtept" && parent == "rte") {
        list = List::Route;
    } else if (name == "wpt" && parent == "gpx") {
        list = List::Waypoints;
    } else {
        return false;
    }
    return true;
}

void onStart(GMarkupParseContext* context, const char* element, const char** names,
             const char** values, gpointer data, GError** error) {
    auto* reader = static_cast<GpxReader*>(data);
    std::string name = localName(element);
    int line = currentLine(context);
    if (reader->path.empty() && name != "gpx") {
        fail(error, line, "not GPX: the document is <" + name + ">, not <gpx>");
        return;
    }
    List list;
    if (reader->point == nullptr && pointList(name, reader->path, list)) {
        RawPoint raw;
        raw.line = line;
        bool hasLat = false, hasLon = false;
        for (int i = 0; names[i] != nullptr; ++i) {
            std::string attribute = localName(names[i]);
            if (attribute == "lat") {
                hasLat = true;
                if (!readNumber(values[i], -90, 90, raw.point.latitude)) {
                    fail(error, line,
                         std::string("latitude \"") + values[i] +
                             "\" is not a number from -90 to 90");
                    return;
                }
            } else if (attribute == "lon") {
                hasLon = true;
                if (!readNumber(values[i], -180, 180, raw.point.longitude)) {
                    fail(error, line,
                         std::string("longitude \"") + values[i] +
                             "\" is not a number from -180 to 180");
                    return;
                }
            }
        }
        if (!hasLat || !hasLon) {
            fail(error, line, "<" + name + "> without lat and lon");
            return;
        }
        std::vector<RawPoint>& points = reader->lists[static_cast<int>(list)];
        points.push_back(raw);
        reader->point = &points.back();
        reader->pointDepth = reader->path.size();
    } else if (reader->point != nullptr && reader->path.size() == reader->pointDepth + 1 &&
               (name == "ele" || name == "time")) {
        reader->field = name;
        reader->fieldDepth = reader->path.size();
        reader->fieldText.clear();
        reader->fieldLine = line;
    }
    reader->path.push_back(name);
}

void onText(GMarkupParseContext*, const char* text, gsize length, gpointer data, GError**) {
    auto* reader = static_cast<GpxReader*>(data);
    if (!reader->field.empty()) {
        reader->fieldText.append(text, length);
    }
}

void endField(GpxReader* reader, GError** error) {
    RawPoint& raw = *reader->point;
    const std::string& whole = reader->fieldText;
    std::size_t first = whole.find_first_not_of(" \t\r\n");
    std::size_t last = whole.find_last_not_of(" \t\r\n");
    std::string text = first == std::string::npos ? "" : whole.substr(first, last - first + 1);
    if (reader->field == "ele") {
        if (!readNumber(text.c_str(), -1e6, 1e8, raw.point.altitude)) {
            fail(error, reader->fieldLine, "elevation \"" + text + "\" is not a number");
            return;
        }
        raw.point.hasAltitude = true;
    } else {
        // A time without a zone is UTC, as GPX has it.
        GTimeZone* utc = g_time_zone_new_utc();
        GDateTime* time = g_date_time_new_from_iso8601(text.c_str(), utc);
        g_time_zone_unref(utc);
        if (time == nullptr) {
            fail(error, reader->fieldLine, "time \"" + text + "\" is not an ISO 8601 time");
            return;
        }
        raw.hasTime = true;
        raw.timeUs = g_date_time_to_unix(time) * G_USEC_PER_SEC + g_date_time_get_microsecond(time);
        g_date_time_unref(time);
    }
    reader->field.clear();
}

void onEnd(GMarkupParseContext*, const char*, gpointer data, GError** error) {
    auto* reader = static_cast<GpxReader*>(data);
    reader->path.pop_back();
    if (!reader->field.empty() && reader->path.size() == reader->fieldDepth) {
        endField(reader, error);
    } else if (reader->point != nullptr && reader->path.size() == reader->pointDepth) {
        reader->point = nullptr;
    }
}

// Times relative to the first point. A point without one is reached at the constant speed
// from the point before it; recorded times keep their spacing from the first recorded one.
bool timePoints(const std::vector<RawPoint>& raw, double speed, std::vector<TrackPoint>& points,
                std::string& why) {
    const RawPoint* anchor = nullptr;  // the first point with a recorded time
    double anchorTime = 0.0;
    gint64 lastRecordedUs = 0;
    for (const RawPoint& current : raw) {
        TrackPoint point = current.point;
        double previous = points.empty() ? 0.0 : points.back().time;
        if (points.empty()) {
            point.time = 0.0;
        } else {
            const TrackPoint& last = points.back();
            point.time = previous + distanceMetres(last.latitude, last.longitude, point.latitude,
                                                   point.longitude) /
                                        speed;
        }
        if (current.hasTime) {
            if (anchor == nullptr) {
                anchor = &current;
                anchorTime = point.time;
            } else if (current.timeUs < lastRecordedUs) {
                why = "line " + std::to_string(current.line) + ": time goes backwards";
                return false;
            } else {
                point.time = std::max(
                    previous,
                    anchorTime + static_cast<double>(current.timeUs - anchor->timeUs) / 1e6);
            }
            lastRecordedUs = current.timeUs;
        }
        points.push_back(point);
    }
    return true;
}

// The last line of a text, where a document that lacks something ends.
int lastLine(const std::string& text) {
    std::size_t lines = std::count(text.begin(), text.end(), '\n');
    return static_cast<int>(lines) + (text.empty() || text.back() != '\n' ? 1 : 0);
}

}  // namespace

std::shared_ptr<const Track> parseGpx(const std::string& text, const TrackSettings& settings,
                                      std::string& why) {
    // kopa record's other format: its times are a convention of kopa's own, not GeoJSON's.
    std::size_t first = text.find_first_not_of(" \t\r\n");
    if (first != std::string::npos && text[first] == '{') {
        why =
            "line 1: GeoJSON, not GPX: a journey to replay is recorded with kopa record "
            "--format gpx";
        return nullptr;
    }
    static const GMarkupParser parser = {onStart, onEnd, onText, nullptr, nullptr};
    GpxReader reader;
    GMarkupParseContext* context =
        g_markup_parse_context_new(&parser, static_cast<GMarkupParseFlags>(0), &reader, nullptr);
    GError* error = nullptr;
    bool ok = g_markup_parse_context_parse(context, text.data(), static_cast<gssize>(text.size()),
                                           &error) &&
              g_markup_parse_context_end_parse(context, &error);
    if (!ok) {
        // Our own messages name their line; GLib's say "Error on line N char M: ...".
        why = error->domain == G_MARKUP_ERROR && error->code == G_MARKUP_ERROR_INVALID_CONTENT
                  ? error->message
                  : std::string("not GPX: ") + error->message;
        g_error_free(error);
    }
    g_markup_parse_context_free(context);
    if (!ok) {
        return nullptr;
    }
    for (const std::vector<RawPoint>& list : reader.lists) {
        if (!list.empty()) {
            std::vector<TrackPoint> points;
            if (!timePoints(list, settings.speed, points, why)) {
                return nullptr;
            }
            return std::make_shared<const Track>(std::move(points));
        }
    }
    why = "line " + std::to_string(lastLine(text)) +
          ": no points: the document has no trkpt, rtept or wpt";
    return nullptr;
}

std::shared_ptr<const Track> readGpxFile(const std::string& path, const TrackSettings& settings,
                                         std::string& why) {
    gchar* contents = nullptr;
    GError* error = nullptr;
    if (!g_file_get_contents(path.c_str(), &contents, nullptr, &error)) {
        why = error->message;
        g_error_free(error);
        return nullptr;
    }
    std::shared_ptr<const Track> track = parseGpx(contents, settings, why);
    g_free(contents);
    if (!track) {
        why = path + ": " + why;
    }
    return track;
}
