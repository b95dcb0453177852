#include "SubscriptionState.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "OneRequest.h"

namespace kopa::detail {

double distanceMetres(const KopaPosition& from, const KopaPosition& to) {
    constexpr double kEarthRadius = 6371008.8;  // mean radius, metres
    constexpr double kRadians = M_PI / 180.0;
    const double dLat = (to.latitude() - from.latitude()) * kRadians;
    const double dLon = (to.longitude() - from.longitude()) * kRadians;
    const double a = std::sin(dLat / 2) * std::sin(dLat / 2) +
                     std::cos(from.latitude() * kRadians) * std::cos(to.latitude() * kRadians) *
                         std::sin(dLon / 2) * std::sin(dLon / 2);
    return 2 * kEarthRadius * std::atan2(std::sqrt(a), std::sqrt(1 - a));
}

SubscriptionState::SubscriptionState(std::shared_ptr<ClientCore> core,
                                     const SubscriptionOptions& options, Callback callback)
    : CallbackState(std::move(core), false, std::move(callback)), options_(options) {}

void SubscriptionState::begin() {
    auto self = std::static_pointer_cast<SubscriptionState>(shared_from_this());
    {
        std::lock_guard<std::mutex> lock(mutex_);
        timer_.reset();
        if (stopped_) {
            return;
        }
        started_ = Clock::now();
    }
    auto operation =
        Operation::create(core_, Kind::CurrentPosition,
                          [self](int code, const KopaFailureCause& cause, const Slot* slot) {
                              self->finished(code, cause, slot);
                          });
    {
        // Held before it is sent, so that an answer coming at once finds it here.
        std::lock_guard<std::mutex> lock(mutex_);
        if (stopped_) {
            return;
        }
        operation_ = operation;
    }
    operation->send(options_.request, nullptr);
}

bool SubscriptionState::farEnough(const KopaPosition& position) {
    if (lastReported_ && options_.minimumDistance > 0 &&
        distanceMetres(*lastReported_, position) < options_.minimumDistance) {
        return false;
    }
    lastReported_ = position;
    return true;
}

void SubscriptionState::finished(int code, const KopaFailureCause& cause, const Slot* slot) {
    Result<KopaPosition> result = resultOf<KopaPosition>(code, cause, slot);
    bool report = true;
    std::shared_ptr<Operation> done;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        done = std::move(operation_);
        if (stopped_) {
            return;
        }
        // An interval too long for the clock never comes: one position, then none.
        const auto interval = std::max(options_.interval, std::chrono::milliseconds(1));
        auto self = std::static_pointer_cast<SubscriptionState>(shared_from_this());
        timer_ = Timers::instance().schedule(saturatingAdd(started_, interval),
                                             std::weak_ptr<TimerTarget>(self));
        if (result.ok()) {
            report = farEnough(result.value());
        }
    }
    if (report) {
        deliverResult(std::move(result));
    }
}

void SubscriptionState::stopWork() {
    std::shared_ptr<Operation> operation;
    std::optional<Timers::Key> timer;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopped_ = true;
        operation = std::move(operation_);
        std::swap(timer, timer_);
    }
    if (timer) {
        Timers::instance().cancel(*timer);
    }
    if (operation) {
        operation->cancel();
    }
}

}  // namespace kopa::detail
