#include "sync/MacCloudSync.h"

#include "model/MacActivityStore.h"
#include "model/MacDayBlockJson.h"
#include "platform/SyncLog.h"

#include <algorithm>
#include <memory>
#include <unordered_map>

namespace plenda {

namespace {

std::unordered_map<Uuid, std::size_t> indexByID(const std::vector<MacDayBlock>& blocks) {
    std::unordered_map<Uuid, std::size_t> index;
    index.reserve(blocks.size());
    for (std::size_t i = 0; i < blocks.size(); ++i) index.emplace(blocks[i].id, i);
    return index;
}

}  // namespace

MacCloudSync::MacCloudSync(MacActivityStore& store, Dependencies dependencies)
    : store_(store),
      scheduler_(dependencies.scheduler),
      output_(dependencies.output),
      state_(dependencies.defaults, "cloudSync.dayBlocks", dependencies.changeTokenArchive),
      engine_(CloudSyncEngine::Dependencies{state_, dependencies.scheduler, dependencies.database,
                                            dependencies.systemLog, dependencies.output}) {}

std::function<std::unique_ptr<StoreSync>(MacActivityStore&)> MacCloudSync::factory(Dependencies dependencies) {
    return [dependencies](MacActivityStore& store) { return std::make_unique<MacCloudSync>(store, dependencies); };
}

void MacCloudSync::markBlocksDirty(const std::vector<MacDayBlock>& blocks) {
    std::vector<Uuid> ids;
    ids.reserve(blocks.size());
    for (const MacDayBlock& block : blocks) ids.push_back(block.id);
    state_.markDirty(ids);
}

void MacCloudSync::markDeleted(const std::vector<Uuid>& ids) { state_.markDeleted(ids); }

bool MacCloudSync::hasPendingChanges() const {
    return !state_.readIDs(state_.dirtyKey()).empty() || !state_.readIDs(state_.pendingDeleteKey()).empty();
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

    // Without a token every local block goes up. Marked here rather than on
    // the worker so that a deletion made meanwhile cannot be turned back
    // into a dirty mark.
    if (!state_.loadChangeToken()) markBlocksDirty(store_.blocks());

    engine_.pull([this, alive = lifetime_.weak(), finished](CloudResult<PullResult> pulled) {
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
        scheduler_.post([this, alive, result = std::move(pulled.value()), finished] {
            if (alive.expired()) return;
            // After a token expiry or a rebuilt zone the server may lack anything.
            if (result.fullRefetch) markBlocksDirty(store_.blocks());
            applyPulled(result.changed, result.deleted);
            // The token only once what it covers is in the block file; a failed
            // write leaves the old token, and the next pull brings the same again.
            if ((result.changed.empty() && result.deleted.empty()) || store_.saveNow()) {
                state_.saveChangeToken(result.changeToken);
            }
            pushPending(store_.blocks(), true, [this, alive, finished] {
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
        IdSet present;
        for (const MacDayBlock& block : *sent) {
            if (!dirty.contains(block.id)) continue;
            auto payload = encodeBlock(block);
            if (!payload) continue;
            envelopes.push_back(CloudRecordEnvelope{block.id, std::move(*payload), block.lastModified()});
            present.insert(block.id);
        }
        IdSet staleCandidates;
        if (pruneStale) {
            std::set_difference(dirty.begin(), dirty.end(), present.begin(), present.end(),
                                std::inserter(staleCandidates, staleCandidates.end()));
        }
        const auto settle = [this, alive, sent, staleCandidates, finished](IdSet saved, IdSet deleted) {
            scheduler_.post([this, alive, sent, staleCandidates, finished, saved = std::move(saved),
                             deleted = std::move(deleted)] {
                if (alive.expired()) return;
                settlePush(*sent, saved, deleted, staleCandidates);
                if (finished) finished();
            });
        };
        if (envelopes.empty() && pending.empty()) return settle({}, {});

        engine_.push(std::move(envelopes), std::vector<Uuid>(pending.begin(), pending.end()),
                             [this, alive, settle, done](CloudResult<PushResult> pushed) {
                                 if (alive.expired()) return;
                                 if (!pushed.ok()) {
                                     SyncLog(output_, nullptr).toOutput("Push failed: " +
                                                                        pushed.error().description);
                                     return done();
                                 }
                                 settle(std::move(pushed.value().savedIDs), std::move(pushed.value().deletedIDs));
                             });
    });
}

// An id that was edited again while its upload was under way stays dirty, so
// the newer version goes up next; ids are judged against the live blocks.
void MacCloudSync::settlePush(const std::vector<MacDayBlock>& sent, const IdSet& savedIDs,
                                  const IdSet& deletedIDs, const IdSet& staleCandidates) {
    const auto live = indexByID(store_.blocks());
    IdSet clear;
    if (!savedIDs.empty()) {
        const auto sentIndex = indexByID(sent);
        for (const Uuid& id : savedIDs) {
            const auto now = live.find(id);
            const auto then = sentIndex.find(id);
            if (now == live.end() || (then != sentIndex.end() && store_.blocks()[now->second] == sent[then->second])) {
                clear.insert(id);
            }
        }
    }
    for (const Uuid& id : staleCandidates) {
        if (!live.contains(id)) clear.insert(id);
    }
    if (!clear.empty()) state_.clearDirty(clear);
    if (!deletedIDs.empty()) state_.clearPendingDeletes(deletedIDs);
}

void MacCloudSync::applyPulled(const std::vector<CloudRecordEnvelope>& changed,
                                   const std::vector<Uuid>& deleted) {
    CloudSyncState& state = state_;
    std::vector<MacDayBlock> merged = store_.blocks();
    auto index = indexByID(merged);
    const IdSet pendingDeletes = state.readIDs(state.pendingDeleteKey());
    std::vector<MacDayBlock> newerHere;

    for (const CloudRecordEnvelope& envelope : changed) {
        auto incoming = decodeBlock(envelope.payload);
        // A payload filed under another block's name is not that block's record.
        if (!incoming || incoming->id != envelope.id) continue;
        const auto found = index.find(incoming->id);
        if (found == index.end()) {
            // Deleted here and not yet uploaded: the deletion is the newer intent.
            if (pendingDeletes.contains(incoming->id)) continue;
            index.emplace(incoming->id, merged.size());
            merged.push_back(std::move(*incoming));
            continue;
        }
        MacDayBlock& local = merged[found->second];
        if (incoming->lastModified() < local.lastModified()) {
            // The server holds an older version (pushed over ours without a
            // pull): ours must go up again, or the devices stay different.
            newerHere.push_back(local);
            continue;
        }
        if (incoming->lastModified() == local.lastModified()) continue;
        if (incoming->title == local.title && incoming->category != local.category) {
            store_.rememberCategory(incoming->title, incoming->category);
        }
        local = std::move(*incoming);
    }

    const IdSet dirty = state.readIDs(state.dirtyKey());
    IdSet removed;
    for (const Uuid& id : deleted) {
        // A local change not uploaded yet survives; the next push recreates it.
        if (!dirty.contains(id) && index.contains(id)) removed.insert(id);
    }
    if (!removed.empty()) {
        std::erase_if(merged, [&](const MacDayBlock& block) { return removed.contains(block.id); });
    }
    std::stable_sort(merged.begin(), merged.end(), [](const MacDayBlock& a, const MacDayBlock& b) {
        return a.effectiveStart() < b.effectiveStart();
    });
    store_.replaceBlocks(std::move(merged));
    if (!newerHere.empty()) markBlocksDirty(newerHere);
}

}  // namespace plenda
