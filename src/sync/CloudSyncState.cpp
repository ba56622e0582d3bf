#include "sync/CloudSyncState.h"

#include "platform/OpaqueChangeToken.h"

#include <algorithm>

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

void CloudSyncState::confirm(const IdSet& held, const IdSet& gone) {
    if (held.empty() && gone.empty()) return;
    std::lock_guard guard(lock_);
    IdSet confirmed = readIDs(confirmedKey());
    const std::size_t before = confirmed.size();
    bool changed = false;
    for (const Uuid& id : gone) changed = confirmed.erase(id) > 0 || changed;
    confirmed.insert(held.begin(), held.end());
    if (changed || confirmed.size() != before) writeIDs(confirmedKey(), confirmed);
}

void CloudSyncState::forgetConfirmed() {
    std::lock_guard guard(lock_);
    defaults_.remove(confirmedKey());
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
    if (bytes) {
        defaults_.setData(changeTokenKey(), std::move(*bytes));
    } else {
        defaults_.remove(changeTokenKey());
    }
}

}  // namespace plenda
