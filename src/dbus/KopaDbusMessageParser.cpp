#include "dbus/KopaDbusMessageParser.h"

#include <KopaFwErrorCodes.h>
#include <KopaLocationInfo.h>

#include <string>

#include "dbus/FailureCause.h"
#include "dbus/ServiceNames.h"
#include "log/Trace.h"

namespace {

// A location info asks for its answer by this class type; the reply still holds a plain
// position, which goes into the location info's first slot.
constexpr unsigned int kLocationInfoClassType = 2;

const char* textOrEmpty(const char* text) {
    return text != nullptr ? text : "";
}

// Reads the reply's leading STRING into `text`. On failure the error stays set for the caller
// to report and free.
bool readLeadingString(DBusMessage* reply, DBusError& error, std::string& text) {
    const char* data = nullptr;
    if (!dbus_message_get_args(reply, &error, DBUS_TYPE_STRING, &data, DBUS_TYPE_INVALID)) {
        return false;
    }
    text = textOrEmpty(data);
    return true;
}

// An answer the record could not use: the D-Bus error of reading it, when there is one.
void recordUnreadable(const char* reason, const DBusError& error) {
    kopa::recordFailureCause(KOPA_FAILURE_UNREADABLE_REPLY, error.name,
                             error.message != nullptr ? error.message : reason);
}

void recordUnreadable(const std::string& reason) {
    kopa::recordFailureCause(KOPA_FAILURE_UNREADABLE_REPLY, nullptr, reason.c_str());
}

struct ServiceCode {
    const char* const* text;  // the exported variable, read at mapping time
    int result;
};

const ServiceCode kServiceCodes[] = {
    {&KOPA_FW_BAD_REQUEST, KOPA_ERROR_GENERAL},
    {&KOPA_FW_NOT_AUTHORIZED, KOPA_ERROR_NOT_AUTHORIZED},
    {&KOPA_FW_NETWORK_ERROR, KOPA_ERROR_NETWORK},
    {&KOPA_FW_NETWORK_DISABLED, KOPA_ERROR_NETWORK},
    {&KOPA_FW_INFORMATION_SHORTAGE, KOPA_ERROR_INFORMATION_SHORTAGE},
    {&KOPA_FW_NOT_POSITIONED, KOPA_ERROR_NOT_POSITIONED},
    {&KOPA_FW_INTERNAL_ERROR, KOPA_ERROR_GENERAL},
    {&KOPA_FW_PROTOCOL_ERROR, KOPA_ERROR_GENERAL},
    {&KOPA_FW_NO_ANSWER, KOPA_ERROR_SERVER},
    {&KOPA_FW_POS_METHOD_NOT_SUPPORTED, KOPA_ERROR_METHOD_NOT_SUPPORTED},
    {&KOPA_FW_POSITION_NOT_FOUND, KOPA_ERROR_NOT_POSITIONED},
    {&KOPA_FW_SERVER_ERROR, KOPA_ERROR_SERVER},
    {&KOPA_FW_SERVER_AUTH_ERROR, KOPA_ERROR_SERVER},
    {&KOPA_FW_UNSPECIFIED_ERROR, KOPA_ERROR_GENERAL},
};

// Whole-text comparison, no trimming and no numeric reading: "043" is not "43".
bool findServiceCode(const std::string& code, int& result) {
    for (const ServiceCode& entry : kServiceCodes) {
        const char* text = *entry.text;
        if (text != nullptr && code == text) {
            result = entry.result;
            return true;
        }
    }
    return false;
}

}  // namespace

