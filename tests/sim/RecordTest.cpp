// kopa record against kopad-sim: what it records replays to the same journey, and every way it
// ends leaves a complete document.
#include <sys/resource.h>

#include <array>
#include <map>
#include <thread>

#include "TrackFixture.h"

namespace {

struct GpxPoint {
    double lat = 0, lon = 0, ele = NAN, speed = NAN;
    long long timeMs = -1;
};

// A kopa record GPX document as GLib's XML parser reads it: a gpx 1.1 root in GPX's namespace
// (and declaring kopa's) holding one trk, points only in its segments, each with lat, lon and a
// time, times in order.
struct GpxDocument {
    std::vector<GpxPoint> points;
    int tracks = 0;
    int segments = 0;
    std::vector<std::string> open;  // the elements around the parser
    std::string text;
    std::string error;

    static void fail(GError** error, const std::string& why) {
        g_set_error(error, G_MARKUP_ERROR, G_MARKUP_ERROR_INVALID_CONTENT, "%s", why.c_str());
    }

    static void onStart(GMarkupParseContext*, const char* name, const char** keys,
                        const char** values, void* self, GError** error) {
        auto* doc = static_cast<GpxDocument*>(self);
        std::string parent = doc->open.empty() ? "" : doc->open.back();
        std::map<std::string, std::string> attributes;
        for (int i = 0; keys[i] != nullptr; ++i) {
            attributes[keys[i]] = values[i];
        }
        std::string element = name;
        doc->open.push_back(element);
        doc->text.clear();
        if (parent.empty() && (element != "gpx" || attributes["version"] != "1.1" ||
                               attributes["xmlns"] != "http://www.topografix.com/GPX/1/1" ||
                               attributes["xmlns:kopa"] != "urn:kopa:track:1")) {
            fail(error, "the root is not a GPX 1.1 gpx declaring the kopa namespace");
        } else if (element == "trk" && (parent != "gpx" || ++doc->tracks > 1)) {
            fail(error, "a trk that is not the only one of the gpx");
        } else if (element == "trkseg" && parent != "trk") {
            fail(error, "a trkseg outside the trk");
        } else if (element == "trkpt") {
            if (parent != "trkseg" || !attributes.count("lat") || !attributes.count("lon")) {
                fail(error, "a trkpt outside a segment or without lat and lon");
                return;
            }
            doc->points.push_back({std::stod(attributes["lat"]), std::stod(attributes["lon"])});
        }
        doc->segments += element == "trkseg";
    }

    static void onEnd(GMarkupParseContext*, const char* name, void* self, GError** error) {
        auto* doc = static_cast<GpxDocument*>(self);
        doc->open.pop_back();
        std::string element = name;
        if (element == "trkpt" && doc->points.back().timeMs < 0) {
            return fail(error, "a trkpt without a time");
        }
        std::string parent = doc->open.empty() ? "" : doc->open.back();
        if (parent != "trkpt" && parent != "extensions") {
            return;
        }
        GpxPoint& point = doc->points.back();
        if (element == "ele") {
            point.ele = std::stod(doc->text);
        } else if (element == "kopa:speed") {
            point.speed = std::stod(doc->text);
        } else if (element == "time") {
            GDateTime* time = g_date_time_new_from_iso8601(doc->text.c_str(), nullptr);
            if (time == nullptr) {
                return fail(error, "an unreadable time: " + doc->text);
            }
            point.timeMs =
                g_date_time_to_unix(time) * 1000 + g_date_time_get_microsecond(time) / 1000;
            g_date_time_unref(time);
            if (doc->points.size() > 1 && point.timeMs < doc->points.end()[-2].timeMs) {
                fail(error, "times out of order at " + doc->text);
            }
        }
    }

    static void onText(GMarkupParseContext*, const char* text, gsize length, void* self, GError**) {
        static_cast<GpxDocument*>(self)->text.append(text, length);
    }

