#include "Timers.h"

#include <thread>

namespace kopa::detail {

Timers& Timers::instance() {
    // Never destroyed: the thread may still wait on it while the process exits.
    static Timers* timers = new Timers;
    return *timers;
}

Timers::Key Timers::schedule(Clock::time_point when, std::weak_ptr<TimerTarget> target) {
    if (isNever(when)) {
        return {when, 0};
    }
    bool earliest;
    Key key;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!started_) {
            std::thread([this] { run(); }).detach();
            started_ = true;
        }
        key = {when, nextId_++};
        timers_.emplace(key, std::move(target));
        earliest = when < sleepsUntil_;
    }
    // Only a timer due before the thread wakes anyway needs to wake it: requests that keep the
    // same time-out add later and later deadlines, and cost no wake-up.
    if (earliest) {
        changed_.notify_one();
    }
    return key;
}

bool Timers::cancel(const Key& key) {
    if (key.second == 0) {
        return false;
    }
    std::lock_guard<std::mutex> lock(mutex_);
    return timers_.erase(key) > 0;
}

void Timers::run() {
    // Waits are cut into hours so that a far deadline never reaches the clock's limit.
    constexpr auto kLongestWait = std::chrono::hours(1);
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        if (timers_.empty()) {
            sleepsUntil_ = Clock::time_point::max();
            changed_.wait(lock);
            continue;
        }
        const auto first = timers_.begin();
        const Clock::time_point now = Clock::now();
        if (first->first.first > now) {
            // A timer cancelled meanwhile leaves this wake-up early; that costs one look.
            sleepsUntil_ = std::min(first->first.first, now + kLongestWait);
            changed_.wait_until(lock, sleepsUntil_);
            continue;
        }
        std::shared_ptr<TimerTarget> target = first->second.lock();
        timers_.erase(first);
        sleepsUntil_ = Clock::time_point::min();  // awake: it looks at the map again anyway
        lock.unlock();
        if (target) {
            target->timerFired();
            target.reset();
        }
        lock.lock();
    }
}

}  // namespace kopa::detail
