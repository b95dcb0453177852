// The four asynchronous requests: build, send with a pending reply, register, return.
#include "dbus/KopaDbusMessageWriter.h"
#include "fwclient/KopaFwClient.h"
#include "fwclient/Timeout.h"
#include "log/Trace.h"
#include "pending/PendingStates.h"

namespace {

using Writer = KopaFwClient::KopaDbusMessageWriter;

// The checks made before anything is built: a registry that can work, and no request of this
// kind already outstanding for this owner.
int admit(KopaRequestType type, KopaPositioning* owner) {
    PendingStates& registry = *pendingStatesP();
    if (registry.threadsUnavailable) {
        return KOPA_ERROR_NOT_SUPPORTED;
    }
    if (registry.checkDuplicatePending(type, owner)) {
        return KOPA_ERROR_REQUEST_PENDING;
    }
    return KOPA_OK;
}

// Releases the request message and flushes the connection however the send ends, the
// exception of a registry that cannot attach its completion function included.
class SentMessage {
  public:
    SentMessage(DBusConnection* connection, DBusMessage* message)
        : connection_(connection), message_(message) {}
    ~SentMessage() {
        dbus_message_unref(message_);
        dbus_connection_flush(connection_);
    }
    SentMessage(const SentMessage&) = delete;
    SentMessage& operator=(const SentMessage&) = delete;

  private:
    DBusConnection* connection_;
    DBusMessage* message_;
};

// Gives a reservation back unless its request got registered.
class Reservation {
  public:
    Reservation(PendingStates& registry, KopaRequestType type, KopaPositioning* owner)
        : registry_(registry), type_(type), owner_(owner) {}
    ~Reservation() {
        if (!registered_) {
            registry_.releaseReservation(type_, owner_);
        }
    }
    Reservation(const Reservation&) = delete;
    Reservation& operator=(const Reservation&) = delete;
    void registered() { registered_ = true; }

  private:
    PendingStates& registry_;
    KopaRequestType type_;
    KopaPositioning* owner_;
    bool registered_ = false;
};

template <typename Record>
int sendAndRegister(KopaFwClient& client, DBusConnection* connection, DBusMessage* message,
                    unsigned int timeout, KopaRequestType type, KopaObserver* observer,
                    Record& record, KopaPositioning* owner, const char* exitLine) {
    int result = KOPA_OK;
    {
        SentMessage sent(connection, message);
        result = client.sendMessageWithoutBlock(message, timeout, type, observer, record, owner);
    }
    if (result != KOPA_OK) {
        return result;
    }
    KOPA_TRACE() << exitLine;
    return KOPA_OK;
}

}  // namespace

template <typename T>
int KopaFwClient::sendMessageWithoutBlock(DBusMessage* message, unsigned int timeout,
                                          KopaRequestType requestType, KopaObserver*& observer,
                                          T& result, KopaPositioning* owner) {
    KOPA_TRACE() << "KopaFwClient::sendMessageWithoutBlock() <-";
    PendingStates& registry = *pendingStatesP();
    // The second duplicate check reserves the request's kind for its owner until the entry is
    // registered, so that two threads sending the same request at once cannot both pass.
    if (!registry.reservePending(requestType, owner)) {
        return KOPA_ERROR_REQUEST_PENDING;
    }
    Reservation reservation(registry, requestType, owner);

    const int milliseconds = kopa::toDbusTimeoutMs(timeout);
    DBusPendingCall* pendingCall = nullptr;
    const dbus_bool_t sent =
        dbus_connection_send_with_reply(connection, message, &pendingCall, milliseconds);
    KOPA_TRACE() << "KopaFwClient::sendMessageWithoutBlock()  set serial: "
                 << kopa::traceNumber(dbus_message_get_serial(message));
    if (!sent || pendingCall == nullptr) {
        // A closed connection gives no pending call.
        return KOPA_ERROR_SEND;
    }

    const unsigned int serial = dbus_message_get_serial(message);
    int added = KOPA_OK;
    try {
        added = registry.addPendingEntry(requestType, observer, pendingCall,
                                         static_cast<unsigned int>(milliseconds), &result, owner,
                                         serial);
    } catch (...) {
        // The request went out but nothing will ever complete it: let D-Bus forget it and drop
        // the reference that would have been the entry's.
        dbus_pending_call_cancel(pendingCall);
        dbus_pending_call_unref(pendingCall);
        throw;
    }
    reservation.registered();
    KOPA_TRACE() << "KopaFwClient::sendMessageWithoutBlock() ->";
    return added;
}

