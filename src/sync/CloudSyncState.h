#pragma once

#include "base/Uuid.h"
#include "platform/ChangeTokenArchive.h"
#include "platform/Defaults.h"

#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace plenda {

using IdSet = std::set<Uuid>;

// What must still go to the cloud, kept in the user defaults: ids changed
// locally (dirty), ids deleted locally (pending delete), the zone's change
// token and whether the zone exists. The id sets' read-modify-write steps are
// serialised by one lock; plain reads take none.
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

    // Not an array of text: empty. Texts that are not UUIDs are skipped.
    IdSet readIDs(std::string_view key) const;
    void writeDirtyIDs(const IdSet& ids);
    void writePendingDeleteIDs(const IdSet& ids);

    void markDirty(const std::vector<Uuid>& ids);
    void markDeleted(const std::vector<Uuid>& ids);
    void clearDirty(const IdSet& ids);
    void clearPendingDeletes(const IdSet& ids);

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
