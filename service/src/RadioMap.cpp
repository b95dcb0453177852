#include "RadioMap.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <vector>

namespace {

constexpr double kEarthRadius = 6371008.8;  // mean radius, metres
constexpr double kPi = 3.14159265358979323846;

double radians(double degrees) {
    return degrees * kPi / 180.0;
}
double degrees(double radians) {
    return radians * 180.0 / kPi;
}

std::string lowerCase(std::string text) {
    for (char& c : text) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return text;
}

struct Seen {
    const Transmitter* transmitter;
    double weight;
};

}  // namespace

double signalWeight(int dBm) {
    return std::max(1.0, static_cast<double>(dBm) + 120.0);
}

double distanceMetres(double lat1, double lon1, double lat2, double lon2) {
    double dLat = radians(lat2 - lat1);
    double dLon = radians(lon2 - lon1);
    double a =
        std::sin(dLat / 2) * std::sin(dLat / 2) +
        std::cos(radians(lat1)) * std::cos(radians(lat2)) * std::sin(dLon / 2) * std::sin(dLon / 2);
    return 2 * kEarthRadius * std::asin(std::min(1.0, std::sqrt(a)));
}

void RadioMap::addCell(const CellKey& key, const Transmitter& transmitter) {
    cells_[key] = transmitter;
}

void RadioMap::addWlan(const std::string& bssid, const Transmitter& transmitter) {
    wlans_[lowerCase(bssid)] = transmitter;
}

void RadioMap::clear() {
    cells_.clear();
    wlans_.clear();
}

bool RadioMap::locate(const KopaMeasurements& measurements, KopaPosition& position) const {
    std::vector<Seen> seen;
    bool cells = false;
    bool wlans = false;
    for (const KopaCellObservation& cell : measurements.cells()) {
        CellKey key{cell.radio, cell.countryCode, cell.networkCode, cell.areaCode, cell.cellId};
        auto found = cells_.find(key);
        if (found != cells_.end()) {
            seen.push_back({&found->second, signalWeight(cell.signalStrength)});
            cells = true;
        }
    }
    for (const KopaWlanObservation& wlan : measurements.wlans()) {
        auto found = wlans_.find(lowerCase(wlan.bssid));
        if (found != wlans_.end()) {
            seen.push_back({&found->second, signalWeight(wlan.signalStrength)});
            wlans = true;
        }
    }
    if (seen.empty()) {
        return false;
    }

    // Averaging unit vectors rather than degrees keeps the centroid right across the
    // antimeridian and near the poles.
    double x = 0, y = 0, z = 0, total = 0;
    for (const Seen& s : seen) {
        double lat = radians(s.transmitter->latitude);
        double lon = radians(s.transmitter->longitude);
        x += s.weight * std::cos(lat) * std::cos(lon);
        y += s.weight * std::cos(lat) * std::sin(lon);
        z += s.weight * std::sin(lat);
        total += s.weight;
    }
    double latitude = degrees(std::atan2(z, std::hypot(x, y)));
    double longitude = degrees(std::atan2(y, x));

    // The accuracy grows with the transmitters' distance from the centroid and with their
    // own ranges: the weighted root mean square of both.
    double spread = 0;
    for (const Seen& s : seen) {
        double d =
            distanceMetres(latitude, longitude, s.transmitter->latitude, s.transmitter->longitude);
        spread += s.weight * (d * d + s.transmitter->range * s.transmitter->range);
    }

    position = KopaPosition();
    position.setLatitude(latitude);
    position.setLongitude(longitude);
    position.setHorizontalAccuracy(std::sqrt(spread / total));
    position.setMethod(cells && wlans ? KopaPositionMethod::Hybrid
                       : cells        ? KopaPositionMethod::Cell
                                      : KopaPositionMethod::Wlan);
    return true;
}
