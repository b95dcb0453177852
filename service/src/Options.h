#ifndef KOPAD_SIM_OPTIONS_H
#define KOPAD_SIM_OPTIONS_H

#include <string>
#include <vector>

#include "Track.h"

struct Options {
    std::string address;                // empty: DBUS_SYSTEM_BUS_ADDRESS, else the system bus
    std::string scenario;               // file
    std::string position;               // "LAT,LON[,ACCURACY]"
    std::vector<std::string> outcomes;  // "MEMBER=OUTCOME"
    std::string logFile;
    bool quiet = false;
    int readyFd = -1;
    std::string track;  // GPX file
    TrackSettings trackSettings;
};

// Reads the command line. On failure prints the reason to stderr and returns false; `exitCode`
// is then 0 for --help and 2 for a usage error.
bool parseOptions(int argc, char** argv, Options& options, int& exitCode);

#endif
