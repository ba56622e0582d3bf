#pragma once

#include "base/Uuid.h"
#include "platform/CloudDatabase.h"
#include "platform/Scheduler.h"
#include "sync/CloudRecordEnvelope.h"
#include "sync/CloudSyncState.h"
#include "platform/SyncLog.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <iostream>
#include <map>
#include <unordered_map>
#include <memory>
#include <string>
#include <vector>

namespace plenda {

class SystemLog;

inline constexpr const char* cloudContainerIdentifier = "iCloud.app.plenda.Plenda";

// The engine's own error: sync cannot run (no usable account, or latched off).
namespace CloudSyncError {
inline constexpr const char* domain = "CloudSyncError";
inline CloudError unavailable() { return CloudError{domain, 0, "iCloud is unavailable"}; }
}  // namespace CloudSyncError

// What changed since the stored token, in server order: a block changed on a
// later page than its deletion is among `changed` only, and the reverse.
struct PullResult {
    std::vector<CloudRecordEnvelope> changed;
    std::vector<Uuid> deleted;
    bool fullRefetch = false;
    // Fetched from the zone's beginning: `changed` is everything the server
    // holds, so a block missing from it is not on the server.
    bool wholeZone = false;
    // After a whole-zone fetch: the zone's incarnation mark (one is saved when
    // the zone has none); empty when it could not be settled.
    std::string zoneMark;
    // The zone's token after the last page. The engine does not store it: the
    // caller does, once the blocks it covers are in the block file, so a quit
    // or a crash in between fetches them again instead of losing them.
    CloudChangeTokenPtr changeToken;
};

struct PushResult {
    IdSet savedIDs;
    IdSet deletedIDs;
    // Saves the server refused because it holds a version at least as new,
    // changed elsewhere since this device last saw it: that version, to merge.
    std::vector<CloudRecordEnvelope> newerOnServer;
};

// The only component that talks to the cloud database. An actor: its fields
// are touched only by tasks on the scheduler's serial worker, and every wait
// on the database ends in a continuation posted back to that worker, so
// operations run one step at a time and interleave only at their requests.
// Public operations may be called from any thread; their completions run on
// the worker.
class CloudSyncEngine {
public:
    struct Dependencies {
        CloudSyncState& state;
        Scheduler& scheduler;
        // Null: no cloud is configured, which answers like a missing account.
        CloudDatabase* database = nullptr;
        SystemLog* systemLog = nullptr;
        std::ostream& output = std::cout;
        std::string containerIdentifier = cloudContainerIdentifier;
    };

    // A database whose account is missing: every request is refused.
    static CloudDatabase& noAccountDatabase();

    static constexpr std::size_t pushBatchLimit = 350;
    // A request unanswered this long counts as failed, so nothing waits on it.
    static constexpr double requestTimeout = 60;
    // How often one push saves a record again after the server refused it.
    static constexpr int saveRetries = 2;
    // Change tags remembered to save without a refusal first; a miss costs a retry.
    static constexpr std::size_t changeTagCacheLimit = 4096;

    explicit CloudSyncEngine(Dependencies dependencies);
    ~CloudSyncEngine();
    CloudSyncEngine(const CloudSyncEngine&) = delete;
    CloudSyncEngine& operator=(const CloudSyncEngine&) = delete;

    const std::string& containerIdentifier() const { return containerIdentifier_; }
    const std::string& recordType() const { return recordType_; }
    const CloudZoneID& zoneID() const { return zoneID_; }

    void pull(std::function<void(CloudResult<PullResult>)> completion);
    void push(std::vector<CloudRecordEnvelope> saving, std::vector<Uuid> deleting,
              std::function<void(CloudResult<PushResult>)> completion);
    // After a system wake: forget the latch and the cached database so the
    // next operation examines the account afresh, and give up the requests
    // still waiting (they fail as timed out). Ordered with the others.
    void resetAvailability(std::function<void()> completion = {});

    // Standard output and the system log, one line each.
    void syncLog(const std::string& message);

private:
    struct PullRun;
    struct PushRun;
    using DatabaseCompletion = std::function<void(CloudResult<CloudDatabase*>)>;
    using ZoneCompletion = std::function<void(std::optional<CloudError>)>;

    // Runs `task` on the worker while the engine lives.
    void onWorker(std::function<void()> task);
    // Worker only. Sends one request with `send` and runs `answered` on the
    // worker exactly once: with the database's answer, or with a failure
    // after requestTimeout or at a wake, whichever comes first.
    template <class Answer>
    void ask(std::function<void(std::function<void(Answer)>)> send, std::function<void(Answer)> answered);
    void rememberChangeTag(const Uuid& id, const std::string& tag);
    void database(DatabaseCompletion completion);
    void finishAccountCheck(CloudResult<CloudAccountStatus> status, DatabaseCompletion completion);
    void ensureZone(CloudDatabase& database, ZoneCompletion completion);
    // Both steps every operation starts with.
    void prepare(DatabaseCompletion completion);
    void fetchPage(std::shared_ptr<PullRun> run);
    void pageArrived(std::shared_ptr<PullRun> run, CloudResult<CloudZoneChanges> page);
    void settleZoneMark(std::shared_ptr<PullRun> run);
    void sendBatch(std::shared_ptr<PushRun> run);
    void batchArrived(std::shared_ptr<PushRun> run, CloudResult<CloudModifyResults> results);
    bool settleRefusal(PushRun& run, const Uuid& id, const CloudError& error);
    // Modify requests go out one at a time, across all pushes, so the server
    // receives versions of a record in the order they were sent.
    void startNextModify();

    CloudSyncState& state_;
    Scheduler& scheduler_;
    CloudDatabase* platformDatabase_;
    SyncLog log_;
    const std::string containerIdentifier_;
    const std::string recordType_ = dayBlockRecordType;
    const CloudZoneID zoneID_ = dayBlocksZoneID();

    // Worker only.
    CloudDatabase* cachedDatabase_ = nullptr;
    bool isUnavailable_ = false;
    std::deque<std::function<void()>> queuedModifies_;
    bool modifyInFlight_ = false;
    std::unordered_map<Uuid, std::string> changeTags_;
    // What gives up each request still waiting, by request number.
    std::map<std::uint64_t, std::function<void()>> abandonWaiting_;
    std::uint64_t lastRequest_ = 0;

    Lifetime lifetime_;
};

}  // namespace plenda
