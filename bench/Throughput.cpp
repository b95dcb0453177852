// Asynchronous throughput: N requests kept in flight, each re-issued when it completes, through
// the library (N objects) and through raw libdbus pending calls on the same GLib main loop.
#include <KopaPositioning.h>
#include <dbus/dbus-glib-lowlevel.h>
#include <glib.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>

#include "Benchmarks.h"

namespace bench {
namespace {

/// Keeps `inFlight` requests outstanding until `target` have completed. A completed slot is
/// re-issued from an idle callback, for both contenders alike: the library refuses a new
/// request of the same kind while the observer of the finished one still runs.
class Driver {
  public:
    Driver(int target, std::function<bool(int)> issue)
        : target_(target), issue_(std::move(issue)) {}

    /// Issues the first requests of slots 0..inFlight-1 and runs the loop until the target.
    double run(int inFlight) {
        Clock::time_point start = Clock::now();
        for (int slot = 0; slot < inFlight && issued_ < target_; ++slot) {
            issue(slot);
        }
        afterBatch();
        if (!iterateUntil([this] { return done_ >= target_; }, 120000)) {
            std::fprintf(stderr, "kopa-bench: throughput run stalled at %d of %d\n", done_,
                         target_);
            std::exit(1);
        }
        return microsecondsSince(start);
    }

    void completed(int slot, bool ok) {
        ++done_;
        failures_ += ok ? 0 : 1;
        if (issued_ < target_) {
            ready_.push_back(slot);
            if (idle_ == 0) {
                idle_ = g_idle_add(&Driver::drain, this);
            }
        }
    }

    int failures() const { return failures_; }
    std::function<void()> afterBatch = [] {};

  private:
    void issue(int slot) {
        ++issued_;
        if (!issue_(slot)) {
            completed(slot, false);
        }
    }

    static gboolean drain(gpointer data) {
        auto* driver = static_cast<Driver*>(data);
        driver->idle_ = 0;
        std::vector<int> ready;
        ready.swap(driver->ready_);
        for (int slot : ready) {
            if (driver->issued_ < driver->target_) {
                driver->issue(slot);
            }
        }
        driver->afterBatch();
        return G_SOURCE_REMOVE;
    }

    int target_;
    std::function<bool(int)> issue_;
    int issued_ = 0;
    int done_ = 0;
    int failures_ = 0;
    std::vector<int> ready_;
    guint idle_ = 0;
};

class Client : public KopaObserver {
  public:
    Client(Driver& driver, int slot) : driver_(driver), slot_(slot), positioning(this) {}
    void requestCompleted(int result, KopaRequestType) override {
        driver_.completed(slot_, result == KOPA_OK);
    }

    Driver& driver_;
    int slot_;
    KopaPositioning positioning;
    KopaPosition position;
};

double libraryRun(int inFlight, int completions, int& failures) {
    Driver* driverPointer = nullptr;
    std::vector<std::unique_ptr<Client>> clients;
    Driver driver(completions, [&clients](int slot) {
        Client& client = *clients[slot];
        return client.positioning.currentPositionAsync(client.position, 0, KOPA_PACKET_DATA_ALLOWED,
                                                       60) == KOPA_OK;
    });
    driverPointer = &driver;
    for (int slot = 0; slot < inFlight; ++slot) {
        clients.push_back(std::make_unique<Client>(*driverPointer, slot));
    }
    double elapsed = driver.run(inFlight);
    failures = driver.failures();
    return elapsed;
}

struct RawSlot {
    Driver* driver;
    int slot;
};

void rawNotify(DBusPendingCall* pending, void* data) {
    auto* slot = static_cast<RawSlot*>(data);
    DBusMessage* reply = dbus_pending_call_steal_reply(pending);
    bool ok = false;
    if (reply != nullptr) {
        const char* text = nullptr;
        ok = dbus_message_get_type(reply) == DBUS_MESSAGE_TYPE_METHOD_RETURN &&
             dbus_message_get_args(reply, nullptr, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
        dbus_message_unref(reply);
    }
    dbus_pending_call_unref(pending);
    slot->driver->completed(slot->slot, ok);
}

double rawRun(int inFlight, int completions, int& failures) {
    DBusConnection* connection = openRawConnection(true);

    std::vector<RawSlot> slots(inFlight);
    Driver driver(completions, [&](int slot) {
        DBusMessage* call = newCurrentPositionCall();
        DBusPendingCall* pending = nullptr;
        bool sent = dbus_connection_send_with_reply(connection, call, &pending, 60000) &&
                    pending != nullptr;
        dbus_message_unref(call);
        if (sent) {
            dbus_pending_call_set_notify(pending, rawNotify, &slots[slot], nullptr);
        }
        return sent;
    });
    for (int slot = 0; slot < inFlight; ++slot) {
        slots[slot] = {&driver, slot};
    }
    // One flush per batch of re-issued requests: what the main loop would do anyway.
    driver.afterBatch = [connection] { dbus_connection_flush(connection); };
    double elapsed = driver.run(inFlight);
    failures = driver.failures();

    dbus_connection_close(connection);
    dbus_connection_unref(connection);
    return elapsed;
}

}  // namespace

Throughput measureThroughput(int inFlight, int completions) {
    Throughput result;
    result.inFlight = inFlight;
    result.completions = completions;
    simControl("Reset");
    double libraryUs = libraryRun(inFlight, completions, result.libraryFailures);
    simControl("Reset");
    double rawUs = rawRun(inFlight, completions, result.rawFailures);
    simControl("Reset");
    result.libraryPerSecond = completions / (libraryUs / 1e6);
    result.rawPerSecond = completions / (rawUs / 1e6);
    return result;
}

}  // namespace bench
