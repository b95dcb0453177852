#include "Slot.h"

#include <utility>

#include "HandOver.h"
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
        // The library removes the request only after this returns: the operation, which
        // holds this slot (and may hold the last reference to the client), goes after that.
        GSource* later = attachOnce(nullptr, g_idle_source_new(), [operation] {});
        g_source_unref(later);
    }
}

}  // namespace kopa::detail
