#ifndef KOPA_TOOL_DIAGNOSIS_H
#define KOPA_TOOL_DIAGNOSIS_H

#include <KopaFailureCause.h>

#include <string>

/// Why a request failed with KOPA_ERROR_GENERAL, from the cause the library recorded: no bus
/// at the address, no owner of the service's name, the bus policy refusing the call, what the
/// service said, or an answer the library could not read. One line of text.
std::string describeFailureCause(const KopaFailureCause& cause);

#endif
