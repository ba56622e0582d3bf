// The debounced save at 100,000, 365,000 and 1,000,000 generated blocks: how
// long the main thread is held per save (taking the snapshot, and taking the
// result back) and the save's whole wall time, against a raw write of the
// same bytes; and the processor time a session costs in all at 365,000.
#include "SyntheticBlocks.h"

#include "fakes/KeyStringTable.h"
#include "fakes/MemoryDefaults.h"
#include "fakes/VirtualScheduler.h"
#include "model/MacActivityStore.h"
#include "model/MacDayBlockJson.h"
#include "platform/IcuCalendar.h"
#include "platform/qt/QtDefaults.h"
#include "platform/qt/QtFiles.h"
#include "platform/standin/SqliteCloudDatabase.h"
#include "sync/MacCloudSync.h"

#include <QTemporaryDir>
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <memory>
#include <sstream>

namespace plenda {
namespace {

const Date firstDay(694224000.0);  // 2023-01-01 UTC

// Writer tasks wait until the benchmark runs them, so the main thread's part
// and the writer's part are timed apart.
class HeldWriter final : public Scheduler {
public:
    explicit HeldWriter(VirtualScheduler& inner) : inner_(inner) {}
    void post(Task task) override { inner_.post(std::move(task)); }
    TaskHandle after(double seconds, Task task) override { return inner_.after(seconds, std::move(task)); }
    TaskHandle repeating(double i, double t, Task task) override { return inner_.repeating(i, t, std::move(task)); }
    void runOnWorker(Task task) override { inner_.runOnWorker(std::move(task)); }
    void runOnWriter(Task task) override { held.push_back(std::move(task)); }
    std::vector<Task> held;

private:
    VirtualScheduler& inner_;
};

struct SaveEnvironment {
    std::size_t size;
    QTemporaryDir folder;
    QtFiles files{folder.path().toStdString()};
    VirtualScheduler scheduler{firstDay + 4000.0 * 86400.0};
    HeldWriter writer{scheduler};
    IcuCalendar calendar{"UTC"};
    MemoryDefaults defaults;
    KeyStringTable strings;
    std::ostringstream output;
    std::string path = folder.path().toStdString() + "/Plenda/blocks.json";
    std::string bytes;
    std::unique_ptr<MacActivityStore> store;

    explicit SaveEnvironment(std::size_t count) : size(count) {
        defaults.setBool("didSplitMidnightSpanningBlocks", true);
        bytes = *encodeBlocks(syntheticBlocks(count, firstDay));
        files.createDirectories(folder.path().toStdString() + "/Plenda");
        files.writeFileAtomically(path, bytes);
        store = std::make_unique<MacActivityStore>(MacActivityStore::Dependencies{
            scheduler, writer, calendar, defaults, files, strings, true, &Uuid::random, output});
    }
};

// One size at a time: a million blocks take a gigabyte.
SaveEnvironment& environment(std::size_t count) {
    static std::unique_ptr<SaveEnvironment> shared;
    if (!shared || shared->size != count) {
        shared.reset();
        shared = std::make_unique<SaveEnvironment>(count);
    }
    return *shared;
}

double processSeconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

double since(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void rawWriteOf(benchmark::State& state) {
    SaveEnvironment& env = environment(static_cast<std::size_t>(state.range(0)));
    const std::string path = env.path + ".raw";
    for (auto _ : state) {
        std::FILE* file = std::fopen(path.c_str(), "wb");
        std::fwrite(env.bytes.data(), 1, env.bytes.size(), file);
        std::fclose(file);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * env.bytes.size()));
}

// A session is recorded, the debounce fires and the save runs. `mainThread`
// times only what the main thread does for it; otherwise the whole save.
void debouncedSave(benchmark::State& state, bool mainThread) {
    SaveEnvironment& env = environment(static_cast<std::size_t>(state.range(0)));
    const char* titles[] = {"Xcode", "Safari", "Code · api", "Slack"};
    int i = 0;
    for (auto _ : state) {
        const Date start = env.scheduler.now();
        env.store->recordSession(titles[i++ % 4], MacBlockCategory::work, start, start + 120, std::nullopt);
        env.scheduler.advance(MacActivityStore::saveDelay - 0.01);
        auto begin = std::chrono::steady_clock::now();
        env.scheduler.advance(0.02);  // the debounce fires: the snapshot is handed over
        double seconds = since(begin);
        if (env.writer.held.size() != 1) state.SkipWithError("no write was handed over");
        begin = std::chrono::steady_clock::now();
        env.writer.held.front()();
        env.writer.held.clear();
        if (!mainThread) seconds += since(begin);
        begin = std::chrono::steady_clock::now();
        env.scheduler.runUntilIdle();  // the result comes back
        seconds += since(begin);
        if (env.store->hasPendingSave()) state.SkipWithError("the save did not finish");
        state.SetIterationTime(seconds);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * env.bytes.size()));
}
void saveMainThread(benchmark::State& state) { debouncedSave(state, true); }
void saveWallTime(benchmark::State& state) { debouncedSave(state, false); }

// The processor time of writing the file's bytes as they are: the floor a
// save that writes the file whole cannot go under.
void rawWriteCpuOf(benchmark::State& state) {
    SaveEnvironment& env = environment(static_cast<std::size_t>(state.range(0)));
    const std::string path = env.path + ".raw";
    for (auto _ : state) {
        const double start = processSeconds();
        std::FILE* file = std::fopen(path.c_str(), "wb");
        std::fwrite(env.bytes.data(), 1, env.bytes.size(), file);
        std::fclose(file);
        state.SetIterationTime(processSeconds() - start);
    }
}

// The cloud in memory, with the processor time it spends as the server (not
// in what this program does with its answers) counted apart.
class ServerTimed final : public CloudDatabase {
public:
    explicit ServerTimed(CloudDatabase& inner) : inner_(inner) {}
    double seconds = 0;

