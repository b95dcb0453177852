// Arbitrary text read into a KopaPosition.
#include <KopaPosition.h>

#include "TextRoundTrip.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return textRoundTrip<KopaPosition>(data, size);
}
