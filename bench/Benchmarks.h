#ifndef KOPA_BENCH_BENCHMARKS_H
#define KOPA_BENCH_BENCHMARKS_H

#include <vector>

#include "BenchSupport.h"

namespace bench {

/// Blocking currentPosition round trips, in microseconds per call.
struct RoundTrips {
    Summary library;
    Summary libraryTraced;
    Summary rawLibdbus;
    Summary gdbus;
};
/// `calls` round trips of each kind, interleaved in rounds so drift hits all alike.
RoundTrips measureRoundTrips(int calls, const char* traceFile);

/// Completed asynchronous requests per second with `inFlight` outstanding at all times.
struct Throughput {
    int inFlight = 0;
    int completions = 0;
    double libraryPerSecond = 0;
    double rawPerSecond = 0;
    int libraryFailures = 0;
    int rawFailures = 0;
};
Throughput measureThroughput(int inFlight, int completions);

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
