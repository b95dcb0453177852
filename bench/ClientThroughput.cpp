// Asynchronous throughput of kopa::Client, driven exactly as the library's own run: N requests
// in flight, each re-issued from an idle callback when it completes.
#include <KopaClient.h>

#include <vector>

#include "Benchmarks.h"
#include "Driver.h"

namespace bench {

namespace {

kopa::Request issue(kopa::Client& client, Request request, const Records& records,
                    std::function<void(bool)> done) {
    kopa::RequestOptions options;
    options.timeout = std::chrono::seconds(60);  // whole seconds: no deadline of the client's
    auto onPosition = [done](const kopa::Result<KopaPosition>& r) { done(r.ok()); };
    switch (request) {
        case Request::CurrentPosition:
            return client.currentPositionAsync(options, onPosition);
        case Request::CurrentMeasurements:
            return client.currentMeasurementsAsync(
                options, [done](const kopa::Result<KopaMeasurements>& r) { done(r.ok()); });
        case Request::LastKnownPosition:
            options.timeout = std::chrono::milliseconds(0);  // the library's own 24 hours
            return client.lastKnownPositionAsync(options, onPosition);
        case Request::ConvertToPosition:
            break;
    }
    return client.convertToPositionAsync(records.measurements, options, onPosition);
}

}  // namespace

Cost measureClientAsync(Request request, int inFlight, int completions, int& failures) {
    kopa::Client client;
    Records records;
    std::vector<kopa::Request> handles(inFlight);
    Driver* driverAddress = nullptr;
    Driver driver(completions, [&](int slot) {
        handles[slot] = issue(client, request, records, [driverAddress, slot](bool ok) {
            driverAddress->completed(slot, ok);
        });
        return true;
    });
    driverAddress = &driver;
    Stopwatch watch;
    driver.run(inFlight);
    Cost cost = watch.elapsed();
    failures += driver.failures();
    return cost.per(completions);
}

}  // namespace bench
