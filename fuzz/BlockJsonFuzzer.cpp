// The block file and single-block payloads: whatever decodes must encode
// and decode back to the same blocks. A file that decodes is then loaded as
// the app loads it, midnight split included: no piece crosses a midnight,
// every title keeps its total weight, and the file saved after the split
// reads back as the store's blocks.
#include "fakes/KeyStringTable.h"
#include "fakes/MemoryDefaults.h"
#include "fakes/MemoryFiles.h"
#include "fakes/VirtualScheduler.h"
#include "model/MacActivityStore.h"
#include "model/MacDayBlockJson.h"
#include "platform/IcuCalendar.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string_view>

namespace plenda {
namespace {

// Per title: the sum of the weights and of their magnitudes.
using Weights = std::map<std::string, std::pair<long double, long double>>;

Weights weightsByTitle(const std::vector<MacDayBlock>& blocks) {
    Weights weights;
    for (const MacDayBlock& block : blocks) {
        if (!std::isfinite(block.weight)) std::abort();  // the file's weights are all finite
        auto& [sum, magnitude] = weights[block.title];
        sum += block.weight;
        magnitude += std::fabs(block.weight);
    }
    return weights;
}

void loadAsTheApp(std::string_view json, const std::vector<MacDayBlock>& decoded) {
    static IcuCalendar calendar("Europe/Berlin");
    VirtualScheduler scheduler;
    MemoryDefaults defaults;
    MemoryFiles files;
    KeyStringTable strings;
    std::ostringstream output;
    const std::string path = *files.supportDirectory + "/Plenda/blocks.json";
    files.files[path] = std::string(json);
    const MacActivityStore store({scheduler, scheduler, calendar, defaults, files, strings, true, &Uuid::random, output});
    const auto& blocks = store.blocks();

    for (const MacDayBlock& block : blocks) {
        if (!block.startDate || !block.endDate || !(*block.startDate < *block.endDate) ||
            !(*block.endDate - *block.startDate <= MacActivityStore::maximumSplitSpan))
            continue;
        const auto midnight = calendar.addingDays(1, calendar.startOfDay(*block.startDate));
        if (midnight && *midnight > *block.startDate && *block.endDate > *midnight) std::abort();
    }
    const Weights before = weightsByTitle(decoded), after = weightsByTitle(blocks);
    if (before.size() != after.size()) std::abort();
    for (const auto& [title, weight] : before) {
        // The pieces' shares round, and a subnormal share may round to zero.
        const auto& [sum, magnitude] = after.at(title);
        if (std::fabs(sum - weight.first) > 1e-9L * magnitude + 1e-300L) std::abort();
    }
    if (blocks.size() != decoded.size() && decodeBlocks(files.files.at(path)) != blocks) std::abort();
}

}  // namespace
}  // namespace plenda

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace plenda;
    const std::string_view json(reinterpret_cast<const char*>(data), size);
    std::string error;
    if (const auto blocks = decodeBlocks(json, &error)) {
        const auto encoded = encodeBlocks(*blocks);
        if (!encoded || decodeBlocks(*encoded) != blocks) std::abort();
        loadAsTheApp(json, *blocks);
    } else if (error.empty()) {
        std::abort();  // a refusal always says why
    }
    if (const auto block = decodeBlock(json)) {
        const auto encoded = encodeBlock(*block);
        if (!encoded || decodeBlock(*encoded) != block) std::abort();
    }
    return 0;
}
