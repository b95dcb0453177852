// kopa: asks the positioning service for a position or measurements through libkopapositioning.
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

#include <KopaPositioning.h>

#include "AsyncRunner.h"
#include "Json.h"
#include "Options.h"
#include "Output.h"
#include "Recorder.h"
#include "Requests.h"
#include "ResultCodes.h"

#ifndef KOPA_TOOL_VERSION
#define KOPA_TOOL_VERSION "unknown"
#endif

namespace {

int printVersion(const Options& options) {
    KopaVersion version = KopaPositioning(nullptr).version();
    if (options.json) {
        std::cout << JsonObject()
                         .add("command", "version")
                         .add("kopa", KOPA_TOOL_VERSION)
                         .add("major", static_cast<unsigned int>(version.majorVersion))
                         .add("minor", static_cast<unsigned int>(version.minorVersion))
                         .add("patch", static_cast<unsigned int>(version.patchVersion))
                         .str()
                  << std::endl;
    } else {
        std::cout << "kopa " << KOPA_TOOL_VERSION << "\nlibkopapositioning interface "
                  << version.majorVersion << '.' << version.minorVersion << '.'
                  << version.patchVersion << std::endl;
    }
    return 0;
}

/// Reads the measurements text of convert into `records`; false (reported) when it cannot.
bool readMeasurements(const Options& options, RequestRecords& records) {
    std::string text;
    if (options.inputFile.empty() || options.inputFile == "-") {
        text.assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
    } else {
        std::ifstream file(options.inputFile, std::ios::binary);
        if (!file) {
            reportToolFailure(options, Command::Convert,
                              "cannot read " + options.inputFile + ": " + std::strerror(errno));
            return false;
        }
        text.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
    int read = records.measurements.internalize(text);
    if (read != 0) {
        reportToolFailure(options, Command::Convert,
                          "the input is not a measurements text: " + describeResultCode(read));
        return false;
    }
    return true;
}

int run(const Options& options) {
    if (options.command == Command::Help) {
        std::cout << usageText();
        return 0;
    }
    // The library copies the variable into its trace file name when an object is created.
    if (!options.traceFile.empty()) {
        setenv("KOPAAPI_TRACEFILE", options.traceFile.c_str(), 1);
    }
    if (options.command == Command::Version) {
        return printVersion(options);
    }
    // The library connects to the system bus wherever libdbus finds it.
    if (!options.busAddress.empty()) {
        setenv("DBUS_SYSTEM_BUS_ADDRESS", options.busAddress.c_str(), 1);
    }
    if (options.command == Command::Record) {
        return recordTrack(options);
    }

    RequestRecords records(options.locationInfo);
    if (options.command == Command::Convert && !readMeasurements(options, records)) {
        return 1;
    }
    if (options.command == Command::Watch) {
        AsyncRunner runner(options, options.watched, records, true);
        return runner.run();
    }
    // The library waits up to 24 hours for the last known position whatever it is told; to
    // keep to --timeout, kopa asks asynchronously and cancels when its own time is up.
    bool ownDeadline = options.command == Command::Last && options.timeoutMs != 0;
    if (options.async || ownDeadline) {
        AsyncRunner runner(options, options.command, records, false);
        return runner.run();
    }
    KopaPositioning positioning(nullptr);
    int result = runBlocking(positioning, options, options.command, records);
    return reportResult(options, options.command, result, records, 0) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    try {
        options = parseOptions(argc, argv);
    } catch (const UsageError& error) {
        std::cerr << "kopa: " << error.message << "\nTry 'kopa --help'." << std::endl;
        return 2;
    }
    try {
        return run(options);
    } catch (const std::exception& error) {
        std::cerr << "kopa: " << error.what() << std::endl;
        return 1;
    }
}
