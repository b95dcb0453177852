#ifndef KOPA_FUZZ_TEXT_ROUND_TRIP_H
#define KOPA_FUZZ_TEXT_ROUND_TRIP_H

// Reads arbitrary text into a record: a refused text leaves the record alone, and whatever
// it accepts survives externalize-then-internalize unchanged.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

template <typename Record>
int textRoundTrip(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    Record record;
    const Record untouched = record;
    std::string written;
    Record copy;
    if (record.internalize(text) != 0) {
        if (!(record == untouched)) {
            std::abort();
        }
    } else if (record.externalize(written) != 0 || copy.internalize(written) != 0 ||
               !(copy == record)) {
        std::abort();
    }
    return 0;
}

#endif
