// Reads arbitrary text into a KopaMeasurements; whatever it accepts must survive
// externalize-then-internalize unchanged.
#include <KopaMeasurements.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    KopaMeasurements measurements;
    const KopaMeasurements untouched = measurements;
    if (measurements.internalize(text) != KOPA_TEXT_OK) {
        if (measurements != untouched) {
            std::abort();  // a refused text must leave the record alone
        }
        return 0;
    }
    std::string written;
    if (measurements.externalize(written) != KOPA_TEXT_OK) {
        std::abort();
    }
    KopaMeasurements copy;
    if (copy.internalize(written) != KOPA_TEXT_OK || copy != measurements) {
        std::abort();
    }
    return 0;
}
