// Arbitrary text read into a KopaMeasurements.
#include <KopaMeasurements.h>

#include "TextRoundTrip.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return textRoundTrip<KopaMeasurements>(data, size);
}
