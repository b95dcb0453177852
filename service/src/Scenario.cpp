#include "Scenario.h"

#include <glib.h>

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <sstream>

const std::array<const char*, 4> kRequestMembers = {"currentPosition", "currentMeasurements",
                                                    "lastKnownPosition", "convertToPosition"};

bool isRequestMember(const std::string& member) {
    for (const char* known : kRequestMembers) {
        if (member == known) {
            return true;
        }
    }
    return false;
}

namespace {

const char* const kBuiltIn = R"(
position 60.1699 24.9384 20
altitude 15
method gnss
cell lte,244,91,40961,12345601,-71
cell lte,244,91,40961,12345602,-85
wlan 02:1a:11:f0:00:01,-55
wlan 02:1a:11:f0:00:02,-68
map cell lte,244,91,40961,12345601 60.1712 24.9411 800
map cell lte,244,91,40961,12345602 60.1655 24.9302 800
map cell lte,244,91,40962,12345701 60.1841 24.9512 1200
map wlan 02:1a:11:f0:00:01 60.1701 24.9380 40
map wlan 02:1a:11:f0:00:02 60.1697 24.9392 40
)";

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (std::size_t at = text.find(separator); at != std::string::npos;
         at = text.find(separator, start)) {
        parts.push_back(text.substr(start, at - start));
        start = at + 1;
    }
    parts.push_back(text.substr(start));
    return parts;
}

bool readDouble(const std::string& text, double min, double max, double& out) {
    if (text.empty()) {
        return false;
    }
    errno = 0;
    char* end = nullptr;
    double value = std::strtod(text.c_str(), &end);
    if (errno != 0 || *end != '\0' || !std::isfinite(value) || value < min || value > max) {
        return false;
    }
    out = value;
    return true;
}

template <typename Integer>
bool readInteger(const std::string& text, Integer& out) {
    if (text.empty() || text.find_first_not_of("-0123456789") != std::string::npos) {
        return false;
    }
    errno = 0;
    char* end = nullptr;
    if (std::numeric_limits<Integer>::is_signed) {
        long long value = std::strtoll(text.c_str(), &end, 10);
        if (errno != 0 || *end != '\0' || value < std::numeric_limits<Integer>::min() ||
            value > std::numeric_limits<Integer>::max()) {
            return false;
        }
        out = static_cast<Integer>(value);
    } else {
        if (text[0] == '-') {
            return false;
        }
        unsigned long long value = std::strtoull(text.c_str(), &end, 10);
        if (errno != 0 || *end != '\0' || value > std::numeric_limits<Integer>::max()) {
            return false;
        }
        out = static_cast<Integer>(value);
    }
    return true;
}

bool readRadio(const std::string& name, KopaRadio& radio) {
    static const std::map<std::string, KopaRadio> kRadios = {{"gsm", KopaRadio::Gsm},
                                                             {"umts", KopaRadio::Umts},
                                                             {"lte", KopaRadio::Lte},
                                                             {"nr", KopaRadio::Nr}};
    auto found = kRadios.find(name);
    if (found == kRadios.end()) {
        return false;
    }
    radio = found->second;
    return true;
}

// "RADIO,MCC,MNC,AREA,CELLID" followed by `extra` more comma-separated fields.
bool readCellKey(const std::vector<std::string>& parts, CellKey& key) {
    return parts.size() >= 5 && readRadio(parts[0], key.radio) &&
           readInteger(parts[1], key.countryCode) && readInteger(parts[2], key.networkCode) &&
           readInteger(parts[3], key.areaCode) && readInteger(parts[4], key.cellId);
}

bool readCellObservation(const std::string& text, KopaCellObservation& cell) {
    std::vector<std::string> parts = split(text, ',');
    CellKey key;
    if ((parts.size() != 6 && parts.size() != 7) || !readCellKey(parts, key) ||
        !readInteger(parts[5], cell.signalStrength)) {
        return false;
    }
    cell.radio = key.radio;
    cell.countryCode = key.countryCode;
    cell.networkCode = key.networkCode;
    cell.areaCode = key.areaCode;
    cell.cellId = key.cellId;
    cell.hasTimingAdvance = parts.size() == 7;
    return !cell.hasTimingAdvance || readInteger(parts[6], cell.timingAdvance);
}

bool isBssid(const std::string& text) {
    if (text.size() != 17) {
        return false;
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
        bool ok =
            (i % 3 == 2) ? text[i] == ':' : std::isxdigit(static_cast<unsigned char>(text[i]));
        if (!ok) {
            return false;
        }
    }
    return true;
}

bool readWlanObservation(const std::string& text, KopaWlanObservation& wlan) {
    std::vector<std::string> parts = split(text, ',');
    if (parts.size() != 2 || !isBssid(parts[0]) || !readInteger(parts[1], wlan.signalStrength)) {
        return false;
    }
    wlan.bssid = parts[0];
    for (char& c : wlan.bssid) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return true;
}

