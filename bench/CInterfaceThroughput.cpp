// Asynchronous throughput of the C interface (libkopac), driven exactly as kopa::Client's run:
// N requests in flight, each re-issued from an idle callback when it completes. What it adds
// to kopa::Client is the C side: options checked, records copied into C structs, handles.
#include <kopa.h>

#include <string>
#include <vector>

#include "Benchmarks.h"
#include "Driver.h"

namespace bench {

namespace {

struct Slot {
    Driver* driver = nullptr;
    int index = 0;
    kopa_request* request = nullptr;
};

void onPosition(int result, const kopa_position*, const kopa_error*, void* data) {
    auto* slot = static_cast<Slot*>(data);
    slot->driver->completed(slot->index, result == KOPA_CODE_OK);
}

void onMeasurements(int result, const kopa_measurements*, const kopa_error*, void* data) {
    auto* slot = static_cast<Slot*>(data);
    slot->driver->completed(slot->index, result == KOPA_CODE_OK);
}

int issue(kopa_client* client, Request request, const kopa_measurements* toConvert, Slot& slot) {
    kopa_request_options options;
    kopa_request_options_init(&options);
    options.timeout_ms = 60000;       // the client's own deadline, as kopa::Client's run has
    kopa_request_free(slot.request);  // the finished request of this slot
    slot.request = nullptr;
    switch (request) {
        case Request::CurrentPosition:
            return kopa_client_current_position_async(client, &options, onPosition, &slot,
                                                      &slot.request, nullptr);
        case Request::CurrentMeasurements:
            return kopa_client_current_measurements_async(client, &options, onMeasurements, &slot,
                                                          &slot.request, nullptr);
        case Request::LastKnownPosition:
            return kopa_client_last_known_position_async(client, &options, onPosition, &slot,
                                                         &slot.request, nullptr);
        case Request::ConvertToPosition:
            break;
    }
    return kopa_client_convert_to_position_async(client, toConvert, &options, onPosition, &slot,
                                                 &slot.request, nullptr);
}

}  // namespace

Cost measureCInterfaceAsync(Request request, int inFlight, int completions, int& failures) {
    kopa_client* client = kopa_client_new();
    Records records;
    std::string text;
    records.measurements.externalize(text);
    kopa_measurements* toConvert = nullptr;
    if (kopa_measurements_new_from_text(text.c_str(), &toConvert, nullptr) != KOPA_CODE_OK) {
        ++failures;
        kopa_client_free(client);
        return Cost{};
    }
    std::vector<Slot> slots(inFlight);
    Driver driver(completions, [&](int index) {
        return issue(client, request, toConvert, slots[index]) == KOPA_CODE_OK;
    });
    for (int index = 0; index < inFlight; ++index) {
        slots[index].driver = &driver;
        slots[index].index = index;
    }
    Stopwatch watch;
    driver.run(inFlight);
    Cost cost = watch.elapsed();
    failures += driver.failures();
    for (Slot& slot : slots) {
        kopa_request_free(slot.request);
    }
    kopa_measurements_free(toConvert);
    kopa_client_free(client);
    return cost.per(completions);
}

}  // namespace bench
