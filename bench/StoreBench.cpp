// Store figures at 100,000 blocks: file load and save against a raw read and
// write of the same bytes (per-session and query costs by size are in
// StoreSizeBench.cpp).
#include "SyntheticBlocks.h"

#include "fakes/KeyStringTable.h"
#include "fakes/MemoryDefaults.h"
#include "fakes/VirtualScheduler.h"
#include "model/MacActivityStore.h"
#include "model/MacDayBlockJson.h"
#include "platform/IcuCalendar.h"
#include "platform/qt/QtFiles.h"
#include "sync/MacCloudSync.h"

#include <QTemporaryDir>
#include <benchmark/benchmark.h>

#include <cstdio>
#include <sstream>

namespace plenda {
namespace {

constexpr std::size_t blockCount = 100000;
const Date firstDay(694224000.0);  // 2023-01-01 UTC

struct Environment {
    QTemporaryDir folder;
    QtFiles files{folder.path().toStdString()};
    VirtualScheduler scheduler{firstDay + 1000.0 * 86400.0 + 12 * 3600.0};
    IcuCalendar calendar{"UTC"};
    MemoryDefaults defaults;
    KeyStringTable strings;
    std::ostringstream output;
    std::string path = folder.path().toStdString() + "/Plenda/blocks.json";
    std::string bytes;

    Environment() {
        defaults.setBool("didSplitMidnightSpanningBlocks", true);
        bytes = *encodeBlocks(syntheticBlocks(blockCount, firstDay));
        files.createDirectories(folder.path().toStdString() + "/Plenda");
        files.writeFileAtomically(path, bytes);
    }
    std::unique_ptr<MacActivityStore> makeStore() {
        return std::make_unique<MacActivityStore>(MacActivityStore::Dependencies{
            scheduler, scheduler, calendar, defaults, files, strings, false, &Uuid::random, output,
            MacCloudSync::factory({defaults, scheduler, nullptr, nullptr, nullptr, output})});
    }
};

Environment& environment() {
    static Environment shared;
    return shared;
}

void rawRead(benchmark::State& state) {
    Environment& env = environment();
    for (auto _ : state) {
        std::FILE* file = std::fopen(env.path.c_str(), "rb");
        std::string bytes(env.bytes.size(), '\0');
        const std::size_t read = std::fread(bytes.data(), 1, bytes.size(), file);
        std::fclose(file);
        if (read != bytes.size()) state.SkipWithError("short read");
        benchmark::DoNotOptimize(bytes.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * env.bytes.size()));
}
BENCHMARK(rawRead)->Unit(benchmark::kMillisecond);

void loadBlockFile(benchmark::State& state) {
    Environment& env = environment();
    for (auto _ : state) {
        auto store = env.makeStore();
        if (store->blocks().size() != blockCount) state.SkipWithError("blocks were not loaded");
        state.PauseTiming();  // letting go of a store is not part of loading one
        store.reset();
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * env.bytes.size()));
}
BENCHMARK(loadBlockFile)->Unit(benchmark::kMillisecond);

void rawWrite(benchmark::State& state) {
    Environment& env = environment();
    const std::string path = env.path + ".raw";
    for (auto _ : state) {
        std::FILE* file = std::fopen(path.c_str(), "wb");
        std::fwrite(env.bytes.data(), 1, env.bytes.size(), file);
        std::fclose(file);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * env.bytes.size()));
}
BENCHMARK(rawWrite)->Unit(benchmark::kMillisecond);

void saveBlockFile(benchmark::State& state) {
    Environment& env = environment();
    auto store = env.makeStore();
    for (auto _ : state) {
        if (!store->saveNow()) state.SkipWithError("save failed");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * env.bytes.size()));
}
BENCHMARK(saveBlockFile)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace plenda
