#include "Diagnosis.h"

#include <dbus/dbus.h>

#include <cstdlib>
#include <memory>

namespace {

constexpr const char* kServiceName = "com.ruvex.location.kopad";
constexpr const char* kServicePath = "/com/ruvex/location/kopad";
constexpr const char* kServiceInterface = "com.ruvex.location.kopad";
constexpr const char* kDefaultSystemBus = "unix:path=/var/run/dbus/system_bus_socket";
constexpr int kProbeTimeoutMs = 5000;

/// Frees a DBusError when it goes out of scope.
struct ScopedError {
    DBusError error;
    ScopedError() { dbus_error_init(&error); }
    ~ScopedError() { dbus_error_free(&error); }
    ScopedError(const ScopedError&) = delete;
    ScopedError& operator=(const ScopedError&) = delete;
};

struct ConnectionCloser {
    void operator()(DBusConnection* connection) const {
        dbus_connection_close(connection);
        dbus_connection_unref(connection);
    }
};
using Connection = std::unique_ptr<DBusConnection, ConnectionCloser>;

struct MessageUnref {
    void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};
using Message = std::unique_ptr<DBusMessage, MessageUnref>;

const char* memberOf(Command command) {
    switch (command) {
        case Command::Measurements:
            return "currentMeasurements";
        case Command::Last:
            return "lastKnownPosition";
        case Command::Convert:
            return "convertToPosition";
        default:
            return "currentPosition";
    }
}

/// The bus's answer to NameHasOwner for the service; false also when the bus does not answer.
bool serviceHasOwner(DBusConnection* connection) {
    Message call(dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS,
                                              DBUS_INTERFACE_DBUS, "NameHasOwner"));
    const char* name = kServiceName;
    if (!call ||
        !dbus_message_append_args(call.get(), DBUS_TYPE_STRING, &name, DBUS_TYPE_INVALID)) {
        return false;
    }
    ScopedError error;
    Message reply(dbus_connection_send_with_reply_and_block(connection, call.get(), kProbeTimeoutMs,
                                                            &error.error));
    dbus_bool_t owned = FALSE;
    return reply &&
           dbus_message_get_args(reply.get(), &error.error, DBUS_TYPE_BOOLEAN, &owned,
                                 DBUS_TYPE_INVALID) &&
           owned;
}

/// Sends the failed request's method without arguments: the bus's policy judges the call
/// before the service sees it, and a service refuses a call without arguments, so nothing is
/// asked of it. Returns the D-Bus error name of the answer, empty for a plain reply.
std::string plainCallError(DBusConnection* connection, Command command) {
    Message call(dbus_message_new_method_call(kServiceName, kServicePath, kServiceInterface,
                                              memberOf(command)));
    if (!call) {
        return {};
    }
    ScopedError error;
    Message reply(dbus_connection_send_with_reply_and_block(connection, call.get(), kProbeTimeoutMs,
                                                            &error.error));
    return dbus_error_is_set(&error.error) ? error.error.name : "";
}

}  // namespace

std::string diagnoseGeneralFailure(Command command) {
    // The library connects where libdbus finds the system bus; so do we, privately, so that
    // nothing of ours stays on its shared connection.
    const char* address = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
    std::string where = address != nullptr && *address != '\0' ? address : kDefaultSystemBus;
    ScopedError error;
    Connection connection(dbus_bus_get_private(DBUS_BUS_SYSTEM, &error.error));
    if (!connection) {
        return "no system bus at " + where +
               (dbus_error_is_set(&error.error) ? std::string(" (") + error.error.message + ")"
                                                : std::string());
    }
    dbus_connection_set_exit_on_disconnect(connection.get(), FALSE);
    if (!serviceHasOwner(connection.get())) {
        return std::string("no service owns ") + kServiceName + " on the bus at " + where;
    }
    std::string refusal = plainCallError(connection.get(), command);
    if (refusal == DBUS_ERROR_ACCESS_DENIED) {
        return std::string("the bus policy refuses the call to ") + kServiceName + " (" + refusal +
               ")";
    }
    return "the service answered, but not in a form the library could read";
}
