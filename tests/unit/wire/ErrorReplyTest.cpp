#include <TraceCapture.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include <KopaFwErrorCodes.h>
#include "WireMessages.h"
#include "dbus/KopaDbusMessageParser.h"

using Parser = KopaFwClient::KopaDbusMessageParser;
using ::testing::ElementsAre;

namespace {

const char* const kServiceError = "com.ruvex.location.kopad.Error";
const std::string kEntry = "KopaDbusMessageParser::parseErrorReply() <-";
const std::string kExit = "KopaDbusMessageParser::parseErrorReply() ->";
const std::string kCodeLine = "KopaDbusMessageParser::parseErrorReply(): KOPA FW Error code: ";
const std::string kUnknown = "KopaDbusMessageParser::parseErrorReply() Unknown error code";

// The result of an error reply as it reaches the parser: an error message turned into a
// DBusError by dbus_set_error_from_message.
int resultOf(const char* name, const char* text) {
    wire::Message message = wire::errorMessage(name, text);
    wire::ErrorFromMessage error(message.get());
    return Parser::parseErrorReply(error.get());
}

}  // namespace

TEST(ServiceErrorReply, MapsEachServiceCodeToItsResult) {
    struct Row {
        const char* code;
        int result;
    };
    for (const Row& row :
         {Row{"41", KOPA_ERROR_GENERAL}, Row{"42", KOPA_ERROR_NOT_AUTHORIZED},
          Row{"43", KOPA_ERROR_NETWORK}, Row{"44", KOPA_ERROR_NETWORK},
          Row{"45", KOPA_ERROR_INFORMATION_SHORTAGE}, Row{"46", KOPA_ERROR_NOT_POSITIONED},
          Row{"47", KOPA_ERROR_GENERAL}, Row{"51", KOPA_ERROR_GENERAL},
          Row{"52", KOPA_ERROR_SERVER}, Row{"53", KOPA_ERROR_METHOD_NOT_SUPPORTED},
          Row{"54", KOPA_ERROR_NOT_POSITIONED}, Row{"55", KOPA_ERROR_SERVER},
          Row{"56", KOPA_ERROR_SERVER}, Row{"57", KOPA_ERROR_GENERAL}}) {
        const std::string text = std::string("(") + row.code + ") refused";
        TraceCapture trace;
        EXPECT_EQ(resultOf(kServiceError, text.c_str()), row.result) << row.code;
        // Known codes, also those that map to the general error, write no "Unknown" line.
        EXPECT_THAT(trace.lines(), ElementsAre(kEntry, kCodeLine + row.code, kExit)) << row.code;
    }
}

TEST(ServiceErrorReply, TakesTheCodeFromTheFirstBracketsWhereverTheyStand) {
    EXPECT_EQ(resultOf(kServiceError, "Position not found (54)"), KOPA_ERROR_NOT_POSITIONED);
    EXPECT_EQ(resultOf(kServiceError, "(44)(46)"), KOPA_ERROR_NETWORK);
    EXPECT_EQ(resultOf(kServiceError, "a (42) b (46) c"), KOPA_ERROR_NOT_AUTHORIZED);
}

TEST(ServiceErrorReply, WithoutACompleteBracketPairIsGeneralWithoutCodeOrExitLine) {
    for (const char* text : {"no brackets at all", "(42 never closed", ") (", ""}) {
        TraceCapture trace;
        EXPECT_EQ(resultOf(kServiceError, text), KOPA_ERROR_GENERAL) << text;
        EXPECT_THAT(trace.lines(), ElementsAre(kEntry)) << text;
    }
}

TEST(ServiceErrorReply, ReadsTheBracketedTextExactlyAndCallsAnyOtherTextUnknown) {
    struct Case {
        const char* message;
        const char* code;
    };
    for (const Case& c :
         {Case{"()", ""}, Case{"( 43 )", " 43 "}, Case{"(043)", "043"}, Case{"((45))", "(45"},
          Case{"(48)", "48"}, Case{"(4)", "4"}, Case{"(42x)", "42x"}}) {
        TraceCapture trace;
        EXPECT_EQ(resultOf(kServiceError, c.message), KOPA_ERROR_GENERAL) << c.message;
        EXPECT_THAT(trace.lines(), ElementsAre(kEntry, kCodeLine + c.code, kUnknown, kExit))
            << c.message;
    }
}

TEST(ServiceErrorReply, ComparesWithTheTextsTheCodeVariablesPointAtWhenMapping) {
    const char* original = KOPA_FW_NOT_AUTHORIZED;
    std::string sameText = "42";
    KOPA_FW_NOT_AUTHORIZED = sameText.c_str();  // another address, the same text
    EXPECT_EQ(resultOf(kServiceError, "(42)"), KOPA_ERROR_NOT_AUTHORIZED);

    KOPA_FW_NOT_AUTHORIZED = "99";
    EXPECT_EQ(resultOf(kServiceError, "(99)"), KOPA_ERROR_NOT_AUTHORIZED);
    EXPECT_EQ(resultOf(kServiceError, "(42)"), KOPA_ERROR_GENERAL);
    KOPA_FW_NOT_AUTHORIZED = original;
    EXPECT_EQ(resultOf(kServiceError, "(42)"), KOPA_ERROR_NOT_AUTHORIZED);
}

TEST(OtherErrorReply, NoReplyIsTheTimeOutWhateverItsMessageSays) {
    TraceCapture trace;
    EXPECT_EQ(resultOf("org.freedesktop.DBus.Error.NoReply", "(42) did not answer"),
              KOPA_ERROR_NO_REPLY);
    EXPECT_THAT(trace.lines(),
                ElementsAre(kEntry,
                            "KopaDbusMessageParser::parseErrorReply(): DBusError name: "
                            "org.freedesktop.DBus.Error.NoReply Message: (42) did not answer",
                            kExit));
}

TEST(OtherErrorReply, AnyOtherNameIsGeneralEvenWhenItDiffersFromTheServicesOnlyInCase) {
    for (const char* name :
         {"com.ruvex.location.kopad.error", "COM.RUVEX.LOCATION.KOPAD.ERROR",
          "org.freedesktop.DBus.Error.ServiceUnknown", "org.freedesktop.DBus.Error.noreply",
          "com.ruvex.location.kopad.Error.Extra"}) {
        TraceCapture trace;
        EXPECT_EQ(resultOf(name, "(42)"), KOPA_ERROR_GENERAL) << name;
        EXPECT_THAT(trace.lines(), ElementsAre(kEntry,
                                               std::string("KopaDbusMessageParser::"
                                                           "parseErrorReply(): DBusError name: ") +
                                                   name + " Message: (42)",
                                               kExit))
            << name;
    }
}

TEST(ErrorReply, LeavesTheCallersErrorAsItFoundIt) {
    DBusError error;
    dbus_error_init(&error);
    dbus_set_error(&error, kServiceError, "(46) nothing");
    const char* name = error.name;
    const char* message = error.message;
    EXPECT_EQ(Parser::parseErrorReply(&error), KOPA_ERROR_NOT_POSITIONED);
    EXPECT_EQ(error.name, name);
    EXPECT_EQ(error.message, message);
    EXPECT_STREQ(error.message, "(46) nothing");
    dbus_error_free(&error);
}
