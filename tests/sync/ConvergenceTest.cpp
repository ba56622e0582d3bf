// Two devices of one account edit their days and sync through one faulty
// cloud; once the faults stop, both must hold the same blocks with every
// local change kept.
#include "fakes/StoreFixture.h"  // with the store's fakes, calendar and sync side
#include "platform/standin/CloudFaultInjector.h"
#include "platform/standin/SqliteCloudDatabase.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>

namespace plenda {
namespace {

struct Device {
    Device(VirtualScheduler& scheduler, IcuCalendar& calendar, CloudDatabase& server, std::uint64_t seed)
        : cloud(server) {
        cloud.failAtRandom(0.2, seed);
        store = std::make_unique<MacActivityStore>(MacActivityStore::Dependencies{
            scheduler, scheduler, calendar, defaults, files, strings, false, &Uuid::random, output,
            MacCloudSync::factory({defaults, scheduler, &cloud, nullptr, nullptr, output}),
            categoryOverrideWriter(defaults)});
    }
    MemoryDefaults defaults;
    MemoryFiles files;
    KeyStringTable strings;
    std::ostringstream output;
    CloudFaultInjector cloud;
    std::unique_ptr<MacActivityStore> store;
};

class Convergence : public ::testing::TestWithParam<std::uint64_t> {
protected:
    VirtualScheduler scheduler{localDate("Europe/Berlin", 2023, 5, 2, 7)};
    IcuCalendar calendar{"Europe/Berlin"};
    SqliteCloudDatabase server{SqliteCloudDatabase::Options{.pageSize = 7, .clock = &scheduler}};
    std::mt19937_64 random{GetParam()};
    std::map<Uuid, MacDayBlock> newestEdit;  // across both devices
    std::set<Uuid> deleted;

    std::size_t pick(std::size_t n) { return std::uniform_int_distribution<std::size_t>(0, n - 1)(random); }

    // One user action on `device`, remembering what it changed.
    void act(Device& device) {
        static const std::vector<std::string> titles{"Mail", "Xcode · plenda", "github.com", "Notes", "Slack"};
        MacActivityStore& store = *device.store;
        const auto before = store.blocks();
        const Date now = scheduler.now();
        const std::string title = titles[pick(titles.size())];
        const auto category = allCategories[pick(3)];
        const std::size_t action = pick(10);
        if (action < 7 || before.empty()) {
            store.recordSession(title, category, now - 20 - pick(60), now, "Logged automatically on Mac");
        } else {
            const MacDayBlock& target = before[pick(before.size())];
            if (action < 9) store.changeCategory(target.title, target.category, allCategories[3 + pick(3)]);
            else store.deleteSummary(target.title, target.category);
        }
        const auto after = byId(store);
        for (const auto& block : before) {
            if (!after.contains(block.id)) deleted.insert(block.id);
        }
        for (const auto& [id, block] : after) {
            auto& newest = newestEdit[id];
            if (block.lastModified() > newest.lastModified()) newest = block;
        }
    }
    static std::map<Uuid, MacDayBlock> byId(const MacActivityStore& store) {
        std::map<Uuid, MacDayBlock> blocks;
        for (const auto& block : store.blocks()) blocks.emplace(block.id, block);
        return blocks;
    }
};

TEST_P(Convergence, TwoDevicesThroughAFaultyCloudEndEqualWithNothingLost) {
    Device mac(scheduler, calendar, server, GetParam() * 2 + 1);
    Device laptop(scheduler, calendar, server, GetParam() * 2 + 2);
    Device* devices[] = {&mac, &laptop};

    for (int round = 0; round < 200; ++round) {
        for (Device* device : devices) {
            for (std::size_t i = pick(3); i > 0; --i) {
                scheduler.advance(7);
                act(*device);
            }
        }
        if (pick(20) == 0) devices[pick(2)]->cloud.expireToken();
        if (round % 40 == 39) server.compactTombstones(dayBlocksZoneID());
        if (round == 100) server.deleteZone(dayBlocksZoneID(), true);
        for (int i = 0; i < 2; ++i) {
            devices[pick(2)]->store->syncNow();
            scheduler.advance(5);
        }
    }

    for (Device* device : devices) device->cloud.failAtRandom(0, 0);
    for (int i = 0; i < 4; ++i) {
        devices[i % 2]->store->syncNow();
        scheduler.advance(5);
    }

    const auto onMac = byId(*mac.store);
    ASSERT_EQ(onMac, byId(*laptop.store));
    for (Device* device : devices) EXPECT_FALSE(device->store->sync()->hasPendingChanges());
    EXPECT_EQ(server.records(dayBlocksZoneID()).size(), mac.store->blocks().size());

    for (const auto& [id, newest] : newestEdit) {
        if (deleted.contains(id)) continue;
        ASSERT_TRUE(onMac.contains(id)) << "a block nobody deleted is gone";
        EXPECT_EQ(onMac.at(id), newest) << "the newest edit of a block was lost";
    }
    // Every deleted block was first seen in an edit, so this counts the blocks checked above.
    EXPECT_GT(newestEdit.size() - deleted.size(), 50u);
    EXPECT_GT(deleted.size(), 3u);
}

INSTANTIATE_TEST_SUITE_P(Seeds, Convergence, ::testing::Values(1u, 2u, 3u));

}  // namespace
}  // namespace plenda
