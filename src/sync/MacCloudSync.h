#pragma once

#include "model/MacDayBlock.h"
#include "sync/CloudSyncEngine.h"
#include "sync/CloudSyncState.h"

#include <iostream>
#include <vector>

namespace plenda {

// The store's side of cloud sync: the bookkeeping it marks edits in and the
// engine that talks to the cloud.
class MacCloudSync {
public:
    struct Dependencies {
        Defaults& defaults;
        Scheduler& scheduler;
        CloudDatabase* database = nullptr;
        SystemLog* systemLog = nullptr;
        const ChangeTokenArchive* changeTokenArchive = nullptr;
        std::ostream& output = std::cout;
    };

    explicit MacCloudSync(Dependencies dependencies);

    CloudSyncState& state() { return state_; }
    const CloudSyncState& state() const { return state_; }
    CloudSyncEngine& engine() { return engine_; }

    void markBlocksDirty(const std::vector<MacDayBlock>& blocks);
    // Something is dirty or pending deletion.
    bool hasPendingChanges() const;

private:
    CloudSyncState state_;
    CloudSyncEngine engine_;
};

}  // namespace plenda
