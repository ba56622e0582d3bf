#include "platform/OpaqueChangeToken.h"
#include "platform/standin/SqliteCloudDatabase.h"
#include "sync/CloudRecordEnvelope.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <sys/stat.h>

namespace plenda {
namespace {

const CloudZoneID zone = dayBlocksZoneID();

CloudRecord record(const std::string& payload, Uuid id = Uuid::random()) {
    return makeRecord(CloudRecordEnvelope{id, payload, Date(1)});
}

// The stand-in answers before returning; a failed fetch's value() throws and fails the test.
class StandIn : public ::testing::Test {
protected:
    SqliteCloudDatabase server;

    void SetUp() override {
        ASSERT_EQ(server.openError(), "");
        EXPECT_FALSE(saveZone());
    }
    template <class T>
    static T await(const std::function<void(std::function<void(T)>)>& request) {
        std::optional<T> answer;
        request([&](T value) { answer.emplace(std::move(value)); });
        EXPECT_TRUE(answer) << "the stand-in answers every request";
        return std::move(*answer);
    }
    std::optional<CloudError> saveZone() {
        return await<std::optional<CloudError>>([&](auto done) { server.saveZone(zone, done); });
    }
    CloudResult<CloudZoneChanges> fetch(CloudChangeTokenPtr token) {
        return await<CloudResult<CloudZoneChanges>>([&](auto done) { server.fetchZoneChanges(zone, token, done); });
    }
    CloudResult<CloudModifyResults> modify(std::vector<CloudRecord> saves, std::vector<Uuid> deletes = {},
                                           bool atomically = false,
                                           CloudSavePolicy policy = CloudSavePolicy::allKeys) {
        std::vector<CloudRecordID> ids;
        for (const Uuid& id : deletes) ids.push_back(CloudRecordID{id.string(), zone});
        return await<CloudResult<CloudModifyResults>>(
            [&](auto done) { server.modifyRecords(saves, ids, policy, atomically, done); });
    }
};

TEST_F(StandIn, ChangesSinceATokenIncludeTombstonesUntilTheyAreCompacted) {
    const Uuid a = Uuid::random(), b = Uuid::random();
    ASSERT_TRUE(modify({record("1", a), record("2", b)}).ok());
    const auto first = fetch(nullptr).value();
    EXPECT_EQ(first.modifications.size(), 2u);

    ASSERT_TRUE(modify({record("3", a)}, {b}).ok());
    const auto since = fetch(first.changeToken).value();
    ASSERT_EQ(since.modifications.size(), 1u);
    EXPECT_EQ(std::get<Data>(since.modifications[0].second.value().fields.at("payload")).bytes, "3");
    ASSERT_EQ(since.deletions.size(), 1u);
    EXPECT_EQ(since.deletions[0].recordName, b.string());
    const auto full = fetch(nullptr).value();
    EXPECT_EQ(full.modifications.size(), 1u);
    EXPECT_TRUE(full.deletions.empty()) << "a full fetch has no tombstones";

    server.compactTombstones(zone);
    EXPECT_TRUE(fetch(first.changeToken).error().isCloudKit(CloudErrorCode::changeTokenExpired));
    EXPECT_TRUE(fetch(since.changeToken).ok()) << "a token past the tombstones stays valid";
    EXPECT_FALSE(fetch(std::make_shared<OpaqueChangeToken>("garbage")).ok());
}

TEST_F(StandIn, DeletedZonesAnswerByWhoDeletedThem) {
    ASSERT_TRUE(modify({record("1")}).ok());
    const auto token = fetch(nullptr).value().changeToken;
    for (const bool byUser : {false, true}) {
        SCOPED_TRACE(byUser ? "by the user" : "by the server");
        server.deleteZone(zone, byUser);
        const long code = byUser ? CloudErrorCode::userDeletedZone : CloudErrorCode::zoneNotFound;
        EXPECT_EQ(fetch(nullptr).error().code, code);
        EXPECT_EQ(modify({record("2")}).value().saveResults[0].second.error().code, code);
        EXPECT_FALSE(saveZone());
        EXPECT_TRUE(fetch(nullptr).value().modifications.empty()) << "the records went with the zone";
        EXPECT_EQ(fetch(token).error().code, CloudErrorCode::changeTokenExpired) << "old tokens mean nothing now";
    }
}

TEST_F(StandIn, PerRecordOutcomesLimitsAndAtomicity) {
    EXPECT_EQ(modify({}, {Uuid::random()}).value().deleteResults[0].second->code, CloudErrorCode::unknownItem);
    const std::vector<CloudRecord> tooMany(401, record("x"));
    EXPECT_EQ(modify(tooMany).error().code, CloudErrorCode::limitExceeded);
    const auto atomic = modify({record("kept out")}, {Uuid::random()}, true);
    EXPECT_EQ(atomic.value().saveResults[0].second.error().code, CloudErrorCode::batchRequestFailed);
    EXPECT_TRUE(server.records(zone).empty()) << "an atomic batch with a failure changes nothing";
}

// A save that must not overwrite an unseen change names the version it
// replaces; the server refuses it with its own version when that is stale.
TEST_F(StandIn, ChangeTagsRefuseSavesOverVersionsNotSeen) {
    const Uuid id = Uuid::random();
    const auto save = [&](const std::string& payload, const std::string& tag) {
        CloudRecord r = record(payload, id);
        r.changeTag = tag;
        return modify({r}, {}, false, CloudSavePolicy::ifServerRecordUnchanged).value().saveResults.at(0).second;
    };
    const auto first = save("1", "");
    ASSERT_TRUE(first.ok());
    const std::string tag1 = first.value().changeTag;
    EXPECT_EQ(fetch(nullptr).value().modifications.at(0).second.value().changeTag, tag1) << "fetches carry it";

    const auto second = save("2", tag1);
    ASSERT_TRUE(second.ok());
    const std::string tag2 = second.value().changeTag;
    EXPECT_NE(tag2, tag1);
    for (const std::string& stale : {std::string(), tag1}) {
        SCOPED_TRACE(stale.empty() ? "fresh record over an existing one" : "stale tag");
        const auto refused = save("3", stale);
        ASSERT_FALSE(refused.ok());
        EXPECT_EQ(refused.error().code, CloudErrorCode::serverRecordChanged);
        ASSERT_TRUE(refused.error().serverRecord);
        EXPECT_EQ(refused.error().serverRecord->changeTag, tag2);
        EXPECT_EQ(std::get<Data>(refused.error().serverRecord->fields.at(payloadField)).bytes, "2");
    }
    ASSERT_TRUE(modify({}, {id}).ok());
    EXPECT_EQ(save("4", tag2).error().code, CloudErrorCode::unknownItem) << "the version it names was deleted";
    EXPECT_TRUE(save("4", "").ok()) << "a fresh record recreates it";
    EXPECT_TRUE(modify({record("5", id)}).value().saveResults.at(0).second.ok()) << "overwriting ignores tags";
}

// Two instances on one file are one account, and the file outlives them; the
// database and its side files are the user's alone.
TEST(StandInFile, InstancesOnOneFileShareItAndOnlyTheUserMayReadIt) {
    const QTemporaryDir home;
    const std::string folder = home.path().toStdString() + "/cloud", path = folder + "/standin.sqlite";
    {
        SqliteCloudDatabase mac{{.path = path}};
        SqliteCloudDatabase laptop{{.path = path}};
        ASSERT_TRUE(mac.openError().empty()) << mac.openError();
        mac.saveZone(zone, [](auto) {});
        mac.modifyRecords({record("from mac")}, {}, CloudSavePolicy::allKeys, false, [](auto) {});
        EXPECT_EQ(laptop.records(zone).size(), 1u);
        for (const std::string name : {"", "/standin.sqlite", "/standin.sqlite-wal", "/standin.sqlite-shm"}) {
            struct stat status {};
            ASSERT_EQ(::stat((folder + name).c_str(), &status), 0) << name;
            EXPECT_EQ(status.st_mode & 0777, name.empty() ? 0700u : 0600u) << name;
        }
    }
    EXPECT_EQ(SqliteCloudDatabase({.path = path}).records(zone).size(), 1u) << "the file keeps the records";
}

}  // namespace
}  // namespace plenda
