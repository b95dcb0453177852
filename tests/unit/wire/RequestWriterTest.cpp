#include <Records.h>
#include <TraceCapture.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "WireMessages.h"
#include "dbus/KopaDbusMessageWriter.h"

using Writer = KopaFwClient::KopaDbusMessageWriter;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

// The values each request carries are checked where the service receives them; here, what
// the service cannot see: the header, the signature and the writers' trace.
TEST(RequestWriter, EachRequestIsAMethodCallOfTheServiceWithItsSignatureAndTrace) {
    const KopaMeasurements measurements = test_records::sampleMeasurements();
    const std::string measurementsText = test_records::textOf(measurements);
    const std::string convert = "KopaDbusMessageWriter::convertToPositionRequest()";
    const struct {
        const char* member;
        const char* signature;
        std::function<int(DBusMessage*&)> write;
        std::vector<std::string> trace;
    } cases[] = {
        {"currentPosition",
         "uiqq",
         [](DBusMessage*& m) {
             return Writer::writeCurrentPositionRequest(1, KOPA_PACKET_DATA_ALLOWED, 1, 1, m);
         },
         {"KopaDbusMessageWriter::writeCurrentPositionRequest() <-",
          "KopaDbusMessageWriter::writeCurrentPositionRequest() ->"}},
        {"currentMeasurements",
         "u",
         [](DBusMessage*& m) { return Writer::writeCurrentMeasurementsRequest(1, m); },
         {"KopaDbusMessageWriter::writeCurrentMeasurementsRequest() <-",
          "KopaDbusMessageWriter::writeCurrentMeasurementsRequest() ->"}},
        {"lastKnownPosition",
         "uqq",
         [](DBusMessage*& m) { return Writer::writeLastKnownPositionRequest(1, 1, 1, m); },
         {"KopaDbusMessageWriter::writeLastKnownPositionRequest() <-",
          "KopaDbusMessageWriter::writeLastKnownPositionRequest() ->"}},
        {"convertToPosition",
         "siqq",
         [&measurements](DBusMessage*& m) {
             return Writer::writeConvertToPositionRequest(
                 measurements, static_cast<KopaPacketDataUsage>(-3), 2, 65535, m);
         },
         {convert + " <-", convert + " measurements: " + measurementsText,
          convert + " packetDataUsage: -3", convert + " classType: 2", convert + " version: 65535",
          convert + " ->"}},
    };
    for (const auto& c : cases) {
        TraceCapture trace;
        DBusMessage* raw = nullptr;
        ASSERT_EQ(c.write(raw), KOPA_OK) << c.member;
        wire::Message message(raw);
        EXPECT_EQ(dbus_message_get_type(raw), DBUS_MESSAGE_TYPE_METHOD_CALL);
        EXPECT_STREQ(dbus_message_get_destination(raw), "com.ruvex.location.kopad");
        EXPECT_STREQ(dbus_message_get_path(raw), "/com/ruvex/location/kopad");
        EXPECT_STREQ(dbus_message_get_interface(raw), "com.ruvex.location.kopad");
        EXPECT_STREQ(dbus_message_get_member(raw), c.member);
        EXPECT_EQ(wire::signatureOf(raw), c.signature);
        EXPECT_FALSE(dbus_message_get_no_reply(raw));
        EXPECT_THAT(trace.lines(), ElementsAreArray(c.trace)) << c.member;
    }
}

TEST(RequestWriter, ConvertOfUnwritableMeasurementsLeavesAnArgumentlessMessageAndFails) {
    KopaMeasurements measurements = test_records::sampleMeasurements();
    KopaWlanObservation malformed;
    malformed.bssid = "not a bssid";
    measurements.addWlan(malformed);
    TraceCapture trace;
    DBusMessage* raw = nullptr;
    EXPECT_EQ(
        Writer::writeConvertToPositionRequest(measurements, KOPA_PACKET_DATA_ALLOWED, 1, 1, raw),
        KOPA_ERROR_GENERAL);
    wire::Message message(raw);
    ASSERT_NE(raw, nullptr);
    EXPECT_EQ(wire::signatureOf(raw), "");
    EXPECT_THAT(trace.lines(),
                ElementsAre("KopaDbusMessageWriter::convertToPositionRequest() <-",
                            "KopaDbusMessageWriter::convertToPositionRequest() ERROR: Cannot "
                            "externalize measurement object for DBus transfer"));
}
