#ifndef KOPA_FW_ERROR_CODES_H
#define KOPA_FW_ERROR_CODES_H

#include "KopaPositioning.h"

/// @file KopaFwErrorCodes.h
/// The service's error codes, as the two-digit texts it puts in brackets in its error
/// messages, each with the result code the library maps it to. The pointers are variables:
/// the mapping compares the texts they point at.

/// "41", bad request: KOPA_ERROR_GENERAL
extern KOPA_API const char* KOPA_FW_BAD_REQUEST;
/// "42", not authorized: KOPA_ERROR_NOT_AUTHORIZED
extern KOPA_API const char* KOPA_FW_NOT_AUTHORIZED;
/// "43", network error: KOPA_ERROR_NETWORK
extern KOPA_API const char* KOPA_FW_NETWORK_ERROR;
/// "44", network disabled: KOPA_ERROR_NETWORK
extern KOPA_API const char* KOPA_FW_NETWORK_DISABLED;
/// "45", information shortage: KOPA_ERROR_INFORMATION_SHORTAGE
extern KOPA_API const char* KOPA_FW_INFORMATION_SHORTAGE;
/// "46", not positioned: KOPA_ERROR_NOT_POSITIONED
extern KOPA_API const char* KOPA_FW_NOT_POSITIONED;
/// "47", internal error: KOPA_ERROR_GENERAL
extern KOPA_API const char* KOPA_FW_INTERNAL_ERROR;
/// "51", protocol error: KOPA_ERROR_GENERAL
extern KOPA_API const char* KOPA_FW_PROTOCOL_ERROR;
/// "52", no answer: KOPA_ERROR_SERVER
extern KOPA_API const char* KOPA_FW_NO_ANSWER;
/// "53", positioning method not supported: KOPA_ERROR_METHOD_NOT_SUPPORTED
extern KOPA_API const char* KOPA_FW_POS_METHOD_NOT_SUPPORTED;
/// "54", position not found: KOPA_ERROR_NOT_POSITIONED
extern KOPA_API const char* KOPA_FW_POSITION_NOT_FOUND;
/// "55", server error: KOPA_ERROR_SERVER
extern KOPA_API const char* KOPA_FW_SERVER_ERROR;
/// "56", server authentication error: KOPA_ERROR_SERVER
extern KOPA_API const char* KOPA_FW_SERVER_AUTH_ERROR;
/// "57", unspecified error: KOPA_ERROR_GENERAL
extern KOPA_API const char* KOPA_FW_UNSPECIFIED_ERROR;

#endif
