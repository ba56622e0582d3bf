// Two devices of one account edit their days and sync through one faulty
// cloud: failed and stuck requests, pushes without a pull (sleep, quit),
// quits in the middle of a pull, expired tokens and a zone deleted twice.
// Once the faults stop, both devices and the server must hold the same
// blocks, each in its newest version, and nothing deleted may come back
// unless it was changed where the deletion had not been seen.
#include "fakes/StoreFixture.h"  // with the store's fakes, calendar and sync side
#include "model/MacDayBlockJson.h"
#include "platform/standin/CloudFaultInjector.h"
#include "platform/standin/SqliteCloudDatabase.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <random>

namespace plenda {
namespace {

struct Device {
    Device(VirtualScheduler& scheduler, IcuCalendar& calendar, CloudDatabase& server, std::uint64_t seed)
        : scheduler(scheduler), calendar(calendar), cloud(server), ids(seed) {
        cloud.failAtRandom(0.2, seed);
        start();
    }
    // Quits without waiting for anything but the block file, and starts again.
    void start() {
        if (store) store->saveNow();
        store.reset();
        store = std::make_unique<MacActivityStore>(MacActivityStore::Dependencies{
            scheduler, scheduler, calendar, defaults, files, strings, false, [this] { return newID(); }, output,
            MacCloudSync::factory({defaults, scheduler, &cloud, nullptr, nullptr, output, &files}),
            categoryOverrideWriter(defaults)});
    }
    // Ids from the seed, so that a failing seed fails the same way again.
    Uuid newID() {
        std::array<std::uint8_t, 16> bytes;
        for (auto& byte : bytes) byte = static_cast<std::uint8_t>(ids());
        return Uuid(bytes);
    }
    VirtualScheduler& scheduler;
    IcuCalendar& calendar;
    MemoryDefaults defaults;
    MemoryFiles files;
    KeyStringTable strings;
    std::ostringstream output;
    CloudFaultInjector cloud;
    std::mt19937_64 ids;
    std::unique_ptr<MacActivityStore> store;
};

using Blocks = std::map<Uuid, MacDayBlock>;

Blocks byId(const std::vector<MacDayBlock>& blocks) {
    Blocks all;
    for (const auto& block : blocks) all.emplace(block.id, block);
    return all;
}

class Convergence : public ::testing::TestWithParam<std::uint64_t> {
protected:
    VirtualScheduler scheduler{localDate("Europe/Berlin", 2023, 5, 2, 7)};
    IcuCalendar calendar{"Europe/Berlin"};
    SqliteCloudDatabase server{SqliteCloudDatabase::Options{.pageSize = 7, .clock = &scheduler}};
    std::mt19937_64 random{GetParam()};
    Blocks newestEdit;  // across both devices
    // Per deleted block, the newest version a deleting device had seen.
    std::map<Uuid, Date> deletedVersion;

    std::size_t pick(std::size_t n) { return std::uniform_int_distribution<std::size_t>(0, n - 1)(random); }
    bool chance(std::size_t oneIn) { return pick(oneIn) == 0; }

