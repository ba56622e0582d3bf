#pragma once

#include "base/Date.h"
#include "base/Uuid.h"
#include "platform/ChangeTokenArchive.h"
#include "platform/Defaults.h"
#include "platform/Files.h"
#include "platform/Scheduler.h"
#include "sync/IdSet.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace plenda {


// What must still go to the cloud, kept in the user defaults: ids changed
// locally (dirty), ids deleted locally (pending delete), the zone's change
// token and whether the zone exists; and the ids the server has confirmed
// holding (with the zone incarnation that confirmed them), which tell a block
// deleted elsewhere from one never uploaded. The confirmed ids, one per block
// the cloud holds, live in a file of their own (16 bytes an id) rather than
// in the settings, which would otherwise be rewritten whole, hundreds of
// thousands of ids and all, after every upload. The id sets are read once and
// then live here, behind one lock; a set is written back only when it
// changed. With a scheduler the writes are gathered for `writeDelay` and made
// on the worker; without one they are made at once. Whatever is still
// unwritten is written by writePending and at destruction.
class CloudSyncState {
public:
    static constexpr double writeDelay = 1.0;
    // Where the confirmed ids are kept; without one they last only while the program runs.
    struct ConfirmedFile {
        Files& files;
        std::string path;
    };
    static constexpr std::string_view confirmedFileHeader = "Plenda confirmed ids 1\n";

    // Without an archive, change tokens are stored as their own bytes.
    explicit CloudSyncState(Defaults& defaults, std::string prefix = "cloudSync.dayBlocks",
                            const ChangeTokenArchive* archive = nullptr, Scheduler* scheduler = nullptr,
                            std::optional<ConfirmedFile> confirmedFile = std::nullopt);
    ~CloudSyncState();
    CloudSyncState(const CloudSyncState&) = delete;
    CloudSyncState& operator=(const CloudSyncState&) = delete;

    Defaults& defaults() const { return defaults_; }
    std::string stateKey(std::string_view suffix) const { return prefix_ + std::string(suffix); }
    std::string dirtyKey() const { return stateKey(".dirtyIDs"); }
    std::string pendingDeleteKey() const { return stateKey(".pendingDeleteIDs"); }
    std::string changeTokenKey() const { return stateKey(".zoneChangeToken"); }
    std::string zoneCreatedKey() const { return stateKey(".zoneCreated"); }
    // Where an earlier version kept the confirmed ids; moved to the file.
    std::string confirmedKey() const { return stateKey(".confirmedIDs"); }
    std::string deletedVersionsKey() const { return stateKey(".deletedVersions"); }
    // The mark of the zone incarnation the confirmed ids belong to.
    std::string zoneMarkKey() const { return stateKey(".zoneMark"); }

    // The dirty and pending-delete keys answer from the live sets; any other
    // key is read from the defaults: not an array of text is empty, texts
    // that are not UUIDs are skipped.
    IdSet readIDs(std::string_view key) const;
    // The confirmed ids as they are now, without copying them.
    std::shared_ptr<const IdSet> confirmedIDs() const;
    bool hasPending() const;
    void writeDirtyIDs(const IdSet& ids);
    // Writes the sets changed since their last write; any thread.
    void writePending();

    void markDirty(const std::vector<Uuid>& ids);
    void markDeleted(const std::vector<Uuid>& ids);
    void clearDirty(const IdSet& ids);
    void clearPendingDeletes(const IdSet& ids);
    // The server said it holds `held` and no longer holds `gone`.
    void confirm(const IdSet& held, const IdSet& gone);
    void forgetConfirmed();

    // Blocks deleted here, with the newest version deleted, so that a copy
    // no newer that reaches the server again (a late upload, a zone made
    // anew) is deleted again rather than taken back. The oldest versions
    // are forgotten past deletedVersionLimit.
    static constexpr std::size_t deletedVersionLimit = 10000;
    void rememberDeletions(const std::vector<std::pair<Uuid, Date>>& versions);
    // Per block deleted here, the newest version deleted.
    std::unordered_map<Uuid, Date> deletedVersions() const;

    // The zone's server change token; none before the first pull page, after
    // a reset, and when the stored bytes do not unarchive (they stay stored).
    CloudChangeTokenPtr loadChangeToken() const;
    // None, or a token that cannot be archived, removes the entry.
    void saveChangeToken(const CloudChangeTokenPtr& token);

private:
    // One stored set. A copy handed out (a snapshot being written, the
    // confirmed ids a pull started from) stays as it was: the set is copied
    // before a change while anyone else holds it.
    struct StoredSet {
        std::string key;
        std::shared_ptr<IdSet> ids;
        bool changed = false;
        IdSet& edit();
    };
    StoredSet load(std::string key) const;
    StoredSet loadConfirmed();
    void write(const std::string& key, const IdSet& ids);
    // Under lock_: `set` now differs from what is stored.
    void changed(StoredSet& set);
    void add(StoredSet& set, const IdSet& ids);
    void remove(StoredSet& set, const IdSet& ids);

    Defaults& defaults_;
    const std::string prefix_;
    const ChangeTokenArchive& archive_;
    Scheduler* scheduler_;
    std::optional<ConfirmedFile> confirmedFile_;  // none also when it could not be read
    mutable std::mutex lock_;
    // Held while writing, so that two writes never interleave and the newest lands last.
    std::mutex writing_;
    StoredSet dirty_, pending_, confirmed_;
    bool writeScheduled_ = false;
    Lifetime lifetime_;
};

}  // namespace plenda
