#include "RequestState.h"

#include <utility>

#include "HandOver.h"

namespace kopa::detail {

RequestState::RequestState(std::shared_ptr<ClientCore> core, bool oneShot)
    : core_(std::move(core)), oneShot_(oneShot) {
    core_->track(this);
}

RequestState::~RequestState() {
    core_->forget(this);
}

bool RequestState::pending() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return !cancelled_ && !(oneShot_ && delivered_);
}

bool RequestState::cancelled() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return cancelled_;
}

void RequestState::cancel() noexcept {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (cancelled_) {
            return;
        }
        cancelled_ = true;
    }
    stopWork();
    bool drop = true;
    {
        std::unique_lock<std::mutex> lock(mutex_);
        const auto self = std::this_thread::get_id();
        idle_.wait(lock, [&] { return !running_ || runner_ == self; });
        if (running_) {
            // Cancelled from inside its own callback: that callback is still on the stack.
            dropAfterRun_ = true;
            drop = false;
        }
    }
    if (drop) {
        dropCallback();
    }
}

void RequestState::deliver(std::function<void()> invoke) {
    if (core_->context() == nullptr) {
        run(invoke);
        return;
    }
    GSource* idle =
        attachOnce(core_->context(), g_idle_source_new(),
                   [self = shared_from_this(), invoke = std::move(invoke)] { self->run(invoke); });
    g_source_unref(idle);
}

void RequestState::run(const std::function<void()>& invoke) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (cancelled_ || (oneShot_ && delivered_)) {
            return;
        }
        delivered_ = true;
        running_ = true;
        runner_ = std::this_thread::get_id();
    }
    try {
        invoke();
    } catch (...) {
        // A callback must not throw: nothing between here and the main loop could take it.
    }
    bool drop;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        running_ = false;
        drop = dropAfterRun_;
    }
    idle_.notify_all();
    if (drop) {
        dropCallback();
    }
}

}  // namespace kopa::detail
