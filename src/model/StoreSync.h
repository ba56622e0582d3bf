#pragma once

#include "base/Uuid.h"
#include "model/MacDayBlock.h"

#include <functional>
#include <vector>

namespace plenda {

// How the store meets cloud sync without knowing it. The store owns one of
// these, made by the factory it is given (the sync layer's MacCloudSync);
// after every change it marks what changed here and starts an upload. The
// sync side reads and replaces blocks through the store's public operations.
class StoreSync {
public:
    virtual ~StoreSync() = default;

    // Bookkeeping only: these blocks must go up, or be deleted on the server.
    virtual void markBlocksDirty(const std::vector<MacDayBlock>& blocks) = 0;
    virtual void markDeleted(const std::vector<MacDayBlock>& blocks) = 0;
    // Something is dirty or pending deletion.
    virtual bool hasPendingChanges() const = 0;
    virtual bool isSyncing() const = 0;

    // Pull, merge, push everything pending; `finished` runs on the main
    // thread once the status is final (also when nothing was started).
    virtual void syncNow(std::function<void()> finished) = 0;
    // Sends pending changes for `blocks` (and every pending deletion) to the
    // cloud on the worker, then calls `finished` on the main thread.
    virtual void pushPending(std::vector<MacDayBlock> blocks, bool pruneStale, std::function<void()> finished) = 0;
    // The same for every block with a pending change (at sleep and quit).
    virtual void pushAllPending(std::function<void()> finished) = 0;
    // Forgets that the account was found unusable; `finished` runs on the worker.
    virtual void resetAvailability(std::function<void()> finished) = 0;
    // Writes the bookkeeping still held back now (at quit, before sleep).
    virtual void writeBookkeeping() {}
};

}  // namespace plenda
