#include "sync/CloudSyncEngine.h"

#include "platform/SystemLog.h"

#include <algorithm>
#include <atomic>
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

}  // namespace

CloudDatabase& CloudSyncEngine::noAccountDatabase() {
    static NoAccountDatabase database;
    return database;
}

struct CloudSyncEngine::PullRun {
    CloudDatabase* database;
    CloudChangeTokenPtr token;
    PullResult result;
    std::function<void(CloudResult<PullResult>)> completion;
};

struct CloudSyncEngine::PushRun {
    CloudDatabase* database;
    std::unordered_map<Uuid, CloudRecordEnvelope> given;
    std::size_t givenSaves = 0;
    std::unordered_map<Uuid, int> retries;
    // What was given, then the records saved again after a refusal.
    std::vector<CloudRecord> saving;
    std::vector<CloudRecordID> deleting;
    std::size_t nextSave = 0;
    std::size_t nextDelete = 0;
    // Gathered in the order the answers come, made into sets at the end.
    std::vector<Uuid> saved, deleted;
    PushResult result;
    std::function<void(CloudResult<PushResult>)> completion;
};

CloudSyncEngine::CloudSyncEngine(Dependencies dependencies)
    : state_(dependencies.state),
      scheduler_(dependencies.scheduler),
      platformDatabase_(dependencies.database ? dependencies.database : &noAccountDatabase()),
      log_(dependencies.output, dependencies.systemLog),
      containerIdentifier_(std::move(dependencies.containerIdentifier)) {}

CloudSyncEngine::~CloudSyncEngine() = default;

void CloudSyncEngine::syncLog(const std::string& message) { log_(message); }

void CloudSyncEngine::onWorker(std::function<void()> task) {
    scheduler_.runOnWorker([alive = lifetime_.weak(), task = std::move(task)] {
        if (const auto guard = alive.lock()) task();
    });
}

template <class Answer>
void CloudSyncEngine::ask(std::function<void(std::function<void(Answer)>)> send,
                          std::function<void(Answer)> answered) {
    const std::uint64_t number = ++lastRequest_;
    auto given = std::make_shared<std::atomic<bool>>(false);
    auto timer = std::make_shared<TaskHandle>();  // main thread only
    const auto answer = [this, alive = lifetime_.weak(), number, given, timer,
                         answered = std::move(answered)](Answer value) {
        if (given->exchange(true) || alive.expired()) return;
        scheduler_.post([timer] { timer->cancel(); });
        onWorker([this, number, answered, value = std::move(value)]() mutable {
            abandonWaiting_.erase(number);
            answered(std::move(value));
        });
    };
    abandonWaiting_.emplace(number, [answer] {
        answer(CloudError::cloudKit(CloudErrorCode::networkFailure, "The request was given up at wake"));
    });
    scheduler_.post([this, alive = lifetime_.weak(), timer, answer] {
        if (alive.expired()) return;
        *timer = scheduler_.after(requestTimeout, [answer] {
            answer(CloudError::cloudKit(CloudErrorCode::networkFailure, "The request timed out"));
        });
    });
    send(answer);
}

void CloudSyncEngine::rememberChangeTag(const Uuid& id, const std::string& tag) {
    if (changeTags_.size() >= changeTagCacheLimit && !changeTags_.contains(id)) changeTags_.clear();
    changeTags_[id] = tag;
}

void CloudSyncEngine::database(DatabaseCompletion completion) {
    if (cachedDatabase_) return completion(cachedDatabase_);
    if (isUnavailable_) {
        syncLog("Skipping \u2014 iCloud marked unavailable earlier this session");
        return completion(CloudSyncError::unavailable());
    }
    syncLog("Opening container " + containerIdentifier_);
    ask<CloudResult<CloudAccountStatus>>(
        [this, alive = lifetime_.weak()](std::function<void(CloudResult<CloudAccountStatus>)> answer) {
            // The container is opened on the main thread.
            scheduler_.post([this, alive, answer = std::move(answer)] {
                if (!alive.expired()) platformDatabase_->accountStatus(answer);
            });
        },
        [this, completion = std::move(completion)](CloudResult<CloudAccountStatus> status) {
            finishAccountCheck(std::move(status), completion);
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
    ask<std::optional<CloudError>>(
        [this, database = &database](std::function<void(std::optional<CloudError>)> answer) {
            database->saveZone(zoneID_, std::move(answer));
        },
        [this, completion = std::move(completion)](std::optional<CloudError> error) {
            if (error) {
                syncLog("Zone create failed: " + error->description);
                return completion(error);
            }
            state_.defaults().setBool(state_.zoneCreatedKey(), true);
            syncLog("Zone '" + zoneID_.zoneName + "' ready");
            completion(std::nullopt);
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
            run->result.wholeZone = !run->token;
            run->completion = std::move(completion);
            fetchPage(std::move(run));
        });
    });
}

