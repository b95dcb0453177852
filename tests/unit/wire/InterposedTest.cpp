#include <KopaMeasurements.h>
#include <Records.h>
#include <TraceCapture.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdarg>
#include <optional>
#include <string>

#include "WireMessages.h"
#include "dbus/KopaDbusMessageParser.h"
#include "dbus/KopaDbusMessageWriter.h"

using Parser = KopaFwClient::KopaDbusMessageParser;
using Writer = KopaFwClient::KopaDbusMessageWriter;
using ::testing::ElementsAre;

namespace {

// What the interposers do; each passes through while its member is unset.
struct Interposed {
    bool failNewMethodCall = false;
    bool failAppendArgs = false;
    std::optional<std::string> externalizedText;
    std::optional<int> internalizeResult;
};
Interposed interposed;

}  // namespace

// The linker sends the named calls here (see CMakeLists.txt); __real_ reaches the original.
extern "C" {
DBusMessage* __real_dbus_message_new_method_call(const char* destination, const char* path,
                                                 const char* interface, const char* member);
DBusMessage* __wrap_dbus_message_new_method_call(const char* destination, const char* path,
                                                 const char* interface, const char* member) {
    if (interposed.failNewMethodCall) {
        return nullptr;
    }
    return __real_dbus_message_new_method_call(destination, path, interface, member);
}

dbus_bool_t __wrap_dbus_message_append_args(DBusMessage* message, int firstType, ...) {
    if (interposed.failAppendArgs) {
        return FALSE;
    }
    va_list arguments;
    va_start(arguments, firstType);
    const dbus_bool_t appended = dbus_message_append_args_valist(message, firstType, arguments);
    va_end(arguments);
    return appended;
}

int __real__ZNK16KopaMeasurements11externalizeERNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE(
    const KopaMeasurements* self, std::string& text);
int __wrap__ZNK16KopaMeasurements11externalizeERNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE(
    const KopaMeasurements* self, std::string& text) {
    if (interposed.externalizedText) {
        text = *interposed.externalizedText;
        return 0;
    }
    return __real__ZNK16KopaMeasurements11externalizeERNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE(
        self, text);
}

int __real__ZN16KopaMeasurements11internalizeERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE(
    KopaMeasurements* self, const std::string& text);
int __wrap__ZN16KopaMeasurements11internalizeERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE(
    KopaMeasurements* self, const std::string& text) {
    if (interposed.internalizeResult) {
        return *interposed.internalizeResult;
    }
    return __real__ZN16KopaMeasurements11internalizeERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE(
        self, text);
}
}

namespace {

class Interposing : public ::testing::Test {
  protected:
    void TearDown() override { interposed = Interposed(); }

    // Runs the convert writer on the sample record, whose text the test may have replaced.
    int writeConvert(wire::Message& message) {
        DBusMessage* raw = nullptr;
        const int result = Writer::writeConvertToPositionRequest(
            test_records::sampleMeasurements(), KOPA_PACKET_DATA_ALLOWED, 1, 1, raw);
        message.reset(raw);
        return result;
    }

    std::string sentMeasurements(DBusMessage* message) {
        const char* text = nullptr;
        dbus_int32_t usage = 0;
        dbus_uint16_t classType = 0;
        dbus_uint16_t version = 0;
        EXPECT_TRUE(dbus_message_get_args(message, nullptr, DBUS_TYPE_STRING, &text,
                                          DBUS_TYPE_INT32, &usage, DBUS_TYPE_UINT16, &classType,
                                          DBUS_TYPE_UINT16, &version, DBUS_TYPE_INVALID));
        return text != nullptr ? text : "<none>";
    }
};

const char* const kConvertEntry = "KopaDbusMessageWriter::convertToPositionRequest() <-";
const char* const kCannotAppend =
    "KopaDbusMessageWriter::convertToPositionRequest() ERROR: Cannot append DBus arguments";

// Whether a failed writer left a message for the caller to release; releases it.
std::vector<std::string> convertValueLines(const std::string& text) {
    return {"KopaDbusMessageWriter::convertToPositionRequest() measurements: " + text,
            "KopaDbusMessageWriter::convertToPositionRequest() packetDataUsage: 1",
            "KopaDbusMessageWriter::convertToPositionRequest() classType: 1",
            "KopaDbusMessageWriter::convertToPositionRequest() version: 1"};
}

}  // namespace

TEST_F(Interposing, ArgumentOnlyWritersThatCannotCreateTheMessageFailWithOnlyTheirEntryLine) {
    wire::Message keep = wire::answeredCall();
    DBusMessage* message = keep.get();  // must be overwritten with null
    interposed.failNewMethodCall = true;
    TraceCapture trace;

    EXPECT_EQ(Writer::writeCurrentPositionRequest(1, KOPA_PACKET_DATA_ALLOWED, 1, 1, message),
              KOPA_ERROR_GENERAL);
    EXPECT_EQ(message, nullptr);
    EXPECT_THAT(trace.take(),
                ElementsAre("KopaDbusMessageWriter::writeCurrentPositionRequest() <-"));

    message = keep.get();
    EXPECT_EQ(Writer::writeCurrentMeasurementsRequest(1, message), KOPA_ERROR_GENERAL);
    EXPECT_EQ(message, nullptr);
    EXPECT_THAT(trace.take(),
                ElementsAre("KopaDbusMessageWriter::writeCurrentMeasurementsRequest() <-"));

    message = keep.get();
    EXPECT_EQ(Writer::writeLastKnownPositionRequest(1, 1, 1, message), KOPA_ERROR_GENERAL);
    EXPECT_EQ(message, nullptr);
    EXPECT_THAT(trace.take(),
                ElementsAre("KopaDbusMessageWriter::writeLastKnownPositionRequest() <-"));
}

