#pragma once

#include "model/MacDayBlock.h"
#include "model/StoreSync.h"
#include "sync/CloudSyncEngine.h"
#include "sync/CloudSyncState.h"

#include <functional>
#include <iostream>
#include <memory>
#include <vector>

namespace plenda {

class MacActivityStore;

// The store's side of cloud sync: the bookkeeping it marks edits in, the
// engine that talks to the cloud, full syncs, uploads and the merge of pulled
// records. Blocks, isSyncing and the sync message change only on the main
// thread; reading the bookkeeping, encoding and the engine's work happen on
// the worker.
class MacCloudSync final : public StoreSync {
public:
    struct Dependencies {
        Defaults& defaults;
        Scheduler& scheduler;
        // The user's private cloud database; null when none is configured,
        // which sync reports as unavailable.
        CloudDatabase* database = nullptr;
        SystemLog* systemLog = nullptr;
        // Null: change tokens are stored as their own bytes.
        const ChangeTokenArchive* changeTokenArchive = nullptr;
        std::ostream& output = std::cout;
        // Where the ids the cloud confirmed are kept, beside the block file;
        // null: only while the program runs.
        Files* files = nullptr;
    };

    MacCloudSync(MacActivityStore& store, Dependencies dependencies);
    // What the store is given to make its sync side with.
    static std::function<std::unique_ptr<StoreSync>(MacActivityStore&)> factory(Dependencies dependencies);

    CloudSyncState& state() { return state_; }
    const CloudSyncState& state() const { return state_; }
    CloudSyncEngine& engine() { return engine_; }

    void markBlocksDirty(const std::vector<MacDayBlock>& blocks) override;
    void markDeleted(const std::vector<MacDayBlock>& blocks) override;
    bool hasPendingChanges() const override;
    bool isSyncing() const override { return isSyncing_; }
    void syncNow(std::function<void()> finished) override;
    void pushPending(std::vector<MacDayBlock> blocks, bool pruneStale, std::function<void()> finished) override;
    void pushAllPending(std::function<void()> finished) override { pushPending(dirtyBlocks(), true, std::move(finished)); }
    void resetAvailability(std::function<void()> finished) override;
    void writeBookkeeping() override;

    // Last writer wins; ties keep the local block.
    void applyPulled(const std::vector<CloudRecordEnvelope>& changed, const std::vector<Uuid>& deleted);

private:
    // Main thread, after a push: forgets the dirty marks whose block is still
    // the version that was sent, or that no longer has a block.
    void settlePush(const std::vector<MacDayBlock>& sent, const PushResult& pushed, const IdSet& staleCandidates);
    void reconcileWholeZone(const IdSet& held, const IdSet& confirmedBefore);
    // A recategorisation that won elsewhere teaches this device the override.
    void learnCategory(const MacDayBlock& local, const MacDayBlock& incoming);
    void forgetChangeToken();
    std::vector<MacDayBlock> dirtyBlocks() const;

    MacActivityStore& store_;
    Scheduler& scheduler_;
    std::ostream& output_;
    CloudSyncState state_;
    CloudSyncEngine engine_;
    const bool hasCloud_;
    bool isSyncing_ = false;
    // Pulls applied, and the one whose change token was saved last.
    std::uint64_t pulls_ = 0;
    std::uint64_t tokenPull_ = 0;
    Lifetime lifetime_;
};

}  // namespace plenda
