// Feeds arbitrary D-Bus messages, as replies, to the position reply parser.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "ReplyFuzzing.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (!reply_fuzzing::positionReply(data, size)) {
        std::abort();
    }
    return 0;
}