    explicit GpxDocument(const std::string& path) {
        gchar* content = nullptr;
        gsize length = 0;
        if (!g_file_get_contents(path.c_str(), &content, &length, nullptr)) {
            error = "cannot read " + path;
            return;
        }
        GMarkupParser parser{&onStart, &onEnd, &onText, nullptr, nullptr};
        GMarkupParseContext* context = g_markup_parse_context_new(&parser, {}, this, nullptr);
        GError* failure = nullptr;
        if (!g_markup_parse_context_parse(context, content, length, &failure) ||
            !g_markup_parse_context_end_parse(context, &failure)) {
            error = failure->message;
            g_error_free(failure);
        } else if (tracks != 1) {
            error = "no trk";
        }
        g_markup_parse_context_free(context);
        g_free(content);
    }
};

// The journey of kTwoLegs after `s` seconds: latitude, longitude and altitude.
std::array<double, 3> twoLegsAt(double s) {
    double f = std::min(1.0, std::max(0.0, s < 100 ? s / 100 : (s - 100) / 100));
    return s < 100 ? std::array<double, 3>{0, 0.01 * f, 100 * f}
                   : std::array<double, 3>{0.01 * f, 0.01, 100};
}

class Recording : public Tracks {
  protected:
    // Starts kopa with `args`, its standard error to a file (said() reads it) and, when
    // `stdoutFd` is given, its standard output there.
    pid_t startKopa(std::vector<std::string> args, int stdoutFd = -1) {
        errFile_ = file(".err", "");
        int err = open(errFile_.c_str(), O_WRONLY | O_CLOEXEC);
        args.insert(args.begin(), KOPA_PATH);
        std::vector<std::pair<int, int>> fds{{err, 2}};
        if (stdoutFd >= 0) {
            fds.push_back({stdoutFd, 1});
        }
        pid_t pid = spawn(args, fds);
        close(err);
        return pid;
    }

