// Per-session and per-query store costs at 100,000, 365,000 (ten years) and
// 1,000,000 blocks: each must stay flat as the store grows. Saves are left
// out (no blocks file), so only the main thread's record and mark-dirty work
// is timed.
#include "SyntheticBlocks.h"

#include "fakes/KeyStringTable.h"
#include "fakes/MemoryDefaults.h"
#include "fakes/MemoryFiles.h"
#include "fakes/VirtualScheduler.h"
#include "model/MacActivityStore.h"
#include "platform/IcuCalendar.h"
#include "sync/MacCloudSync.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <memory>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

namespace plenda {
namespace {

const Date firstDay(694224000.0);  // 2023-01-01 UTC

// One store at a time: the sizes run one after the other.
struct SizedStore {
    std::size_t size;
    VirtualScheduler scheduler;
    IcuCalendar calendar{"UTC"};
    MemoryDefaults defaults;
    MemoryFiles files;
    KeyStringTable strings;
    std::ostringstream output;
    std::unique_ptr<MacActivityStore> store;
    std::vector<Uuid> ids;  // in time order

    explicit SizedStore(std::size_t n) : size(n), scheduler(firstDay + double(n / 100 + 1) * 86400.0) {
        files.supportDirectory.reset();
        defaults.setBool(MacActivityStore::didSplitKey, true);
        store = std::make_unique<MacActivityStore>(MacActivityStore::Dependencies{
            scheduler, scheduler, calendar, defaults, files, strings, false, &Uuid::random, output,
            MacCloudSync::factory({defaults, scheduler, nullptr, nullptr, nullptr, output})});
        const auto blocks = syntheticBlocks(n, firstDay);
        for (const MacDayBlock& block : blocks) ids.push_back(block.id);
        store->putBlocks(blocks, {});
        settle();
    }
    // Runs the posted uploads and empties the dirty set, as uploads keep it small in real use.
    void settle() {
        scheduler.runUntilIdle();
        static_cast<MacCloudSync*>(store->sync())->state().writeDirtyIDs({});
    }
};

SizedStore& storeOf(std::size_t size) {
    static std::unique_ptr<SizedStore> current;
    if (!current || current->size != size) {
        current.reset();
        current = std::make_unique<SizedStore>(size);
    }
    return *current;
}

template <typename Work>
void timeEach(benchmark::State& state, SizedStore& s, Work work) {
    int i = 0;
    for (auto _ : state) {
        const auto began = std::chrono::steady_clock::now();
        std::chrono::steady_clock::duration setUp{};  // what work says is not part of the figure
        if constexpr (std::is_void_v<decltype(work(0))>) {
            work(i++);
        } else {
            setUp = work(i++);
        }
        const auto took = std::chrono::steady_clock::now() - began - setUp;
        state.SetIterationTime(std::chrono::duration<double>(took).count());
        s.settle();
    }
    state.counters["blocks"] = double(s.store->blockCount());
}

// Sessions of four apps, two of three continuing the one before (a merge),
// the third a new block.
void recordSession(benchmark::State& state, std::size_t size) {
    SizedStore& s = storeOf(size);
    const char* titles[] = {"Xcode", "Safari", "Code · api", "Slack"};
    Date start = s.scheduler.now() + 600.0;
    timeEach(state, s, [&](int i) {
        s.store->recordSession(titles[(i / 3) % 4], MacBlockCategory::work, start, start + 120, std::nullopt);
        start = start + 130;
    });
}

// Another version of one of the day's latest blocks, as sync and edits bring.
void upsertRecent(benchmark::State& state, std::size_t size) {
    SizedStore& s = storeOf(size);
    timeEach(state, s, [&](int i) {
        MacDayBlock block = *s.store->block(s.ids[s.ids.size() - 1 - std::size_t(i * 7) % 50]);
        block.weight += 1;
        s.store->upsert(std::move(block));
    });
}

// The oldest block changed: it still moves to the end of the list, past every other.
void upsertOldest(benchmark::State& state, std::size_t size) {
    SizedStore& s = storeOf(size);
    timeEach(state, s, [&](int i) {
        MacDayBlock block = *s.store->block(s.ids[std::size_t(i) % (s.ids.size() / 2)]);
        block.weight += 1;
        s.store->upsert(std::move(block));
    });
}

void dayQueries(benchmark::State& state, std::size_t size) {
    SizedStore& s = storeOf(size);
    const Date day = s.scheduler.now() - 400 * 86400.0;
    timeEach(state, s, [&](int) {
        auto blocks = s.store->blocksOnDay(day);
        benchmark::DoNotOptimize(blocks.data());
        benchmark::DoNotOptimize(s.store->todayMinutes());
    });
}

const bool registered = [] {
    for (std::size_t size : {100000, 365000, 1000000}) {
        std::string n = "/";
        n += std::to_string(size);
        using Run = void (*)(benchmark::State&, std::size_t);
        const std::pair<const char*, Run> kinds[] = {{"recordSession", recordSession},
                                                     {"upsertRecent", upsertRecent},
                                                     {"upsertOldest", upsertOldest},
                                                     {"blocksOnDayAndTodayMinutes", dayQueries}};
        for (auto [name, run] : kinds) {
            auto* bench = benchmark::RegisterBenchmark((name + n).c_str(), run, size);
            bench->UseManualTime()->Unit(benchmark::kMicrosecond);
        }
    }
    return true;
}();

}  // namespace
}  // namespace plenda
