#ifndef KOPAD_SIM_RADIO_MAP_H
#define KOPAD_SIM_RADIO_MAP_H

#include <KopaMeasurements.h>
#include <KopaPosition.h>

#include <cstdint>
#include <map>
#include <string>
#include <tuple>

// Where the simulator's world places its transmitters, and the position it computes from
// radio measurements.
struct CellKey {
    KopaRadio radio = KopaRadio::Lte;
    std::uint16_t countryCode = 0;
    std::uint16_t networkCode = 0;
    std::uint32_t areaCode = 0;
    std::uint64_t cellId = 0;

    bool operator<(const CellKey& other) const {
        return std::tie(radio, countryCode, networkCode, areaCode, cellId) <
               std::tie(other.radio, other.countryCode, other.networkCode, other.areaCode,
                        other.cellId);
    }
};

struct Transmitter {
    double latitude = 0.0;
    double longitude = 0.0;
    double range = 0.0;  // metres: how far from it a receiver may be
};

class RadioMap {
  public:
    static constexpr double kDefaultCellRange = 1000.0;
    static constexpr double kDefaultWlanRange = 50.0;

    void addCell(const CellKey& key, const Transmitter& transmitter);
    // The BSSID in either case.
    void addWlan(const std::string& bssid, const Transmitter& transmitter);
    void clear();
    std::size_t size() const { return cells_.size() + wlans_.size(); }

    // The signal-weighted centroid of the known transmitters that `measurements` saw, with a
    // horizontal accuracy from their spread and their ranges. False when it knows none.
    bool locate(const KopaMeasurements& measurements, KopaPosition& position) const;

  private:
    std::map<CellKey, Transmitter> cells_;
    std::map<std::string, Transmitter> wlans_;
};

// The weight of an observation: its strength above -120 dBm, at least 1.
double signalWeight(int dBm);

// Great-circle distance in metres.
double distanceMetres(double lat1, double lon1, double lat2, double lon2);

#endif
