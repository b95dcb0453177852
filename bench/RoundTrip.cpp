// Blocking round trips: the library against raw libdbus (the floor) and GDBus, on one service.
#include <KopaLog.h>
#include <KopaPositioning.h>
#include <gio/gio.h>

#include <cstdio>
#include <cstdlib>

#include "Benchmarks.h"

namespace bench {
namespace {

[[noreturn]] void die(const char* what, const char* detail) {
    std::fprintf(stderr, "kopa-bench: %s: %s\n", what, detail);
    std::exit(1);
}

double libraryCall(KopaPositioning& positioning) {
    KopaPosition position;
    Clock::time_point start = Clock::now();
    int result = positioning.currentPosition(position, 0, KOPA_PACKET_DATA_ALLOWED, 30);
    double elapsed = microsecondsSince(start);
    if (result != KOPA_OK) {
        die("library currentPosition", std::to_string(result).c_str());
    }
    return elapsed;
}

double rawCall(DBusConnection* connection) {
    Clock::time_point start = Clock::now();
    DBusMessage* call = newCurrentPositionCall();
    DBusError error;
    dbus_error_init(&error);
    DBusMessage* reply = dbus_connection_send_with_reply_and_block(connection, call, 30000, &error);
    dbus_message_unref(call);
    const char* text = nullptr;
    if (reply == nullptr ||
        !dbus_message_get_args(reply, &error, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID)) {
        die("raw currentPosition", error.message);
    }
    dbus_message_unref(reply);
    return microsecondsSince(start);
}

double gdbusCall(GDBusConnection* connection) {
    Clock::time_point start = Clock::now();
    GError* error = nullptr;
    GVariant* reply = g_dbus_connection_call_sync(
        connection, kService, kObject, kInterface, "currentPosition",
        g_variant_new("(uiqq)", 0u, 1, static_cast<guint16>(1), static_cast<guint16>(1)),
        G_VARIANT_TYPE("(s)"), G_DBUS_CALL_FLAGS_NONE, 30000, nullptr, &error);
    if (reply == nullptr) {
        die("GDBus currentPosition", error->message);
    }
    const char* text = nullptr;
    g_variant_get(reply, "(&s)", &text);
    g_variant_unref(reply);
    return microsecondsSince(start);
}

}  // namespace

RoundTrips measureRoundTrips(int calls, const char* traceFile) {
    DBusConnection* raw = openRawConnection(false);

    GError* gerror = nullptr;
    GDBusConnection* gdbus = g_dbus_connection_new_for_address_sync(
        std::getenv("DBUS_SYSTEM_BUS_ADDRESS"),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, &gerror);
    if (gdbus == nullptr) {
        die("GDBus connection", gerror->message);
    }

    KopaPositioning positioning(nullptr);
    // Warm up: the library opens its connection, every path is paged in.
    for (int i = 0; i < 100; ++i) {
        libraryCall(positioning);
        rawCall(raw);
        gdbusCall(gdbus);
    }

    std::vector<double> library, traced, rawSamples, gdbusSamples;
    const int rounds = 4;
    for (int round = 0; round < rounds; ++round) {
        simControl("Reset");  // keeps the simulator's request log short
        KopaLog::sKopaLogFileName.clear();
        for (int i = 0; i < calls / rounds; ++i)
            library.push_back(libraryCall(positioning));
        KopaLog::sKopaLogFileName = traceFile;
        for (int i = 0; i < calls / rounds; ++i)
            traced.push_back(libraryCall(positioning));
        KopaLog::sKopaLogFileName.clear();
        for (int i = 0; i < calls / rounds; ++i)
            rawSamples.push_back(rawCall(raw));
        for (int i = 0; i < calls / rounds; ++i)
            gdbusSamples.push_back(gdbusCall(gdbus));
    }

    dbus_connection_close(raw);
    dbus_connection_unref(raw);
    g_dbus_connection_close_sync(gdbus, nullptr, nullptr);
    g_object_unref(gdbus);
    return {summarize(library), summarize(traced), summarize(rawSamples), summarize(gdbusSamples)};
}

}  // namespace bench
