#include "ResultCodes.h"

#include <KopaClientError.h>

#include <cstring>

const char* resultCodeName(int code) {
    const char* name = kopa::codeName(code);
    return std::strcmp(name, "KOPA_UNKNOWN_RESULT") == 0 ? nullptr : name;
}

std::string resultCodeMeaning(int code) {
    // The library hands a record's own internalize code through unchanged; those are positive.
    if (resultCodeName(code) == nullptr && code > 0) {
        return "the record could not read the service's answer";
    }
    return kopa::codeMessage(code);
}

std::string describeResultCode(int code) {
    const char* name = resultCodeName(code);
    return (name != nullptr ? std::string(name) + " (" + std::to_string(code) + ")"
                            : std::to_string(code)) +
           ": " + resultCodeMeaning(code);
}
