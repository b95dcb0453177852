#include "Outcome.h"

#include <gio/gio.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <map>

const char* const kServiceErrorName = "com.ruvex.location.kopad.Error";

namespace {

// Splits "keyword rest" at the first space; the rest stays verbatim (it may be empty).
void splitWord(const std::string& text, std::string& word, std::string& rest, bool& hasRest) {
    std::size_t space = text.find(' ');
    hasRest = space != std::string::npos;
    word = text.substr(0, space);
    rest = hasRest ? text.substr(space + 1) : std::string();
}

bool readNumber(const std::string& text, long long min, long long max, long long& out) {
    if (text.empty() || !(text[0] == '-' || (text[0] >= '0' && text[0] <= '9'))) {
        return false;
    }
    errno = 0;
    char* end = nullptr;
    long long value = std::strtoll(text.c_str(), &end, 10);
    if (errno != 0 || *end != '\0' || value < min || value > max) {
        return false;
    }
    out = value;
    return true;
}

}  // namespace

std::string serviceErrorMessage(const std::string& code) {
    static const std::map<std::string, std::string> kMessages = {
        {"41", "Bad request"},
        {"42", "Not authorized"},
        {"43", "Network error"},
        {"44", "Network disabled"},
        {"45", "Information shortage"},
        {"46", "Not positioned"},
        {"47", "Internal error"},
        {"51", "Protocol error"},
        {"52", "No answer"},
        {"53", "Positioning method not supported"},
        {"54", "Position not found"},
        {"55", "Server error"},
        {"56", "Server authentication error"},
        {"57", "Unspecified error"},
    };
    auto found = kMessages.find(code);
    return found != kMessages.end() ? found->second : "Service error";
}

Outcome serviceError(const std::string& code) {
    Outcome outcome;
    outcome.kind = Outcome::Kind::ServiceError;
    outcome.errorName = kServiceErrorName;
    outcome.text = serviceErrorMessage(code) + " (" + code + ")";
    outcome.source = "error " + code;
    return outcome;
}

bool parseOutcome(const std::string& text, Outcome& outcome, std::string& why) {
    // Everything here may end up in a D-Bus string, which must be UTF-8.
    if (!g_utf8_validate(text.c_str(), static_cast<gssize>(text.size()), nullptr)) {
        why = "an outcome must be UTF-8 text";
        return false;
    }
    Outcome result;
    result.source = text;
    std::string rest = text;
    std::string word;
    bool hasRest = false;
    splitWord(rest, word, rest, hasRest);

    // "delay MS OUTCOME" may wrap any outcome, another delay included.
    while (word == "delay") {
        std::string ms;
        splitWord(rest, ms, rest, hasRest);
        long long value = 0;
        if (!readNumber(ms, 0, UINT_MAX / 2, value) || ms[0] == '-') {
            why = "delay needs milliseconds, then an outcome: \"" + text + "\"";
            return false;
        }
        if (!hasRest) {
            why = "delay needs an outcome after the milliseconds: \"" + text + "\"";
            return false;
        }
        result.delayMs += static_cast<unsigned int>(value);
        splitWord(rest, word, rest, hasRest);
    }

    if (word == "reply") {
        result.kind = hasRest ? Outcome::Kind::Text : Outcome::Kind::Own;
        result.text = rest;
    } else if (word == "extra") {
        result.kind = Outcome::Kind::Extra;
        result.hasText = hasRest;
        result.text = rest;
    } else if (word == "error") {
        std::string code;
        std::string message;
        bool hasMessage = false;
        splitWord(rest, code, message, hasMessage);
        if (!hasRest || code.empty()) {
            why = "error needs a code: \"" + text + "\"";
            return false;
        }
        result.kind = Outcome::Kind::ServiceError;
        result.errorName = kServiceErrorName;
        result.text = hasMessage ? message : serviceErrorMessage(code) + " (" + code + ")";
    } else if (word == "dbus-error") {
        std::string name;
        std::string message;
        bool hasMessage = false;
        splitWord(rest, name, message, hasMessage);
        // GDBus would refuse to send an error whose name is not a valid one.
        if (!g_dbus_is_interface_name(name.c_str())) {
            why = "dbus-error needs a valid error name: \"" + text + "\"";
            return false;
        }
        result.kind = Outcome::Kind::DbusError;
        result.errorName = name;
        result.text = message;
    } else if (word == "noreply" && !hasRest) {
        result.kind = Outcome::Kind::NoReply;
    } else if (word == "noarg" && !hasRest) {
        result.kind = Outcome::Kind::NoArg;
    } else if (word == "int32") {
        long long value = 0;
        if (!readNumber(rest, INT32_MIN, INT32_MAX, value)) {
            why = "int32 needs a signed 32-bit number: \"" + text + "\"";
            return false;
        }
        result.kind = Outcome::Kind::Int32;
        result.number = static_cast<std::int32_t>(value);
    } else {
        why = "unknown outcome: \"" + text + "\"";
        return false;
    }
    outcome = std::move(result);
    return true;
}
