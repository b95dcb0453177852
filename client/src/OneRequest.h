#ifndef KOPA_CLIENT_ONE_REQUEST_H
#define KOPA_CLIENT_ONE_REQUEST_H

#include <memory>
#include <mutex>
#include <utility>

#include "Operation.h"
#include "RequestState.h"

namespace kopa::detail {

// The record a finished operation hands over, copied out of the slot before the slot is free.
template <typename T>
Result<T> resultOf(int code, const KopaFailureCause& cause, const Slot* slot);

template <>
inline Result<KopaPosition> resultOf(int code, const KopaFailureCause& cause, const Slot* slot) {
    if (code == KOPA_OK) {
        return slot->position;
    }
    return Error(code, cause);
}

template <>
inline Result<KopaMeasurements> resultOf(int code, const KopaFailureCause& cause,
                                         const Slot* slot) {
    if (code == KOPA_OK) {
        return slot->measurements;
    }
    return Error(code, cause);
}

// The state behind a Request: one operation, one callback.
template <typename T>
class OneRequest : public CallbackState<T> {
  public:
    using CallbackState<T>::CallbackState;

    static std::shared_ptr<OneRequest> start(std::shared_ptr<ClientCore> core, Kind kind,
                                             const RequestOptions& options,
                                             const KopaMeasurements* input,
                                             typename CallbackState<T>::Callback callback) {
        auto state = std::make_shared<OneRequest>(core, true, std::move(callback));
        auto operation =
            Operation::create(std::move(core), kind,
                              [state](int code, const KopaFailureCause& cause, const Slot* slot) {
                                  Result<T> result = resultOf<T>(code, cause, slot);
                                  // Lets the slot go back to the pool even while the handle is
                                  // kept.
                                  state->takeOperation();
                                  state->deliverResult(std::move(result));
                              });
        {
            std::lock_guard<std::mutex> lock(state->mutex_);
            state->operation_ = operation;
        }
        operation->send(options, input);
        return state;
    }

  protected:
    void stopWork() override {
        if (std::shared_ptr<Operation> operation = takeOperation()) {
            operation->cancel();
        }
    }

  private:
    std::shared_ptr<Operation> takeOperation() {
        std::lock_guard<std::mutex> lock(mutex_);
        return std::move(operation_);
    }

    std::mutex mutex_;
    std::shared_ptr<Operation> operation_;
};

}  // namespace kopa::detail

#endif
