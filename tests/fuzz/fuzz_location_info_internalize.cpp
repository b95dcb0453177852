// Reads arbitrary text into a KopaLocationInfo; whatever it accepts must survive
// externalize-then-internalize unchanged.
#include <KopaLocationInfo.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    KopaLocationInfo info;
    const KopaLocationInfo untouched = info;
    if (info.internalize(text) != KOPA_TEXT_OK) {
        if (info != untouched) {
            std::abort();  // a refused text must leave the record alone
        }
        return 0;
    }
    std::string written;
    if (info.externalize(written) != KOPA_TEXT_OK) {
        std::abort();
    }
    KopaLocationInfo copy;
    if (copy.internalize(written) != KOPA_TEXT_OK || copy != info) {
        std::abort();
    }
    return 0;
}
