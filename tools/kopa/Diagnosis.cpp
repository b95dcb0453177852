#include "Diagnosis.h"

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
            return "the service answered with an error" + inBrackets(cause);
        case KOPA_FAILURE_UNREADABLE_REPLY:
            return "the service answered, but not in a form the library could read" +
                   inBrackets(cause);
        case KOPA_FAILURE_NO_REPLY:
            return "no answer in time" + inBrackets(cause);
        case KOPA_FAILURE_DBUS_ERROR:
            return "D-Bus failed" + inBrackets(cause);
        case KOPA_FAILURE_NOT_SENT:
        case KOPA_FAILURE_REFUSED:
            return oneLine(cause.message);
        case KOPA_FAILURE_NONE:
            break;
    }
    return "the library recorded no cause";
}
