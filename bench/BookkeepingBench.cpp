// The sync bookkeeping at ten years of use: writing a set of 365,000 ids to
// the settings file, and a sync tick with nothing to send at 365,000 blocks
// against one on an empty store.
#include "SyntheticBlocks.h"

#include "fakes/KeyStringTable.h"
#include "fakes/MemoryDefaults.h"
#include "fakes/MemoryFiles.h"
#include "fakes/VirtualScheduler.h"
#include "model/MacActivityStore.h"
#include "model/MacDayBlockJson.h"
#include "platform/IcuCalendar.h"
#include "platform/qt/QtDefaults.h"
#include "platform/standin/SqliteCloudDatabase.h"
#include "sync/MacCloudSync.h"

#include <QFileInfo>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

#include <sstream>

namespace plenda {
namespace {

constexpr std::size_t tenYears = 365000;
const Date firstDay(694224000.0);  // 2023-01-01 UTC

// One more dirty id among 365,000 (every block of ten years waiting for its
// first upload), converted and written to the settings file as the worker does it.
void writeIdSet365k(benchmark::State& state) {
    QTemporaryDir folder;
    std::ostringstream output;
    auto defaults = QtDefaults::openFile(folder.filePath("Plenda.json"), output, 3600);
    CloudSyncState sync(*defaults);
    std::vector<Uuid> ids;
    for (std::size_t i = 0; i < tenYears; ++i) ids.push_back(Uuid::random());
    sync.markDirty(ids);
    defaults->synchronize();
    for (auto _ : state) {
        sync.markDirty({Uuid::random()});
        defaults->synchronize();
    }
    state.counters["fileBytes"] = double(QFileInfo(folder.filePath("Plenda.json")).size());
}
BENCHMARK(writeIdSet365k)->Unit(benchmark::kMillisecond);

// A store of `count` blocks whose every block the cloud already holds (or,
// without a cloud, that never had one), ticking with nothing to send.
void idleSyncTick(benchmark::State& state, std::size_t count, bool cloud) {
    VirtualScheduler scheduler{firstDay + 3700.0 * 86400.0};
    IcuCalendar calendar{"UTC"};
    MemoryDefaults defaults;
    MemoryFiles files;
    KeyStringTable strings;
    std::ostringstream output;
    SqliteCloudDatabase server{SqliteCloudDatabase::Options{.clock = &scheduler}};
    const auto make = [&] {
        return std::make_unique<MacActivityStore>(MacActivityStore::Dependencies{
            scheduler, scheduler, calendar, defaults, files, strings, false, &Uuid::random, output,
            MacCloudSync::factory({defaults, scheduler, cloud ? &server : nullptr, nullptr, nullptr, output, &files})});
    };
    defaults.setBool(MacActivityStore::didSplitKey, true);
    auto store = make();
    store->syncNow();
    scheduler.advance(10);  // the zone, its mark and a token
    store.reset();
    const auto blocks = syntheticBlocks(count, firstDay);
    files.files["/home/user/.local/share/Plenda/blocks.json"] = *encodeBlocks(blocks);
    store = make();
    std::vector<Uuid> ids;
    for (const MacDayBlock& block : blocks) ids.push_back(block.id);
    const IdSet held(ids.begin(), ids.end());
    static_cast<MacCloudSync*>(store->sync())->state().confirm(held, {});
    scheduler.advance(10);
    store->syncNow();  // brings the zone mark saved after the first token
    scheduler.advance(10);
    const int defaultsBefore = defaults.writes(), filesBefore = files.writeCount;
    for (auto _ : state) {
        store->syncNow();
        scheduler.advance(MacActivityStore::saveDelay + CloudSyncState::writeDelay + 1);
    }
    state.counters["writes"] = double(defaults.writes() - defaultsBefore + files.writeCount - filesBefore);
}
BENCHMARK_CAPTURE(idleSyncTick, Empty, 0, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(idleSyncTick, 365k, tenYears, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(idleSyncTick, 365kNoCloud, tenYears, false)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace plenda
