// The cost of one cancel while many requests are outstanding: the library's registry against
// the raw minimum (cancel the pending call, tell the service in one signal).
#include <KopaPositioning.h>
#include <dbus/dbus-glib-lowlevel.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "Benchmarks.h"
#include "Requests.h"

namespace bench {
namespace {

class IdleClient : public KopaObserver {
  public:
    IdleClient() : positioning(this) {}
    void requestCompleted(int, KopaRequestType) override { ++completions; }

    KopaPositioning positioning;
    KopaPosition position;
    int completions = 0;
};

/// The objects whose cancel is timed: spread over the registration order.
std::vector<int> sampleSlots(int outstanding, int samples) {
    std::vector<int> slots;
    int count = std::min(outstanding, samples);
    for (int i = 0; i < count; ++i) {
        slots.push_back(static_cast<int>(static_cast<long long>(i) * outstanding / count));
    }
    return slots;
}

void libraryCancels(int outstanding, int samples, CancelCost& cost) {
    std::vector<std::unique_ptr<IdleClient>> clients;
    for (int i = 0; i < outstanding; ++i) {
        clients.push_back(std::make_unique<IdleClient>());
    }
    // The connection opens with the first request; open it before measuring memory.
    clients[0]->positioning.currentPositionAsync(clients[0]->position, kNeverAnswered,
                                                 KOPA_PACKET_DATA_ALLOWED, 120);
    clients[0]->positioning.cancel();

    std::size_t before = heapBytesInUse();
    for (auto& client : clients) {
        int result = client->positioning.currentPositionAsync(client->position, kNeverAnswered,
                                                              KOPA_PACKET_DATA_ALLOWED, 120);
        if (result != KOPA_OK) {
            std::fprintf(stderr, "kopa-bench: currentPositionAsync: %d\n", result);
            std::exit(1);
        }
    }
    cost.libraryBytesPerEntry = static_cast<double>(heapBytesInUse() - before) / outstanding;

    std::vector<bool> cancelled(outstanding, false);
    std::vector<double> times;
    double totalUs = 0;
    for (int slot : sampleSlots(outstanding, samples)) {
        Clock::time_point start = Clock::now();
        clients[slot]->positioning.cancel();
        double elapsed = microsecondsSince(start);
        times.push_back(elapsed);
        totalUs += elapsed;
        cancelled[slot] = true;
    }
    Clock::time_point start = Clock::now();
    for (int slot = 0; slot < outstanding; ++slot) {
        if (!cancelled[slot]) {
            clients[slot]->positioning.cancel();
        }
    }
    totalUs += microsecondsSince(start);
    cost.library = summarize(times);
    cost.libraryAllMs = totalUs / 1000;
}

void rawCancels(int outstanding, int samples, CancelCost& cost) {
    DBusConnection* connection = openRawConnection(true);

    struct Outstanding {
        DBusPendingCall* pending;
        dbus_uint32_t serial;
    };
    std::vector<Outstanding> calls(outstanding);
    Records records;
    std::size_t before = heapBytesInUse();
    for (Outstanding& call : calls) {
        DBusMessage* message = newRawCall(Request::CurrentPosition, records, kNeverAnswered);
        if (!dbus_connection_send_with_reply(connection, message, &call.pending, 120000) ||
            call.pending == nullptr) {
            std::fprintf(stderr, "kopa-bench: raw send failed\n");
            std::exit(1);
        }
        call.serial = dbus_message_get_serial(message);
        dbus_message_unref(message);
        dbus_connection_flush(connection);
    }
    cost.rawBytesPerEntry = static_cast<double>(heapBytesInUse() - before) / outstanding;

    std::vector<bool> cancelled(outstanding, false);
    std::vector<double> times;
    for (int slot : sampleSlots(outstanding, samples)) {
        Clock::time_point start = Clock::now();
        dbus_pending_call_cancel(calls[slot].pending);
        dbus_pending_call_unref(calls[slot].pending);
        DBusMessage* signal = dbus_message_new_signal(kObject, kInterface, "cancel");
        dbus_message_set_destination(signal, kService);
        const dbus_uint32_t* serials = &calls[slot].serial;
        dbus_message_append_args(signal, DBUS_TYPE_ARRAY, DBUS_TYPE_UINT32, &serials, 1,
                                 DBUS_TYPE_INVALID);
        dbus_connection_send(connection, signal, nullptr);
        dbus_message_unref(signal);
        dbus_connection_flush(connection);
        times.push_back(microsecondsSince(start));
        cancelled[slot] = true;
    }
    for (int slot = 0; slot < outstanding; ++slot) {
        if (!cancelled[slot]) {
            dbus_pending_call_cancel(calls[slot].pending);
            dbus_pending_call_unref(calls[slot].pending);
        }
    }
    cost.raw = summarize(times);
    dbus_connection_close(connection);
    dbus_connection_unref(connection);
}

}  // namespace

CancelCost measureCancelCost(int outstanding, int samples) {
    CancelCost cost;
    cost.outstanding = outstanding;
    libraryCancels(outstanding, samples, cost);
    rawCancels(outstanding, samples, cost);
    return cost;
}

}  // namespace bench
