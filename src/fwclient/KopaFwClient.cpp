#include "fwclient/KopaFwClient.h"

#include <dbus/dbus-glib-lowlevel.h>

#include <mutex>

#include "dbus/FailureCause.h"
#include "log/Trace.h"

namespace {

// Serialises opening the connection: two threads making their first request at once would
// otherwise both take a reference to the shared connection, and one of them would never be
// released. Held for the whole of initKopaFwClient, the connecting included.
std::mutex connectMutex;

}  // namespace

KopaFwClient* kopaFwClientP() {
    static KopaFwClient client;
    return &client;
}

KopaFwClient::KopaFwClient() : connection(nullptr) {
    KOPA_TRACE() << "KopaFwClient::KopaFwClient()";
}

KopaFwClient::~KopaFwClient() {
    KOPA_TRACE() << "KopaFwClient::~KopaFwClient()";
    if (connection != nullptr) {
        // The bus library shares this connection with the rest of the process: drop our
        // reference, never close it.
        dbus_connection_unref(connection);
    }
}

int KopaFwClient::initKopaFwClient() {
    KOPA_TRACE() << "KopaFwClient::initKopaFwClient() <-";
    std::lock_guard<std::mutex> lock(connectMutex);
    if (connection != nullptr) {
        KOPA_TRACE() << "KopaFwClient::initKopaFwClient() -> (we have a dbus_connection handle "
                        "already)";
        return KOPA_OK;
    }

    dbus_threads_init_default();
    DBusError error;
    dbus_error_init(&error);
    connection = dbus_bus_get(DBUS_BUS_SYSTEM, &error);
    if (dbus_error_is_set(&error)) {
        KOPA_TRACE() << "error: dbus_bus_get error ( Name: " << error.name
                     << " Message: " << error.message << ")";
        kopa::recordFailureCause(KOPA_FAILURE_NO_BUS, error.name, error.message);
        dbus_error_free(&error);
        return KOPA_ERROR_GENERAL;
    }
    if (connection == nullptr) {
        KOPA_TRACE() << "error: DbusConnection not available";
        kopa::recordFailureCause(KOPA_FAILURE_NO_BUS, nullptr, "libdbus gave no connection");
        return KOPA_ERROR_GENERAL;
    }

    dbus_connection_setup_with_g_main(connection, nullptr);
    KOPA_TRACE() << "KopaFwClient::initKopaFwClient() ->";
    return KOPA_OK;
}
