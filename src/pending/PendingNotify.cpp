#include "pending/PendingNotify.h"

#include <glib.h>

#include "dbus/KopaDbusMessageParser.h"
#include "dbus/MessageRef.h"
#include "log/Trace.h"
#include "pending/PendingStates.h"

namespace {

using Parser = KopaFwClient::KopaDbusMessageParser;

int parseReply(PendingEntry& entry, DBusMessage*& reply) {
    switch (entry.getPendingType()) {
        case KOPA_REQUEST_CURRENT_MEASUREMENTS:
            return Parser::parseMeasurementsResponse(
                *static_cast<MeasurementsPendingEntry&>(entry).result, reply);
        case KOPA_REQUEST_CURRENT_POSITION:
        case KOPA_REQUEST_LAST_KNOWN_POSITION:
        case KOPA_REQUEST_CONVERT_TO_POSITION:
            return Parser::parsePositionResponse(*static_cast<PositionPendingEntry&>(entry).result,
                                                 reply);
    }
    return KOPA_ERROR_GENERAL;  // only the four asynchronous operations make entries
}

// The result code that the observer receives for a finished pending call.
int outcomeOf(DBusPendingCall* pending, PendingEntry& entry) {
    if (!dbus_pending_call_get_completed(pending)) {
        KOPA_TRACE() << "[PendingNotify] ERROR: dbus_pending_call_get_completed() not completed "
                        "as it ought to be";
        return KOPA_ERROR_GENERAL;
    }
    kopa::MessageRef reply(dbus_pending_call_steal_reply(pending));
    if (reply.get() == nullptr) {
        KOPA_TRACE() << "[requestPendingBlockThread] ERROR: No DBus reply available";
        return KOPA_ERROR_GENERAL;
    }
    if (dbus_message_get_type(reply.get()) == DBUS_MESSAGE_TYPE_ERROR) {
        // A time-out comes this way too: D-Bus completes the call with a NoReply error.
        DBusError error;
        dbus_error_init(&error);
        dbus_set_error_from_message(&error, reply.get());
        int code = Parser::parseErrorReply(&error);
        dbus_error_free(&error);
        return code;
    }
    if (parseReply(entry, reply.get()) != KOPA_OK) {
        KOPA_TRACE() << "[requestPendingBlockThread] ERROR: DBus response parsing failed";
        return KOPA_ERROR_GENERAL;
    }
    return KOPA_OK;
}

// Ends the delivery on every way out, so that a waiting cancel wakes and the delivery's
// reference is dropped.
class Delivery {
  public:
    Delivery(PendingStates& registry, PendingEntry* entry) : registry_(registry), entry_(entry) {}
    ~Delivery() { registry_.endDelivery(entry_); }
    Delivery(const Delivery&) = delete;
    Delivery& operator=(const Delivery&) = delete;

  private:
    PendingStates& registry_;
    PendingEntry* entry_;
};

void deliver(DBusPendingCall* pending) {
    if (kopa::registryGone()) {
        return;
    }
    KOPA_TRACE() << "[PendingNotify] CALLBACK <-";
    PendingStates& registry = *pendingStatesP();
    // Looked up by the pending call, not by the user data: the entry of a cancelled request
    // may be gone. The registry's reference to the pending call went with it, and this path
    // holds none of its own to drop.
    PendingEntry* entry = registry.beginDelivery(pending);
    if (entry == nullptr) {
        KOPA_TRACE() << "[PendingNotify] PendingCall ready, but removed - propably cancelled. "
                        "Ignoring pending data.";
        KOPA_TRACE() << "[PendingNotify] CALLBACK ->";
        return;
    }
    {
        Delivery delivery(registry, entry);
        int code = KOPA_ERROR_GENERAL;
        try {
            code = outcomeOf(pending, *entry);
        } catch (...) {
            // A parser or record that throws (out of memory) still completes the request.
        }
        // A cancel from another thread while the reply was being read wins: the observer is
        // not told of a request its application has already given up.
        if (registry.deliveryWanted(entry)) {
            try {
                entry->observer->requestCompleted(code, entry->requestType);
            } catch (...) {
                // An observer must not throw; if it does, the exception stops here rather
                // than unwinding through D-Bus's dispatch.
            }
        }
        registry.removePendingEntry(entry);
    }
    KOPA_TRACE() << "[PendingNotify] CALLBACK ->";
}

gboolean deliverLate(gpointer data) {
    auto* pending = static_cast<DBusPendingCall*>(data);
    // D-Bus may have called the completion function after all (the reply completed while it
    // was being attached); then there is nothing left to deliver, and nothing to trace.
    if (!kopa::registryGone() && !pendingStatesP()->isPendingRemoved(pending)) {
        PendingNotify(pending, nullptr);
    }
    return G_SOURCE_REMOVE;
}

void releasePendingCall(gpointer pending) {
    dbus_pending_call_unref(static_cast<DBusPendingCall*>(pending));
}

}  // namespace

void PendingNotify(DBusPendingCall* pending, void* /*userData*/) {
    // Called from libdbus's dispatch, through which no exception may pass.
    try {
        deliver(pending);
    } catch (...) {
    }
}

namespace kopa {

void scheduleLateDelivery(DBusPendingCall* pending) {
    g_idle_add_full(G_PRIORITY_DEFAULT, deliverLate, pending, releasePendingCall);
}

}  // namespace kopa
