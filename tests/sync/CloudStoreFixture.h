#pragma once

#include "fakes/CapturedSystemLog.h"
#include "fakes/StoreFixture.h"
#include "model/MacDayBlockJson.h"
#include "platform/standin/CloudFaultInjector.h"
#include "platform/standin/SqliteCloudDatabase.h"

namespace plenda {

// A store on virtual time that syncs with the SQLite stand-in through a fault
// injector, with helpers to act as another device straight on the server.
class CloudStoreFixture : public StoreFixture {
protected:
    SqliteCloudDatabase server{SqliteCloudDatabase::Options{.clock = &scheduler}};
    CloudFaultInjector cloud{server};
    CapturedSystemLog log;
    const Date day = at(2023, 3, 1, 9);

    void SetUp() override {
        cloudDatabase = &cloud;
        systemLog = &log;
        scheduler.advanceTo(day + 8 * 3600);
    }
    void sync() {
        bool finished = false;
        store->syncNow([&] { finished = true; });
        scheduler.runUntilIdle();
        EXPECT_TRUE(finished);
        EXPECT_FALSE(store->isSyncing());
    }
    MacDayBlock block(const std::string& title, double hour, MacBlockCategory category = MacBlockCategory::work) {
        return makeBlock(title, category, day + hour * 3600, day + hour * 3600 + 1200);
    }
    // A change made by another device, straight on the server.
    void remoteSave(const MacDayBlock& b) {
        const auto record = makeRecord(CloudRecordEnvelope{b.id, *encodeBlock(b), b.lastModified()});
        server.modifyRecords({record}, {}, CloudSavePolicy::allKeys, false, [](auto) {});
    }
    void remoteDelete(const Uuid& id) {
        server.modifyRecords({}, {CloudRecordID{id.string(), dayBlocksZoneID()}}, CloudSavePolicy::allKeys, false,
                             [](auto) {});
    }
    std::optional<MacDayBlock> serverBlock(const Uuid& id) {
        const auto records = server.records(dayBlocksZoneID());
        const auto found = records.find(id.string());
        if (found == records.end()) return std::nullopt;
        return decodeBlock(std::get<Data>(found->second.fields.at("payload")).bytes);
    }
    std::optional<MacDayBlock> localBlock(const Uuid& id) const {
        for (const auto& b : store->blocks()) {
            if (b.id == id) return b;
        }
        return std::nullopt;
    }
};

}  // namespace plenda
