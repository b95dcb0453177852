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
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace {

// A position record whose internalize answers with a chosen code and remembers its text.
class ScriptedPosition : public KopaPosition {
  public:
    ScriptedPosition(unsigned int classType, int code) : KopaPosition(classType, 1), code_(code) {}
    int internalize(const std::string& text) override {
        received = text;
        ++calls;
        return code_;
    }
    std::string received;
    int calls = 0;

  private:
    int code_;
};

wire::Message replyWithInt32First() {
    wire::Message reply = wire::methodReturn();
    dbus_int32_t number = 5;
    const char* text = "unread";
    dbus_message_append_args(reply.get(), DBUS_TYPE_INT32, &number, DBUS_TYPE_STRING, &text,
                             DBUS_TYPE_INVALID);
    return reply;
}

// The lines after the entry line as one text: libdbus ends its argument errors with a newline,
// which splits the parsing-failure line in the trace file.
std::string afterFirst(const std::vector<std::string>& lines) {
    std::string text;
    for (std::size_t i = 1; i < lines.size(); ++i) {
        text += (i > 1 ? "\n" : "") + lines[i];
    }
    return text;
}

const std::string kParsingFailed =
    "KopaDbusMessageParser::parsePositionResponse() Request parsing failed (Name: "
    "org.freedesktop.DBus.Error.InvalidArgs Message: ";

}  // namespace

TEST(PositionReply, FillsThePositionFromTheLeadingString) {
    const KopaPosition sent = test_records::samplePosition();
    wire::Message reply = wire::stringReply(test_records::textOf(sent));
    TraceCapture trace;
    KopaPosition received;
    DBusMessage* raw = reply.get();
    EXPECT_EQ(Parser::parsePositionResponse(received, raw), KOPA_OK);
    EXPECT_EQ(received, sent);
    EXPECT_THAT(trace.levelledLines(),
                ElementsAre("L5 KopaDbusMessageParser::parsePositionResponse() <-",
                            "L5 KopaDbusMessageParser::parsePositionResponse() data string: " +
                                test_records::textOf(sent),
                            "L5 KopaDbusMessageParser::parsePositionResponse() ->"));
}

TEST(PositionReply, ReadsOnlyTheStringWhenFurtherArgumentsFollowIt) {
    const KopaPosition sent = test_records::samplePosition(1.5, 2.5);
    wire::Message reply = wire::stringReply(test_records::textOf(sent));
    dbus_int32_t number = -9;
    const char* other = "not the position";
    dbus_message_append_args(reply.get(), DBUS_TYPE_INT32, &number, DBUS_TYPE_STRING, &other,
                             DBUS_TYPE_INVALID);
    KopaPosition received;
    DBusMessage* raw = reply.get();
    EXPECT_EQ(Parser::parsePositionResponse(received, raw), KOPA_OK);
    EXPECT_EQ(received, sent);
}

TEST(PositionReply, WithoutALeadingStringFailsAndLeavesTheRecordUntouched) {
    wire::Message empty = wire::methodReturn();
    wire::Message int32First = replyWithInt32First();
    for (DBusMessage* raw : {empty.get(), int32First.get()}) {
        TraceCapture trace;
        ScriptedPosition record(1, 0);
        EXPECT_EQ(Parser::parsePositionResponse(record, raw), KOPA_ERROR_GENERAL);
        EXPECT_EQ(record.calls, 0);
        std::vector<std::string> lines = trace.lines();
        ASSERT_GE(lines.size(), 2u);
        EXPECT_EQ(lines[0], "KopaDbusMessageParser::parsePositionResponse() <-");
        EXPECT_THAT(afterFirst(lines), StartsWith(kParsingFailed));
        EXPECT_THAT(afterFirst(lines), EndsWith(")"));
    }
}

TEST(PositionReply, ReturnsAFailingInternalizeResultUnchanged) {
    for (int code : {7, 12345, -3, -1000}) {
        ScriptedPosition record(1, code);
        wire::Message reply = wire::stringReply("some text");
        TraceCapture trace;
        DBusMessage* raw = reply.get();
        EXPECT_EQ(Parser::parsePositionResponse(record, raw), code);
        EXPECT_EQ(record.received, "some text");
        EXPECT_THAT(trace.lines(),
                    ElementsAre("KopaDbusMessageParser::parsePositionResponse() <-",
                                "KopaDbusMessageParser::parsePositionResponse() data string: "
                                "some text",
                                "KopaDbusMessageParser::parsePositionResponse() Error when "
                                "internalizing data: " +
                                    std::to_string(code)));
    }
}

TEST(PositionReply, HandsAnEmptyStringToTheRecord) {
    ScriptedPosition record(1, 0);
    wire::Message reply = wire::stringReply("");
    DBusMessage* raw = reply.get();
    EXPECT_EQ(Parser::parsePositionResponse(record, raw), KOPA_OK);
    EXPECT_EQ(record.calls, 1);
    EXPECT_EQ(record.received, "");

    KopaPosition real;
    EXPECT_EQ(Parser::parsePositionResponse(real, raw), KOPA_TEXT_EMPTY);
}