bool readPlace(const std::vector<std::string>& words, std::size_t first, double defaultRange,
               Transmitter& transmitter) {
    transmitter.range = defaultRange;
    return (words.size() == first + 2 || words.size() == first + 3) &&
           readDouble(words[first], -90, 90, transmitter.latitude) &&
           readDouble(words[first + 1], -180, 180, transmitter.longitude) &&
           (words.size() == first + 2 || readDouble(words[first + 2], 0, 1e7, transmitter.range));
}

bool readMethod(const std::string& name, KopaPositionMethod& method) {
    static const std::map<std::string, KopaPositionMethod> kMethods = {
        {"unknown", KopaPositionMethod::Unknown},
        {"gnss", KopaPositionMethod::Gnss},
        {"cell", KopaPositionMethod::Cell},
        {"wlan", KopaPositionMethod::Wlan},
        {"hybrid", KopaPositionMethod::Hybrid}};
    auto found = kMethods.find(name);
    if (found == kMethods.end()) {
        return false;
    }
    method = found->second;
    return true;
}

std::vector<std::string> words(const std::string& line) {
    std::vector<std::string> result;
    std::istringstream in(line);
    for (std::string word; in >> word;) {
        result.push_back(word);
    }
    return result;
}

// The text after the first `count` words of `line`, from its first non-blank character.
std::string restAfter(const std::string& line, std::size_t count) {
    std::size_t at = 0;
    for (std::size_t i = 0; i < count; ++i) {
        at = line.find_first_not_of(" \t", at);
        at = line.find_first_of(" \t", at);
    }
    at = line.find_first_not_of(" \t", at);
    return at == std::string::npos ? std::string() : line.substr(at);
}

class ScenarioReader {
  public:
    ScenarioReader(Scenario& scenario, const ScenarioContext& context)
        : s_(scenario), context_(context) {}

    // Reads one line, comments and blank lines already skipped.
    bool line(const std::string& text, std::string& why) {
        std::vector<std::string> w = words(text);
        const std::string& key = w[0];
        if (key == "position") {
            return position(w, why);
        }
        if (key == "altitude" || key == "accuracy" || key == "vertical-accuracy" ||
            key == "speed" || key == "heading") {
            return number(key, w, why);
        }
        if (key == "timestamp") {
            std::int64_t ms = 0;
            if (w.size() != 2 || !readInteger(w[1], ms)) {
                why = "timestamp needs milliseconds since the epoch";
                return false;
            }
            s_.position.setTimestamp(ms);
            s_.fixedTimestamp = true;
            return true;
        }
        if (key == "method") {
            KopaPositionMethod method;
            if (w.size() != 2 || !readMethod(w[1], method)) {
                why = "method is one of unknown, gnss, cell, wlan, hybrid";
                return false;
            }
            s_.position.setMethod(method);
            return true;
        }
        if (key == "measurements") {
            if (w.size() != 2 || w[1] != "none") {
                why = "only \"measurements none\" is known";
                return false;
            }
            s_.measurements.clear();
            ownMeasurements_ = true;
            return true;
        }
        if (key == "cell" || key == "wlan") {
            return observation(w, why);
        }
        if (key == "map") {
            return mapEntry(w, why);
        }
        if (key == "track") {
            return track(text, why);
        }
        if (key == "outcome") {
            if (w.size() < 3) {
                why = "outcome needs a member and an outcome";
                return false;
            }
            return addDefaultOutcome(s_, w[1], restAfter(text, 2), why);
        }
        why = "unknown keyword \"" + key + "\"";
        return false;
    }

  private:
    // A new position: the fields of the lines before it are forgotten.
    bool position(const std::vector<std::string>& w, std::string& why) {
        double latitude = 0, longitude = 0, accuracy = 0;
        if ((w.size() != 3 && w.size() != 4) || !readDouble(w[1], -90, 90, latitude) ||
            !readDouble(w[2], -180, 180, longitude) ||
            (w.size() == 4 && !readDouble(w[3], 0, 1e8, accuracy))) {
            why = "position needs LAT LON [ACCURACY] in degrees and metres";
            return false;
        }
        s_.position = KopaPosition();
        s_.position.setLatitude(latitude);
        s_.position.setLongitude(longitude);
        if (w.size() == 4) {
            s_.position.setHorizontalAccuracy(accuracy);
        }
        s_.fixedTimestamp = false;
        return true;
    }

    // The rest of the line is the path, so that it may hold blanks.
    bool track(const std::string& text, std::string& why) {
        std::string path = restAfter(text, 1);
        if (path.empty()) {
            why = "track needs a GPX file";
            return false;
        }
        if (!g_path_is_absolute(path.c_str())) {
            gchar* joined = g_build_filename(context_.directory.c_str(), path.c_str(), nullptr);
            path = joined;
            g_free(joined);
        }
        std::shared_ptr<const Track> track = readGpxFile(path, context_.track, why);
        if (!track) {
            return false;
        }
        s_.track = std::move(track);
        s_.trackSource = path;
        return true;
    }

