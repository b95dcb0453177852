#include <mutex>
#include <optional>
#include <utility>

#include "DefaultContext.h"
#include "KopaClient.h"
#include "OneRequest.h"

namespace kopa {

namespace {

using detail::Kind;

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
        detail::DefaultContext::instance().notifyWaiters();
    }
    bool ready() {
        std::lock_guard<std::mutex> lock(mutex_);
        return result_.has_value();
    }
    Result<T> take() {
        std::lock_guard<std::mutex> lock(mutex_);
        return std::move(*result_);
    }

  private:
    std::mutex mutex_;
    std::optional<Result<T>> result_;
};

// The request made the asynchronous way, its deadline kept on the calling thread: the thread
// that runs the default main context may be busy, or be this one. See DefaultContext for who
// delivers the answer.
template <typename T>
Result<T> waitForAnswer(const std::shared_ptr<detail::ClientCore>& core, Kind kind,
                        const RequestOptions& options, const KopaMeasurements* input) {
    auto answer = std::make_shared<Answer<T>>();
    auto operation = detail::Operation::create(
        core, kind, [answer](int code, const KopaFailureCause& cause, const detail::Slot* slot) {
            answer->set(detail::resultOf<T>(code, cause, slot));
        });
    operation->send(options, input, false);
    const auto deadline = options.timeout.count() > 0 ? detail::deadlineAfter(options.timeout)
                                                      : detail::Clock::time_point::max();
    auto ready = [&answer] { return answer->ready(); };
    detail::DefaultContext::instance().waitUntil(ready, deadline);
    if (!answer->ready()) {
        if (operation->cancel()) {
            return Error(KOPA_ERROR_NO_REPLY, detail::noReplyCause(options.timeout));
        }
        // The answer is being handed over on another thread at this very moment.
        detail::DefaultContext::instance().waitUntil(ready, detail::Clock::time_point::max());
    }
    return answer->take();
}

// The library's own blocking call, for a request made inside a callback of the default main
// context, whose dispatch would not deliver an answer to this thread. A record that refuses
// the answer's text gives a positive code there; the asynchronous path reports the same answer
// as KOPA_ERROR_GENERAL with the record's reason in the cause, and so does this one.
template <typename T>
Result<T> libraryResult(int code, T record) {
    if (code == KOPA_OK) {
        return record;
    }
    KopaFailureCause cause = kopaLastFailureCause();
    if (code > 0) {
        cause.kind = KOPA_FAILURE_UNREADABLE_REPLY;
        return Error(KOPA_ERROR_GENERAL, cause);
    }
    return Error(code, cause);
}

}  // namespace

Result<KopaPosition> Client::currentPosition(const RequestOptions& options) {
    if (!insideDefaultContextDispatch()) {
        return waitForAnswer<KopaPosition>(core_, Kind::CurrentPosition, options, nullptr);
    }
    KopaPosition position;
    const int code = core_->blockingPositioning().currentPosition(
        position, options.requestParameter, options.packetData,
        detail::librarySeconds(options.timeout));
    return libraryResult(code, std::move(position));
}

Result<KopaMeasurements> Client::currentMeasurements(const RequestOptions& options) {
    if (!insideDefaultContextDispatch()) {
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
    return waitForAnswer<KopaPosition>(core_, Kind::LastKnownPosition, options, nullptr);
}

Result<KopaPosition> Client::convertToPosition(const KopaMeasurements& measurements,
                                               const RequestOptions& options) {
    if (!insideDefaultContextDispatch()) {
        return waitForAnswer<KopaPosition>(core_, Kind::ConvertToPosition, options, &measurements);
    }
    KopaPosition position;
    const int code = core_->blockingPositioning().convertToPosition(
        position, measurements, options.packetData, detail::librarySeconds(options.timeout));
    return libraryResult(code, std::move(position));
}

}  // namespace kopa
