#include "Options.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <vector>

namespace {

bool allDigits(const std::string& text) {
    if (text.empty()) {
        return false;
    }
    for (char c : text) {
        if (c < '0' || c > '9') {
            return false;
        }
    }
    return true;
}

unsigned int parseUnsigned(const std::string& option, const std::string& value) {
    errno = 0;
    unsigned long long number = allDigits(value) ? std::strtoull(value.c_str(), nullptr, 10) : 0;
    if (!allDigits(value) || errno == ERANGE || number > UINT_MAX) {
        throw UsageError{option + " wants a number from 0 to 4294967295, not '" + value + "'"};
    }
    return static_cast<unsigned int>(number);
}

// Seconds with up to three decimals ("0.5"), as milliseconds whose whole seconds, rounded up,
// fit an unsigned int.
std::uint64_t parseMilliseconds(const std::string& option, const std::string& value) {
    std::size_t dot = value.find('.');
    std::string whole = value.substr(0, dot);
    std::string fraction = dot == std::string::npos ? "" : value.substr(dot + 1);
    bool readable = allDigits(whole) && whole.size() <= 10 &&
                    (dot == std::string::npos || (allDigits(fraction) && fraction.size() <= 3));
    std::uint64_t ms = readable
                           ? std::strtoull(whole.c_str(), nullptr, 10) * 1000 +
                                 std::strtoull((fraction + "00").substr(0, 3).c_str(), nullptr, 10)
                           : 0;
    if (!readable || (ms + 999) / 1000 > UINT_MAX) {
        throw UsageError{option + " wants seconds from 0 to 4294967295, with up to three " +
                         "decimals, not '" + value + "'"};
    }
    return ms;
}

std::int32_t parsePacketData(const std::string& value) {
    if (value == "allowed") {
        return 1;
    }
    if (value == "not-allowed") {
        return 0;
    }
    std::string digits = value.size() > 1 && value[0] == '-' ? value.substr(1) : value;
    errno = 0;
    long long number = allDigits(digits) ? std::strtoll(value.c_str(), nullptr, 10) : 0;
    if (!allDigits(digits) || errno == ERANGE || number < INT32_MIN || number > INT32_MAX) {
        throw UsageError{
            "--packet-data wants allowed, not-allowed or a signed 32-bit number, not '" + value +
            "'"};
    }
    return static_cast<std::int32_t>(number);
}

Command parseCommand(const std::string& word) {
    if (word == "position")
        return Command::Position;
    if (word == "measurements")
        return Command::Measurements;
    if (word == "last")
        return Command::Last;
    if (word == "convert")
        return Command::Convert;
    if (word == "version")
        return Command::Version;
    if (word == "watch")
        return Command::Watch;
    if (word == "record")
        return Command::Record;
    if (word == "help")
        return Command::Help;
    throw UsageError{"unknown command '" + word + "'"};
}

}  // namespace

