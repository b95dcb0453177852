#ifndef KOPA_BENCH_SUPPORT_H
#define KOPA_BENCH_SUPPORT_H

#include <dbus/dbus.h>
#include <gio/gio.h>

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

/// CPU time (user and system, all threads: GDBus has a worker thread) and wall time of this
/// process, in microseconds.
struct Cost {
    double cpu = 0;
    double wall = 0;
    Cost& operator+=(const Cost& other) {
        cpu += other.cpu;
        wall += other.wall;
        return *this;
    }
    Cost per(double count) const { return {cpu / count, wall / count}; }
};
class Stopwatch {
  public:
    Stopwatch();
    Cost elapsed() const;

  private:
    double cpuStart_;
    Clock::time_point wallStart_;
};

/// A GDBus connection to the bus of DBUS_SYSTEM_BUS_ADDRESS; aborts the run when it fails.
GDBusConnection* openGdbusConnection();

/// A private connection to the bus of DBUS_SYSTEM_BUS_ADDRESS for the raw-libdbus baselines,
/// apart from the library's shared one; aborts the run when the bus cannot be reached. With
/// `dispatchFromMainLoop`, the default main context dispatches it, as the library's is.
DBusConnection* openRawConnection(bool dispatchFromMainLoop);

/// Runs the default main context until `done` holds; false when `timeoutMs` passed first.
bool iterateUntil(const std::function<bool()>& done, int timeoutMs);

}  // namespace bench

#endif
