// Feeds arbitrary bytes to kopa-bridge's request reader, as a client's stream would arrive.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "RequestParser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view input(reinterpret_cast<const char*>(data), size);
    bridge::Request request;
    while (std::size_t used = bridge::readRequest(input, request)) {
        // Every request read uses input, never more than there is.
        if (used > input.size() || (request.error.empty() && request.name.empty())) {
            std::abort();
        }
        input.remove_prefix(used);
    }
    return 0;
}