void CloudSyncEngine::fetchPage(std::shared_ptr<PullRun> run) {
    ask<CloudResult<CloudZoneChanges>>(
        [this, database = run->database, token = run->token](std::function<void(CloudResult<CloudZoneChanges>)> answer) {
            database->fetchZoneChanges(zoneID_, token, std::move(answer));
        },
        [this, run](CloudResult<CloudZoneChanges> page) { pageArrived(run, std::move(page)); });
}

void CloudSyncEngine::pageArrived(std::shared_ptr<PullRun> run, CloudResult<CloudZoneChanges> page) {
    PullResult& result = run->result;
    if (page.ok()) {
        std::vector<CloudRecordEnvelope> changed;
        std::unordered_set<Uuid> changedIDs;
        for (const auto& [recordID, modification] : page.value().modifications) {
            if (!modification.ok()) continue;
            if (auto mark = zoneMarkOf(modification.value())) {
                result.zoneMark = std::move(*mark);
                continue;
            }
            if (auto envelope = makeEnvelope(modification.value())) {
                // Kept current only for records this device saves.
                if (const auto tag = changeTags_.find(envelope->id); tag != changeTags_.end()) {
                    tag->second = modification.value().changeTag;
                }
                changedIDs.insert(envelope->id);
                changed.push_back(std::move(*envelope));
            }
        }
        std::vector<Uuid> deleted;
        for (const CloudRecordID& recordID : page.value().deletions) {
            if (const auto id = Uuid::parse(recordID.recordName)) {
                changeTags_.erase(*id);
                deleted.push_back(*id);
            }
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
        return settleZoneMark(std::move(run));
    }

    const CloudError& error = page.error();
    if (error.isCloudKit(CloudErrorCode::changeTokenExpired)) {
        syncLog("Change token expired; refetching in full");
        state_.defaults().remove(state_.changeTokenKey());
        result = PullResult{};
        result.fullRefetch = result.wholeZone = true;
        run->token = nullptr;
        return fetchPage(std::move(run));
    }
    if (error.isCloudKit(CloudErrorCode::zoneNotFound) || error.isCloudKit(CloudErrorCode::userDeletedZone)) {
        syncLog("Zone missing (" + std::to_string(error.code) + "); rebuilding");
        state_.defaults().remove(state_.changeTokenKey());
        state_.defaults().setBool(state_.zoneCreatedKey(), false);
        changeTags_.clear();
        CloudDatabase& database = *run->database;
        return ensureZone(database, [this, run = std::move(run)](std::optional<CloudError> zoneError) {
            if (zoneError) return run->completion(std::move(*zoneError));
            run->result = PullResult{};
            run->result.fullRefetch = run->result.wholeZone = true;
            settleZoneMark(run);
        });
    }
    syncLog("Pull failed: " + error.description);
    run->completion(error);
}

// A zone fetched whole without a mark gets one; when two devices race, the
// first saved wins and the other adopts it.
void CloudSyncEngine::settleZoneMark(std::shared_ptr<PullRun> run) {
    if (!run->result.wholeZone || !run->result.zoneMark.empty()) return run->completion(std::move(run->result));
    ask<CloudResult<CloudModifyResults>>(
        [this, database = run->database](std::function<void(CloudResult<CloudModifyResults>)> answer) {
            database->modifyRecords({makeZoneMarkRecord(Uuid::random().string(), zoneID_)}, {},
                                    CloudSavePolicy::ifServerRecordUnchanged, false, std::move(answer));
        },
        [run](CloudResult<CloudModifyResults> results) {
            if (results.ok() && !results.value().saveResults.empty()) {
                const auto& saved = results.value().saveResults.front().second;
                const CloudRecord* record = saved.ok() ? &saved.value() : saved.error().serverRecord.get();
                if (record) run->result.zoneMark = zoneMarkOf(*record).value_or("");
            }
            run->completion(std::move(run->result));
        });
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
            run->givenSaves = saving.size();
            for (CloudRecordEnvelope& envelope : saving) {
                CloudRecord record = makeRecord(envelope, zoneID_);
                if (const auto tag = changeTags_.find(envelope.id); tag != changeTags_.end()) {
                    record.changeTag = tag->second;
                }
                run->saving.push_back(std::move(record));
                const Uuid id = envelope.id;
                run->given.insert_or_assign(id, std::move(envelope));
            }
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
        run->result.savedIDs = IdSet(run->saved.begin(), run->saved.end());
        run->result.deletedIDs = IdSet(run->deleted.begin(), run->deleted.end());
        syncLog("Push: " + std::to_string(run->result.savedIDs.size()) + "/" + std::to_string(run->givenSaves) +
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
    queuedModifies_.push_back([this, database, saves = std::move(saves), deletes = std::move(deletes), run]() mutable {
        // Saves never overwrite a change they have not seen; see batchArrived.
        ask<CloudResult<CloudModifyResults>>(
            [database, saves = std::move(saves),
             deletes = std::move(deletes)](std::function<void(CloudResult<CloudModifyResults>)> answer) {
                database->modifyRecords(saves, deletes, CloudSavePolicy::ifServerRecordUnchanged, false,
                                        std::move(answer));
            },
            [this, run](CloudResult<CloudModifyResults> results) {
                modifyInFlight_ = false;
                batchArrived(run, std::move(results));
                startNextModify();
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
    for (auto& [recordID, saved] : results.value().saveResults) {
        const auto id = Uuid::parse(recordID.recordName);
        if (!id) continue;
        if (saved.ok()) {
            run->saved.push_back(*id);
            rememberChangeTag(*id, saved.value().changeTag);
        } else if (!settleRefusal(*run, *id, saved.error())) {
            syncLog("Save rejected for " + id->string() + ": " + saved.error().description);
        }
    }
    for (const auto& [recordID, error] : results.value().deleteResults) {
        const auto id = Uuid::parse(recordID.recordName);
        if (!id) continue;
        // A record the server never had is as deleted as can be.
        if (!error || error->isCloudKit(CloudErrorCode::unknownItem)) {
            run->deleted.push_back(*id);
            changeTags_.erase(*id);
        }
    }
    sendBatch(std::move(run));
}

// The server refuses a save that would overwrite a version this device has
// not seen (14), or that names a version since deleted (11). The later
// change wins: the server's, which goes back to the store, or this one, saved
// again over the server's version (a deletion elsewhere loses to a change
// made here since, as in a merge). False when the refusal stands.
bool CloudSyncEngine::settleRefusal(PushRun& run, const Uuid& id, const CloudError& error) {
    const auto given = run.given.find(id);
    if (given == run.given.end()) return false;
    std::string tag;
    if (error.isCloudKit(CloudErrorCode::serverRecordChanged) && error.serverRecord) {
        tag = error.serverRecord->changeTag;
        rememberChangeTag(id, tag);
        const auto server = makeEnvelope(*error.serverRecord);
        if (server && server->id == id && server->modifiedAt >= given->second.modifiedAt) {
            run.result.newerOnServer.push_back(*server);
            return true;
        }
    } else if (error.isCloudKit(CloudErrorCode::unknownItem)) {
        changeTags_.erase(id);
    } else {
        return false;
    }
    if (run.retries[id]++ >= saveRetries) return false;
    CloudRecord again = makeRecord(given->second, zoneID_);
    again.changeTag = tag;
    run.saving.push_back(std::move(again));
    return true;
}

void CloudSyncEngine::resetAvailability(std::function<void()> completion) {
    onWorker([this, completion = std::move(completion)] {
        isUnavailable_ = false;
        cachedDatabase_ = nullptr;
        for (auto& [number, abandon] : std::exchange(abandonWaiting_, {})) abandon();
        if (completion) completion();
    });
}

}  // namespace plenda
