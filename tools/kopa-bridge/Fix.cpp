#include "Fix.h"

#include <glib.h>

#include <cmath>

#include "KopaPosition.h"

namespace bridge {
namespace {

std::optional<double> finite(bool present, double value) {
    return present && std::isfinite(value) ? std::optional<double>(value) : std::nullopt;
}

}  // namespace

Fix Fix::fromPosition(const KopaPosition& position, std::int64_t now) {
    Fix fix;
    fix.state = State::Fix;
    // A time the calendar cannot show would leave a TPV without time and NMEA without a clock.
    bool ownTime = position.hasTimestamp() && !isoTime(position.timestamp()).empty();
    fix.timeMs = ownTime ? position.timestamp() : now;
    fix.latitude = position.latitude();
    fix.longitude = position.longitude();
    fix.altitude = finite(position.hasAltitude(), position.altitude());
    fix.horizontalError = finite(position.hasHorizontalAccuracy(), position.horizontalAccuracy());
    fix.verticalError = finite(position.hasVerticalAccuracy(), position.verticalAccuracy());
    fix.speed = finite(position.hasSpeed(), position.speed());
    fix.track = finite(position.hasHeading(), position.heading());
    if (!std::isfinite(fix.latitude) || !std::isfinite(fix.longitude) ||
        std::fabs(fix.latitude) > 90.0 || std::fabs(fix.longitude) > 180.0) {
        return noFix(now);
    }
    return fix;
}

Fix Fix::noFix(std::int64_t now) {
    Fix fix;
    fix.state = State::NoFix;
    fix.timeMs = now;
    return fix;
}

std::int64_t nowMs() {
    return g_get_real_time() / 1000;
}

}  // namespace bridge
