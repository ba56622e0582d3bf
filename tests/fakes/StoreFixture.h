#pragma once

#include "fakes/KeyStringTable.h"
#include "fakes/MemoryDefaults.h"
#include "fakes/MemoryFiles.h"
#include "fakes/VirtualScheduler.h"
#include "model/MacActivityStore.h"
#include "platform/IcuCalendar.h"
#include "sync/MacCloudSync.h"
#include "tracking/CategoryRules.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>

namespace plenda {

// A wall-clock time in a zone, as an instant.
Date localDate(const std::string& zone, int year, int month, int day, int hour = 0, int minute = 0,
               double second = 0);

// Everything a store needs, on virtual time, in Europe/Berlin unless a test
// picks another zone.
class StoreFixture : public ::testing::Test {
protected:
    std::string zone = "Europe/Berlin";
    VirtualScheduler scheduler{startOfTests};
    IcuCalendar calendar{"Europe/Berlin"};
    MemoryDefaults defaults;
    MemoryFiles files;
    KeyStringTable strings;
    std::ostringstream output;
    bool cloudSyncDisabled = false;
    // Present but signed out: edits are marked and never sent.
    CloudDatabase* cloudDatabase = &CloudSyncEngine::noAccountDatabase();
    SystemLog* systemLog = nullptr;
    std::unique_ptr<MacActivityStore> store;

    // 2023-01-01 00:00:00 UTC; tests move the clock forward from here.
    static constexpr Date startOfTests{694224000.0};

    static constexpr const char* blocksPath = "/home/user/.local/share/Plenda/blocks.json";

    void useZone(const std::string& id) {
        zone = id;
        calendar = IcuCalendar(id);
    }
    Date at(int year, int month, int day, int hour = 0, int minute = 0, double second = 0) const {
        return localDate(zone, year, month, day, hour, minute, second);
    }
    MacActivityStore& makeStore() {
        store.reset();
        store = std::make_unique<MacActivityStore>(MacActivityStore::Dependencies{
            scheduler, scheduler, calendar, defaults, files, strings, cloudSyncDisabled, &Uuid::random, output,
            MacCloudSync::factory({defaults, scheduler, cloudDatabase, systemLog, nullptr, output, &files}),
            categoryOverrideWriter(defaults)});
        return *store;
    }
    MacCloudSync& storeSync() const { return static_cast<MacCloudSync&>(*store->sync()); }
    IdSet dirtyIDs() const { return storeSync().state().readIDs(storeSync().state().dirtyKey()); }
    IdSet pendingDeleteIDs() const { return storeSync().state().readIDs(storeSync().state().pendingDeleteKey()); }
};

MacDayBlock makeBlock(std::string title, MacBlockCategory category, Date start, Date end,
                      double weight = -1);

}  // namespace plenda
