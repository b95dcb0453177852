#include "TrackFormat.h"

#include <glib.h>

#include <charconv>

#include "GeoJsonTrack.h"
#include "GpxTrack.h"

std::unique_ptr<TrackFormat> makeTrackFormat(const std::string& name) {
    if (name == "geojson") {
        return std::make_unique<GeoJsonTrack>();
    }
    return std::make_unique<GpxTrack>();
}

std::string isoTime(std::int64_t milliseconds) {
    std::int64_t seconds = milliseconds / 1000;
    std::int64_t remainder = milliseconds % 1000;
    if (remainder < 0) {
        --seconds;
        remainder += 1000;
    }
    GDateTime* time = g_date_time_new_from_unix_utc(seconds);
    if (time == nullptr) {
        return "";
    }
    gchar* text = g_date_time_format(time, "%Y-%m-%dT%H:%M:%S");
    g_date_time_unref(time);
    char millis[8];
    g_snprintf(millis, sizeof millis, ".%03dZ", static_cast<int>(remainder));
    std::string result = std::string(text) + millis;
    g_free(text);
    return result;
}

std::string decimal(double value) {
    char buffer[400];  // the widest finite double in fixed notation has 309 digits
    auto [end, error] =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
    return error == std::errc() ? std::string(buffer, end) : "0";
}
