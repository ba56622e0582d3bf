#include "platform/OpaqueChangeToken.h"
#include "sync/CloudRecordEnvelope.h"
#include "platform/standin/SqliteCloudDatabase.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <unistd.h>

namespace plenda {
namespace {

const CloudZoneID zone = dayBlocksZoneID();

CloudRecord record(const std::string& payload, Uuid id = Uuid::random()) {
    return makeRecord(CloudRecordEnvelope{id, payload, Date(1)});
}

template <class T>
T await(std::function<void(std::function<void(T)>)> request) {
    std::optional<T> answer;
    request([&](T value) { answer.emplace(std::move(value)); });
    EXPECT_TRUE(answer) << "the stand-in answers every request";
    return std::move(*answer);
}

class StandIn : public ::testing::Test {
protected:
    SqliteCloudDatabase server;

    void SetUp() override {
        ASSERT_EQ(server.openError(), "");
        EXPECT_FALSE(saveZone());
    }
    std::optional<CloudError> saveZone() {
        return await<std::optional<CloudError>>([&](auto done) { server.saveZone(zone, done); });
    }
    CloudResult<CloudZoneChanges> fetch(CloudChangeTokenPtr token) {
        return await<CloudResult<CloudZoneChanges>>([&](auto done) { server.fetchZoneChanges(zone, token, done); });
    }
    CloudResult<CloudModifyResults> modify(std::vector<CloudRecord> saves, std::vector<Uuid> deletes = {},
                                           bool atomically = false) {
        std::vector<CloudRecordID> ids;
        for (const Uuid& id : deletes) ids.push_back(CloudRecordID{id.string(), zone});
        return await<CloudResult<CloudModifyResults>>([&](auto done) {
            server.modifyRecords(saves, ids, CloudSavePolicy::allKeys, atomically, done);
        });
    }
};

TEST_F(StandIn, ChangesSinceATokenIncludeTombstonesButAFullFetchDoesNot) {
    const Uuid a = Uuid::random(), b = Uuid::random();
    ASSERT_TRUE(modify({record("1", a), record("2", b)}).ok());
    const auto first = fetch(nullptr);
    ASSERT_TRUE(first.ok());
    EXPECT_EQ(first.value().modifications.size(), 2u);

    ASSERT_TRUE(modify({record("3", a)}, {b}).ok());
    const auto since = fetch(first.value().changeToken);
    ASSERT_TRUE(since.ok());
    ASSERT_EQ(since.value().modifications.size(), 1u);
    EXPECT_EQ(std::get<Data>(since.value().modifications[0].second.value().fields.at("payload")).bytes, "3");
    ASSERT_EQ(since.value().deletions.size(), 1u);
    EXPECT_EQ(since.value().deletions[0].recordName, b.string());

    const auto full = fetch(nullptr);
    EXPECT_EQ(full.value().modifications.size(), 1u);
    EXPECT_TRUE(full.value().deletions.empty());
}

TEST_F(StandIn, PagesEndWithMoreComingFalse) {
    server.setPageSize(2);
    ASSERT_TRUE(modify({record("1"), record("2"), record("3"), record("4"), record("5")}).ok());
    CloudChangeTokenPtr token;
    std::vector<std::size_t> pages;
    for (bool more = true; more;) {
        const auto page = fetch(token);
        ASSERT_TRUE(page.ok());
        pages.push_back(page.value().modifications.size());
        token = page.value().changeToken;
        more = page.value().moreComing;
    }
    EXPECT_EQ(pages, (std::vector<std::size_t>{2, 2, 1}));
    EXPECT_TRUE(fetch(token).value().modifications.empty());
}

TEST_F(StandIn, CompactedTombstonesExpireOlderTokens) {
    const Uuid a = Uuid::random();
    ASSERT_TRUE(modify({record("1", a)}).ok());
    const auto old = fetch(nullptr).value().changeToken;
    ASSERT_TRUE(modify({}, {a}).ok());
    const auto current = fetch(old).value().changeToken;
    server.compactTombstones(zone);
    const auto expired = fetch(old);
    ASSERT_FALSE(expired.ok());
    EXPECT_TRUE(expired.error().isCloudKit(CloudErrorCode::changeTokenExpired));
    EXPECT_TRUE(fetch(current).ok()) << "a token past the tombstones stays valid";
    EXPECT_FALSE(fetch(std::make_shared<OpaqueChangeToken>("garbage")).ok());
}

TEST_F(StandIn, DeletedZonesAnswerByWhoDeletedThem) {
    ASSERT_TRUE(modify({record("1")}).ok());
    const auto token = fetch(nullptr).value().changeToken;
    for (const bool byUser : {false, true}) {
        server.deleteZone(zone, byUser);
        const auto missing = fetch(nullptr);
        ASSERT_FALSE(missing.ok());
        EXPECT_EQ(missing.error().code, byUser ? CloudErrorCode::userDeletedZone : CloudErrorCode::zoneNotFound);
        const auto save = modify({record("2")});
        ASSERT_TRUE(save.ok());
        EXPECT_EQ(save.value().saveResults[0].second->code, missing.error().code);
        EXPECT_FALSE(saveZone());
        EXPECT_TRUE(fetch(nullptr).value().modifications.empty()) << "the records went with the zone";
        EXPECT_EQ(fetch(token).error().code, CloudErrorCode::changeTokenExpired) << "old tokens mean nothing now";
    }
}

TEST_F(StandIn, PerRecordOutcomesLimitsAndAtomicity) {
    const auto absent = modify({}, {Uuid::random()});
    EXPECT_EQ(absent.value().deleteResults[0].second->code, CloudErrorCode::unknownItem);

    std::vector<CloudRecord> tooMany;
    for (int i = 0; i < 401; ++i) tooMany.push_back(record("x"));
    EXPECT_EQ(modify(tooMany).error().code, CloudErrorCode::limitExceeded);

    const auto atomic = modify({record("kept out")}, {Uuid::random()}, true);
    EXPECT_EQ(atomic.value().saveResults[0].second->code, CloudErrorCode::batchRequestFailed);
    EXPECT_TRUE(server.records(zone).empty()) << "an atomic batch with a failure changes nothing";
}

TEST(StandInFile, TwoInstancesOnOneFileSeeOneAccount) {
    const std::string path =
        (std::filesystem::temp_directory_path() / ("plenda-standin-" + std::to_string(getpid()) + ".sqlite")).string();
    std::filesystem::remove(path);
    {
        SqliteCloudDatabase mac{{.path = path}};
        SqliteCloudDatabase laptop{{.path = path}};
        mac.saveZone(zone, [](auto) {});
        mac.modifyRecords({record("from mac")}, {}, CloudSavePolicy::allKeys, false, [](auto) {});
        EXPECT_EQ(laptop.records(zone).size(), 1u);
    }
    SqliteCloudDatabase reopened{{.path = path}};
    EXPECT_EQ(reopened.records(zone).size(), 1u) << "the file keeps the records";
    std::filesystem::remove(path);
    std::filesystem::remove(path + "-wal");
    std::filesystem::remove(path + "-shm");
}

}  // namespace
}  // namespace plenda
