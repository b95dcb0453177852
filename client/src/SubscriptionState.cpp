#include "SubscriptionState.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "HandOver.h"
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
    GSource* fired = nullptr;
    bool stopped;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        std::swap(fired, timer_);
        stopped = stopped_;
        started_ = std::chrono::steady_clock::now();
    }
    if (fired != nullptr) {
        g_source_unref(fired);
    }
    if (stopped) {
        return;
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
        const auto interval = std::max(options_.interval, std::chrono::milliseconds(1));
        const auto elapsed = std::chrono::steady_clock::now() - started_;
        const auto wait = std::max<std::chrono::milliseconds>(
            std::chrono::milliseconds(0),
            std::chrono::duration_cast<std::chrono::milliseconds>(interval - elapsed));
        auto self = std::static_pointer_cast<SubscriptionState>(shared_from_this());
        timer_ = attachOnce(nullptr, g_timeout_source_new(static_cast<guint>(wait.count())),
                            [self] { self->begin(); });
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
    GSource* timer = nullptr;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopped_ = true;
        operation = std::move(operation_);
        std::swap(timer, timer_);
    }
    if (timer != nullptr) {
        g_source_destroy(timer);
        g_source_unref(timer);
    }
    if (operation) {
        operation->cancel();
    }
}

}  // namespace kopa::detail
