#include <Records.h>
#include <TraceCapture.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <string>

#include "WireMessages.h"
#include "dbus/KopaDbusMessageWriter.h"

using Writer = KopaFwClient::KopaDbusMessageWriter;
using ::testing::ElementsAre;

namespace {

void expectServiceCall(DBusMessage* message, const char* member, const char* signature) {
    ASSERT_NE(message, nullptr);
    EXPECT_EQ(dbus_message_get_type(message), DBUS_MESSAGE_TYPE_METHOD_CALL);
    EXPECT_STREQ(dbus_message_get_destination(message), "com.ruvex.location.kopad");
    EXPECT_STREQ(dbus_message_get_path(message), "/com/ruvex/location/kopad");
    EXPECT_STREQ(dbus_message_get_interface(message), "com.ruvex.location.kopad");
    EXPECT_STREQ(dbus_message_get_member(message), member);
    EXPECT_EQ(wire::signatureOf(message), signature);
    EXPECT_FALSE(dbus_message_get_no_reply(message));
    EXPECT_TRUE(dbus_message_get_auto_start(message));
}

struct PositionCall {
    dbus_uint32_t requestParameter = 0;
    dbus_int32_t packetDataUsage = 0;
    dbus_uint16_t classType = 0;
    dbus_uint16_t version = 0;
};

PositionCall readCurrentPosition(DBusMessage* message) {
    PositionCall call;
    DBusError error;
    dbus_error_init(&error);
    EXPECT_TRUE(dbus_message_get_args(message, &error, DBUS_TYPE_UINT32, &call.requestParameter,
                                      DBUS_TYPE_INT32, &call.packetDataUsage, DBUS_TYPE_UINT16,
                                      &call.classType, DBUS_TYPE_UINT16, &call.version,
                                      DBUS_TYPE_INVALID));
    dbus_error_free(&error);
    return call;
}

struct ConvertCall {
    std::string measurements;
    dbus_int32_t packetDataUsage = 0;
    dbus_uint16_t classType = 0;
    dbus_uint16_t version = 0;
};

ConvertCall readConvert(DBusMessage* message) {
    ConvertCall call;
    const char* text = nullptr;
    DBusError error;
    dbus_error_init(&error);
    EXPECT_TRUE(dbus_message_get_args(message, &error, DBUS_TYPE_STRING, &text, DBUS_TYPE_INT32,
                                      &call.packetDataUsage, DBUS_TYPE_UINT16, &call.classType,
                                      DBUS_TYPE_UINT16, &call.version, DBUS_TYPE_INVALID));
    dbus_error_free(&error);
    call.measurements = text != nullptr ? text : "<none>";
    return call;
}

KopaPacketDataUsage usage(int value) {
    return static_cast<KopaPacketDataUsage>(value);
}

}  // namespace

TEST(CurrentPositionRequest, CarriesItsFourArgumentsUnchangedAtTheirExtremes) {
    struct Case {
        unsigned int requestParameter;
        int packetDataUsage;
        unsigned short classType;
        unsigned short version;
    };
    for (const Case& c :
         {Case{0u, 0, 1, 1}, Case{4294967295u, 1, 2, 1}, Case{123456u, INT_MIN, 0, 0},
          Case{1u, INT_MAX, 65535, 65535}, Case{77u, -1, 3, 9}}) {
        DBusMessage* raw = nullptr;
        ASSERT_EQ(Writer::writeCurrentPositionRequest(c.requestParameter, usage(c.packetDataUsage),
                                                      c.classType, c.version, raw),
                  KOPA_OK);
        wire::Message message(raw);
        expectServiceCall(raw, "currentPosition", "uiqq");
        PositionCall call = readCurrentPosition(raw);
        EXPECT_EQ(call.requestParameter, c.requestParameter);
        EXPECT_EQ(call.packetDataUsage, c.packetDataUsage);
        EXPECT_EQ(call.classType, c.classType);
        EXPECT_EQ(call.version, c.version);
    }
}

TEST(CurrentPositionRequest, CarriesTheLow16BitsOfARecordTypeAndVersionThatTheCallerNarrowed) {
    test_records::PositionOfType record(0x12345, 0x10002);
    DBusMessage* raw = nullptr;
    ASSERT_EQ(Writer::writeCurrentPositionRequest(
                  5, KOPA_PACKET_DATA_ALLOWED, static_cast<unsigned short>(record.type()),
                  static_cast<unsigned short>(record.version()), raw),
              KOPA_OK);
    wire::Message message(raw);
    PositionCall call = readCurrentPosition(raw);
    EXPECT_EQ(call.classType, 0x2345);
    EXPECT_EQ(call.version, 2);
}

TEST(CurrentMeasurementsRequest, CarriesOnlyTheRequestParameter) {
    for (unsigned int parameter : {0u, 4294967295u, 2147483648u}) {
        DBusMessage* raw = nullptr;
        ASSERT_EQ(Writer::writeCurrentMeasurementsRequest(parameter, raw), KOPA_OK);
        wire::Message message(raw);
        expectServiceCall(raw, "currentMeasurements", "u");
        dbus_uint32_t sent = 1;
        ASSERT_TRUE(
            dbus_message_get_args(raw, nullptr, DBUS_TYPE_UINT32, &sent, DBUS_TYPE_INVALID));
        EXPECT_EQ(sent, parameter);
    }
}

