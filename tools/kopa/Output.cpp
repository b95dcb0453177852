#include "Output.h"

#include <cmath>
#include <cstdio>
#include <ctime>
#include <iostream>

#include "Diagnosis.h"
#include "Json.h"
#include "ResultCodes.h"

RequestRecords::RequestRecords(bool locationInfo)
    : position(locationInfo ? std::make_unique<KopaLocationInfo>()
                            : std::make_unique<KopaPosition>()) {}

const char* commandName(Command command) {
    switch (command) {
        case Command::Position:
            return "position";
        case Command::Measurements:
            return "measurements";
        case Command::Last:
            return "last";
        case Command::Convert:
            return "convert";
        case Command::Version:
            return "version";
        case Command::Watch:
            return "watch";
        case Command::Record:
            return "record";
        case Command::Help:
            break;
    }
    return "help";
}

const char* methodName(KopaPositionMethod method) {
    switch (method) {
        case KopaPositionMethod::Gnss:
            return "gnss";
        case KopaPositionMethod::Cell:
            return "cell";
        case KopaPositionMethod::Wlan:
            return "wlan";
        case KopaPositionMethod::Hybrid:
            return "hybrid";
        case KopaPositionMethod::Unknown:
            break;
    }
    return "unknown";
}

namespace {

const char* radioName(KopaRadio radio) {
    switch (radio) {
        case KopaRadio::Gsm:
            return "gsm";
        case KopaRadio::Umts:
            return "umts";
        case KopaRadio::Lte:
            return "lte";
        case KopaRadio::Nr:
            return "nr";
    }
    return "unknown";
}

std::string format(const char* pattern, double value) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, pattern, value);
    return buffer;
}

/// "2026-11-23 07:30:12 UTC" for milliseconds since the epoch.
std::string utcTime(std::int64_t milliseconds) {
    std::int64_t seconds = milliseconds / 1000;
    if (milliseconds % 1000 < 0) {
        --seconds;
    }
    // A time_t too narrow for the value (32 bits, built without _TIME_BITS=64) would wrap
    // into the past: print the plain number instead.
    std::time_t time = static_cast<std::time_t>(seconds);
    std::tm parts{};
    char buffer[64];
    if (static_cast<std::int64_t>(time) != seconds || gmtime_r(&time, &parts) == nullptr ||
        std::strftime(buffer, sizeof buffer, "%Y-%m-%d %H:%M:%S UTC", &parts) == 0) {
        return std::to_string(milliseconds) + " ms";
    }
    return buffer;
}

std::string positionJson(const KopaPosition& position) {
    JsonObject json;
    json.add("lat", position.latitude()).add("lon", position.longitude());
    if (position.hasAltitude())
        json.add("alt", position.altitude());
    if (position.hasHorizontalAccuracy())
        json.add("hacc", position.horizontalAccuracy());
    if (position.hasVerticalAccuracy())
        json.add("vacc", position.verticalAccuracy());
    if (position.hasTimestamp()) {
        json.add("time", static_cast<std::int64_t>(position.timestamp()));
        json.add("utc", utcTime(position.timestamp()));
    }
    if (position.hasSpeed())
        json.add("speed", position.speed());
    if (position.hasHeading())
        json.add("heading", position.heading());
    json.add("method", methodName(position.method()));
    return json.str();
}

std::string cellLine(const KopaCellObservation& cell) {
    std::string line =
        std::string("cell ") + radioName(cell.radio) + " " + std::to_string(cell.countryCode) +
        "-" + std::to_string(cell.networkCode) + " area " + std::to_string(cell.areaCode) + " id " +
        std::to_string(cell.cellId) + "  " + std::to_string(cell.signalStrength) + " dBm";
    if (cell.hasTimingAdvance) {
        line += "  timing advance " + std::to_string(cell.timingAdvance);
    }
    return line;
}

std::string measurementsJson(const KopaMeasurements& measurements, const std::string& text) {
    std::string cells = "[";
    for (const KopaCellObservation& cell : measurements.cells()) {
        JsonObject json;
        json.add("radio", radioName(cell.radio))
            .add("mcc", static_cast<unsigned int>(cell.countryCode))
            .add("mnc", static_cast<unsigned int>(cell.networkCode))
            .add("area", static_cast<std::uint64_t>(cell.areaCode))
            .add("cell_id", static_cast<std::uint64_t>(cell.cellId))
            .add("signal", cell.signalStrength);
        if (cell.hasTimingAdvance)
            json.add("timing_advance", cell.timingAdvance);
        cells += (cells.size() > 1 ? "," : "") + json.str();
    }
    std::string wlans = "[";
    for (const KopaWlanObservation& wlan : measurements.wlans()) {
        JsonObject json;
        json.add("bssid", wlan.bssid).add("signal", wlan.signalStrength);
        wlans += (wlans.size() > 1 ? "," : "") + json.str();
    }
    JsonObject json;
    json.add("text", text).addRaw("cells", cells + "]").addRaw("wlans", wlans + "]");
    return json.str();
}

