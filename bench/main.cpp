// kopa-bench: run it against kopad-sim on a private bus:
//   scripts/with-sim-bus --sim BUILD/service/kopad-sim BUILD/bench/kopa-bench [--quick]
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "Benchmarks.h"

namespace {

void printRoundTrips(const bench::RoundTrips& trips, int calls) {
    std::printf("\na. Blocking currentPosition round trip, %d calls each (microseconds)\n\n",
                calls);
    std::printf("  %-40s %9s %9s %9s %9s\n", "", "p10", "median", "p90", "max");
    auto row = [](const char* name, const bench::Summary& s) {
        std::printf("  %-40s %9.1f %9.1f %9.1f %9.1f\n", name, s.p10, s.median, s.p90, s.max);
    };
    row("library, tracing off", trips.library);
    row("library, tracing on", trips.libraryTraced);
    row("raw libdbus (send_with_reply_and_block)", trips.rawLibdbus);
    row("GDBus (g_dbus_connection_call_sync)", trips.gdbus);
    std::printf("\n  median ratios: library/raw %.2f, library/GDBus %.2f, traced/untraced %.2f\n",
                trips.library.median / trips.rawLibdbus.median,
                trips.library.median / trips.gdbus.median,
                trips.libraryTraced.median / trips.library.median);
}

}  // namespace

int main(int argc, char** argv) {
    bool quick = argc > 1 && std::strcmp(argv[1], "--quick") == 0;
    if (std::getenv("DBUS_SYSTEM_BUS_ADDRESS") == nullptr) {
        std::fprintf(stderr,
                     "kopa-bench: no private bus; run it as\n"
                     "  scripts/with-sim-bus --sim BUILD/service/kopad-sim %s\n",
                     argv[0]);
        return 2;
    }
    // The trace file is the only setting; the benchmark turns it on and off itself.
    unsetenv("KOPAAPI_TRACEFILE");
    char traceFile[] = "/tmp/kopa-bench-trace.XXXXXX";
    int traceFd = mkstemp(traceFile);
    if (traceFd < 0) {
        std::perror("kopa-bench: mkstemp");
        return 1;
    }
    close(traceFd);

    const int calls = quick ? 200 : 2000;
    bench::RoundTrips trips = bench::measureRoundTrips(calls, traceFile);
    unlink(traceFile);
    printRoundTrips(trips, calls);

    std::printf(
        "\nb. Asynchronous throughput, N requests in flight (completed requests per second)\n\n");
    std::printf("  %8s %12s %12s %12s %10s %12s\n", "N", "completions", "library/s", "raw/s",
                "lib/raw", "failures lib/raw");
    for (int inFlight : {10, 100, 1000, 10000}) {
        int completions = quick ? std::max(2 * inFlight, 2000) : std::max(3 * inFlight, 20000);
        bench::Throughput t = bench::measureThroughput(inFlight, completions);
        std::printf("  %8d %12d %12.0f %12.0f %10.2f %6d/%-6d\n", t.inFlight, t.completions,
                    t.libraryPerSecond, t.rawPerSecond, t.libraryPerSecond / t.rawPerSecond,
                    t.libraryFailures, t.rawFailures);
        std::fflush(stdout);
    }

    std::printf(
        "\nc. One cancel with N requests outstanding (microseconds per cancel; memory per "
        "outstanding request)\n\n");
    std::printf("  %8s %10s %10s %10s %10s %12s %10s %10s\n", "N", "lib p10", "lib median",
                "lib p90", "raw median", "lib all (ms)", "lib B/req", "raw B/req");
    for (int outstanding : {10, 100, 1000, 10000}) {
        bench::CancelCost c = bench::measureCancelCost(outstanding, 200);
        std::printf("  %8d %10.1f %10.1f %10.1f %10.1f %12.1f %10.0f %10.0f\n", c.outstanding,
                    c.library.p10, c.library.median, c.library.p90, c.raw.median, c.libraryAllMs,
                    c.libraryBytesPerEntry, c.rawBytesPerEntry);
        std::fflush(stdout);
    }
    return 0;
}
