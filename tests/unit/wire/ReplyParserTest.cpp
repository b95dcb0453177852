#include <KopaLocationInfo.h>
#include <Records.h>
#include <TraceCapture.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "WireMessages.h"
#include "dbus/KopaDbusMessageParser.h"

using Parser = KopaFwClient::KopaDbusMessageParser;
using ::testing::ElementsAre;
using ::testing::StartsWith;

namespace {

// A position record whose internalize answers with a chosen code and counts its calls.
class ScriptedPosition : public KopaPosition {
  public:
    ScriptedPosition(unsigned int classType, int code) : KopaPosition(classType, 1), code_(code) {}
    int internalize(const std::string&) override {
        ++calls;
        return code_;
    }
    int calls = 0;

  private:
    int code_;
};

const std::string kPosition = "KopaDbusMessageParser::parsePositionResponse()";
const std::string kMeasurements = "KopaDbusMessageParser::parseMeasurementsResponse()";

// The trace after the entry line as one text: libdbus ends its argument errors with a
// newline, which splits that line in the trace file.
std::string afterEntry(const std::vector<std::string>& lines) {
    std::string text;
    for (std::size_t i = 1; i < lines.size(); ++i) {
        text += (i > 1 ? "\n" : "") + lines[i];
    }
    return text;
}

}  // namespace

TEST(ReplyParser, FillsPositionsLocationInfoSlot1AndMeasurementsFromTheLeadingString) {
    const KopaPosition sent = test_records::samplePosition();
    wire::Message reply = wire::stringReply(test_records::textOf(sent));
    dbus_int32_t extra = -9;
    dbus_message_append_args(reply.get(), DBUS_TYPE_INT32, &extra, DBUS_TYPE_INVALID);
    DBusMessage* raw = reply.get();
    TraceCapture trace;
    KopaPosition position;
    EXPECT_EQ(Parser::parsePositionResponse(position, raw), KOPA_OK);
    EXPECT_EQ(position, sent);
    EXPECT_THAT(trace.levelledLines(),
                ElementsAre("L5 " + kPosition + " <-",
                            "L5 " + kPosition + " data string: " + test_records::textOf(sent),
                            "L5 " + kPosition + " ->"));

    KopaLocationInfo info;
    ASSERT_EQ(Parser::parsePositionResponse(info, raw), KOPA_OK);
    KopaPosition first;
    ASSERT_EQ(info.getKopaPosition(1, first), 0);
    EXPECT_EQ(first, sent);
    EXPECT_FALSE(info.hasKopaPosition(2));

    const KopaMeasurements measurements = test_records::sampleMeasurements();
    wire::Message measurementsReply = wire::stringReply(test_records::textOf(measurements));
    raw = measurementsReply.get();
    KopaMeasurements received;
    trace.take();
    EXPECT_EQ(Parser::parseMeasurementsResponse(received, raw), KOPA_OK);
    EXPECT_EQ(received, measurements);
    EXPECT_THAT(trace.take(),
                ElementsAre(kMeasurements + " <-",
                            kMeasurements + " data string: " + test_records::textOf(measurements),
                            kMeasurements + " ->"));
}

TEST(ReplyParser, WithoutALeadingStringFailsAndLeavesTheRecordAlone) {
    wire::Message empty = wire::methodReturn();
    wire::Message int32First = wire::methodReturn();
    dbus_int32_t number = 5;
    const char* text = "unread";
    dbus_message_append_args(int32First.get(), DBUS_TYPE_INT32, &number, DBUS_TYPE_STRING, &text,
                             DBUS_TYPE_INVALID);
    const std::string failed =
        " Request parsing failed (Name: "
        "org.freedesktop.DBus.Error.InvalidArgs Message: ";
    for (DBusMessage* raw : {empty.get(), int32First.get()}) {
        TraceCapture trace;
        ScriptedPosition position(1, 0);
        EXPECT_EQ(Parser::parsePositionResponse(position, raw), KOPA_ERROR_GENERAL);
        EXPECT_EQ(position.calls, 0);
        EXPECT_THAT(afterEntry(trace.take()), StartsWith(kPosition + failed));
        KopaMeasurements measurements = test_records::sampleMeasurements();
        EXPECT_EQ(Parser::parseMeasurementsResponse(measurements, raw), KOPA_ERROR_GENERAL);
        EXPECT_EQ(measurements, test_records::sampleMeasurements());
        EXPECT_THAT(afterEntry(trace.take()), StartsWith(kMeasurements + failed));
    }
}

TEST(ReplyParser, ReturnsTheRecordsOwnFailureAndTracesIt) {
    wire::Message reply = wire::stringReply("garbage");
    DBusMessage* raw = reply.get();
    for (int code : {7, -3, -1000}) {
        TraceCapture trace;
        ScriptedPosition position(1, code);
        EXPECT_EQ(Parser::parsePositionResponse(position, raw), code);
        EXPECT_EQ(trace.lines().back(),
                  kPosition + " Error when internalizing data: " + std::to_string(code));
    }
    // Class type 2 promises a location info; a record that breaks the promise is refused.
    {
        TraceCapture trace;
        ScriptedPosition impostor(2, 0);
        EXPECT_EQ(Parser::parsePositionResponse(impostor, raw), KOPA_ERROR_GENERAL);
        EXPECT_EQ(impostor.calls, 0);
        EXPECT_EQ(trace.lines().back(), kPosition + " Error when internalizing data: -1000");
    }
    TraceCapture trace;

    const int expected = KopaMeasurements().internalize("garbage");
    KopaMeasurements measurements;
    EXPECT_EQ(Parser::parseMeasurementsResponse(measurements, raw), expected);
    EXPECT_THAT(
        trace.levelledLines(),
        ElementsAre("L5 " + kMeasurements + " <-", "L5 " + kMeasurements + " data string: garbage",
                    "L2 " + kMeasurements + " Internalizing measurements data failed. Error: " +
                        std::to_string(expected),
                    "L5 " + kMeasurements + " ->"));
}
