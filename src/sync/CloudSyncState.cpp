#include "sync/CloudSyncState.h"

#include "platform/OpaqueChangeToken.h"

namespace plenda {

namespace {
const OpaqueChangeTokenArchive opaqueArchive;
}

CloudSyncState::CloudSyncState(Defaults& defaults, std::string prefix, const ChangeTokenArchive* archive)
    : defaults_(defaults), prefix_(std::move(prefix)), archive_(archive ? *archive : opaqueArchive) {}

IdSet CloudSyncState::readIDs(std::string_view key) const {
    IdSet ids;
    const auto strings = defaults_.stringArray(key);
    if (!strings) return ids;
    for (const std::string& text : *strings) {
        if (auto id = Uuid::parse(text)) ids.insert(*id);
    }
    return ids;
}

void CloudSyncState::writeIDs(const std::string& key, const IdSet& ids) {
    DefaultsValue::Array array;
    array.reserve(ids.size());
    for (const Uuid& id : ids) array.emplace_back(id.string());
    defaults_.set(key, std::move(array));
}

void CloudSyncState::writeDirtyIDs(const IdSet& ids) { writeIDs(dirtyKey(), ids); }

void CloudSyncState::writePendingDeleteIDs(const IdSet& ids) { writeIDs(pendingDeleteKey(), ids); }

void CloudSyncState::markDirty(const std::vector<Uuid>& ids) {
    std::lock_guard guard(lock_);
    IdSet dirty = readIDs(dirtyKey());
    IdSet pending = readIDs(pendingDeleteKey());
    for (const Uuid& id : ids) {
        dirty.insert(id);
        pending.erase(id);
    }
    writeDirtyIDs(dirty);
    writePendingDeleteIDs(pending);
}

void CloudSyncState::markDeleted(const std::vector<Uuid>& ids) {
    std::lock_guard guard(lock_);
    IdSet dirty = readIDs(dirtyKey());
    IdSet pending = readIDs(pendingDeleteKey());
    for (const Uuid& id : ids) {
        pending.insert(id);
        dirty.erase(id);
    }
    writeDirtyIDs(dirty);
    writePendingDeleteIDs(pending);
}

void CloudSyncState::clearDirty(const IdSet& ids) {
    std::lock_guard guard(lock_);
    IdSet dirty = readIDs(dirtyKey());
    for (const Uuid& id : ids) dirty.erase(id);
    writeDirtyIDs(dirty);
}

void CloudSyncState::clearPendingDeletes(const IdSet& ids) {
    std::lock_guard guard(lock_);
    IdSet pending = readIDs(pendingDeleteKey());
    for (const Uuid& id : ids) pending.erase(id);
    writePendingDeleteIDs(pending);
}

CloudChangeTokenPtr CloudSyncState::loadChangeToken() const {
    const auto bytes = defaults_.data(changeTokenKey());
    if (!bytes) return nullptr;
    return archive_.unarchive(*bytes);
}

void CloudSyncState::saveChangeToken(const CloudChangeTokenPtr& token) {
    std::optional<Data> bytes;
    if (token) bytes = archive_.archive(*token);
    if (bytes) {
        defaults_.setData(changeTokenKey(), std::move(*bytes));
    } else {
        defaults_.remove(changeTokenKey());
    }
}

}  // namespace plenda
