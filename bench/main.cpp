// kopa-bench: run it through make bench, on a private bus beside kopa-bench-service
// (bench/with-bench-service), with bench/bench-system-bus.conf as the bus configuration.
#include <KopaLog.h>
#include <KopaPositioning.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "Benchmarks.h"

namespace {

using bench::Cost;

// The figures are only as quiet as the machine: say how busy it was.
void printLoad(const char* when) {
    double load[1] = {0};
    if (getloadavg(load, 1) == 1) {
        std::printf("\nload average (1 minute) %s: %.2f on %ld CPUs\n", when, load[0],
                    sysconf(_SC_NPROCESSORS_ONLN));
    }
}

double ratio(double value, double baseline) {
    return baseline > 0 ? value / baseline : 0;
}

void printBlocking(int calls, const char* traceFile) {
    std::printf(
        "\na. Blocking requests, %d calls per contender and request (client CPU and wall time, "
        "microseconds per request; ratio to raw libdbus)\n\n",
        calls);
    std::printf("  %-20s %-24s %8s %8s %9s %9s\n", "request", "contender", "CPU", "wall", "CPU/raw",
                "wall/raw");
    for (bench::Request request : bench::kRequests) {
        bench::BlockingCosts c = bench::measureBlocking(request, calls, traceFile);
        auto row = [&](const char* name, const char* contender, const Cost& cost) {
            std::printf("  %-20s %-24s %8.1f %8.1f %9.2f %9.2f\n", name, contender, cost.cpu,
                        cost.wall, ratio(cost.cpu, c.raw.cpu), ratio(cost.wall, c.raw.wall));
        };
        row(bench::memberName(request), "library", c.library);
        row("", "library, tracing on", c.libraryTraced);
        row("", "raw libdbus", c.raw);
        row("", "GDBus", c.gdbus);
        std::printf("  %-20s %-24s %8s %8s  traced/untraced CPU %.2f, wall %.2f\n", "", "", "", "",
                    ratio(c.libraryTraced.cpu, c.library.cpu),
                    ratio(c.libraryTraced.wall, c.library.wall));
        std::fflush(stdout);
    }
}

// Enough completions for steady figures within the two minutes make bench may take; with
// 10,000 in flight every slot is re-issued at least once.
int asyncCompletions(int inFlight, bool quick) {
    if (inFlight >= 10000) {
        return quick ? inFlight + inFlight / 5 : inFlight + inFlight / 2;
    }
    return quick ? 1000 : 3000;
}

void printAsync(bool quick, const char* traceFile) {
    std::printf(
        "\nb. Asynchronous requests, N in flight (client CPU and wall time, microseconds per "
        "completed request; ratio to raw libdbus)\n\n");
    std::printf("  %-20s %6s %8s %8s %8s %8s %8s %8s %8s %8s %8s %8s %5s\n", "request", "N",
                "lib CPU", "raw CPU", "GDB CPU", "lib/raw", "GDB/raw", "lib wall", "raw wall",
                "GDB wall", "lib/raw", "GDB/raw", "fail");
    int failures = 0;
    for (bench::Request request : bench::kRequests) {
        // The growth with N is the same for every request (see docs/performance.md), so the
        // longest run is made for one request only.
        for (int inFlight : {10, 100, 1000, 10000}) {
            if (inFlight == 10000 && request != bench::Request::CurrentPosition) {
                continue;
            }
            bench::AsyncCosts c =
                bench::measureAsync(request, inFlight, asyncCompletions(inFlight, quick));
            std::printf(
                "  %-20s %6d %8.1f %8.1f %8.1f %8.2f %8.2f %8.1f %8.1f %8.1f %8.2f %8.2f %5d\n",
                inFlight == 10 ? bench::memberName(request) : "", inFlight, c.library.cpu,
                c.raw.cpu, c.gdbus.cpu, ratio(c.library.cpu, c.raw.cpu),
                ratio(c.gdbus.cpu, c.raw.cpu), c.library.wall, c.raw.wall, c.gdbus.wall,
                ratio(c.library.wall, c.raw.wall), ratio(c.gdbus.wall, c.raw.wall), c.failures);
            failures += c.failures;
            std::fflush(stdout);
        }
    }

    std::printf(
        "\n  the library with tracing on against off, N = 100 (microseconds per request)\n");
    std::printf("  %-20s %8s %8s %8s %8s %8s %8s\n", "request", "CPU off", "CPU on", "on/off",
                "wall off", "wall on", "on/off");
    for (bench::Request request : bench::kRequests) {
        const int completions = asyncCompletions(100, quick);
        KopaLog::sKopaLogFileName.clear();
        Cost off = bench::measureLibraryAsync(request, 100, completions, failures);
        KopaLog::sKopaLogFileName = traceFile;
        Cost on = bench::measureLibraryAsync(request, 100, completions, failures);
        KopaLog::sKopaLogFileName.clear();
        std::printf("  %-20s %8.1f %8.1f %8.2f %8.1f %8.1f %8.2f\n", bench::memberName(request),
                    off.cpu, on.cpu, ratio(on.cpu, off.cpu), off.wall, on.wall,
                    ratio(on.wall, off.wall));
        std::fflush(stdout);
    }

    std::printf(
        "\n  kopa::Client and the C interface (libkopac) against the library's own asynchronous"
        "\n  requests and raw libdbus, in the same run (CPU microseconds per request; "
        "client/library"
        "\n  target: at most 1.08 on average; C/client: no measurable difference)\n");
    std::printf("  %-20s %6s %8s %8s %8s %8s %8s %8s %8s\n", "request", "N", "raw", "library",
                "client", "C", "cli/lib", "cli/raw", "C/cli");
    for (bench::Request request : bench::kRequests) {
        for (int inFlight : {1, 100}) {
            const int completions = asyncCompletions(100, quick);
            KopaLog::sKopaLogFileName.clear();
            Cost raw = bench::measureRawAsync(request, inFlight, completions, failures);
            Cost library = bench::measureLibraryAsync(request, inFlight, completions, failures);
            Cost client = bench::measureClientAsync(request, inFlight, completions, failures);
            Cost c = bench::measureCInterfaceAsync(request, inFlight, completions, failures);
            std::printf("  %-20s %6d %8.1f %8.1f %8.1f %8.1f %8.2f %8.2f %8.2f\n",
                        inFlight == 1 ? bench::memberName(request) : "", inFlight, raw.cpu,
                        library.cpu, client.cpu, c.cpu, ratio(client.cpu, library.cpu),
                        ratio(client.cpu, raw.cpu), ratio(c.cpu, client.cpu));
            std::fflush(stdout);
        }
    }
    if (failures != 0) {
        std::printf("\n  %d requests failed: the figures above do not hold\n", failures);
    }
}

void printCancels() {
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
}

}  // namespace