int KopaFwClient::KopaDbusMessageParser::parsePositionResponse(KopaPosition& position,
                                                               DBusMessage*& reply) {
    KOPA_TRACE() << "KopaDbusMessageParser::parsePositionResponse() <-";
    DBusError error;
    dbus_error_init(&error);
    std::string text;
    if (!readLeadingString(reply, error, text)) {
        KOPA_TRACE() << "KopaDbusMessageParser::parsePositionResponse() Request parsing failed "
                        "(Name: "
                     << textOrEmpty(error.name) << " Message: " << textOrEmpty(error.message)
                     << ")";
        recordUnreadable("the reply holds no text", error);
        dbus_error_free(&error);
        return KOPA_ERROR_GENERAL;
    }
    KOPA_TRACE() << "KopaDbusMessageParser::parsePositionResponse() data string: " << text;

    int result = KOPA_OK;
    const bool isLocationInfo = position.type() == kLocationInfoClassType;
    KopaLocationInfo* info = nullptr;
    if (isLocationInfo) {
        KopaPosition parsed;
        result = parsed.internalize(text);
        info = dynamic_cast<KopaLocationInfo*>(&position);
        if (info != nullptr) {
            // Stored even when the text could not be read; the failure is still reported.
            info->setKopaPosition(1, parsed);
        } else {
            result = KOPA_ERROR_GENERAL;
        }
    } else {
        result = position.internalize(text);
    }

    if (result != KOPA_OK) {
        recordUnreadable(info == nullptr && isLocationInfo
                             ? std::string("a record of class type 2 that is no KopaLocationInfo")
                             : "the record could not read the reply (internalize " +
                                   std::to_string(result) + ")");
        KOPA_TRACE() << "KopaDbusMessageParser::parsePositionResponse() Error when internalizing "
                        "data: "
                     << result;
        return result;
    }
    KOPA_TRACE() << "KopaDbusMessageParser::parsePositionResponse() ->";
    return KOPA_OK;
}

int KopaFwClient::KopaDbusMessageParser::parseMeasurementsResponse(KopaMeasurements& measurements,
                                                                   DBusMessage*& reply) {
    KOPA_TRACE() << "KopaDbusMessageParser::parseMeasurementsResponse() <-";
    DBusError error;
    dbus_error_init(&error);
    std::string text;
    if (!readLeadingString(reply, error, text)) {
        KOPA_TRACE() << "KopaDbusMessageParser::parseMeasurementsResponse() Request parsing failed "
                        "(Name: "
                     << textOrEmpty(error.name) << " Message: " << textOrEmpty(error.message)
                     << ")";
        recordUnreadable("the reply holds no text", error);
        dbus_error_free(&error);
        return KOPA_ERROR_GENERAL;
    }
    KOPA_TRACE() << "KopaDbusMessageParser::parseMeasurementsResponse() data string: " << text;

    const int result = measurements.internalize(text);
    if (result != KOPA_OK) {
        recordUnreadable("the record could not read the reply (internalize " +
                         std::to_string(result) + ")");
        KOPA_TRACE_AT(kopa::kTraceLevelImportant)
            << "KopaDbusMessageParser::parseMeasurementsResponse() Internalizing measurements "
               "data failed. Error: "
            << result;
    }
    KOPA_TRACE() << "KopaDbusMessageParser::parseMeasurementsResponse() ->";
    return result;
}

int KopaFwClient::KopaDbusMessageParser::parseErrorReply(DBusError* error) {
    KOPA_TRACE() << "KopaDbusMessageParser::parseErrorReply() <-";
    kopa::recordDbusFailure(*error);
    const std::string name = textOrEmpty(error->name);
    const std::string message = textOrEmpty(error->message);

    int result = KOPA_ERROR_GENERAL;
    if (name == kopa::kServiceErrorName) {
        // The service puts its code between the first "(" and the ")" after it.
        const std::string::size_type open = message.find('(');
        if (open == std::string::npos) {
            return KOPA_ERROR_GENERAL;
        }
        const std::string::size_type close = message.find(')', open + 1);
        if (close == std::string::npos) {
            return KOPA_ERROR_GENERAL;
        }
        const std::string code = message.substr(open + 1, close - open - 1);
        KOPA_TRACE() << "KopaDbusMessageParser::parseErrorReply(): KOPA FW Error code: " << code;
        if (!findServiceCode(code, result)) {
            KOPA_TRACE() << "KopaDbusMessageParser::parseErrorReply() Unknown error code";
            result = KOPA_ERROR_GENERAL;
        }
    } else {
        KOPA_TRACE() << "KopaDbusMessageParser::parseErrorReply(): DBusError name: " << name
                     << " Message: " << message;
        result = name == kopa::kNoReplyErrorName ? KOPA_ERROR_NO_REPLY : KOPA_ERROR_GENERAL;
    }
    KOPA_TRACE() << "KopaDbusMessageParser::parseErrorReply() ->";
    return result;
}
