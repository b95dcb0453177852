// Asynchronous throughput: N requests kept in flight, each re-issued when it completes, through
// the library (N objects), raw libdbus pending calls and GDBus calls, all on the same GLib main
// loop.
#include <KopaPositioning.h>
#include <dbus/dbus-glib-lowlevel.h>
#include <gio/gio.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>

#include "Benchmarks.h"
#include "Driver.h"
#include "Requests.h"

namespace bench {
namespace {

class Client : public KopaObserver {
  public:
    Client(Driver& driver, int slot) : driver_(driver), slot_(slot), positioning(this) {}
    void requestCompleted(int result, KopaRequestType) override {
        driver_.completed(slot_, result == KOPA_OK);
    }

    Driver& driver_;
    int slot_;
    KopaPositioning positioning;
    Records records;
};

Cost libraryRun(Request request, int inFlight, int completions, int& failures) {
    std::vector<std::unique_ptr<Client>> clients;
    Driver driver(completions, [&clients, request](int slot) {
        Client& client = *clients[slot];
        return libraryAsync(request, client.positioning, client.records) == KOPA_OK;
    });
    for (int slot = 0; slot < inFlight; ++slot) {
        clients.push_back(std::make_unique<Client>(driver, slot));
    }
    Stopwatch watch;
    driver.run(inFlight);
    Cost cost = watch.elapsed();
    failures += driver.failures();
    return cost;
}

struct Slot {
    Driver* driver;
    int slot;
    Request request;
    Records records;
};

void rawNotify(DBusPendingCall* pending, void* data) {
    auto* slot = static_cast<Slot*>(data);
    DBusMessage* reply = dbus_pending_call_steal_reply(pending);
    bool ok = false;
    if (reply != nullptr) {
        const char* text = nullptr;
        ok = dbus_message_get_type(reply) == DBUS_MESSAGE_TYPE_METHOD_RETURN &&
             dbus_message_get_args(reply, nullptr, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID) &&
             readAnswer(slot->request, text, slot->records);
        dbus_message_unref(reply);
    }
    dbus_pending_call_unref(pending);
    slot->driver->completed(slot->slot, ok);
}

Cost rawRun(Request request, int inFlight, int completions, int& failures) {
    DBusConnection* connection = openRawConnection(true);

    std::vector<std::unique_ptr<Slot>> slots;
    Driver driver(completions, [&](int index) {
        Slot& slot = *slots[index];
        DBusMessage* call = newRawCall(request, slot.records);
        DBusPendingCall* pending = nullptr;
        bool sent = dbus_connection_send_with_reply(connection, call, &pending, 60000) &&
                    pending != nullptr;
        dbus_message_unref(call);
        if (sent) {
            dbus_pending_call_set_notify(pending, rawNotify, &slot, nullptr);
        }
        return sent;
    });
    for (int index = 0; index < inFlight; ++index) {
        slots.push_back(std::unique_ptr<Slot>(new Slot{&driver, index, request, {}}));
    }
    // One flush per batch of re-issued requests: what the main loop would do anyway.
    driver.afterBatch = [connection] { dbus_connection_flush(connection); };
    Stopwatch watch;
    driver.run(inFlight);
    Cost cost = watch.elapsed();
    failures += driver.failures();

    dbus_connection_close(connection);
    dbus_connection_unref(connection);
    return cost;
}

void gdbusDone(GObject* source, GAsyncResult* result, gpointer data) {
    auto* slot = static_cast<Slot*>(data);
    GVariant* reply = g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, nullptr);
    bool ok = false;
    if (reply != nullptr) {
        const char* text = nullptr;
        g_variant_get(reply, "(&s)", &text);
        ok = readAnswer(slot->request, text, slot->records);
        g_variant_unref(reply);
    }
    slot->driver->completed(slot->slot, ok);
}

Cost gdbusRun(Request request, int inFlight, int completions, int& failures) {
    GDBusConnection* connection = openGdbusConnection();

    std::vector<std::unique_ptr<Slot>> slots;
    Driver driver(completions, [&](int index) {
        Slot& slot = *slots[index];
        g_dbus_connection_call(connection, kService, kObject, kInterface, memberName(request),
                               newGdbusParameters(request, slot.records), G_VARIANT_TYPE("(s)"),
                               G_DBUS_CALL_FLAGS_NONE, 60000, nullptr, gdbusDone, &slot);
        return true;
    });
    for (int index = 0; index < inFlight; ++index) {
        slots.push_back(std::unique_ptr<Slot>(new Slot{&driver, index, request, {}}));
    }
    Stopwatch watch;
    driver.run(inFlight);
    Cost cost = watch.elapsed();
    failures += driver.failures();

    g_dbus_connection_close_sync(connection, nullptr, nullptr);
    g_object_unref(connection);
    return cost;
}

}  // namespace

AsyncCosts measureAsync(Request request, int inFlight, int completions) {
    AsyncCosts costs;
    costs.library = libraryRun(request, inFlight, completions, costs.failures).per(completions);
    costs.raw = rawRun(request, inFlight, completions, costs.failures).per(completions);
    costs.gdbus = gdbusRun(request, inFlight, completions, costs.failures).per(completions);
    return costs;
}

Cost measureLibraryAsync(Request request, int inFlight, int completions, int& failures) {
    return libraryRun(request, inFlight, completions, failures).per(completions);
}

}  // namespace bench
