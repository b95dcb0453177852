#include "ResultCodes.h"

#include <KopaPositioning.h>

namespace {

const ResultCodeInfo kCodes[] = {
    {KOPA_OK, "KOPA_OK", "success"},
    {KOPA_ERROR_GENERAL, "KOPA_ERROR_GENERAL",
     "generic failure: no bus or service, or an answer that could not be used"},
    {KOPA_ERROR_SEND, "KOPA_ERROR_SEND", "the request could not be handed to D-Bus"},
    {KOPA_ERROR_NOT_SUPPORTED, "KOPA_ERROR_NOT_SUPPORTED", "operation not available"},
    {KOPA_ERROR_METHOD_NOT_SUPPORTED, "KOPA_ERROR_METHOD_NOT_SUPPORTED",
     "the service does not support the positioning method that the request needs"},
    {KOPA_ERROR_NO_OBSERVER, "KOPA_ERROR_NO_OBSERVER",
     "asynchronous request on an object without observer"},
    {KOPA_ERROR_REQUEST_PENDING, "KOPA_ERROR_REQUEST_PENDING",
     "a request of the same kind is already outstanding for this object"},
    {KOPA_ERROR_NOT_AUTHORIZED, "KOPA_ERROR_NOT_AUTHORIZED", "the service refuses the caller"},
    {KOPA_ERROR_NO_REPLY, "KOPA_ERROR_NO_REPLY", "no reply from the service within the time-out"},
    {KOPA_ERROR_INFORMATION_SHORTAGE, "KOPA_ERROR_INFORMATION_SHORTAGE",
     "not enough information to compute a result"},
    {KOPA_ERROR_NETWORK, "KOPA_ERROR_NETWORK", "network unavailable or failing"},
    {KOPA_ERROR_SERVER, "KOPA_ERROR_SERVER", "the positioning server failed"},
    {KOPA_ERROR_NOT_POSITIONED, "KOPA_ERROR_NOT_POSITIONED", "no position could be found"},
    {0, nullptr, nullptr},
};

}  // namespace

const ResultCodeInfo* findResultCode(int code) {
    for (const ResultCodeInfo* info = kCodes; info->name != nullptr; ++info) {
        if (info->code == code) {
            return info;
        }
    }
    return nullptr;
}

const ResultCodeInfo* allResultCodes() {
    return kCodes;
}

std::string resultCodeMeaning(int code) {
    if (const ResultCodeInfo* info = findResultCode(code)) {
        return info->meaning;
    }
    // The library hands a record's own internalize code through unchanged; those are positive.
    if (code > 0) {
        return "the record could not read the service's answer";
    }
    return "unknown result code";
}

std::string describeResultCode(int code) {
    if (const ResultCodeInfo* info = findResultCode(code)) {
        return std::string(info->name) + " (" + std::to_string(code) + "): " + info->meaning;
    }
    return std::to_string(code) + ": " + resultCodeMeaning(code);
}
