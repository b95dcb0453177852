#ifndef KOPA_FW_ERROR_CODES_H
#define KOPA_FW_ERROR_CODES_H

#include "KopaPositioning.h"

// The service's error codes, as the two-digit texts it puts in brackets in its error
// messages. The pointers are variables: the mapping compares the texts they point at.
extern KOPA_API const char* KOPA_FW_BAD_REQUEST;
extern KOPA_API const char* KOPA_FW_NOT_AUTHORIZED;
extern KOPA_API const char* KOPA_FW_NETWORK_ERROR;
extern KOPA_API const char* KOPA_FW_NETWORK_DISABLED;
extern KOPA_API const char* KOPA_FW_INFORMATION_SHORTAGE;
extern KOPA_API const char* KOPA_FW_NOT_POSITIONED;
extern KOPA_API const char* KOPA_FW_INTERNAL_ERROR;
extern KOPA_API const char* KOPA_FW_PROTOCOL_ERROR;
extern KOPA_API const char* KOPA_FW_NO_ANSWER;
extern KOPA_API const char* KOPA_FW_POS_METHOD_NOT_SUPPORTED;
extern KOPA_API const char* KOPA_FW_POSITION_NOT_FOUND;
extern KOPA_API const char* KOPA_FW_SERVER_ERROR;
extern KOPA_API const char* KOPA_FW_SERVER_AUTH_ERROR;
extern KOPA_API const char* KOPA_FW_UNSPECIFIED_ERROR;

#endif