TEST(LocationInfoReply, StoresThePlainPositionAsTheFirstEstimate) {
    const KopaPosition sent = test_records::samplePosition(48.1, 11.6);
    wire::Message reply = wire::stringReply(test_records::textOf(sent));
    KopaLocationInfo info;
    DBusMessage* raw = reply.get();
    ASSERT_EQ(Parser::parsePositionResponse(info, raw), KOPA_OK);
    KopaPosition first;
    ASSERT_EQ(info.getKopaPosition(1, first), 0);
    EXPECT_EQ(first, sent);
    EXPECT_EQ(info.latitude(), sent.latitude());
    EXPECT_FALSE(info.hasKopaPosition(2));
}

TEST(LocationInfoReply, StoresTheFirstEstimateEvenWhenTheTextCannotBeReadAndReportsWhy) {
    KopaLocationInfo info;
    KopaPosition earlier = test_records::samplePosition(10, 20);
    info.setKopaPosition(1, earlier);
    const std::string garbage = "no position here";
    const int expected = KopaPosition().internalize(garbage);
    ASSERT_NE(expected, 0);

    wire::Message reply = wire::stringReply(garbage);
    TraceCapture trace;
    DBusMessage* raw = reply.get();
    EXPECT_EQ(Parser::parsePositionResponse(info, raw), expected);
    KopaPosition first;
    ASSERT_EQ(info.getKopaPosition(1, first), 0);
    EXPECT_EQ(first, KopaPosition());  // the untouched temporary replaced the earlier estimate
    EXPECT_THAT(trace.lines().back(),
                HasSubstr("Error when internalizing data: " + std::to_string(expected)));
}

TEST(LocationInfoReply, ForARecordOfClassType2ThatIsNoLocationInfoFailsAndLeavesItAlone) {
    ScriptedPosition record(2, 0);
    const KopaPosition before = record;
    wire::Message reply = wire::stringReply(test_records::textOf(test_records::samplePosition()));
    TraceCapture trace;
    DBusMessage* raw = reply.get();
    EXPECT_EQ(Parser::parsePositionResponse(record, raw), KOPA_ERROR_GENERAL);
    EXPECT_EQ(record.calls, 0);
    EXPECT_TRUE(static_cast<const KopaPosition&>(record) == before);
    EXPECT_EQ(trace.lines().back(),
              "KopaDbusMessageParser::parsePositionResponse() Error when internalizing data: "
              "-1000");
}

TEST(MeasurementsReply, FillsTheMeasurementsFromTheLeadingString) {
    const KopaMeasurements sent = test_records::sampleMeasurements();
    wire::Message reply = wire::stringReply(test_records::textOf(sent));
    dbus_uint32_t extra = 3;
    dbus_message_append_args(reply.get(), DBUS_TYPE_UINT32, &extra, DBUS_TYPE_INVALID);
    TraceCapture trace;
    KopaMeasurements received;
    DBusMessage* raw = reply.get();
    EXPECT_EQ(Parser::parseMeasurementsResponse(received, raw), KOPA_OK);
    EXPECT_EQ(received, sent);
    EXPECT_THAT(trace.levelledLines(),
                ElementsAre("L5 KopaDbusMessageParser::parseMeasurementsResponse() <-",
                            "L5 KopaDbusMessageParser::parseMeasurementsResponse() data string: " +
                                test_records::textOf(sent),
                            "L5 KopaDbusMessageParser::parseMeasurementsResponse() ->"));
}

TEST(MeasurementsReply, ThatTheRecordCannotReadReturnsItsCodeWithTheOneLevel2Line) {
    const std::string garbage = "measurements?";
    KopaMeasurements probe;
    const int expected = probe.internalize(garbage);
    ASSERT_GT(expected, 0);

    wire::Message reply = wire::stringReply(garbage);
    TraceCapture trace;
    KopaMeasurements received = test_records::sampleMeasurements();
    DBusMessage* raw = reply.get();
    EXPECT_EQ(Parser::parseMeasurementsResponse(received, raw), expected);
    EXPECT_THAT(trace.levelledLines(),
                ElementsAre("L5 KopaDbusMessageParser::parseMeasurementsResponse() <-",
                            "L5 KopaDbusMessageParser::parseMeasurementsResponse() data string: "
                            "measurements?",
                            "L2 KopaDbusMessageParser::parseMeasurementsResponse() Internalizing "
                            "measurements data failed. Error: " +
                                std::to_string(expected),
                            "L5 KopaDbusMessageParser::parseMeasurementsResponse() ->"));
}

TEST(MeasurementsReply, WithoutALeadingStringFailsAndLeavesTheRecordUntouched) {
    wire::Message empty = wire::methodReturn();
    wire::Message int32First = replyWithInt32First();
    for (DBusMessage* raw : {empty.get(), int32First.get()}) {
        TraceCapture trace;
        KopaMeasurements received = test_records::sampleMeasurements();
        EXPECT_EQ(Parser::parseMeasurementsResponse(received, raw), KOPA_ERROR_GENERAL);
        EXPECT_EQ(received, test_records::sampleMeasurements());
        std::vector<std::string> lines = trace.lines();
        ASSERT_GE(lines.size(), 2u);
        EXPECT_THAT(afterFirst(lines),
                    StartsWith("KopaDbusMessageParser::parseMeasurementsResponse() "
                               "Request parsing failed (Name: "
                               "org.freedesktop.DBus.Error.InvalidArgs Message: "));
        EXPECT_THAT(afterFirst(lines), EndsWith(")"));
    }
}
