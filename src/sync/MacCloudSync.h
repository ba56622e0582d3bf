#pragma once

#include "model/MacDayBlock.h"
#include "sync/CloudSyncState.h"

#include <vector>

namespace plenda {

// The store's side of cloud sync: the bookkeeping it marks edits in.
class MacCloudSync {
public:
    explicit MacCloudSync(Defaults& defaults) : state_(defaults) {}

    CloudSyncState& state() { return state_; }
    const CloudSyncState& state() const { return state_; }

    void markBlocksDirty(const std::vector<MacDayBlock>& blocks);
    // Something is dirty or pending deletion.
    bool hasPendingChanges() const;

private:
    CloudSyncState state_;
};

}  // namespace plenda
