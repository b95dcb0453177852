#ifndef KOPA_BENCH_BENCHMARKS_H
#define KOPA_BENCH_BENCHMARKS_H

#include <vector>

#include "BenchSupport.h"
#include "Requests.h"

namespace bench {

/// Client CPU and wall time per blocking request.
struct BlockingCosts {
    Cost library;
    Cost libraryTraced;
    Cost raw;
    Cost gdbus;
};
/// `calls` requests of each contender, interleaved in rounds so drift hits all alike.
BlockingCosts measureBlocking(Request request, int calls, const char* traceFile);

/// Client CPU and wall time per completed asynchronous request, with `inFlight` requests
/// outstanding at all times.
struct AsyncCosts {
    Cost library;
    Cost raw;
    Cost gdbus;
    int failures = 0;  ///< of all three; a failure would make the figures meaningless
};
AsyncCosts measureAsync(Request request, int inFlight, int completions);
/// The library alone, with tracing on or off.
Cost measureLibraryAsync(Request request, int inFlight, int completions, int& failures);

/// Raw libdbus pending calls alone, the baseline of the tables that compare layers.
Cost measureRawAsync(Request request, int inFlight, int completions, int& failures);
/// kopa::Client's asynchronous requests, driven as the library's.
Cost measureClientAsync(Request request, int inFlight, int completions, int& failures);
/// The C interface's asynchronous requests (libkopac), driven as kopa::Client's.
Cost measureCInterfaceAsync(Request request, int inFlight, int completions, int& failures);

/// One cancel among `outstanding` registered requests, in microseconds.
struct CancelCost {
    int outstanding = 0;
    Summary library;                  ///< KopaPositioning::cancel() of one object
    Summary raw;                      ///< dbus_pending_call_cancel plus the cancel signal, raw
    double libraryAllMs = 0;          ///< cancelling every object, one after another
    double libraryBytesPerEntry = 0;  ///< heap in use per outstanding request
    double rawBytesPerEntry = 0;
};
CancelCost measureCancelCost(int outstanding, int samples);

}  // namespace bench

#endif
