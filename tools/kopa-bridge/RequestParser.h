#ifndef KOPA_BRIDGE_REQUEST_PARSER_H
#define KOPA_BRIDGE_REQUEST_PARSER_H

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

namespace bridge {

/// One member value of a request's argument object. gpsd's arguments are flat: strings,
/// numbers, booleans and null, never nested objects or arrays.
struct JsonValue {
    enum class Type { Null, Boolean, Number, String };
    Type type = Type::Null;
    bool boolean = false;
    double number = 0.0;
    std::string text;
};

/// One request of gpsd's protocol: "?NAME;" or "?NAME={...};".
struct Request {
    /// The command's name, as sent ("WATCH").
    std::string name;
    /// True when the command carried an argument object.
    bool hasArgument = false;
    /// The argument's members; a member given twice keeps its last value, as in JSON.
    std::map<std::string, JsonValue> members;
    /// Empty for a well-formed request, else why it is not one.
    std::string error;
};

/// Reads the first request from `input`: blanks, line ends and ';' before it are skipped. Returns
/// the bytes it used, or 0 while the request is incomplete (more input may complete it). A
/// malformed request fills `request.error` and uses the input up to the end of its line, so
/// that the next line starts afresh; without a line end yet it is incomplete.
std::size_t readRequest(std::string_view input, Request& request);

}  // namespace bridge

#endif
