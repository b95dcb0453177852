// Blocking requests: the library against raw libdbus (the floor) and GDBus, on one service.
#include <KopaLog.h>
#include <gio/gio.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "Benchmarks.h"
#include "Requests.h"

namespace bench {
namespace {

[[noreturn]] void die(const char* what, const std::string& detail) {
    std::fprintf(stderr, "kopa-bench: %s: %s\n", what, detail.c_str());
    std::exit(1);
}

void libraryCall(Request request, KopaPositioning& positioning, Records& records) {
    int result = libraryBlocking(request, positioning, records);
    if (result != KOPA_OK) {
        die(memberName(request), "library: " + std::to_string(result));
    }
}

void rawCall(Request request, DBusConnection* connection, Records& records) {
    DBusMessage* call = newRawCall(request, records);
    DBusError error;
    dbus_error_init(&error);
    DBusMessage* reply = dbus_connection_send_with_reply_and_block(connection, call, 30000, &error);
    dbus_message_unref(call);
    const char* text = nullptr;
    if (reply == nullptr ||
        !dbus_message_get_args(reply, &error, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID)) {
        die(memberName(request), std::string("raw: ") + error.message);
    }
    if (!readAnswer(request, text, records)) {
        die(memberName(request), "raw: the answer does not read");
    }
    dbus_message_unref(reply);
}

void gdbusCall(Request request, GDBusConnection* connection, Records& records) {
    GError* error = nullptr;
    GVariant* reply =
        g_dbus_connection_call_sync(connection, kService, kObject, kInterface, memberName(request),
                                    newGdbusParameters(request, records), G_VARIANT_TYPE("(s)"),
                                    G_DBUS_CALL_FLAGS_NONE, 30000, nullptr, &error);
    if (reply == nullptr) {
        die(memberName(request), std::string("GDBus: ") + error->message);
    }
    const char* text = nullptr;
    g_variant_get(reply, "(&s)", &text);
    if (!readAnswer(request, text, records)) {
        die(memberName(request), "GDBus: the answer does not read");
    }
    g_variant_unref(reply);
}

}  // namespace

BlockingCosts measureBlocking(Request request, int calls, const char* traceFile) {
    DBusConnection* raw = openRawConnection(false);
    GDBusConnection* gdbus = openGdbusConnection();
    KopaPositioning positioning(nullptr);
    Records records;

    // Warm up: the library opens its connection, every path is paged in.
    for (int i = 0; i < 100; ++i) {
        libraryCall(request, positioning, records);
        rawCall(request, raw, records);
        gdbusCall(request, gdbus, records);
    }

    // Interleaved in rounds, so that a change of load hits every contender alike.
    BlockingCosts costs;
    const int rounds = 4;
    const int perRound = calls / rounds;
    auto timed = [perRound](Cost& total, const auto& call) {
        Stopwatch watch;
        for (int i = 0; i < perRound; ++i) {
            call();
        }
        total += watch.elapsed();
    };
    for (int round = 0; round < rounds; ++round) {
        KopaLog::sKopaLogFileName.clear();
        timed(costs.library, [&] { libraryCall(request, positioning, records); });
        KopaLog::sKopaLogFileName = traceFile;
        timed(costs.libraryTraced, [&] { libraryCall(request, positioning, records); });
        KopaLog::sKopaLogFileName.clear();
        timed(costs.raw, [&] { rawCall(request, raw, records); });
        timed(costs.gdbus, [&] { gdbusCall(request, gdbus, records); });
    }
    const double done = perRound * rounds;
    costs.library = costs.library.per(done);
    costs.libraryTraced = costs.libraryTraced.per(done);
    costs.raw = costs.raw.per(done);
    costs.gdbus = costs.gdbus.per(done);

    dbus_connection_close(raw);
    dbus_connection_unref(raw);
    g_dbus_connection_close_sync(gdbus, nullptr, nullptr);
    g_object_unref(gdbus);
    return costs;
}

}  // namespace bench
