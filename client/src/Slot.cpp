#include "Slot.h"

#include <utility>

#include "Operation.h"

namespace kopa::detail {

void Slot::attach(std::shared_ptr<Operation> operation) {
    std::lock_guard<std::mutex> lock(mutex_);
    operation_ = std::move(operation);
}

std::shared_ptr<Operation> Slot::detach() {
    std::lock_guard<std::mutex> lock(mutex_);
    return std::move(operation_);
}

void Slot::requestCompleted(int result, KopaRequestType /*type*/) {
    // Detached already when the request was cancelled or its deadline passed.
    if (std::shared_ptr<Operation> operation = detach()) {
        operation->completed(result);
        // Going out of scope, the operation may return this slot to the pool, or drop the last
        // reference to the client and with it this very slot: nothing of the slot is touched
        // after this, and the library, which removes the request once this returns, never
        // touches its observer or owner again. Should another thread take the slot from the
        // pool before that removal, the library refuses the new request as a duplicate and the
        // operation takes a fresh slot (see Operation::send).
    }
}

}  // namespace kopa::detail
