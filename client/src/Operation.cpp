#include "Operation.h"

#include <climits>
#include <string>
#include <utility>

#include "Durations.h"

namespace kopa::detail {

namespace {

KopaRequestType requestType(Kind kind) {
    switch (kind) {
        case Kind::CurrentPosition:
            return KOPA_REQUEST_CURRENT_POSITION;
        case Kind::CurrentMeasurements:
            return KOPA_REQUEST_CURRENT_MEASUREMENTS;
        case Kind::LastKnownPosition:
            return KOPA_REQUEST_LAST_KNOWN_POSITION;
        case Kind::ConvertToPosition:
            break;
    }
    return KOPA_REQUEST_CONVERT_TO_POSITION;
}

// The library waits for the last known position up to 24 hours whatever it is given, and for
// the others whole seconds; and when its own time-out ends a request, the service is not told.
// So the client keeps every time-out itself, cancelling at the deadline, and gives the library
// a second more as a backstop.
unsigned int backstopSeconds(std::chrono::milliseconds timeout) {
    const unsigned int seconds = librarySeconds(timeout);
    return seconds == 0 || seconds == UINT_MAX ? seconds : seconds + 1;
}

}  // namespace

unsigned int librarySeconds(std::chrono::milliseconds timeout) {
    if (timeout.count() <= 0) {
        return 0;
    }
    // Rounded up without adding first: a time-out of milliseconds::max() must not overflow.
    const long long seconds = timeout.count() / 1000 + (timeout.count() % 1000 != 0 ? 1 : 0);
    return seconds > UINT_MAX ? UINT_MAX : static_cast<unsigned int>(seconds);
}

std::shared_ptr<Operation> Operation::start(std::shared_ptr<ClientCore> core, Kind kind,
                                            const RequestOptions& options,
                                            const KopaMeasurements* input, Finish finish) {
    auto operation = create(std::move(core), kind, std::move(finish));
    operation->send(options, input);
    return operation;
}

std::shared_ptr<Operation> Operation::create(std::shared_ptr<ClientCore> core, Kind kind,
                                             Finish finish) {
    return std::make_shared<Operation>(std::move(core), kind, std::move(finish));
}

void Operation::send(const RequestOptions& options, const KopaMeasurements* input,
                     bool keepDeadline) {
    timeout_ = options.timeout;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!finish_) {
            return;  // cancelled before it was sent
        }
        sending_ = true;
        slot_->attach(shared_from_this());
    }
    int result = issue(options, input);
    if (result == KOPA_ERROR_REQUEST_PENDING) {
        // A slot goes back to the pool only after the library removed its last request (see
        // Slot::requestCompleted); should one still be registered, a new slot serves instead
        // of a refusal the application could not explain.
        slot_->detach();
        core_->returnSlot(std::move(slot_));
        slot_ = std::make_unique<Slot>();
        slot_->attach(shared_from_this());
        result = issue(options, input);
    }
    if (result != KOPA_OK) {
        const KopaFailureCause cause = kopaLastFailureCause();
        slot_->detach();
        failLater(result, cause);
    } else if (keepDeadline && options.timeout.count() > 0) {
        std::lock_guard<std::mutex> lock(mutex_);
        if (finish_) {  // not answered yet
            timer_ = Timers::instance().schedule(deadlineAfter(options.timeout),
                                                 std::weak_ptr<TimerTarget>(shared_from_this()));
        }
    }
    {
        std::lock_guard<std::mutex> lock(mutex_);
        sending_ = false;
    }
    sent_.notify_all();
}

Operation::Operation(std::shared_ptr<ClientCore> core, Kind kind, Finish finish)
    : core_(std::move(core)), kind_(kind), slot_(core_->takeSlot()), finish_(std::move(finish)) {}

Operation::~Operation() {
    if (slot_) {
        core_->returnSlot(std::move(slot_));
    }
}

int Operation::issue(const RequestOptions& options, const KopaMeasurements* input) {
    Slot& slot = *slot_;
    const unsigned int seconds = backstopSeconds(options.timeout);
    switch (kind_) {
        case Kind::CurrentPosition:
            slot.position = KopaPosition();
            return slot.positioning.currentPositionAsync(slot.position, options.requestParameter,
                                                         options.packetData, seconds);
        case Kind::CurrentMeasurements:
            slot.measurements = KopaMeasurements();
            return slot.positioning.currentMeasurementsAsync(slot.measurements,
                                                             options.requestParameter, seconds);
        case Kind::LastKnownPosition:
            slot.position = KopaPosition();
            return slot.positioning.lastKnownPositionAsync(slot.position, options.requestParameter);
        case Kind::ConvertToPosition:
            break;
    }
    slot.position = KopaPosition();
    return slot.positioning.convertToPositionAsync(slot.position, *input, options.packetData,
                                                   seconds);
}

Finish Operation::claim() {
    Finish finish;
    std::optional<Timers::Key> timer;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        finish = std::move(finish_);
        finish_ = nullptr;
        std::swap(timer, timer_);
    }
    if (timer) {
        Timers::instance().cancel(*timer);
    }
    return finish;
}

void Operation::completed(int result) {
    Finish finish = claim();
    if (finish) {
        const KopaFailureCause cause =
            result == KOPA_OK ? KopaFailureCause{} : kopaLastFailureCause();
        finish(result, cause, result == KOPA_OK ? slot_.get() : nullptr);
    }
}

void Operation::timerFired() {
    std::optional<std::pair<int, KopaFailureCause>> failure;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        timer_.reset();
        std::swap(failure, failure_);
    }
    if (failure) {
        if (Finish finish = claim()) {
            finish(failure->first, failure->second, nullptr);
        }
        return;
    }
    deadlinePassed();
}

void Operation::deadlinePassed() {
    Finish finish = claim();
    if (!finish) {
        return;
    }
    cancelInLibrary();
    finish(KOPA_ERROR_NO_REPLY, noReplyCause(timeout_), nullptr);
}

void Operation::failLater(int code, const KopaFailureCause& cause) {
    // Handed on from the timer thread, never from inside the call that made the request.
    std::lock_guard<std::mutex> lock(mutex_);
    failure_.emplace(code, cause);
    timer_ =
        Timers::instance().schedule(Clock::now(), std::weak_ptr<TimerTarget>(shared_from_this()));
}

bool Operation::cancel() {
    if (!claim()) {
        return false;
    }
    {
        // The library cancels only what it has registered: a request still being sent on
        // another thread would otherwise escape the cancel and stay outstanding.
        std::unique_lock<std::mutex> lock(mutex_);
        sent_.wait(lock, [this] { return !sending_; });
    }
    cancelInLibrary();
    return true;
}

void Operation::cancelInLibrary() {
    // The library waits here for a delivery of this request running on another thread; the
    // slot's observer, detached, then passes it over.
    if (slot_->detach()) {
        slot_->positioning.cancel(requestType(kind_));
    }
}

KopaFailureCause noReplyCause(std::chrono::milliseconds timeout) {
    KopaFailureCause cause;
    cause.kind = KOPA_FAILURE_NO_REPLY;
    cause.message =
        "no answer within " + std::to_string(timeout.count()) + " ms; the request was cancelled";
    return cause;
}

}  // namespace kopa::detail