    // Its exit status, or 128 and the signal that ended it.
    static int finished(pid_t pid) {
        int status = -1;
        waitpid(pid, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    int record(std::vector<std::string> args) {
        args.insert(args.begin(), "record");
        return finished(startKopa(args));
    }

    std::string said() {
        std::ifstream in(errFile_);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

    // The number of positions of a GeoJSON LineString feature as Python's json module reads it,
    // and whether the per-point properties that end a recording are there, one per position.
    static std::string geoJson(const std::string& path) {
        std::string command =
            "python3 -c \"import json, sys; d = json.load(open(sys.argv[1])); "
            "assert d['type'] == 'Feature' and d['geometry']['type'] == 'LineString'; "
            "n = len(d['geometry']['coordinates']); p = "
            "d['properties'].get('coordinateProperties'); "
            "assert p is None or {len(v) for v in p.values()} == {n} and p['times'] == "
            "sorted(p['times']); "
            "print(n, p is not None)\" " +
            path;
        gchar* out = nullptr;
        int status = -1;
        g_spawn_command_line_sync(command.c_str(), &out, nullptr, &status, nullptr);
        std::string result = status == 0 && out ? out : "not a GeoJSON LineString feature";
        g_free(out);
        return result;
    }

    std::string errFile_;
};

}  // namespace

TEST_F(Recording, AJourneyRecordedReplaysToThePositionsItRecorded) {
    const double rate = 100, replayRate = 4, metresPerDegree = 6371008.8 * M_PI / 180;
    long long origin = start({"--track", file("a.gpx", kTwoLegs), "--track-rate", "100"});
    std::string gpx = file("rec.gpx", "");
    ASSERT_EQ(record({"--interval", "20", "--duration", "3", "--output", gpx}), 0) << said();
    GpxDocument recorded(gpx);
    ASSERT_EQ(recorded.error, "");
    ASSERT_GT(recorded.points.size(), 20u);
    // Each point is the journey at its time; the steps between them bound what replaying the
    // recording, which joins them by great circles, can miss of the corner.
    double longestStep = 0;
    for (std::size_t i = 0; i < recorded.points.size(); ++i) {
        const GpxPoint& p = recorded.points[i];
        double s = (p.timeMs - origin) / 1000.0 * rate;
        auto [lat, lon, ele] = twoLegsAt(s);
        EXPECT_NEAR(p.lat, lat, 1e-9) << s;
        EXPECT_NEAR(p.lon, lon, 1e-9) << s;
        EXPECT_NEAR(p.ele, ele, 1e-6) << s;
        EXPECT_NEAR(p.speed, s < 200 ? kLegSpeed * rate : 0, 1) << s;
        if (i > 0) {
            longestStep =
                std::max(longestStep, s - (recorded.points[i - 1].timeMs - origin) / 1000.0 * rate);
        }
    }
    EXPECT_GT((recorded.points.back().timeMs - origin) / 1000.0 * rate, 200) << "not to the end";
    stop();

    long long replayed = start({"--track", gpx, "--track-rate", "4"});
    double tolerance = longestStep * kLegSpeed / metresPerDegree;
    for (int i = 0; i < 40; ++i) {
        KopaPosition p = ask();
        long long recordedMs = recorded.points[0].timeMs + (p.timestamp() - replayed) * replayRate;
        double s = (recordedMs - origin) / 1000.0 * rate;
        auto [lat, lon, ele] = twoLegsAt(s);
        EXPECT_NEAR(p.latitude(), lat, tolerance) << s;
        EXPECT_NEAR(p.longitude(), lon, tolerance) << s;
        EXPECT_NEAR(p.altitude(), ele, longestStep) << s;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

// SIGKILL leaves kopa no time to close: in a file, the closing written after each point does.
TEST_F(Recording, EveryWayOutLeavesACompleteDocument) {
    struct Case {
        const char* format;
        int signal;
        bool appending;  // standard output opened for appending, where nothing can be rewritten
    };
    start({});
    for (const Case& c : {Case{"gpx", SIGINT, true}, Case{"geojson", SIGTERM, true},
                          Case{"gpx", SIGKILL, false}, Case{"geojson", SIGKILL, false}}) {
        SimControl().reset();
        std::string out = file(std::string(".") + c.format, "");
        int fd = open(out.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
        std::vector<std::string> args{"record", "--interval", "10", "--format", c.format};
        if (!c.appending) {
            args.insert(args.end(), {"--output", out});
        }
        pid_t kopa = startKopa(args, c.appending ? fd : -1);
        close(fd);
        EXPECT_TRUE(SimControl().waitForRequests(3));
        kill(kopa, c.signal);
        EXPECT_EQ(finished(kopa), c.signal == SIGKILL ? 128 + SIGKILL : 0) << said();
        if (c.format == std::string("gpx")) {
            GpxDocument doc(out);
            EXPECT_EQ(doc.error, "") << c.signal;
            EXPECT_GE(doc.points.size(), 1u);
        } else {
            EXPECT_THAT(geoJson(out),
                        ::testing::MatchesRegex(c.signal == SIGKILL ? "[1-9][0-9]* False\n"
                                                                    : "[1-9][0-9]* True\n"));
        }
    }
}

// A write that fails part-way (here at a file-size limit of 2 KiB, a few points in) leaves the
// document as it was after the last point, complete, and kopa says why it stopped.
TEST_F(Recording, AWriteThatFailsPartWayLeavesTheDocumentOfTheLastPoint) {
    start({});
    for (const char* format : {"gpx", "geojson"}) {
        std::string out = file(std::string(".limited.") + format, "");
        rlimit unlimited{}, limited{2048, 2048};
        getrlimit(RLIMIT_FSIZE, &unlimited);
        setrlimit(RLIMIT_FSIZE, &limited);  // inherited by kopa alone: restored at once
        pid_t kopa = startKopa(
            {"record", "--interval", "1", "--count", "100", "--format", format, "--output", out});
        setrlimit(RLIMIT_FSIZE, &unlimited);
        EXPECT_EQ(finished(kopa), 1) << format;
        EXPECT_THAT(said(), ::testing::HasSubstr("cannot write " + out + ": File too large"));
        if (format == std::string("gpx")) {
            GpxDocument doc(out);
            EXPECT_EQ(doc.error, "");
            EXPECT_GE(doc.points.size(), 2u);
        } else {
            EXPECT_THAT(geoJson(out), ::testing::MatchesRegex("[2-9][0-9]* (True|False)\n"));
        }
    }
}

TEST_F(Recording, FailuresAreReportedNotWrittenAndTheRecordingGoesOn) {
    KopaPosition old;
    old.setTimestamp(1000);
    std::string oldText;
    ASSERT_EQ(old.externalize(oldText), 0);
    KopaPosition fix;  // one fix, answered twice
    fix.setTimestamp(g_get_real_time() / 1000);
    std::string fixText;
    ASSERT_EQ(fix.externalize(fixText), 0);
    start({});
    SimControl().pushOutcomes(
        "currentPosition", {"reply " + fixText, "reply " + fixText, "reply", "error 54", "noreply",
                            "reply nonsense", "reply " + oldText, "reply"});
    std::string gpx = file("rec.gpx", "");
    EXPECT_EQ(record({"--count", "3", "--interval", "1", "--timeout", "0.3", "--output", gpx}), 1);
    GpxDocument doc(gpx);
    EXPECT_EQ(doc.error, "");
    EXPECT_EQ(doc.points.size(), 3u);
    EXPECT_EQ(doc.segments, 2) << "a new segment after the failures";
    for (const char* expected :
         {"KOPA_ERROR_NOT_POSITIONED", "KOPA_ERROR_NO_REPLY", "KOPA_ERROR_GENERAL",
          "1970-01-01T00:00:01.000Z is older than the point before", "3 point(s) recorded to /",
          "; 3 of 8 request(s) failed; 1 answer(s) older",
          "; 1 answer(s) repeating the point before left out"}) {
        EXPECT_THAT(said(), ::testing::HasSubstr(expected));
    }

    // With no service at all every request fails, and the document still ends.
    stop();
    EXPECT_EQ(record({"--duration", "1", "--interval", "100", "--output", gpx}), 1);
    EXPECT_EQ(GpxDocument(gpx).error, "");
    EXPECT_THAT(said(), ::testing::HasSubstr("0 point(s) recorded"));
}
