#include <KopaMeasurements.h>
#include <Records.h>
#include <TraceCapture.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdarg>
#include <functional>
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
        const char* text = "<none>";
        EXPECT_TRUE(
            dbus_message_get_args(message, nullptr, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID));
        return text;
    }
};

const char* const kConvertEntry = "KopaDbusMessageWriter::convertToPositionRequest() <-";
const char* const kCannotAppend =
    "KopaDbusMessageWriter::convertToPositionRequest() ERROR: Cannot append DBus arguments";

}  // namespace

TEST_F(Interposing, WritersThatCannotBuildTheirMessageFailAndReleaseItExceptTheConvertWriter) {
    const struct {
        const char* name;
        std::function<int(DBusMessage*&)> write;
    } writers[] = {
        {"writeCurrentPositionRequest",
         [](DBusMessage*& m) {
             return Writer::writeCurrentPositionRequest(1, KOPA_PACKET_DATA_ALLOWED, 1, 1, m);
         }},
        {"writeCurrentMeasurementsRequest",
         [](DBusMessage*& m) { return Writer::writeCurrentMeasurementsRequest(1, m); }},
        {"writeLastKnownPositionRequest",
         [](DBusMessage*& m) { return Writer::writeLastKnownPositionRequest(1, 1, 1, m); }},
    };
    wire::Message keep = wire::answeredCall();
    for (bool failCreate : {true, false}) {
        interposed.failNewMethodCall = failCreate;
        interposed.failAppendArgs = !failCreate;
        for (const auto& writer : writers) {
            TraceCapture trace;
            DBusMessage* message = keep.get();  // must be overwritten with null
            EXPECT_EQ(writer.write(message), KOPA_ERROR_GENERAL) << writer.name;
            EXPECT_EQ(message, nullptr) << writer.name;
            EXPECT_THAT(trace.lines(), ElementsAre(std::string("KopaDbusMessageWriter::") +
                                                   writer.name + "() <-"));
        }
        TraceCapture trace;
        wire::Message message;
        EXPECT_EQ(writeConvert(message), KOPA_ERROR_GENERAL);
        EXPECT_EQ(message.get() == nullptr, failCreate);
        const std::string text = test_records::textOf(test_records::sampleMeasurements());
        const std::string convert = "KopaDbusMessageWriter::convertToPositionRequest()";
        if (failCreate) {
            EXPECT_THAT(
                trace.lines(),
                ElementsAre(kConvertEntry, convert + " ERROR: Cannot allocate DBus message"));
        } else {
            EXPECT_THAT(trace.lines(),
                        ElementsAre(kConvertEntry, convert + " measurements: " + text,
                                    convert + " packetDataUsage: 1", convert + " classType: 1",
                                    convert + " version: 1", kCannotAppend));
        }
    }
}

TEST_F(Interposing, MeasurementsTextsThatAreNoValidStringAreCutAtNulOrRefused) {
    const struct {
        std::string text;
        const char* sent;  // null: refused as an append failure instead of ending the process
    } cases[] = {
        {std::string("cells=1\0\xff tail", 14), "cells=1"},
        {"", ""},
        {"k\xc3\xa4ytt\xc3\xa4j\xc3\xa4 \xe2\x82\xac",
         "k\xc3\xa4ytt\xc3\xa4j\xc3\xa4 \xe2\x82\xac"},
        {"\xff", nullptr},
        {"caf\xc3", nullptr},
        {"\xed\xa0\x80", nullptr},
        {"\xc0\x80 overlong NUL", nullptr},
        {"\xf4\x90\x80\x80 beyond U+10FFFF", nullptr},
    };
    for (const auto& c : cases) {
        interposed.externalizedText = c.text;
        TraceCapture trace;
        wire::Message message;
        EXPECT_EQ(writeConvert(message), c.sent ? KOPA_OK : KOPA_ERROR_GENERAL);
        ASSERT_NE(message.get(), nullptr);
        if (c.sent) {
            EXPECT_EQ(sentMeasurements(message.get()), c.sent);
            EXPECT_EQ(
                trace.lines()[1],
                std::string("KopaDbusMessageWriter::convertToPositionRequest() measurements: ") +
                    c.sent);
        } else {
            EXPECT_EQ(wire::signatureOf(message.get()), "");
            EXPECT_EQ(trace.lines().back(), kCannotAppend);
        }
    }
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
