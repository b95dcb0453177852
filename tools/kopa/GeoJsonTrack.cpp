#include "GeoJsonTrack.h"

#include "Json.h"
#include "Output.h"

std::string GeoJsonTrack::opening(std::int64_t startMs) {
    properties_ = "\"creator\":\"kopa record\",\"start\":" + jsonString(isoTime(startMs));
    return "{\"type\":\"Feature\",\n\"geometry\":{\"type\":\"LineString\",\"coordinates\":[";
}

std::string GeoJsonTrack::point(const KopaPosition& position, std::int64_t timeMs, bool) {
    std::string text = empty_ ? "\n[" : ",\n[";
    text += decimal(position.longitude()) + "," + decimal(position.latitude());
    if (position.hasAltitude()) {
        text += "," + decimal(position.altitude());
    }
    auto number = [](bool has, double value) { return has ? decimal(value) : "null"; };
    const std::string values[] = {
        jsonString(isoTime(timeMs)),
        number(position.hasSpeed(), position.speed()),
        number(position.hasHeading(), position.heading()),
        number(position.hasHorizontalAccuracy(), position.horizontalAccuracy()),
        number(position.hasVerticalAccuracy(), position.verticalAccuracy()),
        jsonString(methodName(position.method())),
    };
    for (std::size_t i = 0; i < perPoint_.size(); ++i) {
        perPoint_[i] += (empty_ ? "" : ",") + values[i];
    }
    empty_ = false;
    return text + "]";
}

std::string GeoJsonTrack::closing(bool last) {
    std::string text = "\n]},\n\"properties\":{" + properties_;
    if (last) {
        text += ",\n\"coordinateProperties\":{";
        for (std::size_t i = 0; i < perPoint_.size(); ++i) {
            text +=
                std::string(i == 0 ? "" : ",\n") + "\"" + kFields[i] + "\":[" + perPoint_[i] + "]";
        }
        text += "}";
    }
    return text + "}}\n";
}
