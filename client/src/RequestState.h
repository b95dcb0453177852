#ifndef KOPA_CLIENT_REQUEST_STATE_H
#define KOPA_CLIENT_REQUEST_STATE_H

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "ClientCore.h"
#include "KopaClient.h"

namespace kopa::detail {

// What a Request or Subscription handle holds: the application's callback and the rule that
// keeps it safe. A callback runs only while the state is not cancelled; cancel() waits for a
// callback running on another thread, and returns at once when called from inside one.
class RequestState : public std::enable_shared_from_this<RequestState> {
  public:
    RequestState(std::shared_ptr<ClientCore> core, bool oneShot);
    virtual ~RequestState();
    RequestState(const RequestState&) = delete;
    RequestState& operator=(const RequestState&) = delete;

    // Not cancelled, and for a one-shot request not yet delivered.
    bool pending() const;
    void cancel() noexcept;

  protected:
    // Stops whatever still works for the state (the request outstanding, a timer).
    virtual void stopWork() = 0;
    // Drops the application's callback, outside any lock of ours.
    virtual void dropCallback() = 0;
    // Calls `invoke` on the thread of the client's context: at once when that is the default
    // context and the caller runs it (an answer), otherwise from the context's loop (a
    // forwarded answer, a time-out or a refusal from the timer thread).
    void deliver(std::function<void()> invoke);

    const std::shared_ptr<ClientCore> core_;

  private:
    void run(const std::function<void()>& invoke);

    const bool oneShot_;
    // Guards the flags below; idle_ tells waiting cancels that a callback has returned.
    mutable std::mutex mutex_;
    std::condition_variable idle_;
    bool cancelled_ = false;
    bool workStopped_ = false;
    bool delivered_ = false;
    bool running_ = false;
    bool dropAfterRun_ = false;
    std::thread::id runner_;
};

// A state whose callback takes a Result<T>.
template <typename T>
class CallbackState : public RequestState {
  public:
    using Callback = std::function<void(const Result<T>&)>;

    CallbackState(std::shared_ptr<ClientCore> core, bool oneShot, Callback callback)
        : RequestState(std::move(core), oneShot), callback_(std::move(callback)) {}

  protected:
    void deliverResult(Result<T> result) {
        deliver([this, result = std::move(result)] {
            if (callback_) {
                callback_(result);
            }
        });
    }

    // Called only when no callback runs and none can start again (see RequestState::cancel).
    void dropCallback() override {
        Callback dropped = std::move(callback_);
        callback_ = nullptr;
    }

  private:
    Callback callback_;
};

}  // namespace kopa::detail

#endif
