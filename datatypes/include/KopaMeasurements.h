#ifndef KOPA_MEASUREMENTS_H
#define KOPA_MEASUREMENTS_H

#include <cstdint>
#include <string>
#include <vector>

#include "KopaDatatypesExport.h"
#include "KopaTextResult.h"

/// Radio technology of an observed cell.
enum class KopaRadio : int { Gsm = 1, Umts = 2, Lte = 3, Nr = 4 };

/// One observed cell.
struct KOPA_DATATYPES_API KopaCellObservation {
    /// The cell's radio technology.
    KopaRadio radio = KopaRadio::Lte;
    std::uint16_t countryCode = 0;  ///< MCC
    std::uint16_t networkCode = 0;  ///< MNC
    std::uint32_t areaCode = 0;     ///< LAC or TAC
    std::uint64_t cellId = 0;       ///< CI, UC-Id, ECI or NCI
    int signalStrength = 0;         ///< dBm
    /// Whether timingAdvance holds a value.
    bool hasTimingAdvance = false;
    int timingAdvance = 0;  ///< only meaningful when hasTimingAdvance

    /// Field-by-field equality.
    bool operator==(const KopaCellObservation& other) const;
    /// Not operator==.
    bool operator!=(const KopaCellObservation& other) const { return !(*this == other); }
};

/// One observed WLAN access point.
struct KOPA_DATATYPES_API KopaWlanObservation {
    std::string bssid;       ///< six colon-separated lower-case hex octets, "00:11:22:aa:bb:cc"
    int signalStrength = 0;  ///< dBm

    /// Field-by-field equality.
    bool operator==(const KopaWlanObservation& other) const;
    /// Not operator==.
    bool operator!=(const KopaWlanObservation& other) const { return !(*this == other); }
};

/// The radio measurements from which a position can be computed: the cells and WLAN access
/// points in view. Travels as one line of text (see text-format.md, installed beside
/// KopaPosition.h's documents in share/doc/libkopapositioning/).
class KOPA_DATATYPES_API KopaMeasurements {
  public:
    /// The version of the text format this record writes.
    static constexpr unsigned int kFormatVersion = 1;

    /// Measurements without any observation.
    KopaMeasurements();
    /// Destroys the record.
    ~KopaMeasurements();

    /// Reads `text`; on a malformed text returns a KopaTextResult code and leaves the record
    /// unchanged.
    int internalize(const std::string& text);
    /// Writes the record's text; KOPA_TEXT_NOT_REPRESENTABLE when a BSSID is malformed.
    int externalize(std::string& text) const;

    /// The observed cells, in the order added.
    const std::vector<KopaCellObservation>& cells() const { return cells_; }
    /// The observed access points, in the order added.
    const std::vector<KopaWlanObservation>& wlans() const { return wlans_; }
    /// Adds an observed cell.
    void addCell(const KopaCellObservation& cell) { cells_.push_back(cell); }
    /// Adds an observed access point.
    void addWlan(const KopaWlanObservation& wlan) { wlans_.push_back(wlan); }
    /// Removes every observation.
    void clear();
    /// Whether the record holds no observation.
    bool empty() const { return cells_.empty() && wlans_.empty(); }

    /// Equality of every observation, in order.
    bool operator==(const KopaMeasurements& other) const;
    /// Not operator==.
    bool operator!=(const KopaMeasurements& other) const { return !(*this == other); }

  private:
    std::vector<KopaCellObservation> cells_;
    std::vector<KopaWlanObservation> wlans_;
};

#endif
