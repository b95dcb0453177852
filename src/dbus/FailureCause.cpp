#include "dbus/FailureCause.h"

#include <cstring>

#include "dbus/ServiceNames.h"

namespace {

// Plain storage without a destructor: a thread's cause stays usable while the process exits,
// and recording never allocates.
struct StoredCause {
    KopaFailureKind kind;
    char errorName[256];
    char message[1001];
};

thread_local StoredCause tCause{};

// Copies at most size - 1 bytes, never ending inside a UTF-8 sequence, so that what is cut
// still reads as text (D-Bus texts are UTF-8).
void copyText(char* target, std::size_t size, const char* text) {
    std::size_t length = text != nullptr ? std::strlen(text) : 0;
    if (length >= size) {
        length = size - 1;
        while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) {
            --length;
        }
    }
    if (length > 0) {
        std::memcpy(target, text, length);
    }
    target[length] = '\0';
}

bool named(const DBusError& error, const char* name) {
    return error.name != nullptr && std::strcmp(error.name, name) == 0;
}

KopaFailureKind kindOf(const DBusError& error) {
    if (named(error, kopa::kServiceErrorName)) {
        return KOPA_FAILURE_SERVICE_ERROR;
    }
    if (named(error, kopa::kNoReplyErrorName) || named(error, DBUS_ERROR_TIMEOUT) ||
        named(error, DBUS_ERROR_TIMED_OUT)) {
        return KOPA_FAILURE_NO_REPLY;
    }
    if (named(error, DBUS_ERROR_SERVICE_UNKNOWN) || named(error, DBUS_ERROR_NAME_HAS_NO_OWNER)) {
        return KOPA_FAILURE_NO_SERVICE;
    }
    if (named(error, DBUS_ERROR_ACCESS_DENIED)) {
        return KOPA_FAILURE_POLICY;
    }
    if (named(error, DBUS_ERROR_DISCONNECTED)) {
        return KOPA_FAILURE_NO_BUS;
    }
    return KOPA_FAILURE_DBUS_ERROR;
}

}  // namespace

namespace kopa {

void clearFailureCause() noexcept {
    tCause.kind = KOPA_FAILURE_NONE;
    tCause.errorName[0] = '\0';
    tCause.message[0] = '\0';
}

void recordFailureCause(KopaFailureKind kind, const char* errorName, const char* message) noexcept {
    tCause.kind = kind;
    copyText(tCause.errorName, sizeof tCause.errorName, errorName);
    copyText(tCause.message, sizeof tCause.message, message);
}

void recordDbusFailure(const DBusError& error) noexcept {
    recordFailureCause(kindOf(error), error.name, error.message);
}

void explainUnrecordedFailure(int result) noexcept {
    if (result == KOPA_OK || tCause.kind != KOPA_FAILURE_NONE) {
        return;
    }
    switch (result) {
        case KOPA_ERROR_NO_OBSERVER:
            recordFailureCause(KOPA_FAILURE_REFUSED, nullptr,
                               "the KopaPositioning has no observer");
            break;
        case KOPA_ERROR_REQUEST_PENDING:
            recordFailureCause(KOPA_FAILURE_REFUSED, nullptr,
                               "a request of this kind is already outstanding for this "
                               "KopaPositioning");
            break;
        case KOPA_ERROR_NOT_SUPPORTED:
            recordFailureCause(KOPA_FAILURE_REFUSED, nullptr,
                               "GLib's thread system is not available");
            break;
        case KOPA_ERROR_SEND:
            recordFailureCause(KOPA_FAILURE_NOT_SENT, nullptr,
                               "D-Bus did not take the request (no memory, or the connection "
                               "has closed)");
            break;
        default:
            recordFailureCause(KOPA_FAILURE_NOT_SENT, nullptr,
                               "the request could not be built or sent");
            break;
    }
}

}  // namespace kopa

KopaFailureCause kopaLastFailureCause() {
    KopaFailureCause cause;
    cause.kind = tCause.kind;
    cause.errorName = tCause.errorName;
    cause.message = tCause.message;
    return cause;
}
