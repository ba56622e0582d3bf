// Loading the block file against a raw read of the same bytes, and a whole
// save against a raw write, at 100,000 and 365,000 blocks (per-session and
// query costs by size are in StoreSizeBench.cpp, debounced saves in
// SaveBench.cpp).
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
#include <memory>

#ifdef __GLIBC__
#include <malloc.h>
#endif
#include <sstream>

namespace plenda {
namespace {

const Date firstDay(694224000.0);  // 2023-01-01 UTC

struct Environment {
    std::size_t size;
    QTemporaryDir folder;
    QtFiles files{folder.path().toStdString()};
    VirtualScheduler scheduler{firstDay + 4000.0 * 86400.0 + 12 * 3600.0};
    IcuCalendar calendar{"UTC"};
    MemoryDefaults defaults;
    KeyStringTable strings;
    std::ostringstream output;
    std::string path = folder.path().toStdString() + "/Plenda/blocks.json";
    std::size_t bytes = 0;

    explicit Environment(std::size_t count) : size(count) {
        const std::string text = *encodeBlocks(syntheticBlocks(count, firstDay));
        bytes = text.size();
        files.createDirectories(folder.path().toStdString() + "/Plenda");
        files.writeFileAtomically(path, text);
    }
    std::unique_ptr<MacActivityStore> makeStore() {
        return std::make_unique<MacActivityStore>(MacActivityStore::Dependencies{
            scheduler, scheduler, calendar, defaults, files, strings, false, &Uuid::random, output,
            MacCloudSync::factory({defaults, scheduler, nullptr, nullptr, nullptr, output})});
    }
};

// One size at a time.
Environment& environment(const benchmark::State& state) {
    static std::unique_ptr<Environment> shared;
    const auto size = static_cast<std::size_t>(state.range(0));
    if (!shared || shared->size != size) {
        shared.reset();
        shared = std::make_unique<Environment>(size);
    }
    return *shared;
}

// Memory freed by earlier benchmarks goes back to the system first, so the
// raw read and the load both start as a program just launched does: with
// memory still to be given pages, not memory already touched.
void releaseFreedMemory() {
#ifdef __GLIBC__
    malloc_trim(0);
#endif
}

// The file into memory, as any reader of it must: a buffer of its size, filled.
void rawRead(benchmark::State& state) {
    Environment& env = environment(state);
    for (auto _ : state) {
        state.PauseTiming();
        releaseFreedMemory();
        state.ResumeTiming();
        std::FILE* file = std::fopen(env.path.c_str(), "rb");
        std::string bytes(env.bytes, '\0');
        const std::size_t read = std::fread(bytes.data(), 1, bytes.size(), file);
        std::fclose(file);
        if (read != bytes.size()) state.SkipWithError("short read");
        benchmark::DoNotOptimize(bytes.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * env.bytes));
}

// As at the first launch after an upgrade: with the one-time look for
// blocks across midnight, which every later launch skips.
void loadBlockFile(benchmark::State& state) {
    Environment& env = environment(state);
    for (auto _ : state) {
        auto store = env.makeStore();
        if (store->blockCount() != env.size) state.SkipWithError("blocks were not loaded");
        state.PauseTiming();  // letting go of a store is not part of loading one
        store.reset();
        env.defaults.remove(MacActivityStore::didSplitKey);
        releaseFreedMemory();
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * env.bytes));
}

void rawWrite(benchmark::State& state) {
    Environment& env = environment(state);
    const std::string path = env.path + ".raw";
    const FileRead file = env.files.readFile(env.path);
    for (auto _ : state) {
        std::FILE* out = std::fopen(path.c_str(), "wb");
        std::fwrite(file.bytes.data(), 1, file.bytes.size(), out);
        std::fclose(out);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * env.bytes));
}

// A save of every block that changed nothing since the last.
void saveBlockFile(benchmark::State& state) {
    Environment& env = environment(state);
    auto store = env.makeStore();
    for (auto _ : state) {
        if (!store->saveNow()) state.SkipWithError("save failed");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * env.bytes));
}

const bool registered = [] {
    for (const int size : {100000, 365000}) {
        using Run = void (*)(benchmark::State&);
        const std::pair<const char*, Run> runs[] = {
            {"rawRead", rawRead}, {"loadBlockFile", loadBlockFile}, {"rawWrite", rawWrite}, {"saveBlockFile", saveBlockFile}};
        for (const auto& [name, function] : runs) {
            benchmark::RegisterBenchmark(name, function)->Arg(size)->Unit(benchmark::kMillisecond);
        }
    }
    return true;
}();

}  // namespace
}  // namespace plenda
