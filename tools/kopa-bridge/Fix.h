#ifndef KOPA_BRIDGE_FIX_H
#define KOPA_BRIDGE_FIX_H

#include <cstdint>
#include <optional>
#include <string>

#include "IsoTime.h"

class KopaPosition;

namespace bridge {

/// What the bridge last learnt from the service, in the units both protocols use.
struct Fix {
    enum class State { None, NoFix, Fix };
    /// None: nothing asked yet; NoFix: the service had no position; Fix: the fields below hold.
    State state = State::None;
    /// The time of the position, milliseconds since the epoch (UTC); for NoFix, when the
    /// answer came.
    std::int64_t timeMs = 0;
    double latitude = 0.0;
    double longitude = 0.0;
    /// Metres above the WGS-84 ellipsoid.
    std::optional<double> altitude;
    /// Horizontal and vertical uncertainty, metres.
    std::optional<double> horizontalError;
    std::optional<double> verticalError;
    /// Metres per second, and degrees clockwise from true north.
    std::optional<double> speed;
    std::optional<double> track;

    /// A fix from a position of the service that arrived at `nowMs`; a position without its
    /// own time takes that one.
    static Fix fromPosition(const KopaPosition& position, std::int64_t nowMs);
    /// No position at `nowMs`.
    static Fix noFix(std::int64_t nowMs);
};

/// The time now, milliseconds since the epoch.
std::int64_t nowMs();

}  // namespace bridge

#endif
