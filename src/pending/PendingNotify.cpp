#include "pending/PendingNotify.h"

#include <glib.h>

#include "dbus/FailureCause.h"
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
        kopa::recordFailureCause(KOPA_FAILURE_DBUS_ERROR, nullptr,
                                 "D-Bus completed the call without finishing it");
        return KOPA_ERROR_GENERAL;
    }
    kopa::MessageRef reply(dbus_pending_call_steal_reply(pending));
    if (reply.get() == nullptr) {
        KOPA_TRACE() << "[requestPendingBlockThread] ERROR: No DBus reply available";
        kopa::recordFailureCause(KOPA_FAILURE_DBUS_ERROR, nullptr, "D-Bus gave no reply message");
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
// reference is dropped. After the registry's exit-time destructor only the reference remains.
class Delivery {
  public:
    explicit Delivery(PendingEntry* entry) : entry_(entry) {}
    ~Delivery() {
        kopa::LiveRegistry registry;
        if (registry) {
            registry->endDelivery(entry_);
        } else {
            entry_->release();
        }
    }
    Delivery(const Delivery&) = delete;
    Delivery& operator=(const Delivery&) = delete;

  private:
    PendingEntry* entry_;
};

// The entry being delivered, or null when the request is no longer registered (or the
// registry is gone).
PendingEntry* beginDelivery(DBusPendingCall* pending) {
    kopa::LiveRegistry registry;
    if (!registry) {
        return nullptr;
    }
    KOPA_TRACE() << "[PendingNotify] CALLBACK <-";
    // Looked up by the pending call, not by the user data: the entry of a cancelled request
    // may be gone. The registry's reference to the pending call went with it, and this path
    // holds none of its own to drop.
    PendingEntry* entry = registry->beginDelivery(pending);
    if (entry == nullptr) {
        KOPA_TRACE() << "[PendingNotify] PendingCall ready, but removed - propably cancelled. "
                        "Ignoring pending data.";
        KOPA_TRACE() << "[PendingNotify] CALLBACK ->";
    }
    return entry;
}

// A cancel from another thread while the reply was being read wins: the observer is not told
// of a request its application has already given up, nor of one outstanding at exit.
bool deliveryWanted(PendingEntry* entry) {
    kopa::LiveRegistry registry;
    return registry && registry->deliveryWanted(entry);
}

void removeDelivered(PendingEntry* entry) {
    kopa::LiveRegistry registry;
    if (registry) {
        registry->removePendingEntry(entry);
    }
}

// No LiveRegistry lives while the observer runs: it may call exit(), and so the registry's
// destructor, on this very thread.
void deliver(DBusPendingCall* pending) {
    PendingEntry* entry = beginDelivery(pending);
    if (entry == nullptr) {
        return;
    }
    {
        Delivery delivery(entry);
        int code = KOPA_ERROR_GENERAL;
        // The observer reads the cause of this completion on this thread.
        kopa::clearFailureCause();
        try {
            code = outcomeOf(pending, *entry);
        } catch (...) {
            // A parser or record that throws (out of memory) still completes the request.
            kopa::recordFailureCause(KOPA_FAILURE_UNREADABLE_REPLY, nullptr,
                                     "the library ran out of memory reading the reply");
        }
        kopa::explainUnrecordedFailure(code);
        if (deliveryWanted(entry)) {
            try {
                entry->observer->requestCompleted(code, entry->requestType);
            } catch (...) {
                // An observer must not throw; if it does, the exception stops here rather
                // than unwinding through D-Bus's dispatch.
            }
        }
        removeDelivered(entry);
    }
    KOPA_TRACE() << "[PendingNotify] CALLBACK ->";
}

gboolean deliverLate(gpointer data) {
    auto* pending = static_cast<DBusPendingCall*>(data);
    // D-Bus may have called the completion function after all (the reply completed while it
    // was being attached); then there is nothing left to deliver, and nothing to trace.
    bool stillRegistered = false;
    {
        kopa::LiveRegistry registry;
        stillRegistered = registry && !registry->isPendingRemoved(pending);
    }
    if (stillRegistered) {
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
