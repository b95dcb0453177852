// Result codes and kopa_error: the C spellings checked against the library's, and the error
// object every failing function hands out.
#include <KopaFailureCause.h>
#include <KopaTextResult.h>

#include <new>

#include "Handles.h"

// The C header spells the library's values anew, for C: they must not drift apart.
namespace {
constexpr bool same(int c, int library) {
    return c == library;
}
}  // namespace

static_assert(same(KOPA_CODE_OK, KOPA_OK));
static_assert(same(KOPA_CODE_ERROR_GENERAL, KOPA_ERROR_GENERAL));
static_assert(same(KOPA_CODE_ERROR_SEND, KOPA_ERROR_SEND));
static_assert(same(KOPA_CODE_ERROR_NOT_SUPPORTED, KOPA_ERROR_NOT_SUPPORTED));
static_assert(same(KOPA_CODE_ERROR_METHOD_NOT_SUPPORTED, KOPA_ERROR_METHOD_NOT_SUPPORTED));
static_assert(same(KOPA_CODE_ERROR_NO_OBSERVER, KOPA_ERROR_NO_OBSERVER));
static_assert(same(KOPA_CODE_ERROR_REQUEST_PENDING, KOPA_ERROR_REQUEST_PENDING));
static_assert(same(KOPA_CODE_ERROR_NOT_AUTHORIZED, KOPA_ERROR_NOT_AUTHORIZED));
static_assert(same(KOPA_CODE_ERROR_NO_REPLY, KOPA_ERROR_NO_REPLY));
static_assert(same(KOPA_CODE_ERROR_INFORMATION_SHORTAGE, KOPA_ERROR_INFORMATION_SHORTAGE));
static_assert(same(KOPA_CODE_ERROR_NETWORK, KOPA_ERROR_NETWORK));
static_assert(same(KOPA_CODE_ERROR_SERVER, KOPA_ERROR_SERVER));
static_assert(same(KOPA_CODE_ERROR_NOT_POSITIONED, KOPA_ERROR_NOT_POSITIONED));
static_assert(same(KOPA_CODE_TEXT_EMPTY, KOPA_TEXT_EMPTY));
static_assert(same(KOPA_CODE_TEXT_WRONG_RECORD, KOPA_TEXT_WRONG_RECORD));
static_assert(same(KOPA_CODE_TEXT_UNSUPPORTED_VERSION, KOPA_TEXT_UNSUPPORTED_VERSION));
static_assert(same(KOPA_CODE_TEXT_MALFORMED_FIELD, KOPA_TEXT_MALFORMED_FIELD));
static_assert(same(KOPA_CODE_TEXT_BAD_NUMBER, KOPA_TEXT_BAD_NUMBER));
static_assert(same(KOPA_CODE_TEXT_OUT_OF_RANGE, KOPA_TEXT_OUT_OF_RANGE));
static_assert(same(KOPA_CODE_TEXT_MISSING_FIELD, KOPA_TEXT_MISSING_FIELD));
static_assert(same(KOPA_CODE_TEXT_DUPLICATE_FIELD, KOPA_TEXT_DUPLICATE_FIELD));
static_assert(same(KOPA_CODE_TEXT_BAD_VALUE, KOPA_TEXT_BAD_VALUE));
static_assert(same(KOPA_CODE_TEXT_NOT_REPRESENTABLE, KOPA_TEXT_NOT_REPRESENTABLE));
static_assert(same(KOPA_CAUSE_NONE, KOPA_FAILURE_NONE));
static_assert(same(KOPA_CAUSE_NO_BUS, KOPA_FAILURE_NO_BUS));
static_assert(same(KOPA_CAUSE_NO_SERVICE, KOPA_FAILURE_NO_SERVICE));
static_assert(same(KOPA_CAUSE_POLICY, KOPA_FAILURE_POLICY));
static_assert(same(KOPA_CAUSE_SERVICE_ERROR, KOPA_FAILURE_SERVICE_ERROR));
static_assert(same(KOPA_CAUSE_NO_REPLY, KOPA_FAILURE_NO_REPLY));
static_assert(same(KOPA_CAUSE_DBUS_ERROR, KOPA_FAILURE_DBUS_ERROR));
static_assert(same(KOPA_CAUSE_UNREADABLE_REPLY, KOPA_FAILURE_UNREADABLE_REPLY));
static_assert(same(KOPA_CAUSE_NOT_SENT, KOPA_FAILURE_NOT_SENT));
static_assert(same(KOPA_CAUSE_REFUSED, KOPA_FAILURE_REFUSED));
static_assert(same(KOPA_PACKET_DATA_USAGE_NOT_ALLOWED, KOPA_PACKET_DATA_NOT_ALLOWED));
static_assert(same(KOPA_PACKET_DATA_USAGE_ALLOWED, KOPA_PACKET_DATA_ALLOWED));

kopa_error::kopa_error(int code, KopaFailureCause cause)
    : error(code, std::move(cause)), line(error.describe()) {}

namespace kopa::capi {

int fail(kopa_error** out, const kopa::Error& error) noexcept {
    if (out != nullptr) {
        try {
            *out = new kopa_error(error.code(), error.cause());
        } catch (...) {
            *out = nullptr;  // out of memory: the code alone still tells the failure
        }
    }
    return error.code();
}

int refuse(kopa_error** out, int code, const char* why) noexcept {
    try {
        return fail(out, kopa::Error(code, {KOPA_FAILURE_REFUSED, "", why}));
    } catch (...) {
        return code;
    }
}

int failFromException(kopa_error** out) noexcept {
    try {
        throw;
    } catch (const std::bad_alloc&) {
        return fail(out,
                    kopa::Error(KOPA_ERROR_GENERAL, {KOPA_FAILURE_NOT_SENT, "", "out of memory"}));
    } catch (...) {
        return KOPA_ERROR_GENERAL;
    }
}

}  // namespace kopa::capi

extern "C" {

const char* kopa_code_name(int code) {
    return kopa::codeName(code);
}
const char* kopa_code_message(int code) {
    return kopa::codeMessage(code);
}
int kopa_error_code(const kopa_error* error) {
    return error->error.code();
}
const char* kopa_error_name(const kopa_error* error) {
    return error->error.name();
}
const char* kopa_error_message(const kopa_error* error) {
    return error->error.message();
}
const char* kopa_error_describe(const kopa_error* error) {
    return error->line.c_str();
}

kopa_cause_kind kopa_error_cause_kind(const kopa_error* error) {
    return static_cast<kopa_cause_kind>(error->error.cause().kind);
}

const char* kopa_error_cause_name(const kopa_error* error) {
    return error->error.cause().errorName.c_str();
}

const char* kopa_error_cause_message(const kopa_error* error) {
    return error->error.cause().message.c_str();
}

kopa_error* kopa_error_copy(const kopa_error* error) {
    try {
        return new kopa_error(*error);
    } catch (...) {
        return nullptr;
    }
}

void kopa_error_free(kopa_error* error) {
    delete error;
}

void kopa_request_options_init(kopa_request_options* options) {
    const kopa::RequestOptions defaults;
    options->timeout_ms = defaults.timeout.count();
    options->request_parameter = defaults.requestParameter;
    options->packet_data = defaults.packetData;
}

void kopa_subscription_options_init(kopa_subscription_options* options) {
    const kopa::SubscriptionOptions defaults;
    options->interval_ms = defaults.interval.count();
    options->minimum_distance = defaults.minimumDistance;
    kopa_request_options_init(&options->request);
}

}  // extern "C"
