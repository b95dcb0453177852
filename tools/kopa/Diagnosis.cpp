#include "Diagnosis.h"

#include <KopaFwErrorCodes.h>

#include <cstdlib>

namespace {

constexpr const char* kServiceName = "com.ruvex.location.kopad";
constexpr const char* kDefaultSystemBus = "unix:path=/var/run/dbus/system_bus_socket";

/// The bus the library connects to: where libdbus finds the system bus.
std::string busAddress() {
    const char* address = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
    return address != nullptr && *address != '\0' ? address : kDefaultSystemBus;
}

/// The text on one line: D-Bus messages may hold line ends (some end with one).
std::string oneLine(const std::string& text) {
    std::string line;
    for (char c : text) {
        line += (c == '\n' || c == '\r' || c == '\t') ? ' ' : c;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

/// " (name: message)", " (message)" or nothing.
std::string inBrackets(const KopaFailureCause& cause) {
    std::string said = cause.errorName;
    if (!cause.message.empty()) {
        said += (said.empty() ? "" : ": ") + cause.message;
    }
    said = oneLine(said);
    return said.empty() ? said : " (" + said + ")";
}

struct ServiceCode {
    const char* const* text;  // the library's own variable, so that both compare the same text
    const char* name;
};

const ServiceCode kServiceCodes[] = {
    {&KOPA_FW_BAD_REQUEST, "KOPA_FW_BAD_REQUEST"},
    {&KOPA_FW_NOT_AUTHORIZED, "KOPA_FW_NOT_AUTHORIZED"},
    {&KOPA_FW_NETWORK_ERROR, "KOPA_FW_NETWORK_ERROR"},
    {&KOPA_FW_NETWORK_DISABLED, "KOPA_FW_NETWORK_DISABLED"},
    {&KOPA_FW_INFORMATION_SHORTAGE, "KOPA_FW_INFORMATION_SHORTAGE"},
    {&KOPA_FW_NOT_POSITIONED, "KOPA_FW_NOT_POSITIONED"},
    {&KOPA_FW_INTERNAL_ERROR, "KOPA_FW_INTERNAL_ERROR"},
    {&KOPA_FW_PROTOCOL_ERROR, "KOPA_FW_PROTOCOL_ERROR"},
    {&KOPA_FW_NO_ANSWER, "KOPA_FW_NO_ANSWER"},
    {&KOPA_FW_POS_METHOD_NOT_SUPPORTED, "KOPA_FW_POS_METHOD_NOT_SUPPORTED"},
    {&KOPA_FW_POSITION_NOT_FOUND, "KOPA_FW_POSITION_NOT_FOUND"},
    {&KOPA_FW_SERVER_ERROR, "KOPA_FW_SERVER_ERROR"},
    {&KOPA_FW_SERVER_AUTH_ERROR, "KOPA_FW_SERVER_AUTH_ERROR"},
    {&KOPA_FW_UNSPECIFIED_ERROR, "KOPA_FW_UNSPECIFIED_ERROR"},
};

/// What the service's error said: its code (the text between the message's first "(" and the
/// next ")", as the library reads it) and that code's name, or that it has none.
std::string serviceErrorCode(const std::string& message) {
    std::size_t open = message.find('(');
    std::size_t close = open == std::string::npos ? open : message.find(')', open + 1);
    if (close == std::string::npos) {
        return "an error without a code";
    }
    std::string code = message.substr(open + 1, close - open - 1);
    for (const ServiceCode& known : kServiceCodes) {
        if (code == *known.text) {
            return "error code " + code + ", " + known.name;
        }
    }
    return "error code \"" + oneLine(code) + "\", which is none of the service's codes";
}

/// Errors of the bus and of libdbus itself are all named in this space; any other name came
/// from the service.
bool fromBusOrLibdbus(const std::string& errorName) {
    return errorName.rfind("org.freedesktop.DBus.", 0) == 0;
}

}  // namespace

std::string describeFailureCause(const KopaFailureCause& cause) {
    switch (cause.kind) {
        case KOPA_FAILURE_NO_BUS:
            return "no system bus at " + busAddress() + inBrackets(cause);
        case KOPA_FAILURE_NO_SERVICE:
            return std::string("no service owns ") + kServiceName + " on the bus at " +
                   busAddress();
        case KOPA_FAILURE_POLICY:
            return std::string("the bus policy refuses the call to ") + kServiceName +
                   inBrackets(cause);
        case KOPA_FAILURE_SERVICE_ERROR:
            return "the service answered with " + serviceErrorCode(cause.message) +
                   inBrackets(cause);
        case KOPA_FAILURE_UNREADABLE_REPLY:
            return "the service answered, but not in a form the library could read" +
                   inBrackets(cause);
        case KOPA_FAILURE_NO_REPLY:
            return "no answer in time" + inBrackets(cause);
        case KOPA_FAILURE_DBUS_ERROR:
            if (!cause.errorName.empty() && !fromBusOrLibdbus(cause.errorName)) {
                return "the service answered with an error of another name" + inBrackets(cause);
            }
            return "D-Bus failed" + inBrackets(cause);
        case KOPA_FAILURE_NOT_SENT:
        case KOPA_FAILURE_REFUSED:
            return oneLine(cause.message);
        case KOPA_FAILURE_NONE:
            break;
    }
    return "the library recorded no cause";
}
