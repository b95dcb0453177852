#ifndef KOPA_TOOL_RESULT_CODES_H
#define KOPA_TOOL_RESULT_CODES_H

#include <string>

// The names and meanings of the result codes are kopa::codeName's and kopa::codeMessage's, so
// that kopa, kopa::Client and the adapters over it say the same thing.

/// The code's name ("KOPA_ERROR_NOT_POSITIONED", "KOPA_TEXT_BAD_NUMBER"), or null for a code
/// that has none.
const char* resultCodeName(int code);

/// "KOPA_ERROR_NOT_POSITIONED (-2105): no position could be found"; a code without a name as
/// the number and what it can mean ("99: the record could not read the service's answer").
std::string describeResultCode(int code);

/// The meaning alone, also for codes without a name.
std::string resultCodeMeaning(int code);

#endif