TEST_F(Interposing, ConvertWriterThatCannotCreateTheMessageSaysSo) {
    interposed.failNewMethodCall = true;
    TraceCapture trace;
    wire::Message message;
    EXPECT_EQ(writeConvert(message), KOPA_ERROR_GENERAL);
    EXPECT_EQ(message.get(), nullptr);
    EXPECT_THAT(trace.lines(),
                ElementsAre(kConvertEntry,
                            "KopaDbusMessageWriter::convertToPositionRequest() ERROR: Cannot "
                            "allocate DBus message"));
}

TEST_F(Interposing, WritersThatCannotAppendReleaseTheMessageExceptTheConvertWriter) {
    interposed.failAppendArgs = true;
    TraceCapture trace;
    DBusMessage* raw = nullptr;
    EXPECT_EQ(Writer::writeCurrentPositionRequest(1, KOPA_PACKET_DATA_ALLOWED, 1, 1, raw),
              KOPA_ERROR_GENERAL);
    EXPECT_EQ(raw, nullptr);
    EXPECT_EQ(Writer::writeCurrentMeasurementsRequest(1, raw), KOPA_ERROR_GENERAL);
    EXPECT_EQ(raw, nullptr);
    EXPECT_EQ(Writer::writeLastKnownPositionRequest(1, 1, 1, raw), KOPA_ERROR_GENERAL);
    EXPECT_EQ(raw, nullptr);
    // The argument-only writers fail as silently as when the message cannot be created.
    EXPECT_THAT(trace.take(),
                ElementsAre("KopaDbusMessageWriter::writeCurrentPositionRequest() <-",
                            "KopaDbusMessageWriter::writeCurrentMeasurementsRequest() <-",
                            "KopaDbusMessageWriter::writeLastKnownPositionRequest() <-"));

    wire::Message message;
    EXPECT_EQ(writeConvert(message), KOPA_ERROR_GENERAL);
    EXPECT_NE(message.get(), nullptr);
    std::vector<std::string> expected = {kConvertEntry};
    for (const std::string& line :
         convertValueLines(test_records::textOf(test_records::sampleMeasurements()))) {
        expected.push_back(line);
    }
    expected.push_back(kCannotAppend);
    EXPECT_EQ(trace.take(), expected);
}

TEST_F(Interposing, MeasurementsTextIsSentUpToItsFirstNul) {
    interposed.externalizedText = std::string("cells=1\0\xff tail", 14);
    TraceCapture trace;
    wire::Message message;
    ASSERT_EQ(writeConvert(message), KOPA_OK);
    EXPECT_EQ(sentMeasurements(message.get()), "cells=1");
    EXPECT_EQ(trace.lines()[1],
              "KopaDbusMessageWriter::convertToPositionRequest() measurements: cells=1");
}

TEST_F(Interposing, EmptyMeasurementsTextIsSentAsAnEmptyString) {
    interposed.externalizedText = std::string();
    wire::Message message;
    ASSERT_EQ(writeConvert(message), KOPA_OK);
    EXPECT_EQ(wire::signatureOf(message.get()), "siqq");
    EXPECT_EQ(sentMeasurements(message.get()), "");
}

TEST_F(Interposing, MeasurementsTextThatIsNotUtf8FailsAsAnAppendFailureInsteadOfEndingTheProcess) {
    for (const std::string& text :
         {std::string("\xff"), std::string("caf\xc3"), std::string("\xed\xa0\x80"),
          std::string("\xc0\x80 overlong NUL"), std::string("\xf4\x90\x80\x80 beyond U+10FFFF")}) {
        interposed.externalizedText = text;
        TraceCapture trace;
        wire::Message message;
        EXPECT_EQ(writeConvert(message), KOPA_ERROR_GENERAL);
        ASSERT_NE(message.get(), nullptr);
        EXPECT_EQ(wire::signatureOf(message.get()), "");
        std::vector<std::string> lines = trace.lines();
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(lines.back(), kCannotAppend);
    }
    // Valid multi-byte text passes.
    interposed.externalizedText = std::string("k\xc3\xa4ytt\xc3\xa4j\xc3\xa4 \xe2\x82\xac");
    wire::Message message;
    ASSERT_EQ(writeConvert(message), KOPA_OK);
    EXPECT_EQ(sentMeasurements(message.get()), *interposed.externalizedText);
}

TEST_F(Interposing, MeasurementsReplyReturnsANegativeInternalizeResultUnchanged) {
    for (int code : {-42, -2105, 2147483647}) {
        interposed.internalizeResult = code;
        wire::Message reply = wire::stringReply("anything");
        TraceCapture trace;
        KopaMeasurements measurements;
        DBusMessage* raw = reply.get();
        EXPECT_EQ(Parser::parseMeasurementsResponse(measurements, raw), code);
        EXPECT_EQ(trace.levelledLines()[2],
                  "L2 KopaDbusMessageParser::parseMeasurementsResponse() Internalizing "
                  "measurements data failed. Error: " +
                      std::to_string(code));
    }
}
