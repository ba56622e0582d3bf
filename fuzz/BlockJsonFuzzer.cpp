// The block file and single-block payloads: whatever decodes must encode
// and decode back to the same blocks.
#include "model/MacDayBlockJson.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace plenda;
    const std::string_view json(reinterpret_cast<const char*>(data), size);
    std::string error;
    if (const auto blocks = decodeBlocks(json, &error)) {
        const auto encoded = encodeBlocks(*blocks);
        if (!encoded || decodeBlocks(*encoded) != blocks) std::abort();
    } else if (error.empty()) {
        std::abort();  // a refusal always says why
    }
    if (const auto block = decodeBlock(json)) {
        const auto encoded = encodeBlock(*block);
        if (!encoded || decodeBlock(*encoded) != block) std::abort();
    }
    return 0;
}
