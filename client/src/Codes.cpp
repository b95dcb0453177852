#include <KopaTextResult.h>

#include <string>

#include "KopaClientError.h"

namespace kopa {

namespace {

struct CodeText {
    int code;
    const char* name;
    const char* message;
};

constexpr CodeText kCodes[] = {
    {KOPA_OK, "KOPA_OK", "success"},
    {KOPA_ERROR_GENERAL, "KOPA_ERROR_GENERAL",
     "the request failed (no bus, no service, or an answer that could not be used)"},
    {KOPA_ERROR_SEND, "KOPA_ERROR_SEND", "the request could not be handed to D-Bus"},
    {KOPA_ERROR_NOT_SUPPORTED, "KOPA_ERROR_NOT_SUPPORTED", "the operation is not available"},
    {KOPA_ERROR_METHOD_NOT_SUPPORTED, "KOPA_ERROR_METHOD_NOT_SUPPORTED",
     "the service does not offer this request"},
    {KOPA_ERROR_NO_OBSERVER, "KOPA_ERROR_NO_OBSERVER",
     "an asynchronous request was made without an observer"},
    {KOPA_ERROR_REQUEST_PENDING, "KOPA_ERROR_REQUEST_PENDING",
     "a request of the same kind is already outstanding"},
    {KOPA_ERROR_NOT_AUTHORIZED, "KOPA_ERROR_NOT_AUTHORIZED", "the service refuses the caller"},
    {KOPA_ERROR_NO_REPLY, "KOPA_ERROR_NO_REPLY", "no answer within the time-out"},
    {KOPA_ERROR_INFORMATION_SHORTAGE, "KOPA_ERROR_INFORMATION_SHORTAGE",
     "not enough information for a result"},
    {KOPA_ERROR_NETWORK, "KOPA_ERROR_NETWORK", "the network is unavailable or failing"},
    {KOPA_ERROR_SERVER, "KOPA_ERROR_SERVER", "the positioning server failed"},
    {KOPA_ERROR_NOT_POSITIONED, "KOPA_ERROR_NOT_POSITIONED", "no position could be found"},
    {KOPA_TEXT_EMPTY, "KOPA_TEXT_EMPTY", "the record text is empty"},
    {KOPA_TEXT_WRONG_RECORD, "KOPA_TEXT_WRONG_RECORD", "the text names another record"},
    {KOPA_TEXT_UNSUPPORTED_VERSION, "KOPA_TEXT_UNSUPPORTED_VERSION",
     "the text's record format version is not supported"},
    {KOPA_TEXT_MALFORMED_FIELD, "KOPA_TEXT_MALFORMED_FIELD",
     "a field of the text is not of the form name=value"},
    {KOPA_TEXT_BAD_NUMBER, "KOPA_TEXT_BAD_NUMBER",
     "a numeric field of the text does not hold a number"},
    {KOPA_TEXT_OUT_OF_RANGE, "KOPA_TEXT_OUT_OF_RANGE",
     "a value of the text lies outside its field's range"},
    {KOPA_TEXT_MISSING_FIELD, "KOPA_TEXT_MISSING_FIELD",
     "a required field is missing from the text"},
    {KOPA_TEXT_DUPLICATE_FIELD, "KOPA_TEXT_DUPLICATE_FIELD", "a field stands twice in the text"},
    {KOPA_TEXT_BAD_VALUE, "KOPA_TEXT_BAD_VALUE", "a value of the text is not one its field allows"},
    {KOPA_TEXT_NOT_REPRESENTABLE, "KOPA_TEXT_NOT_REPRESENTABLE",
     "the record holds a value its text cannot carry"},
};

const CodeText* find(int code) {
    for (const CodeText& entry : kCodes) {
        if (entry.code == code) {
            return &entry;
        }
    }
    return nullptr;
}

}  // namespace

const char* codeName(int code) noexcept {
    const CodeText* entry = find(code);
    return entry != nullptr ? entry->name : "KOPA_UNKNOWN_RESULT";
}

const char* codeMessage(int code) noexcept {
    const CodeText* entry = find(code);
    return entry != nullptr ? entry->message : "unknown result code";
}

namespace {

// The cause's text on one line: a service's message (or a reply's text the record refused)
// may hold line breaks and other control characters; each run of them becomes one space.
std::string oneLine(const std::string& text) {
    std::string line;
    bool gap = false;
    for (const char c : text) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) {
            gap = true;
            continue;
        }
        if (gap && !line.empty()) {
            line += ' ';
        }
        gap = false;
        line += c;
    }
    return line;
}

}  // namespace

std::string Error::describe() const {
    std::string line = std::string(name()) + " (" + std::to_string(code_) + "): " + message();
    const std::string errorName = oneLine(cause_.errorName);
    const std::string detail = oneLine(cause_.message);
    if (!errorName.empty() || !detail.empty()) {
        line += " [";
        line += errorName;
        if (!errorName.empty() && !detail.empty()) {
            line += ": ";
        }
        line += detail;
        line += "]";
    }
    return line;
}

}  // namespace kopa
