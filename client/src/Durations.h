#ifndef KOPA_CLIENT_DURATIONS_H
#define KOPA_CLIENT_DURATIONS_H

#include <chrono>

namespace kopa::detail {

using Clock = std::chrono::steady_clock;

// The time `duration` after `from`, saturating: a duration too long for the clock (up to
// milliseconds::max()) gives Clock::time_point::max(), which stands for "never".
inline Clock::time_point saturatingAdd(Clock::time_point from, std::chrono::milliseconds duration) {
    if (duration.count() <= 0) {
        return from;
    }
    using Ticks = Clock::duration;
    const Ticks headroom = Clock::time_point::max() - from;
    if (duration >= std::chrono::duration_cast<std::chrono::milliseconds>(headroom)) {
        return Clock::time_point::max();
    }
    return from + std::chrono::duration_cast<Ticks>(duration);
}

inline Clock::time_point deadlineAfter(std::chrono::milliseconds duration) {
    return saturatingAdd(Clock::now(), duration);
}

inline bool isNever(Clock::time_point when) {
    return when == Clock::time_point::max();
}

}  // namespace kopa::detail

#endif
