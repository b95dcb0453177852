#ifndef KOPA_BENCH_SUPPORT_H
#define KOPA_BENCH_SUPPORT_H

#include <dbus/dbus.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace bench {

using Clock = std::chrono::steady_clock;

inline double microsecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

/// Median and spread of a set of samples.
struct Summary {
    double p10 = 0;
    double median = 0;
    double p90 = 0;
    double max = 0;
};
Summary summarize(std::vector<double> samples);

/// Bytes of heap that malloc has handed out and not had back (libdbus allocates with malloc).
std::size_t heapBytesInUse();

/// The service's names, as the library uses them.
extern const char* const kService;
extern const char* const kObject;
extern const char* const kInterface;

/// The library's currentPosition call with request parameter 0, packet data allowed and a
/// plain position record (class type 1, version 1).
DBusMessage* newCurrentPositionCall();

/// Calls a method of kopad-sim's control interface on its own GDBus connection, so the
/// benchmarks can script the service; aborts the run when the simulator does not answer.
void simControl(const char* method, const std::string& member = "",
                const std::vector<std::string>& outcomes = {});

/// A private connection to the bus of DBUS_SYSTEM_BUS_ADDRESS for the raw-libdbus baselines,
/// apart from the library's shared one; aborts the run when the bus cannot be reached. With
/// `dispatchFromMainLoop`, the default main context dispatches it, as the library's is.
DBusConnection* openRawConnection(bool dispatchFromMainLoop);

/// Runs the default main context until `done` holds; false when `timeoutMs` passed first.
bool iterateUntil(const std::function<bool()>& done, int timeoutMs);

}  // namespace bench

#endif
