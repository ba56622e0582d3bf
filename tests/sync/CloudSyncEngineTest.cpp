#include "CloudEngineFixture.h"

#include <gmock/gmock.h>

namespace plenda {
namespace {

using Kind = CloudFaultInjector::Kind;
using ::testing::ElementsAre;

class Engine : public CloudEngineFixture {};

TEST_F(Engine, OpensTheContainerOnceAndLogsToBothChannels) {
    ASSERT_TRUE(pull().ok());
    ASSERT_TRUE(pull().ok());
    EXPECT_THAT(logLines(), ElementsAre("Opening container iCloud.app.plenda.Plenda", "Account status = 1",
                                        "Zone 'DayBlocks' ready", "Pull: 0 changed, 0 deleted",
                                        "Pull: 0 changed, 0 deleted"));
    EXPECT_EQ(requestsOf(Kind::accountStatus), 1u);
    EXPECT_EQ(requestsOf(Kind::saveZone), 1u) << "the zone flag is remembered";
    EXPECT_TRUE(defaults.boolValue("cloudSync.dayBlocks.zoneCreated"));
    EXPECT_EQ(systemLog.lines().front().subsystem, "app.plenda.Plenda.sync");
    EXPECT_EQ(systemLog.lines().front().category, "CloudSync");
    EXPECT_EQ(output.str().substr(0, output.str().find('\n')),
              "\u2601\uFE0F [SYNC] Opening container iCloud.app.plenda.Plenda");
}

struct AccountCase {
    CloudAccountStatus status;
    bool latches;
};

class AccountStatus : public Engine, public ::testing::WithParamInterface<AccountCase> {};

TEST_P(AccountStatus, RefusesAndLatchesOnlyLastingRefusals) {
    const long raw = static_cast<long>(GetParam().status);
    cloud.setAccountStatus(GetParam().status);
    const auto first = pull();
    ASSERT_FALSE(first.ok());
    EXPECT_EQ(first.error().domain, "CloudSyncError");
    EXPECT_THAT(logLines(), ElementsAre("Opening container iCloud.app.plenda.Plenda",
                                        "Account status = " + std::to_string(raw),
                                        "No usable iCloud account (status " + std::to_string(raw) + ")"));
    systemLog.clear();
    EXPECT_FALSE(push({envelope()}).ok());
    if (GetParam().latches) {
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

INSTANTIATE_TEST_SUITE_P(Statuses, AccountStatus,
                         ::testing::Values(AccountCase{CloudAccountStatus::couldNotDetermine, false},
                                           AccountCase{CloudAccountStatus::temporarilyUnavailable, false},
                                           AccountCase{CloudAccountStatus::restricted, true},
                                           AccountCase{CloudAccountStatus::noAccount, true}));

TEST_F(Engine, WithoutACloudTheAccountIsMissing) {
    CloudSyncEngine bare{{state, scheduler, nullptr, &systemLog, output}};
    std::optional<CloudResult<PullResult>> result;
    bare.pull([&](CloudResult<PullResult> r) { result.emplace(std::move(r)); });
    scheduler.runUntilIdle();
    ASSERT_TRUE(result);
    EXPECT_FALSE(result->ok());
    EXPECT_EQ(logLines().back(), "No usable iCloud account (status 3)");
}

TEST_F(Engine, FailedAccountCheckAndZoneCreationAreRetriedNextTime) {
    cloud.failNextRequests(1);
    EXPECT_FALSE(pull().ok());
    EXPECT_EQ(logLines().back(), "Account check failed: The network connection was lost");
    cloud.failNextRequests(1, CloudFaultInjector::networkFailure(), 1);  // the zone save
    const auto zoneFailure = pull();
    ASSERT_FALSE(zoneFailure.ok());
    EXPECT_EQ(zoneFailure.error().code, CloudErrorCode::networkFailure) << "the platform's error is passed on";
    EXPECT_EQ(logLines().back(), "Zone create failed: The network connection was lost");
    EXPECT_FALSE(defaults.boolValue("cloudSync.dayBlocks.zoneCreated"));
    EXPECT_TRUE(pull().ok());
    EXPECT_EQ(requestsOf(Kind::saveZone), 2u);
}

TEST_F(Engine, PullStoresTheTokenPageByPageAndAFailurePutsBackTheOneItStartedFrom) {
    ASSERT_TRUE(push({envelope(), envelope(), envelope()}).ok());
    ASSERT_TRUE(pull().ok());
    const auto synced = defaults.data(state.changeTokenKey());
    ASSERT_TRUE(synced);
    ASSERT_TRUE(push({envelope(), envelope(), envelope()}).ok());
    server.setPageSize(2);
    cloud.hangNextRequests(1, 1);  // the second page
    engine.pull([](auto) {});
    scheduler.runUntilIdle();
    ASSERT_EQ(cloud.hungRequests(), 1u);
    EXPECT_NE(defaults.data(state.changeTokenKey()), synced) << "the first page's token is stored before the second";

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
}

TEST_F(Engine, ExpiredTokenRefetchesTheWholeZone) {
    const Uuid kept = Uuid::random();
    ASSERT_TRUE(push({envelope(kept), envelope()}).ok());
    ASSERT_TRUE(pull().ok());
    ASSERT_TRUE(push({envelope(), envelope()}).ok());
    server.setPageSize(1);
    // One page arrives, then the token is declared expired.
    cloud.failNextRequests(1, CloudError::cloudKit(21, "expired"), 1);
    const auto result = pull();
    ASSERT_TRUE(result.ok());
    EXPECT_TRUE(result.value().fullRefetch);
    EXPECT_EQ(result.value().changed.size(), 4u) << "what came before the expiry is discarded";
    EXPECT_EQ(logLines().back(), "Pull: 4 changed, 0 deleted (full refetch)");
    EXPECT_THAT(logLines(), ::testing::Contains("Change token expired; refetching in full"));
}

class MissingZone : public Engine, public ::testing::WithParamInterface<long> {};

TEST_P(MissingZone, RebuildsTheZoneAndAsksForAFullUpload) {
    ASSERT_TRUE(push({envelope()}).ok());
    ASSERT_TRUE(pull().ok());
    server.deleteZone(engine.zoneID(), GetParam() == CloudErrorCode::userDeletedZone);
    const std::size_t zoneSaves = requestsOf(Kind::saveZone);

    const auto result = pull();
    ASSERT_TRUE(result.ok());
    EXPECT_TRUE(result.value().fullRefetch);
    EXPECT_TRUE(result.value().changed.empty());
    EXPECT_EQ(requestsOf(Kind::saveZone), zoneSaves + 1);
    EXPECT_FALSE(defaults.contains("cloudSync.dayBlocks.zoneChangeToken"));
    EXPECT_TRUE(defaults.boolValue("cloudSync.dayBlocks.zoneCreated"));
    EXPECT_EQ(logLines().back(), "Zone 'DayBlocks' ready");
    EXPECT_THAT(logLines(), ::testing::Contains("Zone missing (" + std::to_string(GetParam()) + "); rebuilding"));
}

INSTANTIATE_TEST_SUITE_P(Codes, MissingZone, ::testing::Values(CloudErrorCode::zoneNotFound, CloudErrorCode::userDeletedZone));

TEST_F(Engine, RecordsThatDoNotConvertAndDeletionsAreReported) {
    const Uuid gone = Uuid::random();
    ASSERT_TRUE(push({envelope(gone)}).ok());
    ASSERT_TRUE(pull().ok());
    CloudRecord noPayload = makeRecord(envelope());
    noPayload.fields.erase("payload");
    CloudRecord badName = makeRecord(envelope());
    badName.recordID.recordName = "not-a-uuid";
    server.modifyRecords({noPayload, badName, makeRecord(envelope())}, {CloudRecordID{gone.string(), engine.zoneID()}},
                         CloudSavePolicy::allKeys, false, [](auto) {});
    const auto result = pull();
    ASSERT_TRUE(result.ok());
    EXPECT_EQ(result.value().changed.size(), 1u);
    EXPECT_EQ(result.value().deleted, std::vector<Uuid>{gone});
}

struct BatchCase {
    std::size_t saves, deletes;
    std::vector<std::pair<std::size_t, std::size_t>> requests;
};

class PushBatches : public Engine, public ::testing::WithParamInterface<BatchCase> {};

TEST_P(PushBatches, SavesGoFirstAndDeletionsFillTheRoomLeft) {
    std::vector<CloudRecordEnvelope> saves;
    for (std::size_t i = 0; i < GetParam().saves; ++i) saves.push_back(envelope());
    std::vector<Uuid> deletes;
    for (std::size_t i = 0; i < GetParam().deletes; ++i) deletes.push_back(Uuid::random());
    const auto result = push(saves, deletes);
    ASSERT_TRUE(result.ok());
    std::vector<std::pair<std::size_t, std::size_t>> sent;
    for (const auto& request : cloud.requests()) {
        if (request.kind == Kind::modifyRecords) sent.emplace_back(request.saves, request.deletes);
    }
    EXPECT_EQ(sent, GetParam().requests);
    EXPECT_EQ(result.value().savedIDs.size(), GetParam().saves);
    EXPECT_EQ(result.value().deletedIDs.size(), GetParam().deletes) << "absent records count as deleted";
}

INSTANTIATE_TEST_SUITE_P(Sizes, PushBatches,
                         ::testing::Values(BatchCase{351, 2, {{350, 0}, {1, 2}}}, BatchCase{0, 700, {{0, 350}, {0, 350}}},
                                           BatchCase{349, 2, {{349, 1}, {0, 1}}}, BatchCase{3, 1, {{3, 1}}}));

TEST_F(Engine, RejectedSavesAreLoggedAndLeftOut) {
    const auto a = envelope(), b = envelope(), c = envelope();
    cloud.rejectRecords({b.id.string()});
    const auto result = push({a, b, c});
    ASSERT_TRUE(result.ok());
    EXPECT_EQ(result.value().savedIDs, (IdSet{a.id, c.id}));
    EXPECT_THAT(logLines(), ::testing::Contains("Save rejected for " + b.id.string() + ": Record rejected"));
    EXPECT_EQ(logLines().back(), "Push: 2/3 saved, 0/0 deleted");
}

TEST_F(Engine, NothingToPushTouchesNothing) {
    ASSERT_TRUE(push({}).ok());
    EXPECT_THAT(logLines(), ElementsAre("Push: nothing pending"));
    EXPECT_TRUE(cloud.requests().empty());
}

TEST_F(Engine, AFailedBatchFailsThePush) {
    std::vector<CloudRecordEnvelope> saves(400);
    for (auto& e : saves) e = envelope();
    ASSERT_TRUE(pull().ok());
    cloud.failNextRequests(1, CloudFaultInjector::networkFailure(), 1);  // the second batch
    const auto result = push(saves);
    ASSERT_FALSE(result.ok());
    EXPECT_EQ(server.records(engine.zoneID()).size(), 350u) << "the first batch did reach the server";
}

TEST_F(Engine, AHungRequestDoesNotBlockOtherOperations) {
    ASSERT_TRUE(pull().ok());
    cloud.hangNextRequests(1);
    bool pullFinished = false;
    engine.pull([&](auto) { pullFinished = true; });
    scheduler.runUntilIdle();
    EXPECT_EQ(cloud.hungRequests(), 1u);
    EXPECT_TRUE(push({envelope()}).ok()) << "operations interleave at their waits";
    EXPECT_FALSE(pullFinished);
}

}  // namespace
}  // namespace plenda
