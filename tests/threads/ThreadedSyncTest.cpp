// The parts that really run on several threads, on real threads: the Qt
// scheduler itself, the sync engine's worker under it with the bookkeeping
// lock under contention, and the store's uploads beside its main thread.
// Built with ThreadSanitizer in CI, where any data race fails the run.
#include "fakes/ForwardingFiles.h"
#include "fakes/KeyStringTable.h"
#include "fakes/MemoryDefaults.h"
#include "model/MacActivityStore.h"
#include "model/MacDayBlockJson.h"
#include "platform/IcuCalendar.h"
#include "platform/qt/QtFiles.h"
#include "platform/qt/QtScheduler.h"
#include "platform/qt/SystemClock.h"
#include "platform/standin/CloudFaultInjector.h"
#include "platform/standin/SqliteCloudDatabase.h"
#include "sync/MacCloudSync.h"  // and the engine

#include <QCoreApplication>
#include <QEventLoop>
#include <QTemporaryDir>
#include <QThread>
#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

namespace plenda {
namespace {

class ThreadedTest : public ::testing::Test {
protected:
    int argc = 1;
    char name[8] = "test";
    char* argv[1] = {name};
    QCoreApplication app{argc, argv};
    QtScheduler scheduler;
    SystemClock clock;
    MemoryDefaults defaults;
    SqliteCloudDatabase server{SqliteCloudDatabase::Options{.clock = &clock}};
    CloudFaultInjector cloud{server};
    std::ostringstream output;
    const QThread* mainThread = QThread::currentThread();

