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
    }
}

}  // namespace kopa::detail
