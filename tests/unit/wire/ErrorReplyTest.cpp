#include <TraceCapture.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <KopaFwErrorCodes.h>
#include "WireMessages.h"
#include "dbus/KopaDbusMessageParser.h"

using Parser = KopaFwClient::KopaDbusMessageParser;
using ::testing::ElementsAreArray;

namespace {

const char* const kServiceError = "com.ruvex.location.kopad.Error";
const char* const kNoReply = "org.freedesktop.DBus.Error.NoReply";
const std::string kEntry = "KopaDbusMessageParser::parseErrorReply() <-";
const std::string kExit = "KopaDbusMessageParser::parseErrorReply() ->";
const std::string kCode = "KopaDbusMessageParser::parseErrorReply(): KOPA FW Error code: ";
const std::string kUnknown = "KopaDbusMessageParser::parseErrorReply() Unknown error code";
const std::string kName = "KopaDbusMessageParser::parseErrorReply(): DBusError name: ";

// An error message turned into a DBusError by dbus_set_error_from_message, as callers do.
int resultOf(const char* name, const char* text) {
    wire::Message message = wire::errorMessage(name, text);
    wire::ErrorFromMessage error(message.get());
    return Parser::parseErrorReply(error.get());
}

}  // namespace

TEST(ErrorReply, MapsEveryServiceCodeAndEveryOtherErrorToItsResultAndTrace) {
    const struct {
        const char* name;
        const char* message;
        int result;
        std::vector<std::string> trace;
    } cases[] = {
        {kServiceError, "(41) x", KOPA_ERROR_GENERAL, {kEntry, kCode + "41", kExit}},
        {kServiceError, "(42) x", KOPA_ERROR_NOT_AUTHORIZED, {kEntry, kCode + "42", kExit}},
        {kServiceError, "(43) x", KOPA_ERROR_NETWORK, {kEntry, kCode + "43", kExit}},
        {kServiceError, "(44) x", KOPA_ERROR_NETWORK, {kEntry, kCode + "44", kExit}},
        {kServiceError, "(45)", KOPA_ERROR_INFORMATION_SHORTAGE, {kEntry, kCode + "45", kExit}},
        {kServiceError, "(46)", KOPA_ERROR_NOT_POSITIONED, {kEntry, kCode + "46", kExit}},
        {kServiceError, "(47)", KOPA_ERROR_GENERAL, {kEntry, kCode + "47", kExit}},
        {kServiceError, "(51)", KOPA_ERROR_GENERAL, {kEntry, kCode + "51", kExit}},
        {kServiceError, "(52)", KOPA_ERROR_SERVER, {kEntry, kCode + "52", kExit}},
        {kServiceError, "(53)", KOPA_ERROR_METHOD_NOT_SUPPORTED, {kEntry, kCode + "53", kExit}},
        {kServiceError, "(54)", KOPA_ERROR_NOT_POSITIONED, {kEntry, kCode + "54", kExit}},
        {kServiceError, "(55)", KOPA_ERROR_SERVER, {kEntry, kCode + "55", kExit}},
        {kServiceError, "(56)", KOPA_ERROR_SERVER, {kEntry, kCode + "56", kExit}},
        {kServiceError, "(57)", KOPA_ERROR_GENERAL, {kEntry, kCode + "57", kExit}},
        // The code is the text of the first complete brackets, wherever they stand.
        {kServiceError, "a (42) b (46)", KOPA_ERROR_NOT_AUTHORIZED, {kEntry, kCode + "42", kExit}},
        {kServiceError, "( 43 )", KOPA_ERROR_GENERAL, {kEntry, kCode + " 43 ", kUnknown, kExit}},
        {kServiceError, "((45))", KOPA_ERROR_GENERAL, {kEntry, kCode + "(45", kUnknown, kExit}},
        {kServiceError, "(48)", KOPA_ERROR_GENERAL, {kEntry, kCode + "48", kUnknown, kExit}},
        {kServiceError, "(42 never closed", KOPA_ERROR_GENERAL, {kEntry}},
        {kServiceError, ") (", KOPA_ERROR_GENERAL, {kEntry}},
        {kNoReply,
         "(42) late",
         KOPA_ERROR_NO_REPLY,
         {kEntry, kName + kNoReply + " Message: (42) late", kExit}},
        {"com.ruvex.location.kopad.error",
         "(42)",
         KOPA_ERROR_GENERAL,
         {kEntry, kName + "com.ruvex.location.kopad.error Message: (42)", kExit}},
        {"org.freedesktop.DBus.Error.ServiceUnknown",
         "(42)",
         KOPA_ERROR_GENERAL,
         {kEntry, kName + "org.freedesktop.DBus.Error.ServiceUnknown Message: (42)", kExit}},
    };
    for (const auto& c : cases) {
        TraceCapture trace;
        EXPECT_EQ(resultOf(c.name, c.message), c.result) << c.name << " " << c.message;
        EXPECT_THAT(trace.lines(), ElementsAreArray(c.trace)) << c.name << " " << c.message;
    }
}

TEST(ErrorReply, ComparesWithTheTextsTheCodeVariablesPointAt) {
    const char* original = KOPA_FW_NOT_AUTHORIZED;
    KOPA_FW_NOT_AUTHORIZED = "99";
    EXPECT_EQ(resultOf(kServiceError, "(99)"), KOPA_ERROR_NOT_AUTHORIZED);
    EXPECT_EQ(resultOf(kServiceError, "(42)"), KOPA_ERROR_GENERAL);
    KOPA_FW_NOT_AUTHORIZED = original;
}
