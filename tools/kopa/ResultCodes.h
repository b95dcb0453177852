#ifndef KOPA_TOOL_RESULT_CODES_H
#define KOPA_TOOL_RESULT_CODES_H

#include <string>

/// The result codes of libkopapositioning with their names and meanings, in one table so that
/// the tool's messages and the documentation say the same thing.
struct ResultCodeInfo {
    int code;
    const char* name;     ///< the constant's name in KopaPositioning.h
    const char* meaning;  ///< one lower-case phrase, as the tool prints it
};

/// The table entry for `code`, or null for a code the library does not define (a record's
/// internalize code, say).
const ResultCodeInfo* findResultCode(int code);

/// The whole table, ending with an entry whose name is null.
const ResultCodeInfo* allResultCodes();

/// "KOPA_ERROR_NOT_POSITIONED (-2105): no position could be found"; unknown codes as the number
/// and what it can mean ("5: the record could not read the service's answer").
std::string describeResultCode(int code);

/// The meaning alone, also for unknown codes.
std::string resultCodeMeaning(int code);

#endif
