#include "GpxTrack.h"

#include "Output.h"

std::string GpxTrack::opening(std::int64_t startMs) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<gpx version=\"1.1\" creator=\"kopa record\" "
           "xmlns=\"http://www.topografix.com/GPX/1/1\" "
           "xmlns:kopa=\"" KOPA_GPX_EXTENSION_NAMESPACE
           "\">\n"
           "  <metadata><time>" +
           isoTime(startMs) +
           "</time></metadata>\n"
           "  <trk>\n"
           "    <trkseg>\n";
}

std::string GpxTrack::point(const KopaPosition& position, std::int64_t timeMs, bool afterGap) {
    std::string text = afterGap && !empty_ ? "    </trkseg>\n    <trkseg>\n" : "";
    empty_ = false;
    text += "      <trkpt lat=\"" + decimal(position.latitude()) + "\" lon=\"" +
            decimal(position.longitude()) + "\">";
    if (position.hasAltitude()) {
        text += "<ele>" + decimal(position.altitude()) + "</ele>";
    }
    text += "<time>" + isoTime(timeMs) + "</time><extensions>";
    auto field = [&text](const char* name, const std::string& value) {
        text += std::string("<kopa:") + name + ">" + value + "</kopa:" + name + ">";
    };
    if (position.hasSpeed()) {
        field("speed", decimal(position.speed()));
    }
    if (position.hasHeading()) {
        field("course", decimal(position.heading()));
    }
    if (position.hasHorizontalAccuracy()) {
        field("accuracy", decimal(position.horizontalAccuracy()));
    }
    if (position.hasVerticalAccuracy()) {
        field("verticalAccuracy", decimal(position.verticalAccuracy()));
    }
    field("method", methodName(position.method()));
    return text + "</extensions></trkpt>\n";
}

std::string GpxTrack::closing(bool) {
    return "    </trkseg>\n  </trk>\n</gpx>\n";
}
