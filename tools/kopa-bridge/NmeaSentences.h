#ifndef KOPA_BRIDGE_NMEA_SENTENCES_H
#define KOPA_BRIDGE_NMEA_SENTENCES_H

#include <string>

#include "Fix.h"

namespace bridge {

/// NMEA 0183 sentences for `fix`, each with its checksum and CR LF: GGA (time, position,
/// quality, altitude) then RMC (time, validity, position, speed, course, date), the pair a
/// reader needs to accept a fix. Without a position, both say so (quality 0, status V).
std::string nmeaSentences(const Fix& fix);

/// `body` (between '$' and '*') as a sentence with its checksum.
std::string nmeaSentence(const std::string& body);

}  // namespace bridge

#endif
