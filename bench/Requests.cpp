#include "Requests.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include "BenchSupport.h"

namespace bench {

namespace {

const char kMeasurementsText[] =
    "KopaMeasurements/1 cell=lte,244,91,40961,12345601,-71 wlan=02:1a:11:f0:00:01,-55";

[[noreturn]] void outOfMemory() {
    std::fprintf(stderr, "kopa-bench: out of memory building a message\n");
    std::exit(1);
}

}  // namespace

const char* memberName(Request request) {
    switch (request) {
        case Request::CurrentPosition:
            return "currentPosition";
        case Request::CurrentMeasurements:
            return "currentMeasurements";
        case Request::LastKnownPosition:
            return "lastKnownPosition";
        case Request::ConvertToPosition:
            return "convertToPosition";
    }
    return "";
}

Records::Records() {
    if (toConvert.internalize(kMeasurementsText) != 0) {
        std::fprintf(stderr, "kopa-bench: the measurements to convert do not read\n");
        std::exit(1);
    }
}

int libraryBlocking(Request request, KopaPositioning& positioning, Records& records) {
    switch (request) {
        case Request::CurrentPosition:
            return positioning.currentPosition(records.position, 0, KOPA_PACKET_DATA_ALLOWED, 30);
        case Request::CurrentMeasurements:
            return positioning.currentMeasurements(records.measurements, 0, 30);
        case Request::LastKnownPosition:
            return positioning.lastKnownPosition(records.position, 0);
        case Request::ConvertToPosition:
            return positioning.convertToPosition(records.position, records.toConvert,
                                                 KOPA_PACKET_DATA_ALLOWED, 30);
    }
    return KOPA_ERROR_GENERAL;
}

int libraryAsync(Request request, KopaPositioning& positioning, Records& records) {
    switch (request) {
        case Request::CurrentPosition:
            return positioning.currentPositionAsync(records.position, 0, KOPA_PACKET_DATA_ALLOWED,
                                                    60);
        case Request::CurrentMeasurements:
            return positioning.currentMeasurementsAsync(records.measurements, 0, 60);
        case Request::LastKnownPosition:
            return positioning.lastKnownPositionAsync(records.position, 0);
        case Request::ConvertToPosition:
            return positioning.convertToPositionAsync(records.position, records.toConvert,
                                                      KOPA_PACKET_DATA_ALLOWED, 60);
    }
    return KOPA_ERROR_GENERAL;
}

DBusMessage* newRawCall(Request request, const Records& records, unsigned int requestParameter) {
    DBusMessage* message =
        dbus_message_new_method_call(kService, kObject, kInterface, memberName(request));
    if (message == nullptr) {
        outOfMemory();
    }
    dbus_uint32_t parameter = requestParameter;
    dbus_int32_t packetData = KOPA_PACKET_DATA_ALLOWED;
    dbus_uint16_t classType = static_cast<dbus_uint16_t>(records.position.type());
    dbus_uint16_t version = static_cast<dbus_uint16_t>(records.position.version());
    bool ok = false;
    switch (request) {
        case Request::CurrentPosition:
            ok = dbus_message_append_args(message, DBUS_TYPE_UINT32, &parameter, DBUS_TYPE_INT32,
                                          &packetData, DBUS_TYPE_UINT16, &classType,
                                          DBUS_TYPE_UINT16, &version, DBUS_TYPE_INVALID);
            break;
        case Request::CurrentMeasurements:
            ok = dbus_message_append_args(message, DBUS_TYPE_UINT32, &parameter, DBUS_TYPE_INVALID);
            break;
        case Request::LastKnownPosition:
            ok =
                dbus_message_append_args(message, DBUS_TYPE_UINT32, &parameter, DBUS_TYPE_UINT16,
                                         &classType, DBUS_TYPE_UINT16, &version, DBUS_TYPE_INVALID);
            break;
        case Request::ConvertToPosition: {
            // The text is made afresh for every call, as the library must make it.
            std::string text;
            records.toConvert.externalize(text);
            const char* textPointer = text.c_str();
            ok = dbus_message_append_args(message, DBUS_TYPE_STRING, &textPointer, DBUS_TYPE_INT32,
                                          &packetData, DBUS_TYPE_UINT16, &classType,
                                          DBUS_TYPE_UINT16, &version, DBUS_TYPE_INVALID);
            break;
        }
    }
    if (!ok) {
        outOfMemory();
    }
    return message;
}

GVariant* newGdbusParameters(Request request, const Records& records) {
    guint16 classType = static_cast<guint16>(records.position.type());
    guint16 version = static_cast<guint16>(records.position.version());
    switch (request) {
        case Request::CurrentPosition:
            return g_variant_new("(uiqq)", 0u, KOPA_PACKET_DATA_ALLOWED, classType, version);
        case Request::CurrentMeasurements:
            return g_variant_new("(u)", 0u);
        case Request::LastKnownPosition:
            return g_variant_new("(uqq)", 0u, classType, version);
        case Request::ConvertToPosition: {
            std::string text;
            records.toConvert.externalize(text);
            return g_variant_new("(siqq)", text.c_str(), KOPA_PACKET_DATA_ALLOWED, classType,
                                 version);
        }
    }
    return nullptr;
}

bool readAnswer(Request request, const char* text, Records& records) {
    if (request == Request::CurrentMeasurements) {
        return records.measurements.internalize(text) == 0;
    }
    return records.position.internalize(text) == 0;
}

}  // namespace bench
