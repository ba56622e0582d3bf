#include "sync/CloudSyncEngine.h"

#include "platform/SystemLog.h"

#include <algorithm>
#include <iterator>
#include <unordered_set>

namespace plenda {

namespace {

// Stands in when no cloud is configured: the account check says "no account".
class NoAccountDatabase final : public CloudDatabase {
public:
    void accountStatus(std::function<void(CloudResult<CloudAccountStatus>)> completion) override {
        completion(CloudAccountStatus::noAccount);
    }
    void saveZone(const CloudZoneID&, std::function<void(std::optional<CloudError>)> completion) override {
        completion(CloudSyncError::unavailable());
    }
    void fetchZoneChanges(const CloudZoneID&, CloudChangeTokenPtr,
                          std::function<void(CloudResult<CloudZoneChanges>)> completion) override {
        completion(CloudSyncError::unavailable());
    }
    void modifyRecords(std::vector<CloudRecord>, std::vector<CloudRecordID>, CloudSavePolicy, bool,
                       std::function<void(CloudResult<CloudModifyResults>)> completion) override {
        completion(CloudSyncError::unavailable());
    }
};

NoAccountDatabase noAccountDatabase;

}  // namespace

struct CloudSyncEngine::PullRun {
    CloudDatabase* database;
    CloudChangeTokenPtr token;
    PullResult result;
    std::function<void(CloudResult<PullResult>)> completion;
};

struct CloudSyncEngine::PushRun {
    CloudDatabase* database;
    std::vector<CloudRecord> saving;
    std::vector<CloudRecordID> deleting;
    std::size_t nextSave = 0;
    std::size_t nextDelete = 0;
    PushResult result;
    std::function<void(CloudResult<PushResult>)> completion;
};

CloudSyncEngine::CloudSyncEngine(Dependencies dependencies)
    : state_(dependencies.state),
      scheduler_(dependencies.scheduler),
      platformDatabase_(dependencies.database ? dependencies.database : &noAccountDatabase),
      log_(dependencies.output, dependencies.systemLog),
      containerIdentifier_(std::move(dependencies.containerIdentifier)) {}

CloudSyncEngine::~CloudSyncEngine() = default;

void CloudSyncEngine::syncLog(const std::string& message) { log_(message); }

void CloudSyncEngine::onWorker(std::function<void()> task) {
    scheduler_.runOnWorker([alive = lifetime_.weak(), task = std::move(task)] {
        if (const auto guard = alive.lock()) task();
    });
}

void CloudSyncEngine::database(DatabaseCompletion completion) {
    if (cachedDatabase_) return completion(cachedDatabase_);
    if (isUnavailable_) {
        syncLog("Skipping \u2014 iCloud marked unavailable earlier this session");
        return completion(CloudSyncError::unavailable());
    }
    syncLog("Opening container " + containerIdentifier_);
    // The container is opened on the main thread; its answer continues here.
    scheduler_.post([this, alive = lifetime_.weak(), completion = std::move(completion)]() mutable {
        if (alive.expired()) return;
        platformDatabase_->accountStatus(
            [this, alive, completion = std::move(completion)](CloudResult<CloudAccountStatus> status) mutable {
                if (alive.expired()) return;
                onWorker([this, status = std::move(status), completion = std::move(completion)]() mutable {
                    finishAccountCheck(std::move(status), std::move(completion));
                });
            });
    });
}

void CloudSyncEngine::finishAccountCheck(CloudResult<CloudAccountStatus> status, DatabaseCompletion completion) {
    if (!status.ok()) {
        syncLog("Account check failed: " + status.error().description);
        return completion(CloudSyncError::unavailable());
    }
    const long raw = static_cast<long>(status.value());
    syncLog("Account status = " + std::to_string(raw));
    switch (status.value()) {
    case CloudAccountStatus::available:
        cachedDatabase_ = platformDatabase_;
        return completion(cachedDatabase_);
    case CloudAccountStatus::couldNotDetermine:
    case CloudAccountStatus::temporarilyUnavailable:
        break;  // transient: the next call asks again
    default:
        isUnavailable_ = true;
        break;
    }
    syncLog("No usable iCloud account (status " + std::to_string(raw) + ")");
    completion(CloudSyncError::unavailable());
}

void CloudSyncEngine::ensureZone(CloudDatabase& database, ZoneCompletion completion) {
    if (state_.defaults().boolValue(state_.zoneCreatedKey())) return completion(std::nullopt);
    database.saveZone(zoneID_, [this, alive = lifetime_.weak(),
                                completion = std::move(completion)](std::optional<CloudError> error) mutable {
        if (alive.expired()) return;
        onWorker([this, error = std::move(error), completion = std::move(completion)] {
            if (error) {
                syncLog("Zone create failed: " + error->description);
                return completion(error);
            }
            state_.defaults().setBool(state_.zoneCreatedKey(), true);
            syncLog("Zone '" + zoneID_.zoneName + "' ready");
            completion(std::nullopt);
        });
    });
}

void CloudSyncEngine::prepare(DatabaseCompletion completion) {
    database([this, completion = std::move(completion)](CloudResult<CloudDatabase*> opened) mutable {
        if (!opened.ok()) return completion(std::move(opened));
        CloudDatabase* db = opened.value();
        ensureZone(*db, [db, completion = std::move(completion)](std::optional<CloudError> error) {
            if (error) return completion(std::move(*error));
            completion(db);
        });
    });
}

void CloudSyncEngine::pull(std::function<void(CloudResult<PullResult>)> completion) {
    onWorker([this, completion = std::move(completion)]() mutable {
        prepare([this, completion = std::move(completion)](CloudResult<CloudDatabase*> opened) mutable {
            if (!opened.ok()) return completion(opened.error());
            auto run = std::make_shared<PullRun>();
            run->database = opened.value();
            run->token = state_.loadChangeToken();
            run->completion = std::move(completion);
            fetchPage(std::move(run));
        });
    });
}

void CloudSyncEngine::fetchPage(std::shared_ptr<PullRun> run) {
    run->database->fetchZoneChanges(
        zoneID_, run->token, [this, alive = lifetime_.weak(), run](CloudResult<CloudZoneChanges> page) mutable {
            if (alive.expired()) return;
            onWorker([this, run = std::move(run), page = std::move(page)]() mutable {
                pageArrived(std::move(run), std::move(page));
            });
        });
}

void CloudSyncEngine::pageArrived(std::shared_ptr<PullRun> run, CloudResult<CloudZoneChanges> page) {
    PullResult& result = run->result;
    if (page.ok()) {
        std::vector<CloudRecordEnvelope> changed;
        std::unordered_set<Uuid> changedIDs;
        for (const auto& [recordID, modification] : page.value().modifications) {
            if (!modification.ok()) continue;
            if (auto envelope = makeEnvelope(modification.value())) {
                changedIDs.insert(envelope->id);
                changed.push_back(std::move(*envelope));
            }
        }
        std::vector<Uuid> deleted;
        for (const CloudRecordID& recordID : page.value().deletions) {
            if (const auto id = Uuid::parse(recordID.recordName)) deleted.push_back(*id);
        }
        // A later page overrides an earlier one for the same block.
        if (!deleted.empty()) {
            const std::unordered_set<Uuid> deletedIDs(deleted.begin(), deleted.end());
            std::erase_if(result.changed, [&](const CloudRecordEnvelope& e) { return deletedIDs.contains(e.id); });
        }
        if (!changedIDs.empty()) {
            std::erase_if(result.deleted, [&](const Uuid& id) { return changedIDs.contains(id); });
        }
        std::move(changed.begin(), changed.end(), std::back_inserter(result.changed));
        result.deleted.insert(result.deleted.end(), deleted.begin(), deleted.end());
        run->token = page.value().changeToken;
        if (page.value().moreComing) return fetchPage(std::move(run));
        syncLog("Pull: " + std::to_string(result.changed.size()) + " changed, " +
                std::to_string(result.deleted.size()) + " deleted" + (result.fullRefetch ? " (full refetch)" : ""));
        result.changeToken = run->token;
        return run->completion(std::move(result));
    }

    const CloudError& error = page.error();
    if (error.isCloudKit(CloudErrorCode::changeTokenExpired)) {
        syncLog("Change token expired; refetching in full");
        state_.defaults().remove(state_.changeTokenKey());
        result = PullResult{{}, {}, true, nullptr};
        run->token = nullptr;
        return fetchPage(std::move(run));
    }
    if (error.isCloudKit(CloudErrorCode::zoneNotFound) || error.isCloudKit(CloudErrorCode::userDeletedZone)) {
        syncLog("Zone missing (" + std::to_string(error.code) + "); rebuilding");
        state_.defaults().remove(state_.changeTokenKey());
        state_.defaults().setBool(state_.zoneCreatedKey(), false);
        CloudDatabase& database = *run->database;
        return ensureZone(database, [run = std::move(run)](std::optional<CloudError> zoneError) {
            if (zoneError) return run->completion(std::move(*zoneError));
            run->completion(PullResult{{}, {}, true, nullptr});
        });
    }
    syncLog("Pull failed: " + error.description);
    run->completion(error);
}

void CloudSyncEngine::push(std::vector<CloudRecordEnvelope> saving, std::vector<Uuid> deleting,
                           std::function<void(CloudResult<PushResult>)> completion) {
    onWorker([this, saving = std::move(saving), deleting = std::move(deleting),
              completion = std::move(completion)]() mutable {
        if (saving.empty() && deleting.empty()) {
            syncLog("Push: nothing pending");
            return completion(PushResult{});
        }
        prepare([this, saving = std::move(saving), deleting = std::move(deleting),
                 completion = std::move(completion)](CloudResult<CloudDatabase*> opened) mutable {
            if (!opened.ok()) return completion(opened.error());
            auto run = std::make_shared<PushRun>();
            run->database = opened.value();
            run->saving.reserve(saving.size());
            for (const CloudRecordEnvelope& envelope : saving) run->saving.push_back(makeRecord(envelope, zoneID_));
            run->deleting.reserve(deleting.size());
            for (const Uuid& id : deleting) run->deleting.push_back(CloudRecordID{id.string(), zoneID_});
            run->completion = std::move(completion);
            sendBatch(std::move(run));
        });
    });
}

void CloudSyncEngine::sendBatch(std::shared_ptr<PushRun> run) {
    const std::size_t savesLeft = run->saving.size() - run->nextSave;
    const std::size_t deletesLeft = run->deleting.size() - run->nextDelete;
    if (savesLeft == 0 && deletesLeft == 0) {
        syncLog("Push: " + std::to_string(run->result.savedIDs.size()) + "/" + std::to_string(run->saving.size()) +
                " saved, " + std::to_string(run->result.deletedIDs.size()) + "/" +
                std::to_string(run->deleting.size()) + " deleted");
        return run->completion(std::move(run->result));
    }
    // Saves go first; deletions fill what room the batch has left.
    const std::size_t saveCount = std::min(pushBatchLimit, savesLeft);
    const std::size_t deleteCount = std::min(pushBatchLimit - saveCount, deletesLeft);
    const auto saveBegin = run->saving.begin() + static_cast<std::ptrdiff_t>(run->nextSave);
    const auto deleteBegin = run->deleting.begin() + static_cast<std::ptrdiff_t>(run->nextDelete);
    std::vector<CloudRecord> saves(saveBegin, saveBegin + static_cast<std::ptrdiff_t>(saveCount));
    std::vector<CloudRecordID> deletes(deleteBegin, deleteBegin + static_cast<std::ptrdiff_t>(deleteCount));
    run->nextSave += saveCount;
    run->nextDelete += deleteCount;

    CloudDatabase* database = run->database;
    queuedModifies_.push_back([this, database, saves = std::move(saves), deletes = std::move(deletes),
                               run = std::move(run)]() mutable {
        database->modifyRecords(
            std::move(saves), std::move(deletes), CloudSavePolicy::allKeys, false,
            [this, alive = lifetime_.weak(), run = std::move(run)](CloudResult<CloudModifyResults> results) mutable {
                if (alive.expired()) return;
                onWorker([this, run = std::move(run), results = std::move(results)]() mutable {
                    modifyInFlight_ = false;
                    batchArrived(std::move(run), std::move(results));
                    startNextModify();
                });
            });
    });
    startNextModify();
}

void CloudSyncEngine::startNextModify() {
    if (modifyInFlight_ || queuedModifies_.empty()) return;
    modifyInFlight_ = true;
    auto next = std::move(queuedModifies_.front());
    queuedModifies_.pop_front();
    next();
}

void CloudSyncEngine::batchArrived(std::shared_ptr<PushRun> run, CloudResult<CloudModifyResults> results) {
    if (!results.ok()) return run->completion(results.error());
    for (const auto& [recordID, error] : results.value().saveResults) {
        const auto id = Uuid::parse(recordID.recordName);
        if (!id) continue;
        if (!error) {
            run->result.savedIDs.insert(*id);
        } else {
            syncLog("Save rejected for " + id->string() + ": " + error->description);
        }
    }
    for (const auto& [recordID, error] : results.value().deleteResults) {
        const auto id = Uuid::parse(recordID.recordName);
        if (!id) continue;
        // A record the server never had is as deleted as can be.
        if (!error || error->isCloudKit(CloudErrorCode::unknownItem)) run->result.deletedIDs.insert(*id);
    }
    sendBatch(std::move(run));
}

void CloudSyncEngine::resetAvailability(std::function<void()> completion) {
    onWorker([this, completion = std::move(completion)] {
        isUnavailable_ = false;
        cachedDatabase_ = nullptr;
        if (completion) completion();
    });
}

}  // namespace plenda
