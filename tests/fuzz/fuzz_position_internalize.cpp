// Reads arbitrary text into a KopaPosition; whatever it accepts must survive
// externalize-then-internalize unchanged.
#include <KopaPosition.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    KopaPosition position;
    const KopaPosition untouched = position;
    if (position.internalize(text) != KOPA_TEXT_OK) {
        if (position != untouched) {
            std::abort();  // a refused text must leave the record alone
        }
        return 0;
    }
    std::string written;
    if (position.externalize(written) != KOPA_TEXT_OK) {
        std::abort();
    }
    KopaPosition copy;
    if (copy.internalize(written) != KOPA_TEXT_OK || copy != position) {
        std::abort();
    }
    return 0;
}
