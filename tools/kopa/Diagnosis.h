#ifndef KOPA_TOOL_DIAGNOSIS_H
#define KOPA_TOOL_DIAGNOSIS_H

#include <string>

#include "Options.h"

/// Why a request of `command` failed with KOPA_ERROR_GENERAL, found out after the fact with
/// D-Bus calls of our own: no bus at the address, no owner of the service's name, the bus
/// policy refusing the call, or else an answer the library could not use. One line of text.
std::string diagnoseGeneralFailure(Command command);

#endif
