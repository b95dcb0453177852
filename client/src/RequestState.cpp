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

void RequestState::cancel() noexcept {
    bool first;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        first = !cancelled_;
        cancelled_ = true;
    }
    if (first) {
        stopWork();
        {
            std::lock_guard<std::mutex> lock(mutex_);
            workStopped_ = true;
        }
        idle_.notify_all();
    }
    bool drop = false;
    {
        // Every canceller, not only the first, returns only when the work has stopped and no
        // callback runs, unless it is that callback itself.
        std::unique_lock<std::mutex> lock(mutex_);
        const auto self = std::this_thread::get_id();
        idle_.wait(lock,
                   [&] { return (workStopped_ && !running_) || (running_ && runner_ == self); });
        if (first) {
            // From inside its own callback, which is still on the stack, the callback is
            // dropped when it returns.
            dropAfterRun_ = running_;
            drop = !running_;
        }
    }
    if (drop) {
        dropCallback();
    }
}

void RequestState::deliver(std::function<void()> invoke) {
    GMainContext* context = core_->context();
    if (context == nullptr && g_main_context_is_owner(g_main_context_default())) {
        run(invoke);  // an answer, dispatched by the default main context
        return;
    }
    // A weak reference: the context must not keep the state, its client and so the context
    // itself alive when the application drops all three before the context runs again.
    GSource* idle = attachOnce(context, g_idle_source_new(),
                               [weak = weak_from_this(), invoke = std::move(invoke)] {
                                   if (auto self = weak.lock()) {
                                       self->run(invoke);
                                   }
                               });
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