Options parseOptions(int argc, char** argv) {
    Options options;
    std::vector<std::string> words;
    bool helpAsked = false;
    bool versionAsked = false;
    bool watchOptionSeen = false;
    bool recordOptionSeen = false;
    bool optionsEnded = false;

    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        if (optionsEnded || arg.size() < 2 || arg[0] != '-') {
            words.push_back(arg);
            continue;
        }
        if (arg == "--") {
            optionsEnded = true;
            continue;
        }
        std::string name = arg;
        std::string value;
        bool hasInlineValue = false;
        if (std::string::size_type equals = arg.find('='); equals != std::string::npos) {
            name = arg.substr(0, equals);
            value = arg.substr(equals + 1);
            hasInlineValue = true;
        }
        auto takeValue = [&]() -> std::string {
            if (hasInlineValue) {
                return value;
            }
            if (i + 1 >= argc) {
                throw UsageError{name + " needs a value"};
            }
            return argv[++i];
        };
        auto noValue = [&]() {
            if (hasInlineValue) {
                throw UsageError{name + " takes no value"};
            }
        };

        if (name == "--help" || name == "-h") {
            noValue();
            helpAsked = true;
        } else if (name == "--version") {
            noValue();
            versionAsked = true;
        } else if (name == "--address") {
            options.busAddress = takeValue();
            if (options.busAddress.empty()) {
                throw UsageError{"--address needs a D-Bus address"};
            }
        } else if (name == "--timeout") {
            options.timeoutMs = parseMilliseconds(name, takeValue());
            options.timeoutSeconds = static_cast<unsigned int>((options.timeoutMs + 999) / 1000);
        } else if (name == "--param") {
            options.requestParameter = parseUnsigned(name, takeValue());
        } else if (name == "--packet-data") {
            options.packetDataUsage = parsePacketData(takeValue());
        } else if (name == "--location-info") {
            noValue();
            options.locationInfo = true;
        } else if (name == "--json") {
            noValue();
            options.json = true;
        } else if (name == "--async") {
            noValue();
            options.async = true;
        } else if (name == "--trace") {
            options.traceFile = takeValue();
            if (options.traceFile.empty()) {
                throw UsageError{"--trace needs a file name"};
            }
        } else if (name == "--interval") {
            options.intervalMs = parseUnsigned(name, takeValue());
            watchOptionSeen = true;
        } else if (name == "--count") {
            options.count = parseUnsigned(name, takeValue());
            if (options.count == 0) {
                throw UsageError{"--count wants 1 or more (leave it out to go on until stopped)"};
            }
            watchOptionSeen = true;
        } else if (name == "--duration") {
            options.durationSeconds = parseUnsigned(name, takeValue());
            if (options.durationSeconds == 0) {
                throw UsageError{
                    "--duration wants 1 or more (leave it out to go on until stopped)"};
            }
            recordOptionSeen = true;
        } else if (name == "--output") {
            options.outputFile = takeValue();
            recordOptionSeen = true;
        } else if (name == "--format") {
            options.trackFormat = takeValue();
            if (options.trackFormat != "gpx" && options.trackFormat != "geojson") {
                throw UsageError{"--format wants gpx or geojson, not '" + options.trackFormat +
                                 "'"};
            }
            recordOptionSeen = true;
        } else {
            throw UsageError{"unknown option '" + name + "'"};
        }
    }

    if (helpAsked) {
        options.command = Command::Help;
        return options;
    }
    if (versionAsked) {
        if (!words.empty()) {
            throw UsageError{"--version takes no command"};
        }
        options.command = Command::Version;
        return options;
    }
    if (words.empty()) {
        throw UsageError{"no command given"};
    }
    options.command = parseCommand(words[0]);
    std::size_t allowed = 1;
    if (options.command == Command::Convert) {
        allowed = 2;
        if (words.size() > 1) {
            options.inputFile = words[1];
        }
    } else if (options.command == Command::Watch) {
        allowed = 2;
        if (words.size() > 1) {
            options.watched = parseCommand(words[1]);
            if (options.watched != Command::Position && options.watched != Command::Measurements &&
                options.watched != Command::Last) {
                throw UsageError{"watch repeats position, measurements or last, not '" + words[1] +
                                 "'"};
            }
        }
    }
    if (words.size() > allowed) {
        throw UsageError{"unexpected argument '" + words[allowed] + "'"};
    }
    bool repeats = options.command == Command::Watch || options.command == Command::Record;
    if (watchOptionSeen && !repeats) {
        throw UsageError{"--interval and --count belong to the watch and record commands"};
    }
    if (recordOptionSeen && options.command != Command::Record) {
        throw UsageError{"--duration, --output and --format belong to the record command"};
    }
    if (options.command == Command::Record &&
        (options.json || options.async || options.locationInfo)) {
        throw UsageError{
            "record writes a track document: --json, --async and --location-info do not apply"};
    }
    return options;
}

const char* usageText() {
    return R"(usage: kopa [OPTIONS] COMMAND

Asks the positioning service kopad, over the D-Bus system bus, through libkopapositioning.

Commands:
  position            the current position
  measurements        the current radio measurements: their text on standard output (one
                      line, the input of convert), a readable summary on standard error
  last                the last known position (the library waits up to 24 hours for it;
                      kopa cancels the request when --timeout passes)
  convert [FILE]      the position computed from measurements text read from FILE, or from
                      standard input when FILE is missing or "-":
                        kopa measurements | kopa convert
  version             the versions of kopa and of the library's interface
  watch [--interval MS] [--count N] [position|measurements|last]
                      repeats an asynchronous request (default: position) every MS
                      milliseconds (default 1000), N times or until Ctrl-C or SIGTERM, which
                      cancel the outstanding request
  record [--interval MS] [--count N] [--duration S] [--output FILE] [--format gpx|geojson]
                      records the journey: the current position every MS milliseconds
                      (default 1000; one request outstanding at a time), each answer a track
                      point of a GPX 1.1 document (or of a GeoJSON LineString feature) written
                      to FILE or standard output, until N points are written, S seconds have
                      passed, or Ctrl-C or SIGTERM; the document is complete after each point.
                      Failed requests are reported on standard error and left out
  help                this text

Options:
  --timeout SECONDS   how long to wait for the service, to the millisecond ("0.5"; default
                      30; 0: up to 24 hours); position, measurements and convert wait it
                      rounded up to whole seconds, the library's unit
  --address ADDRESS   the D-Bus address of the bus to use instead of the system bus
  --param N           the request parameter passed to the service (0 to 4294967295, default 0)
  --packet-data allowed|not-allowed|N
                      whether the service may use packet data (default allowed); any signed
                      32-bit number is passed on unchanged
  --location-info     ask with a location info record and print its four slots
  --json              one JSON object per result on standard output
  --trace FILE        write the library's trace to FILE (sets KOPAAPI_TRACEFILE)
  --async             make the request through the asynchronous interface and a GLib main loop
  --help              this text
  --version           the versions of kopa and of the library's interface

Exit status: 0 success; 1 the request failed (the result code's name and meaning are on
standard error; for KOPA_ERROR_GENERAL, whether the bus, the service, the bus policy or the
answer was at fault); 2 a usage error. watch and record exit 0 when stopped by their count,
--duration, Ctrl-C or SIGTERM and every request succeeded, 1 when any of them failed (record
also when it cannot write its document). An asynchronous single request interrupted by Ctrl-C
or SIGTERM is cancelled and exits 130.
)";
}
