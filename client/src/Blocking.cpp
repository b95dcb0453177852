#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

#include "KopaClient.h"
#include "OneRequest.h"

namespace kopa {

namespace {

using detail::Kind;
using namespace std::chrono_literals;

// True when a thread other than the caller owns (runs) the default main context.
bool anotherThreadRunsDefaultContext() {
    GMainContext* context = g_main_context_default();
    if (g_main_context_acquire(context)) {
        g_main_context_release(context);
        return false;
    }
    return true;
}

// True inside a dispatch of the default main context on this thread (a callback), where an
// iteration would not run the bus connection's source again.
bool insideDefaultContextDispatch() {
    return g_main_depth() > 0 && g_main_context_is_owner(g_main_context_default());
}

// Where a blocking call waits for an asynchronous answer.
template <typename T>
class Answer {
  public:
    void set(Result<T> result) {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            result_ = std::move(result);
        }
        ready_.notify_all();
    }
    bool ready() {
        std::lock_guard<std::mutex> lock(mutex_);
        return result_.has_value();
    }
    bool waitFor(std::chrono::milliseconds slice) {
        std::unique_lock<std::mutex> lock(mutex_);
        return ready_.wait_for(lock, slice, [this] { return result_.has_value(); });
    }
    Result<T> take() {
        std::lock_guard<std::mutex> lock(mutex_);
        return std::move(*result_);
    }

  private:
    std::mutex mutex_;
    std::condition_variable ready_;
    std::optional<Result<T>> result_;
};

// The request made the asynchronous way. While another thread runs the default main context,
// the calling thread only waits; whenever nobody does, it runs the context itself, so that the
// answer and the deadline are dispatched even when that thread stops or never was.
template <typename T>
Result<T> waitForAnswer(const std::shared_ptr<detail::ClientCore>& core, Kind kind,
                        const RequestOptions& options, const KopaMeasurements* input) {
    auto answer = std::make_shared<Answer<T>>();
    auto operation = detail::Operation::start(
        core, kind, options, input,
        [answer](int code, const KopaFailureCause& cause, const detail::Slot* slot) {
            answer->set(detail::resultOf<T>(code, cause, slot));
        });
    GMainContext* context = g_main_context_default();
    while (!answer->ready()) {
        if (g_main_context_acquire(context)) {
            while (!answer->ready()) {
                g_main_context_iteration(context, TRUE);
            }
            g_main_context_release(context);
        } else {
            answer->waitFor(10ms);
        }
    }
    return answer->take();
}

template <typename T>
Result<T> libraryResult(int code, T record) {
    if (code == KOPA_OK) {
        return record;
    }
    return Error(code, kopaLastFailureCause());
}

}  // namespace

Result<KopaPosition> Client::currentPosition(const RequestOptions& options) {
    if (anotherThreadRunsDefaultContext()) {
        return waitForAnswer<KopaPosition>(core_, Kind::CurrentPosition, options, nullptr);
    }
    KopaPosition position;
    const int code = core_->blockingPositioning().currentPosition(
        position, options.requestParameter, options.packetData,
        detail::librarySeconds(options.timeout));
    return libraryResult(code, std::move(position));
}

Result<KopaMeasurements> Client::currentMeasurements(const RequestOptions& options) {
    if (anotherThreadRunsDefaultContext()) {
        return waitForAnswer<KopaMeasurements>(core_, Kind::CurrentMeasurements, options, nullptr);
    }
    KopaMeasurements measurements;
    const int code = core_->blockingPositioning().currentMeasurements(
        measurements, options.requestParameter, detail::librarySeconds(options.timeout));
    return libraryResult(code, std::move(measurements));
}

Result<KopaPosition> Client::lastKnownPosition(const RequestOptions& options) {
    if (insideDefaultContextDispatch()) {
        // The answer would have to come through the dispatch this call is inside of, and the
        // library's blocking form would hold the loop for up to 24 hours.
        KopaFailureCause cause;
        cause.kind = KOPA_FAILURE_REFUSED;
        cause.message =
            "a blocking last known position cannot wait inside a callback of the main loop; "
            "use lastKnownPositionAsync";
        return Error(KOPA_ERROR_NOT_SUPPORTED, cause);
    }
    // The library's blocking form would wait up to 24 hours, holding the connection.
    return waitForAnswer<KopaPosition>(core_, Kind::LastKnownPosition, options, nullptr);
}

Result<KopaPosition> Client::convertToPosition(const KopaMeasurements& measurements,
                                               const RequestOptions& options) {
    if (anotherThreadRunsDefaultContext()) {
        return waitForAnswer<KopaPosition>(core_, Kind::ConvertToPosition, options, &measurements);
    }
    KopaPosition position;
    const int code = core_->blockingPositioning().convertToPosition(
        position, measurements, options.packetData, detail::librarySeconds(options.timeout));
    return libraryResult(code, std::move(position));
}

}  // namespace kopa
