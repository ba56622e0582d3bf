#include "sync/CloudSyncState.h"

#include "platform/OpaqueChangeToken.h"

#include <algorithm>

namespace plenda {

namespace {
const OpaqueChangeTokenArchive opaqueArchive;
}

namespace {

IdSet parseIDs(const std::optional<std::vector<std::string>>& strings) {
    IdSet ids;
    if (!strings) return ids;
    for (const std::string& text : *strings) {
        if (auto id = Uuid::parse(text)) ids.insert(*id);
    }
    return ids;
}

}  // namespace

CloudSyncState::CloudSyncState(Defaults& defaults, std::string prefix, const ChangeTokenArchive* archive,
                               Scheduler* scheduler)
    : defaults_(defaults),
      prefix_(std::move(prefix)),
      archive_(archive ? *archive : opaqueArchive),
      scheduler_(scheduler),
      dirty_(load(dirtyKey())),
      pending_(load(pendingDeleteKey())),
      confirmed_(load(confirmedKey())) {}

CloudSyncState::~CloudSyncState() { writePending(); }

CloudSyncState::StoredSet CloudSyncState::load(std::string key) const {
    auto ids = std::make_shared<IdSet>(parseIDs(defaults_.stringArray(key)));
    return StoredSet{std::move(key), std::move(ids)};
}

IdSet& CloudSyncState::StoredSet::edit() {
    if (ids.use_count() > 1) ids = std::make_shared<IdSet>(*ids);
    return *ids;
}

void CloudSyncState::changed(StoredSet& set) {
    set.changed = true;
    if (!scheduler_) {
        // Nothing to gather the writes: written at once, under the lock.
        DefaultsValue::Array array;
        array.reserve(set.ids->size());
        for (const Uuid& id : *set.ids) array.emplace_back(id.string());
        defaults_.set(set.key, std::move(array));
        set.changed = false;
        return;
    }
    if (writeScheduled_) return;
    writeScheduled_ = true;
    scheduler_->post([this, alive = lifetime_.weak()] {
        if (alive.expired()) return;
        scheduler_->after(writeDelay, [this, alive] {
            if (alive.expired()) return;
            scheduler_->runOnWorker([this, alive] {
                if (const auto guard = alive.lock()) writePending();
            });
        });
    });
}

void CloudSyncState::writePending() {
    std::lock_guard writing(writing_);
    std::vector<std::pair<std::string, std::shared_ptr<const IdSet>>> snapshots;
    {
        std::lock_guard guard(lock_);
        writeScheduled_ = false;
        for (StoredSet* set : {&dirty_, &pending_, &confirmed_}) {
            if (!set->changed) continue;
            set->changed = false;
            snapshots.emplace_back(set->key, set->ids);
        }
    }
    for (const auto& [key, ids] : snapshots) {
        DefaultsValue::Array array;
        array.reserve(ids->size());
        for (const Uuid& id : *ids) array.emplace_back(id.string());
        defaults_.set(key, std::move(array));
    }
}

IdSet CloudSyncState::readIDs(std::string_view key) const {
    std::lock_guard guard(lock_);
    for (const StoredSet* set : {&dirty_, &pending_, &confirmed_}) {
        if (set->key == key) return *set->ids;
    }
    return parseIDs(defaults_.stringArray(key));
}

std::shared_ptr<const IdSet> CloudSyncState::confirmedIDs() const {
    std::lock_guard guard(lock_);
    return confirmed_.ids;
}

bool CloudSyncState::hasPending() const {
    std::lock_guard guard(lock_);
    return !dirty_.ids->empty() || !pending_.ids->empty();
}

void CloudSyncState::writeDirtyIDs(const IdSet& ids) {
    std::lock_guard guard(lock_);
    if (*dirty_.ids == ids) return;
    dirty_.edit() = ids;
    changed(dirty_);
}

void CloudSyncState::markDirty(const std::vector<Uuid>& ids) {
    std::lock_guard guard(lock_);
    bool dirtyChanged = false, pendingChanged = false;
    for (const Uuid& id : ids) {
        if (!dirty_.ids->contains(id)) dirtyChanged = dirty_.edit().insert(id).second;
        if (pending_.ids->contains(id)) pendingChanged = pending_.edit().erase(id) > 0;
    }
    if (dirtyChanged) changed(dirty_);
    if (pendingChanged) changed(pending_);
}

void CloudSyncState::markDeleted(const std::vector<Uuid>& ids) {
    std::lock_guard guard(lock_);
    bool dirtyChanged = false, pendingChanged = false;
    for (const Uuid& id : ids) {
        if (!pending_.ids->contains(id)) pendingChanged = pending_.edit().insert(id).second;
        if (dirty_.ids->contains(id)) dirtyChanged = dirty_.edit().erase(id) > 0;
    }
    if (dirtyChanged) changed(dirty_);
    if (pendingChanged) changed(pending_);
}

void CloudSyncState::clearDirty(const IdSet& ids) {
    std::lock_guard guard(lock_);
    bool any = false;
    for (const Uuid& id : ids) {
        if (dirty_.ids->contains(id)) any = dirty_.edit().erase(id) > 0;
    }
    if (any) changed(dirty_);
}

void CloudSyncState::clearPendingDeletes(const IdSet& ids) {
    std::lock_guard guard(lock_);
    bool any = false;
    for (const Uuid& id : ids) {
        if (pending_.ids->contains(id)) any = pending_.edit().erase(id) > 0;
    }
    if (any) changed(pending_);
}

void CloudSyncState::confirm(const IdSet& held, const IdSet& gone) {
    std::lock_guard guard(lock_);
    bool any = false;
    for (const Uuid& id : gone) {
        if (confirmed_.ids->contains(id)) any = confirmed_.edit().erase(id) > 0;
    }
    for (const Uuid& id : held) {
        if (!confirmed_.ids->contains(id)) any = confirmed_.edit().insert(id).second;
    }
    if (any) changed(confirmed_);
}

void CloudSyncState::forgetConfirmed() {
    std::lock_guard guard(lock_);
    if (confirmed_.ids->empty()) return;
    confirmed_.ids = std::make_shared<IdSet>();
    changed(confirmed_);
}

void CloudSyncState::rememberDeletions(const std::vector<std::pair<Uuid, Date>>& versions) {
    std::lock_guard guard(lock_);
    std::unordered_map<Uuid, Date> known = deletedVersions();
    for (const auto& [id, version] : versions) {
        const auto [entry, added] = known.emplace(id, version);
        if (!added) entry->second = std::max(entry->second, version);
    }
    std::vector<std::pair<Uuid, Date>> newestFirst(known.begin(), known.end());
    if (newestFirst.size() > deletedVersionLimit) {
        std::ranges::nth_element(newestFirst, newestFirst.begin() + deletedVersionLimit,
                                 [](const auto& a, const auto& b) { return a.second > b.second; });
        newestFirst.resize(deletedVersionLimit);
    }
    DefaultsValue::Dictionary stored;
    for (const auto& [id, version] : newestFirst) stored.emplace(id.string(), version.seconds);
    defaults_.set(deletedVersionsKey(), std::move(stored));
}

std::unordered_map<Uuid, Date> CloudSyncState::deletedVersions() const {
    std::unordered_map<Uuid, Date> versions;
    const auto stored = defaults_.dictionary(deletedVersionsKey());
    if (!stored) return versions;
    for (const auto& [text, value] : *stored) {
        const auto id = Uuid::parse(text);
        const auto* seconds = std::get_if<double>(&value.value);
        if (id && seconds) versions.emplace(*id, Date(*seconds));
    }
    return versions;
}

CloudChangeTokenPtr CloudSyncState::loadChangeToken() const {
    const auto bytes = defaults_.data(changeTokenKey());
    if (!bytes) return nullptr;
    return archive_.unarchive(*bytes);
}

void CloudSyncState::saveChangeToken(const CloudChangeTokenPtr& token) {
    std::optional<Data> bytes;
    if (token) bytes = archive_.archive(*token);
    // A pull that found nothing new mostly hands back the token it started from.
    const auto stored = defaults_.object(changeTokenKey());
    if (bytes) {
        if (stored != DefaultsValue(*bytes)) defaults_.setData(changeTokenKey(), std::move(*bytes));
    } else if (stored) {
        defaults_.remove(changeTokenKey());
    }
}

}  // namespace plenda
