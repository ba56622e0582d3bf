#include "fakes/CapturedSystemLog.h"
#include "fakes/MemoryDefaults.h"
#include "fakes/VirtualScheduler.h"
#include "platform/standin/CloudFaultInjector.h"
#include "platform/standin/SqliteCloudDatabase.h"
#include "sync/CloudSyncEngine.h"

#include <gmock/gmock.h>

#include <sstream>

namespace plenda {
namespace {

using Kind = CloudFaultInjector::Kind;
using ::testing::ElementsAre;

// An engine on virtual time against the in-memory stand-in behind a fault injector.
class Engine : public ::testing::Test {
protected:
    VirtualScheduler scheduler;
    MemoryDefaults defaults;
    CloudSyncState state{defaults};
    SqliteCloudDatabase server{SqliteCloudDatabase::Options{.clock = &scheduler}};
    CloudFaultInjector cloud{server};
    CapturedSystemLog systemLog;
    std::ostringstream output;
    CloudSyncEngine engine{{state, scheduler, &cloud, &systemLog, output}};

    template <class T, class Start>
    CloudResult<T> finish(Start start) {
        std::optional<CloudResult<T>> result;
        start([&](CloudResult<T> r) { result.emplace(std::move(r)); });
        scheduler.runUntilIdle();
        EXPECT_TRUE(result) << "the operation never finished";
        return result ? std::move(*result) : CloudResult<T>(CloudError{"test", -1, "unfinished"});
    }
    // Stores the token as the store does once the pulled blocks are saved.
    CloudResult<PullResult> pull() {
        auto result = finish<PullResult>([&](auto done) { engine.pull(done); });
        if (result.ok()) state.saveChangeToken(result.value().changeToken);
        return result;
    }
    CloudResult<PushResult> push(std::vector<CloudRecordEnvelope> saving, std::vector<Uuid> deleting = {}) {
        return finish<PushResult>([&](auto done) { engine.push(saving, deleting, done); });
    }
    static CloudRecordEnvelope envelope(Uuid id = Uuid::random()) { return {id, "{}", Date(1000)}; }
    static std::vector<CloudRecordEnvelope> envelopes(std::size_t count) {
        std::vector<CloudRecordEnvelope> all(count);
        for (auto& e : all) e = envelope();
        return all;
    }
    std::vector<std::string> logLines() const { return systemLog.texts(); }
    std::size_t requestsOf(Kind kind) const {
        const auto& all = cloud.requests();
        return std::count_if(all.begin(), all.end(), [&](const auto& r) { return r.kind == kind; });
    }
};

TEST_F(Engine, OpensTheContainerOnceAndLogsToBothChannels) {
    ASSERT_TRUE(push({}).ok());
    EXPECT_TRUE(cloud.requests().empty()) << "nothing to push touches nothing";
    ASSERT_TRUE(pull().ok());
    ASSERT_TRUE(pull().ok());
    EXPECT_THAT(logLines(), ElementsAre("Push: nothing pending", "Opening container iCloud.app.plenda.Plenda",
                                        "Account status = 1", "Zone 'DayBlocks' ready",
                                        "Pull: 0 changed, 0 deleted", "Pull: 0 changed, 0 deleted"));
    EXPECT_EQ(requestsOf(Kind::accountStatus), 1u);
    EXPECT_EQ(requestsOf(Kind::saveZone), 1u) << "the zone flag is remembered";
    EXPECT_EQ(systemLog.lines().front().subsystem, "app.plenda.Plenda.sync");
    EXPECT_EQ(systemLog.lines().front().category, "CloudSync");
    EXPECT_EQ(output.str().substr(0, output.str().find('\n')), "\u2601\uFE0F [SYNC] Push: nothing pending");
}

TEST_F(Engine, FailedChecksAreRetriedRefusedAccountsFailAndOnlyLastingRefusalsLatch) {
    cloud.failNextRequests(1);
    EXPECT_FALSE(pull().ok());
    EXPECT_EQ(logLines().back(), "Account check failed: The network connection was lost");
    cloud.failNextRequests(1, CloudFaultInjector::networkFailure(), 1);  // the zone save
    EXPECT_EQ(pull().error().code, CloudErrorCode::networkFailure) << "the platform's error is passed on";
    EXPECT_EQ(logLines().back(), "Zone create failed: The network connection was lost");
    EXPECT_FALSE(defaults.boolValue("cloudSync.dayBlocks.zoneCreated"));
    EXPECT_TRUE(pull().ok());
    EXPECT_EQ(requestsOf(Kind::saveZone), 2u);

    for (const auto& [status, latches] : std::vector<std::pair<CloudAccountStatus, bool>>{
             {CloudAccountStatus::couldNotDetermine, false}, {CloudAccountStatus::temporarilyUnavailable, false},
             {CloudAccountStatus::restricted, true}, {CloudAccountStatus::noAccount, true}}) {
        const std::string raw = std::to_string(static_cast<long>(status));
        SCOPED_TRACE("status " + raw);
        engine.resetAvailability();
        cloud.clearRequests();
        systemLog.clear();
        cloud.setAccountStatus(status);
        EXPECT_EQ(pull().error().domain, "CloudSyncError");  // error() of a success throws
        EXPECT_THAT(logLines(), ElementsAre("Opening container iCloud.app.plenda.Plenda", "Account status = " + raw,
                                            "No usable iCloud account (status " + raw + ")"));
        systemLog.clear();
        EXPECT_FALSE(push({envelope()}).ok());
        if (latches) {
            EXPECT_THAT(logLines(), ElementsAre("Skipping \u2014 iCloud marked unavailable earlier this session"));
            EXPECT_EQ(requestsOf(Kind::accountStatus), 1u);
        } else {
            EXPECT_EQ(requestsOf(Kind::accountStatus), 2u) << "a transient status is asked again";
        }
        // A wake clears the latch; with the account back, sync runs.
        cloud.setAccountStatus(std::nullopt);
        engine.resetAvailability();
        EXPECT_TRUE(push({envelope()}).ok());
    }
    CloudSyncEngine bare{{state, scheduler, nullptr, &systemLog, output}};
    EXPECT_FALSE(finish<PullResult>([&](auto done) { bare.pull(done); }).ok());
    EXPECT_EQ(logLines().back(), "No usable iCloud account (status 3)") << "without a cloud the account is missing";
}

TEST_F(Engine, PullLeavesTheTokenToItsCallerAFailureLeavesTheStoredOneAndAnExpiredOneRefetches) {
    ASSERT_TRUE(push(envelopes(3)).ok());
    const auto first = finish<PullResult>([&](auto done) { engine.pull(done); });
    ASSERT_TRUE(first.ok() && first.value().changeToken);
    EXPECT_FALSE(defaults.data(state.changeTokenKey())) << "stored by the store once the blocks are saved";
    state.saveChangeToken(first.value().changeToken);
    const auto synced = defaults.data(state.changeTokenKey());
    ASSERT_TRUE(push(envelopes(3)).ok());
    server.setPageSize(2);

    // Pages that never reached the store are fetched again, and only those.
    for (const bool fromNothing : {false, true}) {
        SCOPED_TRACE(fromNothing ? "from no token" : "from a stored token");
        if (fromNothing) state.saveChangeToken(nullptr);
        else defaults.setData(state.changeTokenKey(), *synced);
        cloud.failNextRequests(1, CloudFaultInjector::networkFailure(), 1);  // the second page
        ASSERT_FALSE(pull().ok());
        EXPECT_EQ(logLines().back(), "Pull failed: The network connection was lost");
        EXPECT_EQ(defaults.data(state.changeTokenKey()), fromNothing ? std::nullopt : synced);
        const auto next = pull();
        ASSERT_TRUE(next.ok());
        EXPECT_EQ(next.value().changed.size(), fromNothing ? 6u : 3u);
        EXPECT_FALSE(next.value().fullRefetch);
    }
    // An expired token after the first page refetches the whole zone, dropping that page.
    ASSERT_TRUE(push(envelopes(3)).ok());
    cloud.failNextRequests(1, CloudError::cloudKit(21, "expired"), 1);
    const auto refetched = pull();
    ASSERT_TRUE(refetched.ok());
    EXPECT_TRUE(refetched.value().fullRefetch);
    EXPECT_EQ(refetched.value().changed.size(), 9u);
    EXPECT_EQ(logLines().back(), "Pull: 9 changed, 0 deleted (full refetch)");
    EXPECT_THAT(logLines(), ::testing::Contains("Change token expired; refetching in full"));
}

TEST_F(Engine, AMissingZoneIsRebuiltAndAsksForAFullUpload) {
    for (const long code : {CloudErrorCode::zoneNotFound, CloudErrorCode::userDeletedZone}) {
        SCOPED_TRACE(code);
        ASSERT_TRUE(push({envelope()}).ok());
        ASSERT_TRUE(pull().ok());
        server.deleteZone(engine.zoneID(), code == CloudErrorCode::userDeletedZone);
        const std::size_t zoneSaves = requestsOf(Kind::saveZone);
        const auto result = pull();
        ASSERT_TRUE(result.ok());
        EXPECT_TRUE(result.value().fullRefetch);
        EXPECT_EQ(requestsOf(Kind::saveZone), zoneSaves + 1);
        EXPECT_FALSE(defaults.contains("cloudSync.dayBlocks.zoneChangeToken"));
        EXPECT_TRUE(defaults.boolValue("cloudSync.dayBlocks.zoneCreated"));
        EXPECT_THAT(logLines(), ::testing::Contains("Zone missing (" + std::to_string(code) + "); rebuilding"));
    }
}

TEST_F(Engine, PushSavesGoFirstAndDeletionsFillTheRoomLeftInABatch) {
    using Batches = std::vector<std::pair<std::size_t, std::size_t>>;
    for (const auto& [saves, deletes, batches] : std::vector<std::tuple<std::size_t, std::size_t, Batches>>{
             {351, 2, {{350, 0}, {1, 2}}}, {0, 700, {{0, 350}, {0, 350}}}, {349, 2, {{349, 1}, {0, 1}}}, {3, 1, {{3, 1}}}}) {
        SCOPED_TRACE(std::to_string(saves) + " saves, " + std::to_string(deletes) + " deletes");
        cloud.clearRequests();
        std::vector<Uuid> deleting(deletes);
        for (auto& id : deleting) id = Uuid::random();
        const auto result = push(envelopes(saves), deleting);
        ASSERT_TRUE(result.ok());
        Batches sent;
        for (const auto& request : cloud.requests()) {
            if (request.kind == Kind::modifyRecords) sent.emplace_back(request.saves, request.deletes);
        }
        EXPECT_EQ(sent, batches);
        EXPECT_EQ(result.value().savedIDs.size(), saves);
        EXPECT_EQ(result.value().deletedIDs.size(), deletes) << "absent records count as deleted";
    }
}

TEST_F(Engine, AFailedBatchFailsThePushAndAHungRequestHoldsOnlyItsOwnOperation) {
    ASSERT_TRUE(pull().ok());
    cloud.failNextRequests(1, CloudFaultInjector::networkFailure(), 1);  // the second batch
    ASSERT_FALSE(push(envelopes(400)).ok());
    EXPECT_EQ(server.records(engine.zoneID()).size(), 350u + 1) << "the first batch reached the server (beside the zone mark)";
    cloud.hangNextRequests(1);
    bool pullFinished = false;
    engine.pull([&](auto) { pullFinished = true; });
    scheduler.runUntilIdle();
    EXPECT_TRUE(push({envelope()}).ok()) << "operations interleave at their waits";
    EXPECT_FALSE(pullFinished);
}

TEST_F(Engine, NoRequestWaitsLongerThanItsTimeoutOrPastAWake) {
    ASSERT_TRUE(pull().ok());
    const auto start = [&](std::optional<CloudResult<PushResult>>& into) {
        engine.push({envelope()}, {}, [&](CloudResult<PushResult> r) { into.emplace(std::move(r)); });
        scheduler.runUntilIdle();
    };
    std::optional<CloudResult<PushResult>> stuck, behind, atWake;
    cloud.hangNextRequests(1);
    start(stuck);
    start(behind);
    EXPECT_FALSE(stuck || behind) << "the second upload waits behind the first";
    scheduler.advance(CloudSyncEngine::requestTimeout);
    ASSERT_TRUE(stuck && behind);
    EXPECT_EQ(stuck->error().description, "The request timed out");
    EXPECT_TRUE(behind->ok()) << "a timed-out request no longer holds the ones behind it";

    cloud.hangNextRequests(1);
    start(atWake);
    engine.resetAvailability();
    scheduler.runUntilIdle();
    ASSERT_TRUE(atWake);
    EXPECT_EQ(atWake->error().description, "The request was given up at wake");
    cloud.releaseHungRequests();  // late answers change nothing
    scheduler.advance(CloudSyncEngine::requestTimeout);
    EXPECT_EQ(atWake->error().description, "The request was given up at wake");
}

// A save never overwrites a version it has not seen: the later of the two
// stays on the server, and a newer server version comes back to merge.
TEST_F(Engine, RefusedSavesKeepTheLaterVersion) {
    ASSERT_TRUE(pull().ok());
    struct Case {
        const char* name;
        double local, elsewhere;  // modification times
        bool deletedElsewhere;
        bool saved;
    };
    for (const Case& c : {Case{"newer here", 20, 10, false, true}, Case{"newer elsewhere", 10, 20, false, false},
                          Case{"tie", 10, 10, false, false}, Case{"deleted elsewhere", 30, 10, true, true}}) {
        SCOPED_TRACE(c.name);
        const Uuid id = Uuid::random();
        ASSERT_TRUE(push({{id, "first", Date(1)}}).ok());  // known here with its tag
        const CloudRecordEnvelope other{id, "elsewhere", Date(c.elsewhere)};
        server.modifyRecords({makeRecord(other)}, {}, CloudSavePolicy::allKeys, false, [](auto) {});
        if (c.deletedElsewhere) {
            server.modifyRecords({}, {CloudRecordID{id.string(), engine.zoneID()}}, CloudSavePolicy::allKeys, false,
                                 [](auto) {});
        }
        const auto result = push({{id, "here", Date(c.local)}});
        ASSERT_TRUE(result.ok());
        EXPECT_EQ(result.value().savedIDs.contains(id), c.saved);
        const auto onServer = server.records(engine.zoneID());
        const auto& payload = std::get<Data>(onServer.at(id.string()).fields.at(payloadField));
        EXPECT_EQ(payload.bytes, c.saved ? "here" : "elsewhere");
        if (c.saved) EXPECT_TRUE(result.value().newerOnServer.empty());
        else EXPECT_EQ(result.value().newerOnServer, std::vector{other});
    }
}

}  // namespace
}  // namespace plenda
