// Cloud sync at scale: the first sync of a large diary to the in-memory
// stand-in, and the merge of a large pull into a large store.
#include "fakes/KeyStringTable.h"
#include "fakes/MemoryDefaults.h"
#include "fakes/MemoryFiles.h"
#include "fakes/VirtualScheduler.h"
#include "model/MacActivityStore.h"
#include "model/MacDayBlockJson.h"
#include "platform/IcuCalendar.h"
#include "platform/standin/SqliteCloudDatabase.h"
#include "sync/MacCloudSync.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <sstream>

namespace plenda {
namespace {

std::vector<MacDayBlock> diary(std::size_t count) {
    std::vector<MacDayBlock> blocks;
    blocks.reserve(count);
    const Date first(600000000);
    for (std::size_t i = 0; i < count; ++i) {
        const Date start = first + static_cast<double>(i) * 900;
        blocks.push_back(MacDayBlock{Uuid::random(), "Xcode · project " + std::to_string(i % 40), MacBlockCategory::work,
                                     12, "Logged automatically on Mac", start, start, start + 720, "tracked", start + 720});
    }
    return blocks;
}

struct World {
    explicit World(const std::vector<MacDayBlock>& blocks) {
        files.files["/home/user/.local/share/Plenda/blocks.json"] = *encodeBlocks(blocks);
        defaults.setBool("didSplitMidnightSpanningBlocks", true);
        store = std::make_unique<MacActivityStore>(MacActivityStore::Dependencies{
            scheduler, scheduler, calendar, defaults, files, strings, false, &Uuid::random, output,
            MacCloudSync::factory({defaults, scheduler, &server, nullptr, nullptr, output})});
    }
    VirtualScheduler scheduler;
    IcuCalendar calendar{"Europe/Berlin"};
    MemoryDefaults defaults;
    MemoryFiles files;
    KeyStringTable strings;
    std::ostringstream output;
    SqliteCloudDatabase server{SqliteCloudDatabase::Options{.clock = &scheduler}};
    std::unique_ptr<MacActivityStore> store;
};

void FirstSyncOf100kBlocks(benchmark::State& state) {
    const auto blocks = diary(100000);
    for (auto _ : state) {
        state.PauseTiming();
        World world(blocks);
        state.ResumeTiming();
        world.store->syncNow();
        world.scheduler.runUntilIdle();
        if (world.store->sync()->hasPendingChanges()) state.SkipWithError("blocks left pending");
        state.PauseTiming();
        world.store.reset();
        state.ResumeTiming();
    }
}
BENCHMARK(FirstSyncOf100kBlocks)->Unit(benchmark::kMillisecond)->Iterations(2);

void ApplyPulled10kInto100k(benchmark::State& state) {
    const auto blocks = diary(100000);
    World world(blocks);
    std::vector<CloudRecordEnvelope> changed;
    for (std::size_t i = 0; i < 10000; ++i) {
        MacDayBlock block = blocks[i * 10];
        block.category = MacBlockCategory::mind;
        block.modifiedAt = *block.modifiedAt + 60;
        changed.push_back(CloudRecordEnvelope{block.id, *encodeBlock(block), *block.modifiedAt});
    }
    std::vector<Uuid> deleted;
    for (std::size_t i = 0; i < 100; ++i) deleted.push_back(blocks[i * 10 + 5].id);
    for (auto _ : state) {
        static_cast<MacCloudSync*>(world.store->sync())->applyPulled(changed, deleted);
        benchmark::DoNotOptimize(world.store->blockCount());
    }
}
BENCHMARK(ApplyPulled10kInto100k)->Unit(benchmark::kMillisecond);

// A new device's first pull: every block is new to it, and the pages come
// in the order of the records' names, not of time.
void ApplyPulled100kIntoNothing(benchmark::State& state) {
    auto blocks = diary(100000);
    std::ranges::sort(blocks, {}, &MacDayBlock::id);
    std::vector<CloudRecordEnvelope> changed;
    for (const MacDayBlock& block : blocks) changed.push_back(CloudRecordEnvelope{block.id, *encodeBlock(block), *block.modifiedAt});
    for (auto _ : state) {
        state.PauseTiming();
        World world({});
        state.ResumeTiming();
        static_cast<MacCloudSync*>(world.store->sync())->applyPulled(changed, {});
        if (world.store->blockCount() != blocks.size()) state.SkipWithError("blocks were not taken in");
        state.PauseTiming();
        world.store.reset();
        state.ResumeTiming();
    }
}
BENCHMARK(ApplyPulled100kIntoNothing)->Unit(benchmark::kMillisecond)->Iterations(2);

}  // namespace
}  // namespace plenda
