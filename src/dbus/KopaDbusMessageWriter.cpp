#include "dbus/KopaDbusMessageWriter.h"

#include <string>

#include "dbus/ServiceNames.h"
#include "log/Trace.h"

namespace {

DBusMessage* newServiceCall(const char* member) {
    return dbus_message_new_method_call(kopa::kServiceName, kopa::kServicePath,
                                        kopa::kServiceInterface, member);
}

// libdbus ends the whole process when it is handed a STRING that is not valid UTF-8, so the
// text from the data-types library is checked first; `text` is what will be sent, up to the
// first NUL.
bool sendableAsDbusString(const char* text) {
    return dbus_validate_utf8(text, nullptr);
}

// The argument-only writers fail like a failed creation when memory runs out while appending:
// no trace line, and no message left behind, since their callers expect none on failure.
int failAppend(DBusMessage*& message) {
    dbus_message_unref(message);
    message = nullptr;
    return KOPA_ERROR_GENERAL;
}

}  // namespace

int KopaFwClient::KopaDbusMessageWriter::writeCurrentPositionRequest(
    unsigned int requestParameter, KopaPacketDataUsage packetDataUsage, unsigned short classType,
    unsigned short version, DBusMessage*& message) {
    KOPA_TRACE() << "KopaDbusMessageWriter::writeCurrentPositionRequest() <-";
    message = newServiceCall(kopa::kMemberCurrentPosition);
    if (message == nullptr) {
        return KOPA_ERROR_GENERAL;
    }
    const dbus_uint32_t parameter = requestParameter;
    const dbus_int32_t usage = packetDataUsage;
    const dbus_uint16_t type = classType;
    const dbus_uint16_t recordVersion = version;
    if (!dbus_message_append_args(message, DBUS_TYPE_UINT32, &parameter, DBUS_TYPE_INT32, &usage,
                                  DBUS_TYPE_UINT16, &type, DBUS_TYPE_UINT16, &recordVersion,
                                  DBUS_TYPE_INVALID)) {
        return failAppend(message);
    }
    KOPA_TRACE() << "KopaDbusMessageWriter::writeCurrentPositionRequest() ->";
    return KOPA_OK;
}

int KopaFwClient::KopaDbusMessageWriter::writeCurrentMeasurementsRequest(
    unsigned int requestParameter, DBusMessage*& message) {
    KOPA_TRACE() << "KopaDbusMessageWriter::writeCurrentMeasurementsRequest() <-";
    message = newServiceCall(kopa::kMemberCurrentMeasurements);
    if (message == nullptr) {
        return KOPA_ERROR_GENERAL;
    }
    const dbus_uint32_t parameter = requestParameter;
    if (!dbus_message_append_args(message, DBUS_TYPE_UINT32, &parameter, DBUS_TYPE_INVALID)) {
        return failAppend(message);
    }
    KOPA_TRACE() << "KopaDbusMessageWriter::writeCurrentMeasurementsRequest() ->";
    return KOPA_OK;
}

int KopaFwClient::KopaDbusMessageWriter::writeLastKnownPositionRequest(
    unsigned int requestParameter, unsigned short classType, unsigned short version,
    DBusMessage*& message) {
    KOPA_TRACE() << "KopaDbusMessageWriter::writeLastKnownPositionRequest() <-";
    message = newServiceCall(kopa::kMemberLastKnownPosition);
    if (message == nullptr) {
        return KOPA_ERROR_GENERAL;
    }
    const dbus_uint32_t parameter = requestParameter;
    const dbus_uint16_t type = classType;
    const dbus_uint16_t recordVersion = version;
    if (!dbus_message_append_args(message, DBUS_TYPE_UINT32, &parameter, DBUS_TYPE_UINT16, &type,
                                  DBUS_TYPE_UINT16, &recordVersion, DBUS_TYPE_INVALID)) {
        return failAppend(message);
    }
    KOPA_TRACE() << "KopaDbusMessageWriter::writeLastKnownPositionRequest() ->";
    return KOPA_OK;
}

int KopaFwClient::KopaDbusMessageWriter::writeConvertToPositionRequest(
    const KopaMeasurements& measurements, KopaPacketDataUsage packetDataUsage,
    unsigned short classType, unsigned short version, DBusMessage*& message) {
    KOPA_TRACE() << "KopaDbusMessageWriter::convertToPositionRequest() <-";
    message = newServiceCall(kopa::kMemberConvertToPosition);
    if (message == nullptr) {
        KOPA_TRACE()
            << "KopaDbusMessageWriter::convertToPositionRequest() ERROR: Cannot allocate DBus "
               "message";
        return KOPA_ERROR_GENERAL;
    }
    std::string text;
    if (measurements.externalize(text) != 0) {
        KOPA_TRACE() << "KopaDbusMessageWriter::convertToPositionRequest() ERROR: Cannot "
                        "externalize measurement object for DBus transfer";
        return KOPA_ERROR_GENERAL;
    }
    // D-Bus takes a NUL-terminated string: the text ends at its first NUL.
    const char* sent = text.c_str();
    KOPA_TRACE() << "KopaDbusMessageWriter::convertToPositionRequest() measurements: " << sent;
    KOPA_TRACE() << "KopaDbusMessageWriter::convertToPositionRequest() packetDataUsage: "
                 << static_cast<int>(packetDataUsage);
    KOPA_TRACE() << "KopaDbusMessageWriter::convertToPositionRequest() classType: " << classType;
    KOPA_TRACE() << "KopaDbusMessageWriter::convertToPositionRequest() version: " << version;
    const dbus_int32_t usage = packetDataUsage;
    const dbus_uint16_t type = classType;
    const dbus_uint16_t recordVersion = version;
    if (!sendableAsDbusString(sent) ||
        !dbus_message_append_args(message, DBUS_TYPE_STRING, &sent, DBUS_TYPE_INT32, &usage,
                                  DBUS_TYPE_UINT16, &type, DBUS_TYPE_UINT16, &recordVersion,
                                  DBUS_TYPE_INVALID)) {
        KOPA_TRACE()
            << "KopaDbusMessageWriter::convertToPositionRequest() ERROR: Cannot append DBus "
               "arguments";
        return KOPA_ERROR_GENERAL;
    }
    KOPA_TRACE() << "KopaDbusMessageWriter::convertToPositionRequest() ->";
    return KOPA_OK;
}
