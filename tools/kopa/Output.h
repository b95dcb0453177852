#ifndef KOPA_TOOL_OUTPUT_H
#define KOPA_TOOL_OUTPUT_H

#include <memory>
#include <string>

#include <KopaLocationInfo.h>
#include <KopaMeasurements.h>
#include <KopaPosition.h>
#include <KopaPositioning.h>

#include "Options.h"

/// The records of one request: what it fills, and for convert what it sends.
struct RequestRecords {
    explicit RequestRecords(bool locationInfo);

    /// A KopaLocationInfo when --location-info asked for one.
    std::unique_ptr<KopaPosition> position;
    /// The answer of measurements; the input of convert.
    KopaMeasurements measurements;
};

/// The command's word on the command line ("position", ...).
const char* commandName(Command command);

/// "gnss", "cell", "wlan", "hybrid" or "unknown".
const char* methodName(KopaPositionMethod method);

/// "60.169900 N, 24.938400 E  ±12.5 m  (gnss, 2026-11-23 07:30:12 UTC)"
std::string readablePosition(const KopaPosition& position);

/// Prints the outcome of one request as the options ask: the result on standard output (the
/// measurements' text line, or a JSON object), explanations and failures on standard error.
/// `sequence` numbers the results of watch (0: a single request). Returns true on success.
bool reportResult(const Options& options, Command command, int result,
                  const RequestRecords& records, unsigned long sequence);

/// "kopa: MESSAGE" on standard error, and with --json also {"command":..,"error":MESSAGE}.
void reportToolFailure(const Options& options, Command command, const std::string& message);

#endif
