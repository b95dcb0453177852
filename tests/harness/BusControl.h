#ifndef KOPA_TEST_BUS_CONTROL_H
#define KOPA_TEST_BUS_CONTROL_H

#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

// For tests run by `with-private-bus --deferred`: the bus is absent until the test asks the
// wrapper to start it. The wrapper, not the test, owns the daemon, so it outlives the test.
namespace bus_control {

inline std::string socketPath() {
    const char* address = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
    std::string value = address ? address : "";
    const std::string prefix = "unix:path=";
    return value.rfind(prefix, 0) == 0 ? value.substr(prefix.size()) : std::string();
}

inline bool busIsUp() {
    struct stat info;
    return stat(socketPath().c_str(), &info) == 0 && S_ISSOCK(info.st_mode);
}

// Asks the wrapper to start the bus and waits until the wrapper says it accepts connections.
inline bool startBus(std::chrono::seconds deadline = std::chrono::seconds(20)) {
    const char* control = std::getenv("KOPA_TEST_BUS_CONTROL");
    const char* ready = std::getenv("KOPA_TEST_BUS_READY");
    if (control == nullptr || ready == nullptr) {
        return false;
    }
    std::ofstream(control) << "start\n";
    auto giveUp = std::chrono::steady_clock::now() + deadline;
    struct stat info;
    while (stat(ready, &info) != 0) {
        if (std::chrono::steady_clock::now() > giveUp) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return busIsUp();
}

}  // namespace bus_control

#endif