TEST(LastKnownPositionRequest, CarriesParameterClassTypeAndVersion) {
    struct Case {
        unsigned int requestParameter;
        unsigned short classType;
        unsigned short version;
    };
    for (const Case& c : {Case{0u, 1, 1}, Case{4294967295u, 65535, 0}, Case{42u, 2, 65535}}) {
        DBusMessage* raw = nullptr;
        ASSERT_EQ(
            Writer::writeLastKnownPositionRequest(c.requestParameter, c.classType, c.version, raw),
            KOPA_OK);
        wire::Message message(raw);
        expectServiceCall(raw, "lastKnownPosition", "uqq");
        dbus_uint32_t parameter = 1;
        dbus_uint16_t classType = 1;
        dbus_uint16_t version = 1;
        ASSERT_TRUE(dbus_message_get_args(raw, nullptr, DBUS_TYPE_UINT32, &parameter,
                                          DBUS_TYPE_UINT16, &classType, DBUS_TYPE_UINT16, &version,
                                          DBUS_TYPE_INVALID));
        EXPECT_EQ(parameter, c.requestParameter);
        EXPECT_EQ(classType, c.classType);
        EXPECT_EQ(version, c.version);
    }
}

TEST(ConvertToPositionRequest, CarriesTheMeasurementsTextFollowedByUsageTypeAndVersion) {
    const KopaMeasurements measurements = test_records::sampleMeasurements();
    for (int packetDataUsage : {INT_MIN, -1, 0, 1, INT_MAX}) {
        DBusMessage* raw = nullptr;
        ASSERT_EQ(Writer::writeConvertToPositionRequest(measurements, usage(packetDataUsage), 2,
                                                        65535, raw),
                  KOPA_OK);
        wire::Message message(raw);
        expectServiceCall(raw, "convertToPosition", "siqq");
        ConvertCall call = readConvert(raw);
        EXPECT_EQ(call.measurements, test_records::textOf(measurements));
        EXPECT_EQ(call.packetDataUsage, packetDataUsage);
        EXPECT_EQ(call.classType, 2);
        EXPECT_EQ(call.version, 65535);
    }
}

TEST(ConvertToPositionRequest, ThatCannotExternalizeLeavesAnArgumentlessMessageAndFails) {
    KopaMeasurements measurements = test_records::sampleMeasurements();
    KopaWlanObservation malformed;
    malformed.bssid = "not a bssid";
    measurements.addWlan(malformed);
    std::string ignored;
    ASSERT_NE(measurements.externalize(ignored), 0);

    TraceCapture trace;
    DBusMessage* raw = nullptr;
    EXPECT_EQ(
        Writer::writeConvertToPositionRequest(measurements, KOPA_PACKET_DATA_ALLOWED, 1, 1, raw),
        KOPA_ERROR_GENERAL);
    wire::Message message(raw);
    expectServiceCall(raw, "convertToPosition", "");
    EXPECT_THAT(trace.lines(),
                ElementsAre("KopaDbusMessageWriter::convertToPositionRequest() <-",
                            "KopaDbusMessageWriter::convertToPositionRequest() ERROR: Cannot "
                            "externalize measurement object for DBus transfer"));
}

TEST(RequestWriterTrace, NamesEachWriterOnEntryAndExitAndTheConvertWriterItsValues) {
    TraceCapture trace;
    DBusMessage* raw = nullptr;
    ASSERT_EQ(Writer::writeCurrentPositionRequest(1, KOPA_PACKET_DATA_ALLOWED, 1, 1, raw), KOPA_OK);
    dbus_message_unref(raw);
    EXPECT_THAT(trace.take(),
                ElementsAre("KopaDbusMessageWriter::writeCurrentPositionRequest() <-",
                            "KopaDbusMessageWriter::writeCurrentPositionRequest() ->"));

    ASSERT_EQ(Writer::writeCurrentMeasurementsRequest(1, raw), KOPA_OK);
    dbus_message_unref(raw);
    EXPECT_THAT(trace.take(),
                ElementsAre("KopaDbusMessageWriter::writeCurrentMeasurementsRequest() <-",
                            "KopaDbusMessageWriter::writeCurrentMeasurementsRequest() ->"));

    ASSERT_EQ(Writer::writeLastKnownPositionRequest(1, 1, 1, raw), KOPA_OK);
    dbus_message_unref(raw);
    EXPECT_THAT(trace.take(),
                ElementsAre("KopaDbusMessageWriter::writeLastKnownPositionRequest() <-",
                            "KopaDbusMessageWriter::writeLastKnownPositionRequest() ->"));

    const KopaMeasurements measurements = test_records::sampleMeasurements();
    ASSERT_EQ(Writer::writeConvertToPositionRequest(measurements, usage(-3), 2, 65535, raw),
              KOPA_OK);
    dbus_message_unref(raw);
    EXPECT_THAT(trace.take(),
                ElementsAre("KopaDbusMessageWriter::convertToPositionRequest() <-",
                            "KopaDbusMessageWriter::convertToPositionRequest() measurements: " +
                                test_records::textOf(measurements),
                            "KopaDbusMessageWriter::convertToPositionRequest() packetDataUsage: -3",
                            "KopaDbusMessageWriter::convertToPositionRequest() classType: 2",
                            "KopaDbusMessageWriter::convertToPositionRequest() version: 65535",
                            "KopaDbusMessageWriter::convertToPositionRequest() ->"));
}
