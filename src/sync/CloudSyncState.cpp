#include "sync/CloudSyncState.h"

#include "platform/OpaqueChangeToken.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace plenda {

namespace {
const OpaqueChangeTokenArchive opaqueArchive;
}

namespace {

IdSet parseIDs(const std::optional<std::vector<std::string>>& strings) {
    std::vector<Uuid> ids;
    if (!strings) return {};
    for (const std::string& text : *strings) {
        if (auto id = Uuid::parse(text)) ids.push_back(*id);
    }
    return IdSet(ids.begin(), ids.end());
}

}  // namespace

CloudSyncState::CloudSyncState(Defaults& defaults, std::string prefix, const ChangeTokenArchive* archive,
                               Scheduler* scheduler, std::optional<ConfirmedFile> confirmedFile)
    : defaults_(defaults),
      prefix_(std::move(prefix)),
      archive_(archive ? *archive : opaqueArchive),
      scheduler_(scheduler),
      confirmedFile_(std::move(confirmedFile)),
      dirty_(load(dirtyKey())),
      pending_(load(pendingDeleteKey())),
      confirmed_(loadConfirmed()) {}

CloudSyncState::~CloudSyncState() { writePending(); }

CloudSyncState::StoredSet CloudSyncState::load(std::string key) const {
    auto ids = std::make_shared<IdSet>(parseIDs(defaults_.stringArray(key)));
    return StoredSet{std::move(key), std::move(ids)};
}

IdSet& CloudSyncState::StoredSet::edit() {
    if (ids.use_count() > 1) ids = std::make_shared<IdSet>(*ids);
    return *ids;
}

// The file holds the header, then each id's 16 bytes in order. One that
// cannot be read or is not of that form is left as it is and not written
// this run: without confirmations every block the cloud lacks goes up again,
// which loses nothing.
CloudSyncState::StoredSet CloudSyncState::loadConfirmed() {
    StoredSet set{confirmedKey(), std::make_shared<IdSet>()};
    if (!confirmedFile_) return set;
    const FileRead file = confirmedFile_->files.readFile(confirmedFile_->path);
    if (file.status == FileRead::Status::missing) {
        // Moved from where an earlier version kept them, once they are in the file.
        if (defaults_.object(set.key)) {
            *set.ids = parseIDs(defaults_.stringArray(set.key));
            write(set.key, *set.ids);
            if (confirmedFile_->files.stamp(confirmedFile_->path)) defaults_.remove(set.key);
        }
        return set;
    }
    const std::string_view bytes(file.bytes);
    if (file.status != FileRead::Status::ok || !bytes.starts_with(confirmedFileHeader) ||
        (bytes.size() - confirmedFileHeader.size()) % sizeof(Uuid) != 0) {
        confirmedFile_.reset();
        return set;
    }
    std::vector<Uuid> ids((bytes.size() - confirmedFileHeader.size()) / sizeof(Uuid));
    if (!ids.empty()) std::memcpy(ids.data(), bytes.data() + confirmedFileHeader.size(), ids.size() * sizeof(Uuid));
    *set.ids = IdSet(ids.begin(), ids.end());
    return set;
}

// The confirmed ids to their file, the others to the settings.
void CloudSyncState::write(const std::string& key, const IdSet& ids) {
    if (key == confirmedKey()) {
        if (!confirmedFile_) return;
        std::string bytes(confirmedFileHeader);
        if (!ids.empty()) bytes.append(reinterpret_cast<const char*>(ids.data()), ids.size() * sizeof(Uuid));
        confirmedFile_->files.writeFileAtomically(confirmedFile_->path, bytes);
        return;
    }
    DefaultsValue::Array array;
    array.reserve(ids.size());
    for (const Uuid& id : ids) array.emplace_back(id.string());
    defaults_.set(key, std::move(array));
}

void CloudSyncState::changed(StoredSet& set) {
    set.changed = true;
    if (!scheduler_) {
        // Nothing to gather the writes: written at once, under the lock.
        write(set.key, *set.ids);
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
    for (const auto& [key, ids] : snapshots) write(key, *ids);
}

IdSet CloudSyncState::readIDs(std::string_view key) const {
    std::lock_guard guard(lock_);
    for (const StoredSet* set : {&dirty_, &pending_}) {
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

// Sets change a whole batch at a time: one pass over each, whatever their size.
void CloudSyncState::add(StoredSet& set, const IdSet& ids) {
    if (std::all_of(ids.begin(), ids.end(), [&](const Uuid& id) { return set.ids->contains(id); })) return;
    set.edit().insertAll(ids);
    changed(set);
}

void CloudSyncState::remove(StoredSet& set, const IdSet& ids) {
    if (std::none_of(ids.begin(), ids.end(), [&](const Uuid& id) { return set.ids->contains(id); })) return;
    set.edit().eraseAll(ids);
    changed(set);
}

void CloudSyncState::markDirty(const std::vector<Uuid>& ids) {
    const IdSet marked(ids.begin(), ids.end());
    std::lock_guard guard(lock_);
    add(dirty_, marked);
    remove(pending_, marked);
}

void CloudSyncState::markDeleted(const std::vector<Uuid>& ids) {
    const IdSet marked(ids.begin(), ids.end());
    std::lock_guard guard(lock_);
    add(pending_, marked);
    remove(dirty_, marked);
}

void CloudSyncState::clearDirty(const IdSet& ids) {
    std::lock_guard guard(lock_);
    remove(dirty_, ids);
}

void CloudSyncState::clearPendingDeletes(const IdSet& ids) {
    std::lock_guard guard(lock_);
    remove(pending_, ids);
}

void CloudSyncState::confirm(const IdSet& held, const IdSet& gone) {
    std::lock_guard guard(lock_);
    // Held wins over gone, as the later word.
    std::vector<Uuid> goneOnly;
    std::set_difference(gone.begin(), gone.end(), held.begin(), held.end(), std::back_inserter(goneOnly));
    remove(confirmed_, IdSet(goneOnly.begin(), goneOnly.end()));
    add(confirmed_, held);
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
