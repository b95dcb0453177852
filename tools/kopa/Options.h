#ifndef KOPA_TOOL_OPTIONS_H
#define KOPA_TOOL_OPTIONS_H

#include <cstdint>
#include <string>

enum class Command { Position, Measurements, Last, Convert, Version, Watch, Record, Help };

/// What `kopa` was asked to do, read from its command line.
struct Options {
    Command command = Command::Help;
    /// The request that `watch` repeats: Position, Measurements or Last.
    Command watched = Command::Position;
    std::string inputFile;  ///< `convert FILE`; empty or "-" reads standard input

    /// --timeout, to the millisecond: record's and last's own deadline.
    std::uint64_t timeoutMs = 30000;
    /// --timeout rounded up to whole seconds, the library's unit for the other requests.
    unsigned int timeoutSeconds = 30;
    unsigned int requestParameter = 0;
    std::int32_t packetDataUsage = 1;  // allowed
    bool locationInfo = false;
    bool json = false;
    bool async = false;
    std::string traceFile;
    std::string busAddress;  ///< --address; empty: where libdbus finds the system bus

    unsigned int intervalMs = 1000;
    unsigned int count = 0;  ///< 0: until interrupted

    unsigned int durationSeconds = 0;  ///< record --duration; 0: until interrupted
    std::string outputFile;            ///< record --output; empty or "-": standard output
    std::string trackFormat = "gpx";   ///< record --format: gpx or geojson
};

/// Thrown for a command line that cannot be run; main prints it with the usage hint.
struct UsageError {
    std::string message;
};

/// Reads argv. Options may stand before or after the command; "--" ends them.
Options parseOptions(int argc, char** argv);

/// The text of `kopa --help`.
const char* usageText();

#endif
