#include "KopaMeasurements.h"

#include <limits>

#include "TextFields.h"

namespace {

constexpr std::string_view kRecordName = "KopaMeasurements";

struct RadioName {
    std::string_view name;
    KopaRadio radio;
};

constexpr RadioName kRadioNames[] = {
    {"gsm", KopaRadio::Gsm},
    {"umts", KopaRadio::Umts},
    {"lte", KopaRadio::Lte},
    {"nr", KopaRadio::Nr},
};

std::vector<std::string_view> splitCommas(std::string_view value) {
    std::vector<std::string_view> parts;
    for (std::size_t comma = value.find(','); comma != std::string_view::npos;
         comma = value.find(',')) {
        parts.push_back(value.substr(0, comma));
        value.remove_prefix(comma + 1);
    }
    parts.push_back(value);
    return parts;
}

bool isHex(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

char lower(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

// Six colon-separated two-digit hex octets, in either case; the lower-case form in `out`.
bool normalBssid(std::string_view bssid, std::string& out) {
    if (bssid.size() != 17) {
        return false;
    }
    std::string normal(bssid);
    for (std::size_t i = 0; i < normal.size(); ++i) {
        bool ok = (i % 3 == 2) ? normal[i] == ':' : isHex(normal[i]);
        if (!ok) {
            return false;
        }
        normal[i] = lower(normal[i]);
    }
    out.swap(normal);
    return true;
}

int readInt(std::string_view text, int& out) {
    std::int64_t value = 0;
    int result = kopa_text::parseInteger(text, std::numeric_limits<int>::min(),
                                         std::numeric_limits<int>::max(), value);
    out = static_cast<int>(value);
    return result;
}

template <typename Unsigned>
int readUnsigned(std::string_view text, Unsigned& out) {
    std::uint64_t value = 0;
    int result = kopa_text::parseUnsigned(text, std::numeric_limits<Unsigned>::max(), value);
    out = static_cast<Unsigned>(value);
    return result;
}

// "radio,mcc,mnc,area,cellid,dBm" with ",timingAdvance" when one was measured.
int readCell(std::string_view value, KopaCellObservation& cell) {
    std::vector<std::string_view> parts = splitCommas(value);
    if (parts.size() != 6 && parts.size() != 7) {
        return KOPA_TEXT_BAD_VALUE;
    }
    int result = KOPA_TEXT_BAD_VALUE;
    for (const RadioName& radio : kRadioNames) {
        if (radio.name == parts[0]) {
            cell.radio = radio.radio;
            result = KOPA_TEXT_OK;
        }
    }
    int results[] = {
        result,
        readUnsigned(parts[1], cell.countryCode),
        readUnsigned(parts[2], cell.networkCode),
        readUnsigned(parts[3], cell.areaCode),
        readUnsigned(parts[4], cell.cellId),
        readInt(parts[5], cell.signalStrength),
        parts.size() == 7 ? readInt(parts[6], cell.timingAdvance) : KOPA_TEXT_OK,
    };
    cell.hasTimingAdvance = parts.size() == 7;
    for (int partResult : results) {
        if (partResult != KOPA_TEXT_OK) {
            return partResult;
        }
    }
    return KOPA_TEXT_OK;
}

// "bssid,dBm".
int readWlan(std::string_view value, KopaWlanObservation& wlan) {
    std::vector<std::string_view> parts = splitCommas(value);
    if (parts.size() != 2 || !normalBssid(parts[0], wlan.bssid)) {
        return KOPA_TEXT_BAD_VALUE;
    }
    return readInt(parts[1], wlan.signalStrength);
}

bool writeCell(const KopaCellObservation& cell, std::string& text) {
    const RadioName* name = nullptr;
    for (const RadioName& radio : kRadioNames) {
        if (radio.radio == cell.radio) {
            name = &radio;
        }
    }
    if (name == nullptr) {
        return false;
    }
    kopa_text::appendName(text, "cell");
    text.append(name->name);
    for (std::uint64_t number : {std::uint64_t{cell.countryCode}, std::uint64_t{cell.networkCode},
                                 std::uint64_t{cell.areaCode}, std::uint64_t{cell.cellId}}) {
        text += ',';
        kopa_text::appendUnsigned(text, number);
    }
    text += ',';
    kopa_text::appendInteger(text, cell.signalStrength);
    if (cell.hasTimingAdvance) {
        text += ',';
        kopa_text::appendInteger(text, cell.timingAdvance);
    }
    return true;
}

bool writeWlan(const KopaWlanObservation& wlan, std::string& text) {
    std::string bssid;
    if (!normalBssid(wlan.bssid, bssid)) {
        return false;
    }
    kopa_text::appendName(text, "wlan");
    text += bssid;
    text += ',';
    kopa_text::appendInteger(text, wlan.signalStrength);
    return true;
}

}  // namespace

bool KopaCellObservation::operator==(const KopaCellObservation& other) const {
    return radio == other.radio && countryCode == other.countryCode &&
           networkCode == other.networkCode && areaCode == other.areaCode &&
           cellId == other.cellId && signalStrength == other.signalStrength &&
           hasTimingAdvance == other.hasTimingAdvance &&
           (!hasTimingAdvance || timingAdvance == other.timingAdvance);
}

bool KopaWlanObservation::operator==(const KopaWlanObservation& other) const {
    // A BSSID names the same access point in either case.
    if (signalStrength != other.signalStrength || bssid.size() != other.bssid.size()) {
        return false;
    }
    for (std::size_t i = 0; i < bssid.size(); ++i) {
        if (lower(bssid[i]) != lower(other.bssid[i])) {
            return false;
        }
    }
    return true;
}

KopaMeasurements::KopaMeasurements() = default;

KopaMeasurements::~KopaMeasurements() = default;

void KopaMeasurements::clear() {
    cells_.clear();
    wlans_.clear();
}

int KopaMeasurements::internalize(const std::string& text) {
    std::string_view recordName;
    std::vector<kopa_text::Field> fields;
    int result = kopa_text::splitRecord(text, {kRecordName}, kFormatVersion, recordName, fields);
    if (result != KOPA_TEXT_OK) {
        return result;
    }
    // "cell" and "wlan" are lists: each stands once for every observation, in order.
    std::vector<KopaCellObservation> cells;
    std::vector<KopaWlanObservation> wlans;
    for (const kopa_text::Field& field : fields) {
        if (field.name == "cell") {
            cells.emplace_back();
            result = readCell(field.value, cells.back());
        } else if (field.name == "wlan") {
            wlans.emplace_back();
            result = readWlan(field.value, wlans.back());
        }
        if (result != KOPA_TEXT_OK) {
            return result;
        }
    }
    cells_.swap(cells);
    wlans_.swap(wlans);
    return KOPA_TEXT_OK;
}

int KopaMeasurements::externalize(std::string& text) const {
    std::string line;
    kopa_text::beginRecord(line, kRecordName, kFormatVersion);
    for (const KopaCellObservation& cell : cells_) {
        if (!writeCell(cell, line)) {
            return KOPA_TEXT_NOT_REPRESENTABLE;
        }
    }
    for (const KopaWlanObservation& wlan : wlans_) {
        if (!writeWlan(wlan, line)) {
            return KOPA_TEXT_NOT_REPRESENTABLE;
        }
    }
    text.swap(line);
    return KOPA_TEXT_OK;
}

bool KopaMeasurements::operator==(const KopaMeasurements& other) const {
    return cells_ == other.cells_ && wlans_ == other.wlans_;
}