    // One user action on `device`, remembering what it changed.
    void act(Device& device) {
        static const std::vector<std::string> titles{"Mail", "Xcode · plenda", "github.com", "Notes", "Slack"};
        MacActivityStore& store = *device.store;
        const Blocks before = byId(store.blocks());
        const Date now = scheduler.now();
        const std::size_t action = pick(15);
        if (action < 7 || before.empty()) {
            store.recordSession(titles[pick(titles.size())], allCategories[pick(3)], now - 20 - pick(60), now,
                                "Logged automatically on Mac");
        } else {
            const MacDayBlock& target = std::next(before.begin(), pick(before.size()))->second;
            const Date start = target.effectiveStart(), end = target.effectiveEnd();
            switch (action) {
                case 7: case 8: store.changeCategory(target.title, target.category, allCategories[3 + pick(3)]); break;
                case 9: store.deleteSummary(target.title, target.category); break;
                case 10: store.editBlock(target.id, {.title = titles[pick(titles.size())], .end = end + 30}); break;
                case 11: store.splitBlock(target.id, start + (end - start) / 2); break;
                case 12: store.addManualBlock("Run", MacBlockCategory::body, now - 100, now - 40); break;
                case 13: store.undo(); break;
                default: store.redo();
            }
        }
        const Blocks after = byId(store.blocks());
        for (const auto& [id, block] : before) {
            if (after.contains(id)) continue;
            Date& seen = deletedVersion[id];
            seen = std::max(seen, block.lastModified());
        }
        for (const auto& [id, block] : after) {
            auto& newest = newestEdit[id];
            if (block.lastModified() > newest.lastModified()) newest = block;
        }
    }
    Blocks onServer() {
        std::vector<MacDayBlock> blocks;
        for (const auto& [name, record] : server.records(dayBlocksZoneID())) {
            if (const auto envelope = makeEnvelope(record)) blocks.push_back(*decodeBlock(envelope->payload));
        }
        return byId(blocks);
    }
};

TEST_P(Convergence, TwoDevicesEndEqualWithEveryNewestEditAndNoDeletionUndone) {
    Device mac(scheduler, calendar, server, GetParam() * 2 + 1);
    Device laptop(scheduler, calendar, server, GetParam() * 2 + 2);
    Device* devices[] = {&mac, &laptop};
    const auto anyDevice = [&]() -> Device& { return *devices[pick(2)]; };

    for (int round = 0; round < 120; ++round) {
        for (Device* device : devices) {
            for (std::size_t i = pick(3); i > 0; --i) {
                scheduler.advance(7);
                act(*device);
            }
        }
        // Requests that never return, or return long after they were given up.
        if (chance(12)) anyDevice().cloud.hangNextRequests(1, static_cast<int>(pick(3)));
        if (chance(10)) anyDevice().cloud.releaseHungRequests();
        if (chance(20)) anyDevice().cloud.expireToken();
        if (round % 30 == 29) server.compactTombstones(dayBlocksZoneID());
        if (round == 40 || round == 80) server.deleteZone(dayBlocksZoneID(), round == 40);
        // Sleep: everything pending goes up, without a pull first.
        if (chance(4)) anyDevice().store->pushAllPending();
        for (int i = 0; i < 2; ++i) {
            anyDevice().store->syncNow();
            scheduler.advance(5);
        }
        if (chance(12)) {
            // Quit while a pull waits for its second page.
            Device& quitting = anyDevice();
            server.setPageSize(1);
            quitting.cloud.hangNextRequests(1, 1);
            quitting.store->syncNow();
            scheduler.runUntilIdle();
            quitting.start();
            server.setPageSize(7);
        }
    }

    for (Device* device : devices) {
        device->cloud.failAtRandom(0, 0);
        device->cloud.hangNextRequests(0);
        device->cloud.releaseHungRequests();
    }
    scheduler.advance(CloudSyncEngine::requestTimeout + 1);
    for (int i = 0; i < 4; ++i) {
        devices[i % 2]->store->syncNow();
        scheduler.advance(5);
    }

    const Blocks onMac = byId(mac.store->blocks());
    ASSERT_EQ(onMac, byId(laptop.store->blocks()));
    ASSERT_EQ(onMac, onServer());
    for (Device* device : devices) EXPECT_FALSE(device->store->sync()->hasPendingChanges());

    std::size_t kept = 0;
    for (const auto& [id, newest] : newestEdit) {
        const auto deleted = deletedVersion.find(id);
        const auto found = onMac.find(id);
        if (found == onMac.end()) {
            EXPECT_NE(deleted, deletedVersion.end()) << "a block nobody deleted is gone";
            continue;
        }
        ++kept;
        EXPECT_EQ(found->second, newest) << "the newest edit of a block was lost";
        if (deleted != deletedVersion.end()) {
            EXPECT_GT(newest.lastModified(), deleted->second) << "a deleted block came back unchanged";
        }
    }
    EXPECT_EQ(kept, onMac.size()) << "only blocks someone made";
    EXPECT_GT(kept, 10u);
    EXPECT_GT(deletedVersion.size(), 3u);
}

// PLENDA_CONVERGENCE_SEEDS widens the run (a thousand seeds takes minutes).
std::vector<std::uint64_t> seeds() {
    const char* wanted = std::getenv("PLENDA_CONVERGENCE_SEEDS");
    const std::uint64_t count = wanted ? std::strtoull(wanted, nullptr, 10) : 100;
    std::vector<std::uint64_t> all(count);
    for (std::uint64_t i = 0; i < count; ++i) all[i] = i + 1;
    return all;
}

INSTANTIATE_TEST_SUITE_P(Seeds, Convergence, ::testing::ValuesIn(seeds()));

}  // namespace
}  // namespace plenda
