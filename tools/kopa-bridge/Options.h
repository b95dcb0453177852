#ifndef KOPA_BRIDGE_OPTIONS_H
#define KOPA_BRIDGE_OPTIONS_H

#include <string>

#include "Bridge.h"

namespace bridge {

struct Options {
    BridgeOptions bridge;
    /// A descriptor to write "ready GPSD_PORT NMEA_PORT" to once listening; -1 for none.
    int readyFd = -1;
    bool version = false;
};

/// Reads the command line; false with `error` set (the usage problem) when it is wrong.
bool parseOptions(int argc, char** argv, Options& options, std::string& error);

}  // namespace bridge

#endif
