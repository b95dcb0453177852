#ifndef KOPA_BRIDGE_GPSD_REPORTS_H
#define KOPA_BRIDGE_GPSD_REPORTS_H

#include <cstdint>
#include <string>

#include "Fix.h"

namespace bridge {

/// The name under which the service appears as gpsd's one device.
inline constexpr const char* kDevicePath = "kopad";

/// What one client asked for with ?WATCH.
struct WatchPolicy {
    bool enable = false;
    bool json = false;
    bool nmea = false;
};

/// The reports of gpsd's protocol (gpsd_json(5)), each one line ending in CR LF.
std::string versionReport();
/// `activatedMs` < 0: the device is not active (no subscription running).
std::string devicesReport(std::int64_t activatedMs);
std::string watchReport(const WatchPolicy& policy);
/// Mode 0 before the first answer, 1 without a position, else 2, or 3 with an altitude.
std::string tpvReport(const Fix& fix);
std::string pollReport(std::int64_t nowMs, bool active, const Fix& fix);
std::string errorReport(const std::string& message);

}  // namespace bridge

#endif