    bool number(const std::string& key, const std::vector<std::string>& w, std::string& why) {
        double value = 0;
        if (w.size() != 2 || !readDouble(w[1], -1e8, 1e8, value)) {
            why = key + " needs one number";
            return false;
        }
        if (key == "altitude") {
            s_.position.setAltitude(value);
        } else if (key == "accuracy") {
            s_.position.setHorizontalAccuracy(value);
        } else if (key == "vertical-accuracy") {
            s_.position.setVerticalAccuracy(value);
        } else if (key == "speed") {
            s_.position.setSpeed(value);
        } else {
            s_.position.setHeading(value);
        }
        return true;
    }

    bool observation(const std::vector<std::string>& w, std::string& why) {
        if (!ownMeasurements_) {
            s_.measurements.clear();
            ownMeasurements_ = true;
        }
        if (w.size() == 2 && w[0] == "cell") {
            KopaCellObservation cell;
            if (readCellObservation(w[1], cell)) {
                s_.measurements.addCell(cell);
                return true;
            }
        } else if (w.size() == 2) {
            KopaWlanObservation wlan;
            if (readWlanObservation(w[1], wlan)) {
                s_.measurements.addWlan(wlan);
                return true;
            }
        }
        why = w[0] == "cell" ? "cell needs RADIO,MCC,MNC,AREA,CELLID,DBM[,TIMINGADVANCE]"
                             : "wlan needs BSSID,DBM";
        return false;
    }

    bool mapEntry(const std::vector<std::string>& w, std::string& why) {
        if (!ownMap_) {
            s_.radioMap.clear();
            ownMap_ = true;
        }
        if (w.size() == 2 && w[1] == "none") {
            s_.radioMap.clear();
            return true;
        }
        Transmitter transmitter;
        CellKey key;
        if (w.size() >= 3 && w[1] == "cell" && readCellKey(split(w[2], ','), key) &&
            split(w[2], ',').size() == 5 &&
            readPlace(w, 3, RadioMap::kDefaultCellRange, transmitter)) {
            s_.radioMap.addCell(key, transmitter);
            return true;
        }
        if (w.size() >= 3 && w[1] == "wlan" && isBssid(w[2]) &&
            readPlace(w, 3, RadioMap::kDefaultWlanRange, transmitter)) {
            s_.radioMap.addWlan(w[2], transmitter);
            return true;
        }
        why =
            "map needs \"cell RADIO,MCC,MNC,AREA,CELLID LAT LON [RANGE]\", "
            "\"wlan BSSID LAT LON [RANGE]\" or \"none\"";
        return false;
    }

    Scenario& s_;
    const ScenarioContext& context_;
    bool ownMeasurements_ = false;
    bool ownMap_ = false;
};

}  // namespace

Scenario Scenario::builtIn() {
    Scenario scenario;
    std::string why;
    parseScenario(kBuiltIn, scenario, why);
    return scenario;
}

bool parseScenario(const std::string& text, Scenario& scenario, std::string& why,
                   const ScenarioContext& context) {
    Scenario result = scenario;
    ScenarioReader reader(result, context);
    std::istringstream in(text);
    int number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        std::size_t end = line.find_last_not_of(" \t\r");
        line.erase(end == std::string::npos ? 0 : end + 1);
        std::size_t start = line.find_first_not_of(" \t");
        if (start == std::string::npos || line[start] == '#') {
            continue;
        }
        std::string lineWhy;
        if (!reader.line(line.substr(start), lineWhy)) {
            why = "line " + std::to_string(number) + ": " + lineWhy;
            return false;
        }
    }
    scenario = std::move(result);
    return true;
}

bool addDefaultOutcome(Scenario& scenario, const std::string& member, const std::string& text,
                       std::string& why) {
    if (member != "*" && !isRequestMember(member)) {
        why = "unknown member \"" + member + "\"";
        return false;
    }
    Outcome outcome;
    if (!parseOutcome(text, outcome, why)) {
        return false;
    }
    for (const char* known : kRequestMembers) {
        if (member == "*" || member == known) {
            scenario.outcomes[known].push_back(outcome);
        }
    }
    return true;
}

bool parsePositionOption(const std::string& text, Scenario& scenario, std::string& why) {
    // The option is a scenario's position line written with commas, and does what it does.
    std::vector<std::string> parts = split(text, ',');
    bool wellFormed = (parts.size() == 2 || parts.size() == 3) &&
                      text.find_first_of(" \t\r\n") == std::string::npos;
    std::string line = "position";
    for (const std::string& part : parts) {
        wellFormed = wellFormed && !part.empty();
        line += ' ' + part;
    }
    if (!wellFormed || !parseScenario(line, scenario, why)) {
        why = "--position needs LAT,LON[,ACCURACY]";
        return false;
    }
    return true;
}
