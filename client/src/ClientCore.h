#ifndef KOPA_CLIENT_CORE_H
#define KOPA_CLIENT_CORE_H

#include <glib.h>

#include <memory>
#include <mutex>
#include <unordered_set>
#include <vector>

#include "Slot.h"

namespace kopa::detail {

class LoopThread;
class RequestState;

// What a Client shares with its requests: the pool of slots, the context callbacks go to, and
// the requests still alive, which the Client cancels when it goes. Requests keep it alive, so
// a slot never disappears under a delivery.
class ClientCore {
  public:
    explicit ClientCore(GMainContext* context);
    ~ClientCore();
    ClientCore(const ClientCore&) = delete;
    ClientCore& operator=(const ClientCore&) = delete;

    // The context callbacks are forwarded to; null for the default one.
    GMainContext* context() const { return context_; }

    std::unique_ptr<Slot> takeSlot();
    void returnSlot(std::unique_ptr<Slot> slot);

    void track(RequestState* state);
    void forget(RequestState* state);
    // Cancels every request and subscription still alive.
    void cancelAll();

    // For blocking requests, which register nothing and so may share one object.
    KopaPositioning& blockingPositioning() { return blockingPositioning_; }

  private:
    GMainContext* context_;
    // For a forwarded context, where the application may run no default main context at all:
    // the layer's loop thread, unless the application runs the default context.
    std::shared_ptr<LoopThread> loopThread_;
    KopaPositioning blockingPositioning_{nullptr};
    // Guards slots_ and alive_.
    std::mutex mutex_;
    std::vector<std::unique_ptr<Slot>> slots_;
    std::unordered_set<RequestState*> alive_;
};

}  // namespace kopa::detail

#endif
