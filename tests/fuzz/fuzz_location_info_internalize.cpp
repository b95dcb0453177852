// Arbitrary text read into a KopaLocationInfo.
#include <KopaLocationInfo.h>

#include "TextRoundTrip.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return textRoundTrip<KopaLocationInfo>(data, size);
}
