#include "sync/MacCloudSync.h"

#include "model/MacActivityStore.h"
#include "model/MacDayBlockJson.h"
#include "platform/SyncLog.h"

#include <algorithm>
#include <memory>
#include <unordered_map>

namespace plenda {

namespace {

std::optional<CloudSyncState::ConfirmedFile> confirmedFile(MacActivityStore& store, Files* files) {
    const std::string& blocks = store.blocksFilePath();
    if (!files || blocks.empty()) return std::nullopt;
    return CloudSyncState::ConfirmedFile{*files, blocks.substr(0, blocks.rfind('/') + 1) + "cloud-confirmed-ids"};
}

}  // namespace

MacCloudSync::MacCloudSync(MacActivityStore& store, Dependencies dependencies)
    : store_(store),
      scheduler_(dependencies.scheduler),
      output_(dependencies.output),
      state_(dependencies.defaults, "cloudSync.dayBlocks", dependencies.changeTokenArchive, &dependencies.scheduler,
             confirmedFile(store, dependencies.files)),
      engine_(CloudSyncEngine::Dependencies{state_, dependencies.scheduler, dependencies.database,
                                            dependencies.systemLog, dependencies.output}),
      hasCloud_(dependencies.database != nullptr) {
    // Marks kept for a cloud this run has none of (an earlier run's, or an
    // older version's that marked regardless) only grow the settings.
    if (!hasCloud_ && !state_.readIDs(state_.dirtyKey()).empty()) {
        state_.writeDirtyIDs({});
        forgetChangeToken();
    }
}

// With no cloud there is nowhere to send a change, so none is marked. The
// next sync with a cloud then starts from no token: it fetches the whole zone,
// and every block the server never confirmed goes up (see reconcileWholeZone).
// Deletions are still marked: a whole-zone fetch would bring them back.
void MacCloudSync::forgetChangeToken() {
    if (state_.defaults().object(state_.changeTokenKey())) state_.saveChangeToken(nullptr);
}

std::function<std::unique_ptr<StoreSync>(MacActivityStore&)> MacCloudSync::factory(Dependencies dependencies) {
    return [dependencies](MacActivityStore& store) { return std::make_unique<MacCloudSync>(store, dependencies); };
}

void MacCloudSync::markBlocksDirty(const std::vector<MacDayBlock>& blocks) {
    if (!hasCloud_) return forgetChangeToken();
    std::vector<Uuid> ids;
    ids.reserve(blocks.size());
    for (const MacDayBlock& block : blocks) ids.push_back(block.id);
    state_.markDirty(ids);
}

void MacCloudSync::markDeleted(const std::vector<MacDayBlock>& blocks) {
    std::vector<Uuid> ids;
    std::vector<std::pair<Uuid, Date>> versions;
    for (const MacDayBlock& block : blocks) {
        ids.push_back(block.id);
        versions.emplace_back(block.id, block.lastModified());
    }
    state_.rememberDeletions(versions);
    state_.markDeleted(ids);
}

bool MacCloudSync::hasPendingChanges() const { return state_.hasPending(); }

void MacCloudSync::writeBookkeeping() { state_.writePending(); }

// The blocks a push would send; none at all, most of the time.
std::vector<MacDayBlock> MacCloudSync::dirtyBlocks() const {
    std::vector<MacDayBlock> blocks;
    for (const Uuid& id : state_.readIDs(state_.dirtyKey())) {
        if (auto block = store_.block(id)) blocks.push_back(std::move(*block));
    }
    return blocks;
}

void MacCloudSync::resetAvailability(std::function<void()> finished) {
    engine_.resetAvailability(std::move(finished));
}

void MacCloudSync::syncNow(std::function<void()> finished) {
    const auto finish = [this, finished] {
        if (finished) scheduler_.post(finished);
    };
    if (store_.cloudSyncDisabled()) {
        store_.setSyncMessage("mac.sync.testmode");
        return finish();
    }
    if (isSyncing_) return finish();
    isSyncing_ = true;
    store_.setSyncMessage("mac.sync.syncing");

    // What the server had confirmed before this pull; an id confirmed while
    // it runs may be missing from a whole-zone fetch without being deleted.
    const std::shared_ptr<const IdSet> confirmedBefore = state_.confirmedIDs();

    engine_.pull([this, alive = lifetime_.weak(), finished, confirmedBefore](CloudResult<PullResult> pulled) {
        if (alive.expired()) return;
        if (!pulled.ok()) {
            SyncLog(output_, nullptr).toOutput("Sync failed: " + pulled.error().description);
            scheduler_.post([this, alive, finished] {
                if (alive.expired()) return;
                isSyncing_ = false;
                store_.setSyncMessage("mac.sync.unavailable");
                if (finished) finished();
            });
            return;
        }
        scheduler_.post([this, alive, result = std::move(pulled.value()), finished, confirmedBefore] {
            if (alive.expired()) return;
            applyPulled(result.changed, result.deleted);
            std::vector<Uuid> changedIDs;
            for (const CloudRecordEnvelope& envelope : result.changed) changedIDs.push_back(envelope.id);
            const IdSet held(changedIDs.begin(), changedIDs.end());
            if (result.wholeZone) {
                // Confirmations by an earlier incarnation of the zone (deleted
                // and made anew since) say nothing about this one.
                Defaults& defaults = state_.defaults();
                const bool sameZone =
                    !result.zoneMark.empty() && defaults.string(state_.zoneMarkKey()) == result.zoneMark;
                if (!sameZone) state_.forgetConfirmed();
                const IdSet none;
                reconcileWholeZone(held, sameZone ? *confirmedBefore : none);
                if (result.zoneMark.empty()) {
                    if (defaults.object(state_.zoneMarkKey())) defaults.remove(state_.zoneMarkKey());
                } else if (!sameZone) {
                    defaults.setString(state_.zoneMarkKey(), result.zoneMark);
                }
            }
            state_.confirm(held, IdSet(result.deleted.begin(), result.deleted.end()));
            // The token only once what it covers is in the block file, written
            // on the writer; a failed write leaves the old token, and the next
            // pull brings the same again. A token saved since is never replaced
            // by an older one.
            const auto keepToken = [this, alive, token = result.changeToken, pull = ++pulls_](bool written) {
                if (alive.expired() || !written || pull < tokenPull_) return;
                tokenPull_ = pull;
                state_.saveChangeToken(token);
            };
            // Blocks a whole-zone fetch found deleted elsewhere are changes too.
            if (result.changed.empty() && result.deleted.empty() && !store_.hasPendingSave()) keepToken(true);
            else store_.saveThen(keepToken);
            pushPending(dirtyBlocks(), true, [this, alive, finished] {
                if (alive.expired()) return;
                isSyncing_ = false;
                store_.setSyncMessage(hasPendingChanges() ? "mac.sync.incomplete" : "mac.sync.synced");
                if (finished) finished();
            });
        });
    });
}

void MacCloudSync::pushPending(std::vector<MacDayBlock> blocks, bool pruneStale,
                                   std::function<void()> finished) {
    if (store_.cloudSyncDisabled()) {
        if (finished) scheduler_.post(std::move(finished));
        return;
    }
    auto sent = std::make_shared<std::vector<MacDayBlock>>(std::move(blocks));
    scheduler_.runOnWorker([this, alive = lifetime_.weak(), sent, pruneStale, finished = std::move(finished)] {
        if (alive.expired()) return;
        const auto done = [this, finished] {
            if (finished) scheduler_.post(finished);
        };
        CloudSyncState& state = state_;
        const IdSet dirty = state.readIDs(state.dirtyKey());
        const IdSet pending = state.readIDs(state.pendingDeleteKey());
        if (dirty.empty() && pending.empty()) return done();

        std::vector<CloudRecordEnvelope> envelopes;
        std::vector<Uuid> presentIDs;
        for (const MacDayBlock& block : *sent) {
            if (!dirty.contains(block.id)) continue;
            auto payload = encodeBlock(block);
            if (!payload) continue;
            envelopes.push_back(CloudRecordEnvelope{block.id, std::move(*payload), block.lastModified()});
            presentIDs.push_back(block.id);
        }
        const IdSet present(presentIDs.begin(), presentIDs.end());
        IdSet staleCandidates;
        if (pruneStale) {
            std::set_difference(dirty.begin(), dirty.end(), present.begin(), present.end(),
                                std::inserter(staleCandidates, staleCandidates.end()));
        }
        const auto settle = [this, alive, sent, staleCandidates, finished](PushResult pushed) {
            scheduler_.post([this, alive, sent, staleCandidates, finished, pushed = std::move(pushed)] {
                if (alive.expired()) return;
                settlePush(*sent, pushed, staleCandidates);
                if (finished) finished();
            });
        };
        if (envelopes.empty() && pending.empty()) return settle({});

        engine_.push(std::move(envelopes), std::vector<Uuid>(pending.begin(), pending.end()),
                             [this, alive, settle, done](CloudResult<PushResult> pushed) {
                                 if (alive.expired()) return;
                                 if (!pushed.ok()) {
                                     SyncLog(output_, nullptr).toOutput("Push failed: " +
                                                                        pushed.error().description);
                                     return done();
                                 }
                                 settle(std::move(pushed.value()));
                             });
    });
}

// An id that was edited again while its upload was under way stays dirty, so
// the newer version goes up next; ids are judged against the live blocks. A
// version the server kept because it is newer replaces the one sent, unless
// the block changed again here meanwhile.
void MacCloudSync::settlePush(const std::vector<MacDayBlock>& sent, const PushResult& pushed,
                              const IdSet& staleCandidates) {
    std::unordered_map<Uuid, const MacDayBlock*> sentIndex;
    for (const MacDayBlock& block : sent) sentIndex.emplace(block.id, &block);
    const auto unchangedSinceSent = [&](const std::optional<MacDayBlock>& now) {
        const auto then = sentIndex.find(now->id);
        return then != sentIndex.end() && *now == *then->second;
    };
    std::vector<Uuid> clear, held(pushed.savedIDs.begin(), pushed.savedIDs.end());
    for (const Uuid& id : pushed.savedIDs) {
        const auto now = store_.block(id);
        if (!now || unchangedSinceSent(now)) clear.push_back(id);
    }
    std::vector<MacDayBlock> adopted;
    for (const CloudRecordEnvelope& envelope : pushed.newerOnServer) {
        held.push_back(envelope.id);
        auto incoming = decodeBlock(envelope.payload);
        const auto local = store_.block(envelope.id);
        if (!incoming || incoming->id != envelope.id || !local || !unchangedSinceSent(local)) continue;
        if (incoming->lastModified() < local->lastModified()) continue;
        learnCategory(*local, *incoming);
        adopted.push_back(std::move(*incoming));
        clear.push_back(envelope.id);
    }
    for (const Uuid& id : staleCandidates) {
        if (!store_.block(id)) clear.push_back(id);
    }
    if (!adopted.empty()) store_.putBlocks(adopted, {});
    if (!clear.empty()) state_.clearDirty(IdSet(clear.begin(), clear.end()));
    if (!pushed.deletedIDs.empty()) state_.clearPendingDeletes(pushed.deletedIDs);
    state_.confirm(IdSet(held.begin(), held.end()), pushed.deletedIDs);
}

// After a fetch of the whole zone: a block the server does not hold was
// deleted elsewhere if the server had confirmed it and it did not change here
// since; otherwise it never reached the server and goes up now.
void MacCloudSync::reconcileWholeZone(const IdSet& held, const IdSet& confirmedBefore) {
    const IdSet dirty = state_.readIDs(state_.dirtyKey());
    std::vector<std::pair<Uuid, Date>> deletedElsewhere;
    std::vector<Uuid> neverUploaded;
    store_.forEachBlock([&](const BlockList::Stored& block) {
        if (held.contains(block.id()) || dirty.contains(block.id())) return;
        if (std::binary_search(confirmedBefore.begin(), confirmedBefore.end(), block.id())) {
            deletedElsewhere.emplace_back(block.id(), block.lastModified());
        } else {
            neverUploaded.push_back(block.id());
        }
    });
    if (!deletedElsewhere.empty()) {
        // Remembered like a deletion made here, so that an older copy landing
        // late (an upload given up on) is deleted again.
        state_.rememberDeletions(deletedElsewhere);
        std::vector<Uuid> ids;
        for (const auto& [id, version] : deletedElsewhere) ids.push_back(id);
        store_.putBlocks({}, ids);
    }
    if (!neverUploaded.empty()) state_.markDirty(neverUploaded);
    IdSet gone;
    std::set_difference(confirmedBefore.begin(), confirmedBefore.end(), held.begin(), held.end(),
                        std::inserter(gone, gone.end()));
    state_.confirm({}, gone);
}

void MacCloudSync::learnCategory(const MacDayBlock& local, const MacDayBlock& incoming) {
    if (incoming.title == local.title && incoming.category != local.category) {
        store_.rememberCategory(incoming.title, incoming.category);
    }
}

// Only the blocks the pull changes are touched: each is looked up by id, and
// the store replaces, adds or removes just those.
void MacCloudSync::applyPulled(const std::vector<CloudRecordEnvelope>& changed,
                                   const std::vector<Uuid>& deleted) {
    // Most pulls bring nothing: the blocks stay as they are, unsaved.
    if (changed.empty() && deleted.empty()) return;
    CloudSyncState& state = state_;
    const IdSet pendingDeletes = state.readIDs(state.pendingDeleteKey());
    const auto deletedHere = state.deletedVersions();
    std::vector<MacDayBlock> merged;  // the blocks this pull changes, as it leaves them
    std::unordered_map<Uuid, std::size_t> mergedIndex;
    const auto current = [&](const Uuid& id) {
        const auto found = mergedIndex.find(id);
        return found != mergedIndex.end() ? std::optional(merged[found->second]) : store_.block(id);
    };
    const auto take = [&](MacDayBlock block) {
        const auto [found, added] = mergedIndex.emplace(block.id, merged.size());
        if (added) merged.push_back(std::move(block));
        else merged[found->second] = std::move(block);
    };
    std::vector<MacDayBlock> newerHere;
    std::vector<Uuid> deleteAgain;

    for (const CloudRecordEnvelope& envelope : changed) {
        auto incoming = decodeBlock(envelope.payload);
        // A payload filed under another block's name is not that block's record.
        if (!incoming || incoming->id != envelope.id) continue;
        const auto local = current(incoming->id);
        if (!local) {
            // Deleted here and not yet uploaded: the deletion is the newer intent.
            if (pendingDeletes.contains(incoming->id)) continue;
            // Deleted here, and back on the server unchanged since.
            if (const auto deleted = deletedHere.find(incoming->id);
                deleted != deletedHere.end() && incoming->lastModified() <= deleted->second) {
                deleteAgain.push_back(incoming->id);
                continue;
            }
            take(std::move(*incoming));
            continue;
        }
        if (incoming->lastModified() < local->lastModified()) {
            // The server holds an older version (pushed over ours without a
            // pull): ours must go up again, or the devices stay different.
            newerHere.push_back(*local);
            continue;
        }
        if (incoming->lastModified() == local->lastModified()) continue;
        learnCategory(*local, *incoming);
        take(std::move(*incoming));
    }

    const IdSet dirty = state.readIDs(state.dirtyKey());
    std::vector<Uuid> removed;
    std::vector<std::pair<Uuid, Date>> removedVersions;
    for (const Uuid& id : IdSet(deleted.begin(), deleted.end())) {
        // A local change not uploaded yet survives; the next push recreates it.
        if (dirty.contains(id)) continue;
        if (const auto block = current(id)) {
            removed.push_back(id);
            removedVersions.emplace_back(id, block->lastModified());
        }
    }
    if (!removedVersions.empty()) state_.rememberDeletions(removedVersions);
    store_.putBlocks(merged, removed);
    if (!newerHere.empty()) markBlocksDirty(newerHere);
    if (!deleteAgain.empty()) state.markDeleted(deleteAgain);
}

}  // namespace plenda
