#ifndef KOPA_CLIENT_TIMERS_H
#define KOPA_CLIENT_TIMERS_H

#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

#include "Durations.h"

namespace kopa::detail {

// Something a timer calls back.
class TimerTarget {
  public:
    virtual void timerFired() = 0;

  protected:
    ~TimerTarget() = default;
};

// The layer's time-outs and intervals, kept on one thread of the layer's own rather than as
// sources on a main context: a deadline then passes on time whoever runs (or fails to run)
// the default main context, and a request costs an insertion into a map instead of a source
// and a wake-up of the loop. Targets are held weakly: one that is gone is not called.
// The thread starts with the first timer and lives as long as the process.
class Timers {
  public:
    using Key = std::pair<Clock::time_point, std::uint64_t>;

    static Timers& instance();

    // Calls `target->timerFired()` on the timer thread at `when` (at once for a time past).
    // A `when` of never schedules nothing and gives a key that cancel() ignores.
    Key schedule(Clock::time_point when, std::weak_ptr<TimerTarget> target);
    // True when the timer was still waiting; false when it has fired (or is firing) already.
    bool cancel(const Key& key);

  private:
    Timers() = default;
    void run();

    // Guards every member below; never held while a target runs.
    std::mutex mutex_;
    std::condition_variable changed_;
    std::map<Key, std::weak_ptr<TimerTarget>> timers_;
    std::uint64_t nextId_ = 1;
    // When the thread wakes next by itself: min while it is awake, max while it has nothing.
    Clock::time_point sleepsUntil_ = Clock::time_point::max();
    bool started_ = false;
};

}  // namespace kopa::detail

#endif
