#ifndef KOPA_CLIENT_OPERATION_H
#define KOPA_CLIENT_OPERATION_H

#include <glib.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "ClientCore.h"
#include "KopaClient.h"
#include "Timers.h"

namespace kopa::detail {

enum class Kind {
    CurrentPosition,
    CurrentMeasurements,
    LastKnownPosition,
    ConvertToPosition,
};

// How a finished request is handed on: the result code, its cause, and the slot whose record
// holds the answer (null on failure). An answer comes on the thread that runs the default main
// context; a time-out or a refusal on the layer's timer thread.
using Finish = std::function<void(int code, const KopaFailureCause& cause, const Slot* slot)>;

// One asynchronous request of the library, on a slot of its own, with the client's own
// deadline where the library's whole seconds cannot keep the time-out. `finish` is called at
// most once, never after cancel() has returned, and never from inside start().
class Operation : public std::enable_shared_from_this<Operation>, public TimerTarget {
  public:
    static std::shared_ptr<Operation> start(std::shared_ptr<ClientCore> core, Kind kind,
                                            const RequestOptions& options,
                                            const KopaMeasurements* input, Finish finish);
    // Made but not yet sent, so that its owner can hold it before the answer can come.
    static std::shared_ptr<Operation> create(std::shared_ptr<ClientCore> core, Kind kind,
                                             Finish finish);
    // Sends it, unless it was cancelled first. With `keepDeadline` false the caller keeps the
    // time-out itself (a blocking request waiting on its own thread).
    void send(const RequestOptions& options, const KopaMeasurements* input,
              bool keepDeadline = true);

    Operation(std::shared_ptr<ClientCore> core, Kind kind, Finish finish);
    ~Operation();
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;

    // Gives the request up; the service receives the cancel when the library still had it.
    // False when the request had finished (or was finishing) already.
    bool cancel();
    // The library's completion, from the slot's observer.
    void completed(int result);
    // The deadline, or a failure to be handed on later.
    void timerFired() override;

  private:
    int issue(const RequestOptions& options, const KopaMeasurements* input);
    void deadlinePassed();
    void failLater(int code, const KopaFailureCause& cause);
    // Takes the finish function if nobody has yet; stops the timer either way.
    Finish claim();
    // Tells the library; on the thread that claimed the request.
    void cancelInLibrary();

    std::shared_ptr<ClientCore> core_;
    const Kind kind_;
    std::unique_ptr<Slot> slot_;
    std::chrono::milliseconds timeout_{0};
    // Guards finish_, timer_, failure_ and sending_; sent_ tells a cancel that the library has
    // registered the request (or refused it), so that its cancel finds it.
    std::mutex mutex_;
    std::condition_variable sent_;
    bool sending_ = false;
    Finish finish_;
    std::optional<Timers::Key> timer_;
    // A refusal waiting for the timer thread to hand it on.
    std::optional<std::pair<int, KopaFailureCause>> failure_;
};

// The cause of a time-out the layer kept itself.
KopaFailureCause noReplyCause(std::chrono::milliseconds timeout);

// The library's time-out for `timeout`: whole seconds rounded up, 0 (its 24 hours) for none.
unsigned int librarySeconds(std::chrono::milliseconds timeout);

}  // namespace kopa::detail

#endif