template int KopaFwClient::sendMessageWithoutBlock<KopaPosition>(DBusMessage*, unsigned int,
                                                                 KopaRequestType, KopaObserver*&,
                                                                 KopaPosition&, KopaPositioning*);
template int KopaFwClient::sendMessageWithoutBlock<KopaMeasurements>(DBusMessage*, unsigned int,
                                                                     KopaRequestType,
                                                                     KopaObserver*&,
                                                                     KopaMeasurements&,
                                                                     KopaPositioning*);

int KopaFwClient::currentPositionAsync(KopaPosition& position, unsigned int requestParameter,
                                       KopaPacketDataUsage packetDataUsage, unsigned int timeout,
                                       KopaObserver* observer, KopaPositioning* owner) {
    KOPA_TRACE() << "KopaFwClient::currentPositionAsync() <-";
    int result = admit(KOPA_REQUEST_CURRENT_POSITION, owner);
    if (result != KOPA_OK) {
        return result;
    }
    DBusMessage* message = nullptr;
    result = Writer::writeCurrentPositionRequest(
        requestParameter, packetDataUsage, static_cast<unsigned short>(position.type()),
        static_cast<unsigned short>(position.version()), message);
    if (result != KOPA_OK) {
        return result;
    }
    return sendAndRegister(*this, connection, message, timeout, KOPA_REQUEST_CURRENT_POSITION,
                           observer, position, owner, "KopaFwClient::currentPositionAsync() ->");
}

int KopaFwClient::currentMeasurementsAsync(KopaMeasurements& measurements,
                                           unsigned int requestParameter, unsigned int timeout,
                                           KopaObserver* observer, KopaPositioning* owner) {
    KOPA_TRACE() << "KopaFwClient::currentMeasurementsAsync() <-";
    int result = admit(KOPA_REQUEST_CURRENT_MEASUREMENTS, owner);
    if (result != KOPA_OK) {
        return result;
    }
    DBusMessage* message = nullptr;
    result = Writer::writeCurrentMeasurementsRequest(requestParameter, message);
    if (result != KOPA_OK) {
        return result;
    }
    return sendAndRegister(*this, connection, message, timeout, KOPA_REQUEST_CURRENT_MEASUREMENTS,
                           observer, measurements, owner,
                           "KopaFwClient::currentMeasurementsAsync() ->");
}

int KopaFwClient::lastKnownPositionAsync(KopaPosition& position, unsigned int requestParameter,
                                         KopaObserver* observer, KopaPositioning* owner) {
    KOPA_TRACE() << "KopaFwClient::lastKnownPositionAsync() <-";
    int result = admit(KOPA_REQUEST_LAST_KNOWN_POSITION, owner);
    if (result != KOPA_OK) {
        return result;
    }
    DBusMessage* message = nullptr;
    result = Writer::writeLastKnownPositionRequest(
        requestParameter, static_cast<unsigned short>(position.type()),
        static_cast<unsigned short>(position.version()), message);
    if (result != KOPA_OK) {
        return result;
    }
    // Time-out 0: always the 24-hour ceiling.
    return sendAndRegister(*this, connection, message, 0, KOPA_REQUEST_LAST_KNOWN_POSITION,
                           observer, position, owner, "KopaFwClient::lastKnownPositionAsync() ->");
}

int KopaFwClient::convertToPositionAsync(KopaPosition& position,
                                         const KopaMeasurements& measurements,
                                         KopaPacketDataUsage packetDataUsage, unsigned int timeout,
                                         KopaObserver* observer, KopaPositioning* owner) {
    KOPA_TRACE() << "KopaFwClient::convertToPositionAsync() <-";
    int result = admit(KOPA_REQUEST_CONVERT_TO_POSITION, owner);
    if (result != KOPA_OK) {
        return result;
    }
    DBusMessage* message = nullptr;
    result = Writer::writeConvertToPositionRequest(
        measurements, packetDataUsage, static_cast<unsigned short>(position.type()),
        static_cast<unsigned short>(position.version()), message);
    if (result != KOPA_OK) {
        // This writer can fail after it created the message: release it unsent.
        if (message != nullptr) {
            dbus_message_unref(message);
        }
        return result;
    }
    return sendAndRegister(*this, connection, message, timeout, KOPA_REQUEST_CONVERT_TO_POSITION,
                           observer, position, owner, "KopaFwClient::convertToPositionAsync() ->");
}