JsonObject resultHeader(Command command, int result, unsigned long sequence) {
    JsonObject json;
    json.add("command", commandName(command));
    if (sequence > 0) {
        json.add("seq", static_cast<std::uint64_t>(sequence));
    }
    json.add("result", result);
    if (const char* name = resultCodeName(result)) {
        json.add("name", name);
    } else {
        json.addNull("name");
    }
    json.add("meaning", resultCodeMeaning(result));
    return json;
}

bool reportPosition(const Options& options, Command command, const KopaPosition& position,
                    unsigned long sequence) {
    const auto* info =
        options.locationInfo ? dynamic_cast<const KopaLocationInfo*>(&position) : nullptr;
    if (options.json) {
        JsonObject json = resultHeader(command, KOPA_OK, sequence);
        json.addRaw("position", positionJson(position));
        if (info != nullptr) {
            std::string slots = "[";
            for (unsigned int slot = 1; slot <= KopaLocationInfo::kSlots; ++slot) {
                KopaPosition estimate;
                slots += slot > 1 ? "," : "";
                slots +=
                    info->getKopaPosition(slot, estimate) == 0 ? positionJson(estimate) : "null";
            }
            json.addRaw("slots", slots + "]");
        }
        std::cout << json.str() << std::endl;
        return true;
    }
    std::cout << readablePosition(position) << '\n';
    if (info != nullptr) {
        for (unsigned int slot = 1; slot <= KopaLocationInfo::kSlots; ++slot) {
            KopaPosition estimate;
            std::cout << "  slot " << slot << ": "
                      << (info->getKopaPosition(slot, estimate) == 0 ? readablePosition(estimate)
                                                                     : "empty")
                      << '\n';
        }
    }
    std::cout.flush();
    return true;
}

bool reportMeasurements(const Options& options, const KopaMeasurements& measurements,
                        unsigned long sequence) {
    std::string text;
    int written = measurements.externalize(text);
    if (written != 0) {
        reportToolFailure(
            options, Command::Measurements,
            "the measurements cannot be written as text (code " + std::to_string(written) + ")");
        return false;
    }
    if (options.json) {
        JsonObject json = resultHeader(Command::Measurements, KOPA_OK, sequence);
        json.addRaw("measurements", measurementsJson(measurements, text));
        std::cout << json.str() << std::endl;
        return true;
    }
    // Standard output carries the record's text alone, so that it can be piped into convert;
    // the readable summary goes to standard error.
    std::cout << text << std::endl;
    std::cerr << measurements.cells().size() << " cell(s), " << measurements.wlans().size()
              << " WLAN access point(s)\n";
    for (const KopaCellObservation& cell : measurements.cells()) {
        std::cerr << "  " << cellLine(cell) << '\n';
    }
    for (const KopaWlanObservation& wlan : measurements.wlans()) {
        std::cerr << "  wlan " << wlan.bssid << "  " << wlan.signalStrength << " dBm\n";
    }
    return true;
}

}  // namespace

std::string readablePosition(const KopaPosition& position) {
    double lat = position.latitude();
    double lon = position.longitude();
    std::string line = format("%.6f", std::fabs(lat)) + (lat < 0 ? " S, " : " N, ") +
                       format("%.6f", std::fabs(lon)) + (lon < 0 ? " W" : " E");
    if (position.hasHorizontalAccuracy()) {
        line += format("  \u00b1%.1f m", position.horizontalAccuracy());
    }
    if (position.hasAltitude()) {
        line += format("  alt %.1f m", position.altitude());
        if (position.hasVerticalAccuracy()) {
            line += format(" \u00b1%.1f m", position.verticalAccuracy());
        }
    }
    if (position.hasSpeed()) {
        line += format("  %.1f m/s", position.speed());
    }
    if (position.hasHeading()) {
        line += format("  heading %.0f\u00b0", position.heading());
    }
    std::string details;
    if (position.method() != KopaPositionMethod::Unknown) {
        details = methodName(position.method());
    }
    if (position.hasTimestamp()) {
        details += (details.empty() ? "" : ", ") + utcTime(position.timestamp());
    }
    if (!details.empty()) {
        line += "  (" + details + ")";
    }
    return line;
}

namespace {

/// The code's name and meaning; for the catch-all KOPA_ERROR_GENERAL, what went wrong instead.
std::string failureLine(int result) {
    if (result != KOPA_ERROR_GENERAL) {
        return describeResultCode(result);
    }
    return std::string(resultCodeName(result)) + " (" + std::to_string(result) +
           "): " + describeFailureCause(kopaLastFailureCause());
}

}  // namespace

bool reportResult(const Options& options, Command command, int result,
                  const RequestRecords& records, unsigned long sequence) {
    if (result != KOPA_OK) {
        if (options.json) {
            std::cout << resultHeader(command, result, sequence).str() << std::endl;
        }
        std::cerr << "kopa: " << failureLine(result) << std::endl;
        return false;
    }
    if (command == Command::Measurements) {
        return reportMeasurements(options, records.measurements, sequence);
    }
    return reportPosition(options, command, *records.position, sequence);
}

void reportToolFailure(const Options& options, Command command, const std::string& message) {
    if (options.json) {
        std::cout << JsonObject().add("command", commandName(command)).add("error", message).str()
                  << std::endl;
    }
    std::cerr << "kopa: " << message << std::endl;
}
