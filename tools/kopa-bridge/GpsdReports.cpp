#include "GpsdReports.h"

#include "Json.h"

namespace bridge {
namespace {

// The protocol level whose reports these are; libgps checks the major number.
constexpr int kProtoMajor = 3;
constexpr int kProtoMinor = 14;

std::string line(const JsonObject& object) {
    return object.str() + "\r\n";
}

JsonObject device(std::int64_t activatedMs) {
    JsonObject object;
    object.add("class", "DEVICE").add("path", kDevicePath).add("driver", "kopad");
    if (activatedMs >= 0) {
        // flags 1: the device has given position data.
        object.add("activated", isoTime(activatedMs)).add("flags", 1);
    }
    return object;
}

JsonObject tpv(const Fix& fix) {
    JsonObject object;
    int mode = fix.state == Fix::State::None    ? 0
               : fix.state == Fix::State::NoFix ? 1
               : fix.altitude                   ? 3
                                                : 2;
    object.add("class", "TPV").add("device", kDevicePath).add("mode", mode);
    if (fix.state != Fix::State::Fix) {
        return object;
    }
    object.add("time", isoTime(fix.timeMs)).add("lat", fix.latitude).add("lon", fix.longitude);
    if (fix.altitude) {
        // "alt" is the deprecated name; older clients read only that one.
        object.add("altHAE", *fix.altitude).add("alt", *fix.altitude);
    }
    if (fix.horizontalError) {
        object.add("eph", *fix.horizontalError);
    }
    if (fix.verticalError && fix.altitude) {
        object.add("epv", *fix.verticalError);
    }
    if (fix.track) {
        object.add("track", *fix.track);
    }
    if (fix.speed) {
        object.add("speed", *fix.speed);
    }
    return object;
}

}  // namespace

std::string versionReport() {
    JsonObject object;
    object.add("class", "VERSION")
        .add("release", KOPA_BRIDGE_VERSION)
        .add("rev", "kopa-bridge " KOPA_BRIDGE_VERSION)
        .add("proto_major", kProtoMajor)
        .add("proto_minor", kProtoMinor);
    return line(object);
}

std::string devicesReport(std::int64_t activatedMs) {
    JsonObject object;
    object.add("class", "DEVICES").addRaw("devices", "[" + device(activatedMs).str() + "]");
    return line(object);
}

std::string watchReport(const WatchPolicy& policy) {
    JsonObject object;
    object.add("class", "WATCH")
        .addRaw("enable", policy.enable ? "true" : "false")
        .addRaw("json", policy.json ? "true" : "false")
        .addRaw("nmea", policy.nmea ? "true" : "false")
        .add("raw", 0)
        .addRaw("scaled", "false")
        .addRaw("timing", "false")
        .addRaw("split24", "false")
        .addRaw("pps", "false");
    return line(object);
}

std::string tpvReport(const Fix& fix) {
    return line(tpv(fix));
}

std::string pollReport(std::int64_t now, bool active, const Fix& fix) {
    JsonObject object;
    object.add("class", "POLL")
        .add("time", isoTime(now))
        .add("active", active ? 1 : 0)
        .addRaw("tpv", "[" + tpv(fix).str() + "]")
        .addRaw("sky", "[]");
    return line(object);
}

std::string errorReport(const std::string& message) {
    JsonObject object;
    object.add("class", "ERROR").add("message", message);
    return line(object);
}

}  // namespace bridge
