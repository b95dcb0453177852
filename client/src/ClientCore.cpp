#include "ClientCore.h"

#include <utility>

#include "DefaultContext.h"
#include "RequestState.h"

namespace kopa::detail {

ClientCore::ClientCore(GMainContext* context)
    : context_(context != nullptr ? g_main_context_ref(context) : nullptr),
      loopThread_(context != nullptr
                      ? DefaultContext::instance().shareLoopThreadUnlessApplicationRuns()
                      : nullptr) {}

ClientCore::~ClientCore() {
    if (context_ != nullptr) {
        g_main_context_unref(context_);
    }
}

std::unique_ptr<Slot> ClientCore::takeSlot() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!slots_.empty()) {
            std::unique_ptr<Slot> slot = std::move(slots_.back());
            slots_.pop_back();
            return slot;
        }
    }
    return std::make_unique<Slot>();
}

void ClientCore::returnSlot(std::unique_ptr<Slot> slot) {
    std::lock_guard<std::mutex> lock(mutex_);
    slots_.push_back(std::move(slot));
}

void ClientCore::track(RequestState* state) {
    std::lock_guard<std::mutex> lock(mutex_);
    alive_.insert(state);
}

void ClientCore::forget(RequestState* state) {
    std::lock_guard<std::mutex> lock(mutex_);
    alive_.erase(state);
}

void ClientCore::cancelAll() {
    std::vector<std::shared_ptr<RequestState>> states;
    {
        // A state being destroyed waits in forget() for this lock, so each pointer is valid
        // here; lock() then tells whether it is still alive.
        std::lock_guard<std::mutex> lock(mutex_);
        for (RequestState* state : alive_) {
            if (std::shared_ptr<RequestState> alive = state->weak_from_this().lock()) {
                states.push_back(std::move(alive));
            }
        }
    }
    for (const auto& state : states) {
        state->cancel();
    }
}

}  // namespace kopa::detail
