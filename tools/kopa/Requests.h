#ifndef KOPA_TOOL_REQUESTS_H
#define KOPA_TOOL_REQUESTS_H

#include <KopaPositioning.h>

#include "Options.h"
#include "Output.h"

/// The library's kind of request for a command (position, measurements, last, convert).
KopaRequestType requestTypeOf(Command command);

/// Makes the command's blocking request and returns its result code.
int runBlocking(KopaPositioning& positioning, const Options& options, Command command,
                RequestRecords& records);

/// Sends the command's asynchronous request; the result reaches the object's observer later.
/// Returns the code of the call itself.
int startAsync(KopaPositioning& positioning, const Options& options, Command command,
               RequestRecords& records);

#endif
