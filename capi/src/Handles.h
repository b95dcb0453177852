#ifndef KOPA_C_HANDLES_H
#define KOPA_C_HANDLES_H

// What the C interface's opaque types hold, and the helpers every entry point shares: results
// into codes and kopa_error objects, records into C structs, and the guard that keeps C++
// exceptions on this side of the interface.

#include <KopaClient.h>

#include <string>

#include "kopa.h"

struct kopa_client {
    explicit kopa_client(GMainContext* context) : client(context) {}
    kopa_client() = default;
    kopa::Client client;
};

struct kopa_request {
    kopa::Request request;
};

struct kopa_subscription {
    kopa::Subscription subscription;
};

struct kopa_measurements {
    KopaMeasurements record;
};

struct kopa_error {
    kopa_error(int code, KopaFailureCause cause);
    kopa::Error error;
    std::string line;  // describe(), made once so that kopa_error_describe can lend it
};

struct kopa_main_loop_thread {
    kopa::MainLoopThread thread;
};

struct kopa_application_loop {
    kopa::ApplicationLoop declaration;
};

namespace kopa::capi {

// Hands a failure to the caller: `*out` gets a new kopa_error when `out` is not null. Returns
// the code.
int fail(kopa_error** out, const kopa::Error& error) noexcept;
// A failure of the interface's own, refused before anything was sent.
int refuse(kopa_error** out, int code, const char* why) noexcept;
// The failure for an exception that reached an entry point (out of memory, in practice).
int failFromException(kopa_error** out) noexcept;

// The position as C sees it.
kopa_position toC(const KopaPosition& position) noexcept;

// The caller's options, checked: KOPA_OK, or the refusal (already handed to `out`).
int toOptions(const kopa_request_options* in, kopa::RequestOptions& options,
              kopa_error** out) noexcept;

}  // namespace kopa::capi

#endif
