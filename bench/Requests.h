#ifndef KOPA_BENCH_REQUESTS_H
#define KOPA_BENCH_REQUESTS_H

#include <KopaMeasurements.h>
#include <KopaPosition.h>
#include <KopaPositioning.h>
#include <dbus/dbus.h>
#include <glib.h>

namespace bench {

/// The four requests, each done three ways: through the library, through raw libdbus and
/// through GDBus. The two baselines do what an application without the library would have to
/// do for the same result: build the same message and read the answer into the same record.
enum class Request { CurrentPosition, CurrentMeasurements, LastKnownPosition, ConvertToPosition };
constexpr Request kRequests[] = {Request::CurrentPosition, Request::CurrentMeasurements,
                                 Request::LastKnownPosition, Request::ConvertToPosition};

const char* memberName(Request request);

/// What one request reads into, and the measurements a conversion sends.
struct Records {
    Records();
    KopaPosition position;
    KopaMeasurements measurements;
    KopaMeasurements toConvert;
};

/// The request parameter that the benchmark service never answers (currentPosition only).
constexpr unsigned int kNeverAnswered = 4294967295u;

int libraryBlocking(Request request, KopaPositioning& positioning, Records& records);
int libraryAsync(Request request, KopaPositioning& positioning, Records& records);

/// The request's method call, as the library builds it; aborts the run when out of memory.
DBusMessage* newRawCall(Request request, const Records& records, unsigned int requestParameter = 0);
/// The same arguments for GDBus.
GVariant* newGdbusParameters(Request request, const Records& records);
/// Reads the reply's text into the request's record; false when it cannot.
bool readAnswer(Request request, const char* text, Records& records);

}  // namespace bench

#endif
