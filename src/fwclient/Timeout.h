#ifndef KOPA_TIMEOUT_H
#define KOPA_TIMEOUT_H

#include <climits>

namespace kopa {

/// The wait for a time-out of 0 seconds, and for every last-known-position request.
constexpr unsigned int kDefaultTimeoutMs = 86400000u;
/// The largest time-out in seconds whose milliseconds fit D-Bus's signed time-out.
constexpr unsigned int kLargestExactTimeoutSeconds = INT_MAX / 1000u;

/// Seconds to the milliseconds handed to D-Bus: 0 means 24 hours. Beyond what a signed
/// millisecond count can hold, the wait has no limit (INT_MAX, D-Bus's "infinite") rather
/// than a wrapped, negative value that D-Bus would refuse: a longer time-out never waits less.
inline int toDbusTimeoutMs(unsigned int timeoutSeconds) {
    if (timeoutSeconds == 0) {
        return static_cast<int>(kDefaultTimeoutMs);
    }
    if (timeoutSeconds > kLargestExactTimeoutSeconds) {
        return INT_MAX;
    }
    return static_cast<int>(timeoutSeconds * 1000u);
}

}  // namespace kopa

#endif
