#include "KopaClient.h"

#include <utility>

#include "ClientCore.h"
#include "OneRequest.h"
#include "SubscriptionState.h"

namespace kopa {

Request::Request() noexcept = default;
Request::Request(std::shared_ptr<detail::RequestState> state) noexcept : state_(std::move(state)) {}
Request::Request(Request&& other) noexcept = default;
Request::~Request() {
    cancel();
}

Request& Request::operator=(Request&& other) noexcept {
    if (this != &other) {
        cancel();
        state_ = std::move(other.state_);
    }
    return *this;
}

bool Request::pending() const noexcept {
    return state_ && state_->pending();
}

void Request::cancel() noexcept {
    if (state_) {
        state_->cancel();
    }
}

Subscription::Subscription() noexcept = default;
Subscription::Subscription(std::shared_ptr<detail::RequestState> state) noexcept
    : state_(std::move(state)) {}
Subscription::Subscription(Subscription&& other) noexcept = default;
Subscription::~Subscription() {
    cancel();
}

Subscription& Subscription::operator=(Subscription&& other) noexcept {
    if (this != &other) {
        cancel();
        state_ = std::move(other.state_);
    }
    return *this;
}

bool Subscription::active() const noexcept {
    return state_ && state_->pending();
}

void Subscription::cancel() noexcept {
    if (state_) {
        state_->cancel();
    }
}

Client::Client() : Client(nullptr) {}

Client::Client(GMainContext* context) : core_(std::make_shared<detail::ClientCore>(context)) {}

Client::~Client() {
    core_->cancelAll();
}

Request Client::currentPositionAsync(const RequestOptions& options, PositionCallback callback) {
    return Request(detail::OneRequest<KopaPosition>::start(core_, detail::Kind::CurrentPosition,
                                                           options, nullptr, std::move(callback)));
}

Request Client::currentMeasurementsAsync(const RequestOptions& options,
                                         MeasurementsCallback callback) {
    return Request(detail::OneRequest<KopaMeasurements>::start(
        core_, detail::Kind::CurrentMeasurements, options, nullptr, std::move(callback)));
}

Request Client::lastKnownPositionAsync(const RequestOptions& options, PositionCallback callback) {
    return Request(detail::OneRequest<KopaPosition>::start(core_, detail::Kind::LastKnownPosition,
                                                           options, nullptr, std::move(callback)));
}

Request Client::convertToPositionAsync(const KopaMeasurements& measurements,
                                       const RequestOptions& options, PositionCallback callback) {
    return Request(detail::OneRequest<KopaPosition>::start(
        core_, detail::Kind::ConvertToPosition, options, &measurements, std::move(callback)));
}

Subscription Client::subscribe(const SubscriptionOptions& options, PositionCallback callback) {
    auto state = std::make_shared<detail::SubscriptionState>(core_, options, std::move(callback));
    state->begin();
    return Subscription(std::move(state));
}

}  // namespace kopa