// For a profiler: the library alone (blocking, or N in flight), kopa::Client alone ("clientN"),
// the C interface over it alone ("cN") or the raw-libdbus floor of the blocking request, nothing
// else in the process.
int profile(const char* what, int count) {
    const bench::Request request = bench::Request::CurrentPosition;
    int failures = 0;
    if (std::strcmp(what, "blocking") == 0) {
        KopaPositioning positioning(nullptr);
        bench::Records records;
        for (int i = 0; i < count; ++i) {
            failures += bench::libraryBlocking(request, positioning, records) != KOPA_OK;
        }
    } else if (std::strcmp(what, "raw") == 0) {
        // The floor of the same request: the same message, the same record.
        DBusConnection* connection = bench::openRawConnection(false);
        bench::Records records;
        for (int i = 0; i < count; ++i) {
            DBusMessage* call = bench::newRawCall(request, records);
            DBusMessage* reply =
                dbus_connection_send_with_reply_and_block(connection, call, 30000, nullptr);
            dbus_message_unref(call);
            const char* text = nullptr;
            failures += reply == nullptr ||
                        !dbus_message_get_args(reply, nullptr, DBUS_TYPE_STRING, &text,
                                               DBUS_TYPE_INVALID) ||
                        !bench::readAnswer(request, text, records);
            if (reply != nullptr) {
                dbus_message_unref(reply);
            }
        }
        dbus_connection_close(connection);
        dbus_connection_unref(connection);
    } else if (std::strncmp(what, "client", 6) == 0) {
        // "client100": kopa::Client with 100 in flight.
        const int inFlight = std::max(1, std::atoi(what + 6));
        bench::measureClientAsync(request, inFlight, std::max(inFlight + count, count), failures);
    } else if (what[0] == 'c') {
        // "c100": the C interface with 100 in flight.
        const int inFlight = std::max(1, std::atoi(what + 1));
        bench::measureCInterfaceAsync(request, inFlight, std::max(inFlight + count, count),
                                      failures);
    } else {
        int inFlight = std::atoi(what);
        bench::measureLibraryAsync(request, inFlight, std::max(inFlight + count, count), failures);
    }
    std::printf("%d failures\n", failures);
    return failures == 0 ? 0 : 1;
}

int main(int argc, char** argv) {
    bool quick = argc > 1 && std::strcmp(argv[1], "--quick") == 0;
    if (argc > 2 && std::strcmp(argv[1], "--profile") == 0) {
        return profile(argv[2], argc > 3 ? std::atoi(argv[3]) : 20000);
    }
    if (std::getenv("DBUS_SYSTEM_BUS_ADDRESS") == nullptr) {
        std::fprintf(stderr, "kopa-bench: no private bus; run it through make bench\n");
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

    printLoad("at the start");
    printBlocking(quick ? 200 : 1000, traceFile);
    printAsync(quick, traceFile);
    unlink(traceFile);
    printCancels();
    printLoad("at the end");
    return 0;
}
