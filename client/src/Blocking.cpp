#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

#include "KopaClient.h"
#include "OneRequest.h"

namespace kopa {

namespace {

using detail::Kind;

// True when a thread other than the caller owns (runs) the default main context.
bool anotherThreadRunsDefaultContext() {
    GMainContext* context = g_main_context_default();
    if (g_main_context_acquire(context)) {
        g_main_context_release(context);
        return false;
    }
    return true;
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
    Result<T> wait() {
        std::unique_lock<std::mutex> lock(mutex_);
        ready_.wait(lock, [this] { return result_.has_value(); });
        return std::move(*result_);
    }

  private:
    std::mutex mutex_;
    std::condition_variable ready_;
    std::optional<Result<T>> result_;
};

// The request made the asynchronous way. With `iterate` the calling thread runs the default
// main context itself until the answer arrives; otherwise another thread runs it.
template <typename T>
Result<T> waitForAnswer(const std::shared_ptr<detail::ClientCore>& core, Kind kind,
                        const RequestOptions& options, const KopaMeasurements* input,
                        bool iterate) {
    auto answer = std::make_shared<Answer<T>>();
    auto operation = detail::Operation::start(
        core, kind, options, input,
        [answer](int code, const KopaFailureCause& cause, const detail::Slot* slot) {
            answer->set(detail::resultOf<T>(code, cause, slot));
        });
    if (iterate) {
        while (!answer->ready()) {
            g_main_context_iteration(nullptr, TRUE);
        }
    }
    return answer->wait();
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
        return waitForAnswer<KopaPosition>(core_, Kind::CurrentPosition, options, nullptr, false);
    }
    KopaPosition position;
    const int code = core_->blockingPositioning().currentPosition(
        position, options.requestParameter, options.packetData,
        detail::librarySeconds(options.timeout));
    return libraryResult(code, std::move(position));
}

Result<KopaMeasurements> Client::currentMeasurements(const RequestOptions& options) {
    if (anotherThreadRunsDefaultContext()) {
        return waitForAnswer<KopaMeasurements>(core_, Kind::CurrentMeasurements, options, nullptr,
                                               false);
    }
    KopaMeasurements measurements;
    const int code = core_->blockingPositioning().currentMeasurements(
        measurements, options.requestParameter, detail::librarySeconds(options.timeout));
    return libraryResult(code, std::move(measurements));
}

Result<KopaPosition> Client::lastKnownPosition(const RequestOptions& options) {
    // The library's blocking form would wait up to 24 hours, holding the connection.
    return waitForAnswer<KopaPosition>(core_, Kind::LastKnownPosition, options, nullptr,
                                       !anotherThreadRunsDefaultContext());
}

Result<KopaPosition> Client::convertToPosition(const KopaMeasurements& measurements,
                                               const RequestOptions& options) {
    if (anotherThreadRunsDefaultContext()) {
        return waitForAnswer<KopaPosition>(core_, Kind::ConvertToPosition, options, &measurements,
                                           false);
    }
    KopaPosition position;
    const int code = core_->blockingPositioning().convertToPosition(
        position, measurements, options.packetData, detail::librarySeconds(options.timeout));
    return libraryResult(code, std::move(position));
}

}  // namespace kopa
