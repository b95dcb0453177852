#include "TrackFormat.h"

#include <charconv>

#include "GeoJsonTrack.h"
#include "GpxTrack.h"

std::unique_ptr<TrackFormat> makeTrackFormat(const std::string& name) {
    if (name == "geojson") {
        return std::make_unique<GeoJsonTrack>();
    }
    return std::make_unique<GpxTrack>();
}

std::string decimal(double value) {
    char buffer[400];  // the widest finite double in fixed notation has 309 digits
    auto [end, error] =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
    return error == std::errc() ? std::string(buffer, end) : "0";
}
