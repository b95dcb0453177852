// Feeds arbitrary error names and messages to the error mapping.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "ReplyFuzzing.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (!reply_fuzzing::errorReply(data, size)) {
        std::abort();
    }
    return 0;
}