    // Runs the main thread's event loop until `done` holds (no timeout: a
    // hang is a failure that CTest's time limit reports).
    void runUntil(const std::function<bool()>& done) {
        while (!done()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 20);
    }
};

TEST_F(ThreadedTest, SchedulerPostsInOrderRunsTheWorkerOneAtATimeAndDropsCancelledTimers) {
    std::atomic<int> running{0}, maximum{0};
    std::vector<int> results;
    std::atomic<bool> offMain{true};
    bool cancelledRan = false, timerRan = false;
    scheduler.post([&] { results.push_back(-1); });
    EXPECT_TRUE(results.empty()) << "never inside the call";
    scheduler.after(0, [&] { cancelledRan = true; }).cancel();
    scheduler.after(0.001, [&] { timerRan = true; });
    for (int i = 0; i < 20; ++i) {
        scheduler.runOnWorker([&, i] {
            if (QThread::currentThread() == mainThread) offMain = false;
            maximum = std::max(maximum.load(), ++running);
            --running;
            scheduler.post([&, i] { results.push_back(i); });
        });
    }
    runUntil([&] { return results.size() == 21 && timerRan; });
    EXPECT_TRUE(offMain);
    EXPECT_EQ(maximum, 1);
    for (int i = -1; i < 20; ++i) EXPECT_EQ(results[static_cast<std::size_t>(i + 1)], i);
    EXPECT_FALSE(cancelledRan);
}

// Pushes and pulls requested from several threads at once, each marking
// its ids while the completions clear some on the worker: every completion
// comes, on the worker; the server ends with exactly what was saved, and the
// read-modify-writes of the id sets lose no mark.
TEST_F(ThreadedTest, EngineWorkerAndBookkeepingServeManyThreads) {
    CloudSyncState state(defaults);
    CloudSyncEngine engine({state, scheduler, &cloud, nullptr, output});
    cloud.failAtRandom(0.2, 7);

    constexpr int threads = 4, perThread = 50;
    std::atomic<int> completions{0};
    std::atomic<bool> completedOnMain{false};
    std::mutex savedLock;
    std::set<std::string> saved;
    std::vector<IdSet> keptDirty(threads), deleted(threads);
    const auto completed = [&] {
        if (QThread::currentThread() == mainThread) completedOnMain = true;
        ++completions;
    };
    std::vector<std::thread> callers;
    for (int t = 0; t < threads; ++t) {
        callers.emplace_back([&, t] {
            for (int i = 0; i < perThread; ++i) {
                const Uuid id = Uuid::random();
                state.markDirty({id});
                if (i % 5 == 0) {
                    state.markDeleted({id});
                    deleted[t].insert(id);
                    engine.pull([&](auto) { completed(); });
                    continue;
                }
                const bool keep = i % 3 == 0;
                if (keep) keptDirty[t].insert(id);
                engine.push({CloudRecordEnvelope{id, "{\"t\":" + std::to_string(t) + "}", Date(i)}}, {},
                            [&, id, keep](CloudResult<PushResult> result) {
                                if (result.ok() && result.value().savedIDs.contains(id)) {
                                    std::lock_guard guard(savedLock);
                                    saved.insert(id.string());
                                }
                                if (!keep) state.clearDirty({id});
                                completed();
                            });
            }
        });
    }
    for (auto& caller : callers) caller.join();
    runUntil([&] { return completions == threads * perThread; });

    EXPECT_FALSE(completedOnMain);
    std::set<std::string> onServer;
    for (const auto& [recordName, record] : server.records(dayBlocksZoneID())) {
        if (record.recordType == dayBlockRecordType) onServer.insert(recordName);
    }
    EXPECT_EQ(onServer, saved);
    EXPECT_GT(saved.size(), 0u);
    const auto all = [](const std::vector<IdSet>& sets) {
        IdSet ids;
        for (const IdSet& set : sets) ids.insertAll(set);
        return ids;
    };
    EXPECT_EQ(state.readIDs(state.dirtyKey()), all(keptDirty));
    EXPECT_EQ(state.readIDs(state.pendingDeleteKey()), all(deleted));
}

// The store on the main thread records and edits while its uploads and a
// full sync run on the worker; in the end the server holds every block.
TEST_F(ThreadedTest, StoreUploadsBesideTheMainThread) {
    QTemporaryDir root;
    QtFiles files{root.path().toStdString()};
    IcuCalendar calendar("Europe/Berlin");
    KeyStringTable strings;
    MacActivityStore store({clock, scheduler, calendar, defaults, files, strings, false, &Uuid::random, output,
                            MacCloudSync::factory({defaults, scheduler, &cloud, nullptr, nullptr, output})});
    cloud.failAtRandom(0.1, 11);

    const Date start = clock.now() - 3600;
    const auto syncAndWait = [&](const std::function<void()>& meanwhile) {
        bool syncing = true;
        store.syncNow([&] { syncing = false; });
        meanwhile();
        runUntil([&] { return !syncing; });
    };
    syncAndWait([&] {
        for (int i = 0; i < 30; ++i) {
            store.recordSession("Session " + std::to_string(i), MacBlockCategory::work, start + i * 60.0,
                                start + i * 60.0 + 30, "Logged automatically on Mac");
            QCoreApplication::processEvents();
        }
    });
    cloud.failAtRandom(0, 0);
    for (int round = 0; round < 5 && store.sync()->hasPendingChanges(); ++round) syncAndWait([] {});

    EXPECT_FALSE(store.sync()->hasPendingChanges());
    auto records = server.records(dayBlocksZoneID());
    std::erase_if(records, [](const auto& entry) { return entry.second.recordType != dayBlockRecordType; });
    ASSERT_EQ(records.size(), store.blocks().size());
    for (const MacDayBlock& block : store.blocks()) {
        const auto found = records.find(block.id.string());
        ASSERT_NE(found, records.end());
        EXPECT_EQ(decodeBlock(std::get<Data>(found->second.fields.at(payloadField)).bytes), block);
    }
}

// A debounced save writes on the writer thread while the main thread goes on
// editing the very chunks it is joining; saveNow then waits for that write
// and lands the newest version last.
TEST_F(ThreadedTest, BackgroundSaveBesideEditsAndSaveNowAfterIt) {
    // Holds the writer inside its first write until the main thread has edited.
    class HeldFiles final : public ForwardingFiles {
    public:
        using ForwardingFiles::ForwardingFiles;
        std::optional<std::string> writeAtomically(const std::string& path,
                                                   const std::function<bool(FileWriter&)>& produce) override {
            if (written.empty()) {
                started = true;
                while (!proceed) std::this_thread::yield();
            }
            auto failure = ForwardingFiles::writeAtomically(path, produce);
            written.push_back(readFile(path).bytes);
            return failure;
        }
        std::atomic<bool> started{false}, proceed{false};
        std::vector<std::string> written;
    };
    QTemporaryDir root;
    QtFiles plain{root.path().toStdString()};
    HeldFiles files{plain};
    IcuCalendar calendar("Europe/Berlin");
    KeyStringTable strings;
    MacActivityStore store({clock, scheduler, calendar, defaults, files, strings, true, &Uuid::random, output});
    const Date start = clock.now() - 86400;
    const auto record = [&](int i) {
        store.recordSession("Session " + std::to_string(i), MacBlockCategory::work, start + i, start + i + 0.5,
                            std::nullopt);
    };
    for (int i = 0; i < 1200; ++i) record(i);
    runUntil([&] { return files.started.load(); });
    for (int i = 1200; i < 1300; ++i) record(i);
    MacDayBlock edited = store.blocks()[3];
    edited.title = "Edited";
    store.upsert(edited);
    files.proceed = true;
    ASSERT_TRUE(store.saveNow());
    ASSERT_EQ(files.written.size(), 2u);
    EXPECT_EQ(decodeBlocks(files.written[0])->size(), 1200u) << "the snapshot, not what came after";
    EXPECT_EQ(*decodeBlocks(plain.readFile(root.path().toStdString() + "/Plenda/blocks.json").bytes), store.blocks());
}

}  // namespace
}  // namespace plenda
