#ifndef KOPAD_SIM_OUTCOME_H
#define KOPAD_SIM_OUTCOME_H

#include <cstdint>
#include <string>

// One scripted answer to a request, read from a text such as "error 54" or "delay 200 reply".
// The grammar is the same for PushOutcomes, scenario files and the command line.
struct Outcome {
    enum class Kind {
        Own,           // "reply": the service's own answer
        Text,          // "reply TEXT": a STRING
        ServiceError,  // "error CODE [MESSAGE]": com.ruvex.location.kopad.Error
        DbusError,     // "dbus-error NAME MESSAGE": any error name
        NoReply,       // "noreply": never answered
        NoArg,         // "noarg": a return with no argument
        Int32,         // "int32 N": a return with one INT32
        Extra,         // "extra [TEXT]": STRING, INT32 7, STRING "extra"
    };

    Kind kind = Kind::Own;
    unsigned int delayMs = 0;  // total of the "delay" prefixes
    bool hasText = false;      // Extra: TEXT given, else the service's own answer
    std::string text;          // Text, Extra: the STRING; ServiceError, DbusError: the message
    std::string errorName;     // ServiceError, DbusError
    std::int32_t number = 0;   // Int32
    std::string source;        // the outcome as written
};

// Reads one outcome; on failure returns false and says why.
bool parseOutcome(const std::string& text, Outcome& outcome, std::string& why);

// "Position not found" for "54"; a generic text for codes the service does not know.
std::string serviceErrorMessage(const std::string& code);

// An error outcome that the service itself gives, for example 45 when it cannot convert.
Outcome serviceError(const std::string& code);

extern const char* const kServiceErrorName;

#endif
