#include "Requests.h"

namespace {

KopaPacketDataUsage packetData(const Options& options) {
    // The library passes the value through unchanged, so any number the user gave is valid.
    return static_cast<KopaPacketDataUsage>(options.packetDataUsage);
}

}  // namespace

KopaRequestType requestTypeOf(Command command) {
    switch (command) {
        case Command::Measurements:
            return KOPA_REQUEST_CURRENT_MEASUREMENTS;
        case Command::Last:
            return KOPA_REQUEST_LAST_KNOWN_POSITION;
        case Command::Convert:
            return KOPA_REQUEST_CONVERT_TO_POSITION;
        default:
            return KOPA_REQUEST_CURRENT_POSITION;
    }
}

int runBlocking(KopaPositioning& positioning, const Options& options, Command command,
                RequestRecords& records) {
    switch (command) {
        case Command::Measurements:
            return positioning.currentMeasurements(records.measurements, options.requestParameter,
                                                   options.timeoutSeconds);
        case Command::Last:
            return positioning.lastKnownPosition(*records.position, options.requestParameter);
        case Command::Convert:
            return positioning.convertToPosition(*records.position, records.measurements,
                                                 packetData(options), options.timeoutSeconds);
        default:
            return positioning.currentPosition(*records.position, options.requestParameter,
                                               packetData(options), options.timeoutSeconds);
    }
}

int startAsync(KopaPositioning& positioning, const Options& options, Command command,
               RequestRecords& records) {
    switch (command) {
        case Command::Measurements:
            return positioning.currentMeasurementsAsync(
                records.measurements, options.requestParameter, options.timeoutSeconds);
        case Command::Last:
            return positioning.lastKnownPositionAsync(*records.position, options.requestParameter);
        case Command::Convert:
            return positioning.convertToPositionAsync(*records.position, records.measurements,
                                                      packetData(options), options.timeoutSeconds);
        default:
            return positioning.currentPositionAsync(*records.position, options.requestParameter,
                                                    packetData(options), options.timeoutSeconds);
    }
}
