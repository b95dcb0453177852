#include "BenchSupport.h"

#include <dbus/dbus-glib-lowlevel.h>
#include <gio/gio.h>

#include <malloc.h>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace bench {

const char* const kService = "com.ruvex.location.kopad";
const char* const kObject = "/com/ruvex/location/kopad";
const char* const kInterface = "com.ruvex.location.kopad";

Summary summarize(std::vector<double> samples) {
    Summary summary;
    if (samples.empty()) {
        return summary;
    }
    std::sort(samples.begin(), samples.end());
    auto at = [&](double fraction) {
        std::size_t index = static_cast<std::size_t>(std::lround(fraction * (samples.size() - 1)));
        return samples[index];
    };
    summary.p10 = at(0.10);
    summary.median = at(0.50);
    summary.p90 = at(0.90);
    summary.max = samples.back();
    return summary;
}

std::size_t heapBytesInUse() {
    return mallinfo2().uordblks;
}

DBusMessage* newCurrentPositionCall() {
    DBusMessage* message =
        dbus_message_new_method_call(kService, kObject, kInterface, "currentPosition");
    dbus_uint32_t requestParameter = 0;
    dbus_int32_t packetData = 1;
    dbus_uint16_t classType = 1;
    dbus_uint16_t version = 1;
    if (message == nullptr ||
        !dbus_message_append_args(message, DBUS_TYPE_UINT32, &requestParameter, DBUS_TYPE_INT32,
                                  &packetData, DBUS_TYPE_UINT16, &classType, DBUS_TYPE_UINT16,
                                  &version, DBUS_TYPE_INVALID)) {
        std::fprintf(stderr, "kopa-bench: out of memory building a message\n");
        std::exit(1);
    }
    return message;
}

void simControl(const char* method, const std::string& member,
                const std::vector<std::string>& outcomes) {
    static GDBusConnection* connection = nullptr;
    GError* error = nullptr;
    if (connection == nullptr) {
        const char* address = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
        if (address == nullptr) {
            std::fprintf(stderr, "kopa-bench: DBUS_SYSTEM_BUS_ADDRESS is not set\n");
            std::exit(1);
        }
        connection = g_dbus_connection_new_for_address_sync(
            address,
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, &error);
        if (connection == nullptr) {
            std::fprintf(stderr, "kopa-bench: %s\n", error->message);
            std::exit(1);
        }
    }
    GVariant* parameters = nullptr;
    if (!member.empty()) {
        GVariantBuilder list;
        g_variant_builder_init(&list, G_VARIANT_TYPE("as"));
        for (const std::string& outcome : outcomes) {
            g_variant_builder_add(&list, "s", outcome.c_str());
        }
        parameters = g_variant_new("(sas)", member.c_str(), &list);
    }
    GVariant* reply = g_dbus_connection_call_sync(
        connection, kService, kObject, "com.ruvex.location.kopad.Simulator", method, parameters,
        nullptr, G_DBUS_CALL_FLAGS_NONE, 60000, nullptr, &error);
    if (reply == nullptr) {
        std::fprintf(stderr, "kopa-bench: Simulator.%s: %s\n", method, error->message);
        std::exit(1);
    }
    g_variant_unref(reply);
}

bool iterateUntil(const std::function<bool()>& done, int timeoutMs) {
    bool expired = false;
    guint timer = g_timeout_add(
        static_cast<guint>(timeoutMs),
        [](gpointer flag) -> gboolean {
            *static_cast<bool*>(flag) = true;
            return G_SOURCE_REMOVE;
        },
        &expired);
    while (!done() && !expired) {
        g_main_context_iteration(nullptr, TRUE);
    }
    if (!expired) {
        g_source_remove(timer);
    }
    return done();
}

DBusConnection* openRawConnection(bool dispatchFromMainLoop) {
    DBusError error;
    dbus_error_init(&error);
    DBusConnection* connection = dbus_bus_get_private(DBUS_BUS_SYSTEM, &error);
    if (connection == nullptr) {
        std::fprintf(stderr, "kopa-bench: raw connection: %s\n", error.message);
        std::exit(1);
    }
    dbus_connection_set_exit_on_disconnect(connection, FALSE);
    if (dispatchFromMainLoop) {
        dbus_connection_setup_with_g_main(connection, nullptr);
    }
    return connection;
}

}  // namespace bench
