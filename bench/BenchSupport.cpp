#include "BenchSupport.h"

#include <dbus/dbus-glib-lowlevel.h>
#include <gio/gio.h>

#include <malloc.h>
#include <sys/resource.h>
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

namespace {

double processCpuMicroseconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    auto micro = [](const timeval& t) { return t.tv_sec * 1e6 + static_cast<double>(t.tv_usec); };
    return micro(usage.ru_utime) + micro(usage.ru_stime);
}

}  // namespace

Stopwatch::Stopwatch() : cpuStart_(processCpuMicroseconds()), wallStart_(Clock::now()) {}

Cost Stopwatch::elapsed() const {
    return {processCpuMicroseconds() - cpuStart_, microsecondsSince(wallStart_)};
}

GDBusConnection* openGdbusConnection() {
    GError* error = nullptr;
    GDBusConnection* connection = g_dbus_connection_new_for_address_sync(
        std::getenv("DBUS_SYSTEM_BUS_ADDRESS"),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, &error);
    if (connection == nullptr) {
        std::fprintf(stderr, "kopa-bench: GDBus connection: %s\n", error->message);
        std::exit(1);
    }
    return connection;
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
