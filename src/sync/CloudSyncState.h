#pragma once

#include "base/Date.h"
#include "base/Uuid.h"
#include "platform/ChangeTokenArchive.h"
#include "platform/Defaults.h"

#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace plenda {

using IdSet = std::set<Uuid>;

// What must still go to the cloud, kept in the user defaults: ids changed
// locally (dirty), ids deleted locally (pending delete), the zone's change
// token and whether the zone exists; and the ids the server has confirmed
// holding (with the zone incarnation that confirmed them), which tell a block
// deleted elsewhere from one never uploaded. The
// id sets' read-modify-write steps are serialised by one lock; plain reads
// take none.
class CloudSyncState {
public:
    // Without an archive, change tokens are stored as their own bytes.
    explicit CloudSyncState(Defaults& defaults, std::string prefix = "cloudSync.dayBlocks",
                            const ChangeTokenArchive* archive = nullptr);

    Defaults& defaults() const { return defaults_; }
    std::string stateKey(std::string_view suffix) const { return prefix_ + std::string(suffix); }
    std::string dirtyKey() const { return stateKey(".dirtyIDs"); }
    std::string pendingDeleteKey() const { return stateKey(".pendingDeleteIDs"); }
    std::string changeTokenKey() const { return stateKey(".zoneChangeToken"); }
    std::string zoneCreatedKey() const { return stateKey(".zoneCreated"); }
    std::string confirmedKey() const { return stateKey(".confirmedIDs"); }
    std::string deletedVersionsKey() const { return stateKey(".deletedVersions"); }
    // The mark of the zone incarnation the confirmed ids belong to.
    std::string zoneMarkKey() const { return stateKey(".zoneMark"); }

    // Not an array of text: empty. Texts that are not UUIDs are skipped.
    IdSet readIDs(std::string_view key) const;
    void writeDirtyIDs(const IdSet& ids);
    void writePendingDeleteIDs(const IdSet& ids);

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
    void writeIDs(const std::string& key, const IdSet& ids);

    Defaults& defaults_;
    const std::string prefix_;
    const ChangeTokenArchive& archive_;
    std::mutex lock_;
};

}  // namespace plenda