    void accountStatus(std::function<void(CloudResult<CloudAccountStatus>)> completion) override {
        inner_.accountStatus(timed(std::move(completion)));
    }
    void saveZone(const CloudZoneID& zone, std::function<void(std::optional<CloudError>)> completion) override {
        inner_.saveZone(zone, timed(std::move(completion)));
    }
    void fetchZoneChanges(const CloudZoneID& zone, CloudChangeTokenPtr token,
                          std::function<void(CloudResult<CloudZoneChanges>)> completion) override {
        inner_.fetchZoneChanges(zone, std::move(token), timed(std::move(completion)));
    }
    void modifyRecords(std::vector<CloudRecord> saving, std::vector<CloudRecordID> deleting, CloudSavePolicy policy,
                       bool atomically, std::function<void(CloudResult<CloudModifyResults>)> completion) override {
        inner_.modifyRecords(std::move(saving), std::move(deleting), policy, atomically, timed(std::move(completion)));
    }

private:
    // From the request to its answer, which the server gives on the calling thread.
    template <typename Result>
    std::function<void(Result)> timed(std::function<void(Result)> completion) {
        return [this, start = processSeconds(), completion = std::move(completion)](Result result) {
            seconds += processSeconds() - start;
            completion(std::move(result));
        };
    }
    CloudDatabase& inner_;
};

// One session with everything it causes, as a synced store on this
// platform's settings file does it: recording, marking it dirty, the upload
// and what comes of it, the bookkeeping written and the save, all on this
// thread; timed in processor seconds of the whole process, less the cloud's own.
void sessionInAll(benchmark::State& state) {
    SaveEnvironment& env = environment(static_cast<std::size_t>(state.range(0)));
    QTemporaryDir settings;
    std::ostringstream output;
    const auto defaults = QtDefaults::openFile(settings.filePath("Plenda.json"), output, 3600);
    defaults->setBool("didSplitMidnightSpanningBlocks", true);
    SqliteCloudDatabase server({.clock = &env.scheduler});
    ServerTimed cloud(server);
    MacActivityStore store({env.scheduler, env.scheduler, env.calendar, *defaults, env.files, env.strings, false,
                            &Uuid::random, output,
                            MacCloudSync::factory({*defaults, env.scheduler, &cloud, nullptr, nullptr, output, &env.files})});
    store.syncNow();  // the zone, and every block goes up: the cloud holds them all
    while (store.sync()->hasPendingChanges()) env.scheduler.advance(10);
    env.scheduler.advance(5);
    defaults->synchronize();
    const char* titles[] = {"Xcode", "Safari", "Code · api", "Slack"};
    int i = 0;
    for (auto _ : state) {
        const double start = processSeconds(), serverBefore = cloud.seconds;
        const Date now = env.scheduler.now();
        store.recordSession(titles[i++ % 4], MacBlockCategory::work, now, now + 120, std::nullopt);
        env.scheduler.advance(MacActivityStore::saveDelay + CloudSyncState::writeDelay + 0.1);
        defaults->synchronize();
        state.SetIterationTime(processSeconds() - start - (cloud.seconds - serverBefore));
        if (store.hasPendingSave() || store.sync()->hasPendingChanges()) state.SkipWithError("the session is not settled");
    }
}

// Size by size, so each store is made once.
const bool registered = [] {
    for (const int size : {100000, 365000, 1000000}) {
        benchmark::RegisterBenchmark("rawWriteOf", rawWriteOf)->Arg(size)->Unit(benchmark::kMillisecond);
        // A fixed count: the main thread's share is so small that timing to
        // a minimum would mean thousands of whole writes.
        const int saves = size >= 1000000 ? 5 : 12;
        for (const auto function : {saveMainThread, saveWallTime}) {
            benchmark::RegisterBenchmark(function == saveMainThread ? "saveMainThread" : "saveWallTime", function)
                ->Arg(size)->UseManualTime()->Iterations(saves)->Unit(benchmark::kMillisecond);
        }
        if (size == 365000) {
            benchmark::RegisterBenchmark("rawWriteCpuOf", rawWriteCpuOf)->Arg(size)->UseManualTime()->Unit(benchmark::kMillisecond);
            benchmark::RegisterBenchmark("sessionInAll", sessionInAll)
                ->Arg(size)->UseManualTime()->Iterations(24)->Unit(benchmark::kMillisecond);
        }
    }
    return true;
}();

}  // namespace
}  // namespace plenda
