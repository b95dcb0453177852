// The four blocking requests: build, send and wait on the calling thread, parse.
#include "dbus/KopaDbusMessageParser.h"
#include "dbus/KopaDbusMessageWriter.h"
#include "dbus/MessageRef.h"
#include "fwclient/KopaFwClient.h"
#include "fwclient/Timeout.h"
#include "log/Trace.h"

namespace {

using Parser = KopaFwClient::KopaDbusMessageParser;
using Writer = KopaFwClient::KopaDbusMessageWriter;

// What the four requests do once their message is built: send it and wait, flush, release
// the message, then read the reply into the record. The caller names its own trace lines.
struct ReplyLines {
    const char* received;
    const char* exit;
};

template <typename Record>
int sendAndRead(KopaFwClient& client, DBusConnection* connection, kopa::MessageRef& message,
                unsigned int timeout, KopaRequestType requestType, Record& record,
                int (*parse)(Record&, DBusMessage*&), ReplyLines lines) {
    kopa::MessageRef reply;
    int result =
        client.sendMessageAndBlock(message.get(), timeout, reply.get(), requestType, nullptr);
    dbus_connection_flush(connection);
    message.reset();
    if (result != KOPA_OK) {
        return result;
    }
    KOPA_TRACE() << lines.received;
    result = parse(record, reply.get());
    reply.reset();
    KOPA_TRACE() << lines.exit;
    return result;
}

}  // namespace

int KopaFwClient::sendMessageAndBlock(DBusMessage* message, unsigned int timeout,
                                      DBusMessage*& reply, KopaRequestType /*requestType*/,
                                      KopaObserver* /*observer*/) {
    // Every caller passes a null observer: a blocking request returns its outcome directly
    // and never calls into the application.
    KOPA_TRACE() << "KopaFwClient::sendMessageAndBlock() <-";
    DBusError error;
    dbus_error_init(&error);
    reply = dbus_connection_send_with_reply_and_block(connection, message,
                                                      kopa::toDbusTimeoutMs(timeout), &error);
    if (reply != nullptr && !dbus_error_is_set(&error)) {
        KOPA_TRACE() << "KopaFwClient::sendMessageAndBlock()  set serial: "
                     << kopa::traceNumber(dbus_message_get_serial(message));
        KOPA_TRACE() << "KopaFwClient::sendMessageAndBlock() ->";
        return KOPA_OK;
    }

    KOPA_TRACE() << "KopaFwClient::sendMessageAndBlock() Error occured";
    int result = KOPA_ERROR_GENERAL;
    if (dbus_error_is_set(&error)) {
        result = Parser::parseErrorReply(&error);
        dbus_error_free(&error);
    }
    if (reply != nullptr) {
        // libdbus never returns a reply with a set error; drop it all the same, so this path
        // cannot leak.
        dbus_message_unref(reply);
        reply = nullptr;
    }
    return result;
}

int KopaFwClient::currentPosition(KopaPosition& position, unsigned int requestParameter,
                                  KopaPacketDataUsage packetDataUsage, unsigned int timeout) {
    KOPA_TRACE() << "KopaFwClient::currentPosition() <-";
    kopa::MessageRef message;
    int result = Writer::writeCurrentPositionRequest(
        requestParameter, packetDataUsage, static_cast<unsigned short>(position.type()),
        static_cast<unsigned short>(position.version()), message.get());
    if (result != KOPA_OK) {
        return result;
    }
    return sendAndRead(*this, connection, message, timeout, KOPA_REQUEST_CURRENT_POSITION, position,
                       &Parser::parsePositionResponse,
                       {"KopaFwClient::currentPosition() Reply received OK",
                        "KopaFwClient::currentPosition() ->"});
}

int KopaFwClient::currentMeasurements(KopaMeasurements& measurements, unsigned int requestParameter,
                                      unsigned int timeout) {
    KOPA_TRACE() << "KopaFwClient::currentMeasurements() <-";
    kopa::MessageRef message;
    int result = Writer::writeCurrentMeasurementsRequest(requestParameter, message.get());
    if (result != KOPA_OK) {
        return result;
    }
    return sendAndRead(*this, connection, message, timeout, KOPA_REQUEST_CURRENT_MEASUREMENTS,
                       measurements, &Parser::parseMeasurementsResponse,
                       {"KopaFwClient::currentMeasurements() Reply received OK",
                        "KopaFwClient::currentMeasurements() ->"});
}

int KopaFwClient::lastKnownPosition(KopaPosition& position, unsigned int requestParameter) {
    KOPA_TRACE() << "KopaFwClient::lastKnownPosition() <-";
    kopa::MessageRef message;
    int result = Writer::writeLastKnownPositionRequest(
        requestParameter, static_cast<unsigned short>(position.type()),
        static_cast<unsigned short>(position.version()), message.get());
    if (result != KOPA_OK) {
        return result;
    }
    // Time-out 0: the last known position is always waited for with the 24-hour ceiling.
    return sendAndRead(*this, connection, message, 0, KOPA_REQUEST_LAST_KNOWN_POSITION, position,
                       &Parser::parsePositionResponse,
                       {"KopaFwClient::lastKnownPosition() Reply received OK",
                        "KopaFwClient::lastKnownPosition() ->"});
}

int KopaFwClient::convertToPosition(KopaPosition& position, const KopaMeasurements& measurements,
                                    KopaPacketDataUsage packetDataUsage, unsigned int timeout) {
    KOPA_TRACE() << "KopaFwClient::convertToPosition() <-";
    kopa::MessageRef message;
    int result = Writer::writeConvertToPositionRequest(
        measurements, packetDataUsage, static_cast<unsigned short>(position.type()),
        static_cast<unsigned short>(position.version()), message.get());
    if (result != KOPA_OK) {
        // This writer can fail after it created the message: flush, and it goes unsent.
        dbus_connection_flush(connection);
        return result;
    }
    return sendAndRead(*this, connection, message, timeout, KOPA_REQUEST_CONVERT_TO_POSITION,
                       position, &Parser::parsePositionResponse,
                       {"KopaFwClient::convertToPosition() Reply received OK",
                        "KopaFwClient::convertToPosition() ->"});
}
