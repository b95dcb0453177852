#include <KopaFwErrorCodes.h>

const char* KOPA_FW_BAD_REQUEST = "41";
const char* KOPA_FW_NOT_AUTHORIZED = "42";
const char* KOPA_FW_NETWORK_ERROR = "43";
const char* KOPA_FW_NETWORK_DISABLED = "44";
const char* KOPA_FW_INFORMATION_SHORTAGE = "45";
const char* KOPA_FW_NOT_POSITIONED = "46";
const char* KOPA_FW_INTERNAL_ERROR = "47";
const char* KOPA_FW_PROTOCOL_ERROR = "51";
const char* KOPA_FW_NO_ANSWER = "52";
const char* KOPA_FW_POS_METHOD_NOT_SUPPORTED = "53";
const char* KOPA_FW_POSITION_NOT_FOUND = "54";
const char* KOPA_FW_SERVER_ERROR = "55";
const char* KOPA_FW_SERVER_AUTH_ERROR = "56";
const char* KOPA_FW_UNSPECIFIED_ERROR = "57";
