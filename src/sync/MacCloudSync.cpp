#include "sync/MacCloudSync.h"

namespace plenda {

MacCloudSync::MacCloudSync(Dependencies dependencies)
    : state_(dependencies.defaults, "cloudSync.dayBlocks", dependencies.changeTokenArchive),
      engine_(CloudSyncEngine::Dependencies{state_, dependencies.scheduler, dependencies.database,
                                            dependencies.systemLog, dependencies.output}) {}

void MacCloudSync::markBlocksDirty(const std::vector<MacDayBlock>& blocks) {
    std::vector<Uuid> ids;
    ids.reserve(blocks.size());
    for (const MacDayBlock& block : blocks) ids.push_back(block.id);
    state_.markDirty(ids);
}

bool MacCloudSync::hasPendingChanges() const {
    return !state_.readIDs(state_.dirtyKey()).empty() ||
           !state_.readIDs(state_.pendingDeleteKey()).empty();
}

}  // namespace plenda
