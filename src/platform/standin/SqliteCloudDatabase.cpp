#include "platform/standin/SqliteCloudDatabase.h"

#include "platform/Clock.h"
#include "platform/OpaqueChangeToken.h"

#include <sqlite3.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <set>

namespace plenda {

namespace {

// One prepared statement, finalized on scope exit.
class Statement {
public:
    Statement(sqlite3* db, const char* sql) : db_(db) {
        if (sqlite3_prepare_v2(db, sql, -1, &statement_, nullptr) != SQLITE_OK) statement_ = nullptr;
    }
    ~Statement() { sqlite3_finalize(statement_); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    bool valid() const { return statement_ != nullptr; }
    Statement& bind(int index, const std::string& text) {
        sqlite3_bind_text(statement_, index, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
        return *this;
    }
    Statement& bindBlob(int index, const std::string& bytes) {
        sqlite3_bind_blob(statement_, index, bytes.data(), static_cast<int>(bytes.size()), SQLITE_TRANSIENT);
        return *this;
    }
    Statement& bind(int index, std::int64_t value) {
        sqlite3_bind_int64(statement_, index, value);
        return *this;
    }
    Statement& bind(int index, double value) {
        sqlite3_bind_double(statement_, index, value);
        return *this;
    }
    // True while there is a row.
    bool step() {
        last_ = statement_ ? sqlite3_step(statement_) : SQLITE_MISUSE;
        return last_ == SQLITE_ROW;
    }
    bool done() const { return last_ == SQLITE_DONE; }
    std::int64_t integer(int column) const { return sqlite3_column_int64(statement_, column); }
    double real(int column) const { return sqlite3_column_double(statement_, column); }
    std::string text(int column) const {
        const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement_, column));
        return bytes ? std::string(bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement_, column)))
                     : std::string();
    }
    std::string error() const { return sqlite3_errmsg(db_); }

private:
    sqlite3* db_;
    sqlite3_stmt* statement_ = nullptr;
    int last_ = SQLITE_OK;
};

// Fields as one blob: per field its name, a type tag and the value.
void appendSized(std::string& out, const std::string& bytes) {
    const auto size = static_cast<std::uint32_t>(bytes.size());
    out.append(reinterpret_cast<const char*>(&size), sizeof size);
    out.append(bytes);
}

void appendDouble(std::string& out, double value) { out.append(reinterpret_cast<const char*>(&value), sizeof value); }

std::string encodeFields(const std::map<std::string, CloudFieldValue>& fields) {
    std::string out;
    for (const auto& [name, value] : fields) {
        appendSized(out, name);
        out.push_back(static_cast<char>(value.index()));
        std::visit(
            [&](const auto& v) {
                using T = std::decay_t<decltype(v)>;
                if constexpr (std::is_same_v<T, Data>) appendSized(out, v.bytes);
                else if constexpr (std::is_same_v<T, Date>) appendDouble(out, v.seconds);
                else if constexpr (std::is_same_v<T, std::string>) appendSized(out, v);
                else appendDouble(out, v);
            },
            value);
    }
    return out;
}

std::map<std::string, CloudFieldValue> decodeFields(const std::string& blob) {
    std::map<std::string, CloudFieldValue> fields;
    std::size_t at = 0;
    const auto readSized = [&](std::string& into) {
        std::uint32_t size = 0;
        if (blob.size() - at < sizeof size) return false;
        std::memcpy(&size, blob.data() + at, sizeof size);
        at += sizeof size;
        if (blob.size() - at < size) return false;
        into.assign(blob, at, size);
        at += size;
        return true;
    };
    const auto readDouble = [&](double& into) {
        if (blob.size() - at < sizeof into) return false;
        std::memcpy(&into, blob.data() + at, sizeof into);
        at += sizeof into;
        return true;
    };
    while (at < blob.size()) {
        std::string name, bytes;
        double number = 0;
        if (!readSized(name) || at >= blob.size()) break;
        const int tag = blob[at++];
        if (tag == 0 && readSized(bytes)) fields.emplace(name, Data{bytes});
        else if (tag == 1 && readDouble(number)) fields.emplace(name, Date(number));
        else if (tag == 2 && readSized(bytes)) fields.emplace(name, bytes);
        else if (tag == 3 && readDouble(number)) fields.emplace(name, number);
        else break;
    }
    return fields;
}

constexpr std::int64_t zoneLive = 0;
constexpr std::int64_t zoneDeleted = 1;
constexpr std::int64_t zoneDeletedByUser = 2;

const char* const tokenPrefix = "standin:";

// A token names a zone generation and a position in its change sequence. A
// token in the middle of a fetch from the beginning is "whole since" the
// zone's sequence when that fetch began: it skips the tombstones older than
// that (the client never had those records) but not the newer ones.
struct TokenPosition {
    std::int64_t generation = 0;
    std::int64_t sequence = 0;
    std::optional<std::int64_t> wholeSince;
};

std::string tokenBytes(const TokenPosition& position) {
    return tokenPrefix + std::to_string(position.generation) + ":" + std::to_string(position.sequence) +
           (position.wholeSince ? ":whole@" + std::to_string(*position.wholeSince) : ":delta");
}

std::optional<TokenPosition> parseToken(const CloudChangeToken& token) {
    const auto* opaque = dynamic_cast<const OpaqueChangeToken*>(&token);
    if (!opaque || opaque->bytes().rfind(tokenPrefix, 0) != 0) return std::nullopt;
    const std::string rest = opaque->bytes().substr(std::strlen(tokenPrefix));
    char* end = nullptr;
    TokenPosition position;
    position.generation = std::strtoll(rest.c_str(), &end, 10);
    if (*end != ':') return std::nullopt;
    position.sequence = std::strtoll(end + 1, &end, 10);
    const std::string kind(end);
    if (kind.rfind(":whole@", 0) == 0) {
        const char* since = kind.c_str() + std::strlen(":whole@");
        position.wholeSince = std::strtoll(since, &end, 10);
        if (*end != '\0' || end == since) return std::nullopt;
    } else if (kind != ":delta") {
        return std::nullopt;
    }
    return position;
}

// A record's change tag: its place in the zone's change sequence, which every
// save advances, within the zone's generation.
std::string changeTag(std::int64_t generation, std::int64_t sequence) {
    return std::to_string(generation) + "." + std::to_string(sequence);
}

CloudError storageError(const std::string& what) {
    return CloudError::cloudKit(CloudErrorCode::internalError, "Cloud stand-in storage failed: " + what);
}

}  // namespace

struct SqliteCloudDatabase::Zone {
    std::int64_t generation = 0;
    std::int64_t sequence = 0;
    std::int64_t expiredBefore = 0;
    std::int64_t state = zoneLive;
};

namespace {

// The stand-in holds every block title: the file is the user's alone (0600 in
// a 0700 folder it makes), and SQLite gives its side files the same mode.
void makePrivate(const std::string& path) {
    if (path.empty() || path == ":memory:") return;
    const std::string::size_type slash = path.rfind('/');
    if (slash != std::string::npos && slash > 0) ::mkdir(path.substr(0, slash).c_str(), 0700);
    const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd >= 0) {
        ::fchmod(fd, 0600);
        ::close(fd);
    }
}

}  // namespace

SqliteCloudDatabase::SqliteCloudDatabase(Options options) : options_(std::move(options)) {
    makePrivate(options_.path);
    if (sqlite3_open(options_.path.c_str(), &db_) != SQLITE_OK) {
        openError_ = db_ ? sqlite3_errmsg(db_) : "out of memory";
        sqlite3_close(db_);
        db_ = nullptr;
        return;
    }
    sqlite3_busy_timeout(db_, 5000);
    const char* schema =
        "PRAGMA journal_mode=WAL;"
        "CREATE TABLE IF NOT EXISTS zones(account TEXT, name TEXT, generation INTEGER, sequence INTEGER,"
        " expiredBefore INTEGER, state INTEGER, PRIMARY KEY(account, name));"
        "CREATE TABLE IF NOT EXISTS records(account TEXT, zone TEXT, name TEXT, type TEXT, fields BLOB,"
        " modified REAL, sequence INTEGER, deleted INTEGER, PRIMARY KEY(account, zone, name));"
        "CREATE INDEX IF NOT EXISTS recordsBySequence ON records(account, zone, sequence);";
    char* message = nullptr;
    if (sqlite3_exec(db_, schema, nullptr, nullptr, &message) != SQLITE_OK) {
        openError_ = message ? message : "schema";
        sqlite3_free(message);
        sqlite3_close(db_);
        db_ = nullptr;
    }
}

SqliteCloudDatabase::~SqliteCloudDatabase() { sqlite3_close(db_); }

Date SqliteCloudDatabase::serverNow() const {
    if (options_.clock) return options_.clock->now();
    const auto since1970 = std::chrono::system_clock::now().time_since_epoch();
    return Date::fromUnixSeconds(std::chrono::duration<double>(since1970).count());
}

void SqliteCloudDatabase::setAccountStatus(CloudAccountStatus status) {
    std::lock_guard guard(mutex_);
    status_ = status;
}

void SqliteCloudDatabase::setPageSize(std::size_t pageSize) {
    std::lock_guard guard(mutex_);
    options_.pageSize = std::max<std::size_t>(1, pageSize);
}

void SqliteCloudDatabase::accountStatus(std::function<void(CloudResult<CloudAccountStatus>)> completion) {
    CloudAccountStatus status;
    {
        std::lock_guard guard(mutex_);
        status = status_;
    }
    completion(status);
}

std::optional<SqliteCloudDatabase::Zone> SqliteCloudDatabase::loadZone(const std::string& name) {
    Statement query(db_, "SELECT generation, sequence, expiredBefore, state FROM zones WHERE account=? AND name=?");
    query.bind(1, options_.account).bind(2, name);
    if (!query.step()) return std::nullopt;
    return Zone{query.integer(0), query.integer(1), query.integer(2), query.integer(3)};
}

std::optional<CloudError> SqliteCloudDatabase::zoneError(const std::string& name) {
    const auto zone = loadZone(name);
    if (zone && zone->state == zoneLive) return std::nullopt;
    if (zone && zone->state == zoneDeletedByUser) {
        return CloudError::cloudKit(CloudErrorCode::userDeletedZone, "Zone \"" + name + "\" was deleted by the user");
    }
    return CloudError::cloudKit(CloudErrorCode::zoneNotFound, "Zone \"" + name + "\" does not exist");
}

void SqliteCloudDatabase::saveZone(const CloudZoneID& zone, std::function<void(std::optional<CloudError>)> completion) {
    std::optional<CloudError> error;
    {
        std::lock_guard guard(mutex_);
        if (!db_) {
            error = storageError(openError_);
        } else {
            const auto existing = loadZone(zone.zoneName);
            if (!existing || existing->state != zoneLive) {
                // A recreated zone starts a new generation: old tokens mean nothing in it.
                Statement save(db_,
                               "INSERT OR REPLACE INTO zones(account, name, generation, sequence, expiredBefore, state)"
                               " VALUES(?, ?, ?, 0, 0, 0)");
                save.bind(1, options_.account).bind(2, zone.zoneName).bind(3, existing ? existing->generation + 1 : 1);
                save.step();
                if (!save.done()) error = storageError(save.error());
            }
        }
    }
    completion(error);
}

void SqliteCloudDatabase::fetchZoneChanges(const CloudZoneID& zone, CloudChangeTokenPtr token,
                                           std::function<void(CloudResult<CloudZoneChanges>)> completion) {
    auto result = [&] {
        std::lock_guard guard(mutex_);
        return fetchLocked(zone, token);
    }();
    completion(std::move(result));
}

CloudResult<CloudZoneChanges> SqliteCloudDatabase::fetchLocked(const CloudZoneID& zoneID,
                                                               const CloudChangeTokenPtr& token) {
    if (!db_) return storageError(openError_);
    if (auto error = zoneError(zoneID.zoneName)) return *error;
    const Zone zone = *loadZone(zoneID.zoneName);

    TokenPosition from{zone.generation, 0, zone.sequence};
    if (token) {
        const auto parsed = parseToken(*token);
        // Expired when tombstones it would still need were compacted away.
        if (!parsed || parsed->generation != zone.generation || parsed->sequence > zone.sequence ||
            parsed->wholeSince.value_or(parsed->sequence) < zone.expiredBefore) {
            return CloudError::cloudKit(CloudErrorCode::changeTokenExpired, "The change token has expired");
        }
        from = *parsed;
    }
    const std::int64_t since = from.sequence;

    Statement query(db_,
                    "SELECT name, type, fields, modified, sequence, deleted FROM records"
                    " WHERE account=? AND zone=? AND sequence>? ORDER BY sequence LIMIT ?");
    query.bind(1, options_.account)
        .bind(2, zoneID.zoneName)
        .bind(3, since)
        .bind(4, static_cast<std::int64_t>(options_.pageSize + 1));
    CloudZoneChanges changes;
    std::int64_t last = zone.sequence;
    std::size_t rows = 0;
    while (query.step()) {
        if (++rows > options_.pageSize) {
            changes.moreComing = true;
            break;
        }
        last = query.integer(4);
        CloudRecordID recordID{query.text(0), zoneID};
        if (query.integer(5) != 0) {
            // A client fetching from the beginning never had what was deleted before it began.
            if (query.integer(4) > from.wholeSince.value_or(0)) changes.deletions.push_back(std::move(recordID));
            continue;
        }
        CloudRecord record{query.text(1), recordID, decodeFields(query.text(2)), Date(query.real(3)),
                           changeTag(zone.generation, last)};
        changes.modifications.emplace_back(std::move(recordID), std::move(record));
    }
    if (!changes.moreComing && !query.done()) return storageError(query.error());
    const TokenPosition next = changes.moreComing ? TokenPosition{zone.generation, last, from.wholeSince}
                                                  : TokenPosition{zone.generation, zone.sequence, std::nullopt};
    changes.changeToken = std::make_shared<OpaqueChangeToken>(tokenBytes(next));
    return changes;
}

void SqliteCloudDatabase::modifyRecords(std::vector<CloudRecord> saving, std::vector<CloudRecordID> deleting,
                                        CloudSavePolicy policy, bool atomically,
                                        std::function<void(CloudResult<CloudModifyResults>)> completion) {
    auto result = [&] {
        std::lock_guard guard(mutex_);
        return modifyLocked(saving, deleting, policy, atomically);
    }();
    completion(std::move(result));
}

CloudResult<CloudModifyResults> SqliteCloudDatabase::modifyLocked(const std::vector<CloudRecord>& saving,
                                                                  const std::vector<CloudRecordID>& deleting,
                                                                  CloudSavePolicy policy, bool atomically) {
    if (!db_) return storageError(openError_);
    if (saving.size() + deleting.size() > requestItemLimit) {
        return CloudError::cloudKit(CloudErrorCode::limitExceeded,
                                    "Request exceeds the limit of " + std::to_string(requestItemLimit) + " items");
    }
    if (sqlite3_exec(db_, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) != SQLITE_OK) {
        return storageError(sqlite3_errmsg(db_));
    }
    const Date now = serverNow();
    std::map<std::string, Zone> zones;  // loaded inside the transaction, sequences advanced here
    const auto zoneFor = [&](const std::string& name) -> Zone* {
        auto found = zones.find(name);
        if (found == zones.end()) {
            const auto zone = loadZone(name);
            if (!zone || zone->state != zoneLive) return nullptr;
            found = zones.emplace(name, *zone).first;
        }
        return &found->second;
    };
    const auto liveRecord = [&](const CloudRecordID& id, const Zone& zone) -> std::optional<CloudRecord> {
        Statement query(db_, "SELECT type, fields, modified, sequence FROM records"
                             " WHERE account=? AND zone=? AND name=? AND deleted=0");
        query.bind(1, options_.account).bind(2, id.zoneID.zoneName).bind(3, id.recordName);
        if (!query.step()) return std::nullopt;
        return CloudRecord{query.text(0), id, decodeFields(query.text(1)), Date(query.real(2)),
                           changeTag(zone.generation, query.integer(3))};
    };

    CloudModifyResults results;
    bool anyFailed = false;
    bool storageFailed = false;
    std::string storageMessage;
    const auto write = [&](const CloudRecordID& id, const std::string& type, const std::string& fields, bool deleted,
                           Zone& zone) {
        Statement upsert(db_,
                         "INSERT OR REPLACE INTO records(account, zone, name, type, fields, modified, sequence, deleted)"
                         " VALUES(?, ?, ?, ?, ?, ?, ?, ?)");
        upsert.bind(1, options_.account)
            .bind(2, id.zoneID.zoneName)
            .bind(3, id.recordName)
            .bind(4, type)
            .bindBlob(5, fields)
            .bind(6, now.seconds)
            .bind(7, zone.sequence + 1)
            .bind(8, static_cast<std::int64_t>(deleted ? 1 : 0));
        upsert.step();
        if (!upsert.done()) {
            storageFailed = true;
            storageMessage = upsert.error();
            return;
        }
        ++zone.sequence;
    };

    for (const CloudRecord& record : saving) {
        const CloudRecordID& id = record.recordID;
        std::optional<CloudError> error = zoneError(id.zoneID.zoneName);
        Zone* zone = error ? nullptr : zoneFor(id.zoneID.zoneName);
        if (!error && id.recordName.empty()) {
            error = CloudError::cloudKit(CloudErrorCode::invalidArguments, "A record needs a name");
        }
        CloudRecord saved = record;
        if (!error) {
            const auto existing = liveRecord(id, *zone);
            if (policy == CloudSavePolicy::ifServerRecordUnchanged) {
                if (existing && existing->changeTag != record.changeTag) {
                    error = CloudError::cloudKit(CloudErrorCode::serverRecordChanged,
                                                 record.changeTag.empty() ? "Record to insert already exists"
                                                                          : "The server record has changed");
                    error->serverRecord = std::make_shared<const CloudRecord>(*existing);
                } else if (!existing && !record.changeTag.empty()) {
                    error = CloudError::cloudKit(CloudErrorCode::unknownItem, "Record to save was deleted");
                }
            } else if (existing && policy == CloudSavePolicy::changedKeys) {
                for (const auto& [name, value] : existing->fields) saved.fields.try_emplace(name, value);
            }
        }
        if (!error) {
            write(id, record.recordType, encodeFields(saved.fields), false, *zone);
            saved.modificationDate = now;
            saved.changeTag = changeTag(zone->generation, zone->sequence);
        }
        anyFailed = anyFailed || error.has_value();
        if (error) results.saveResults.emplace_back(id, std::move(*error));
        else results.saveResults.emplace_back(id, std::move(saved));
    }
    for (const CloudRecordID& id : deleting) {
        std::optional<CloudError> error = zoneError(id.zoneID.zoneName);
        Zone* zone = error ? nullptr : zoneFor(id.zoneID.zoneName);
        if (!error && !liveRecord(id, *zone)) {
            error = CloudError::cloudKit(CloudErrorCode::unknownItem, "Record not found");
        }
        if (!error) write(id, "", "", true, *zone);
        anyFailed = anyFailed || error.has_value();
        results.deleteResults.emplace_back(id, std::move(error));
    }
    for (const auto& [name, zone] : zones) {
        Statement update(db_, "UPDATE zones SET sequence=? WHERE account=? AND name=?");
        update.bind(1, zone.sequence).bind(2, options_.account).bind(3, name);
        update.step();
        if (!update.done()) {
            storageFailed = true;
            storageMessage = update.error();
        }
    }
    if (storageFailed) {
        sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr);
        return storageError(storageMessage);
    }
    if (atomically && anyFailed) {
        sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr);
        const CloudError batchFailed =
            CloudError::cloudKit(CloudErrorCode::batchRequestFailed, "Another record of the atomic batch failed");
        for (auto& [id, saved] : results.saveResults) {
            if (saved.ok()) saved = batchFailed;
        }
        for (auto& [id, error] : results.deleteResults) error = error ? error : batchFailed;
        return results;
    }
    if (sqlite3_exec(db_, "COMMIT", nullptr, nullptr, nullptr) != SQLITE_OK) {
        const std::string message = sqlite3_errmsg(db_);
        sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr);
        return storageError(message);
    }
    return results;
}

void SqliteCloudDatabase::deleteZone(const CloudZoneID& zone, bool byUser) {
    std::lock_guard guard(mutex_);
    if (!db_) return;
    sqlite3_exec(db_, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr);
    Statement drop(db_, "DELETE FROM records WHERE account=? AND zone=?");
    drop.bind(1, options_.account).bind(2, zone.zoneName);
    drop.step();
    Statement mark(db_, "UPDATE zones SET state=? WHERE account=? AND name=?");
    mark.bind(1, byUser ? zoneDeletedByUser : zoneDeleted).bind(2, options_.account).bind(3, zone.zoneName);
    mark.step();
    sqlite3_exec(db_, "COMMIT", nullptr, nullptr, nullptr);
}

void SqliteCloudDatabase::compactTombstones(const CloudZoneID& zone) {
    std::lock_guard guard(mutex_);
    if (!db_) return;
    sqlite3_exec(db_, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr);
    Statement newest(db_, "SELECT MAX(sequence) FROM records WHERE account=? AND zone=? AND deleted=1");
    newest.bind(1, options_.account).bind(2, zone.zoneName);
    const std::int64_t last = newest.step() ? newest.integer(0) : 0;  // NULL reads as 0
    if (last > 0) {
        Statement drop(db_, "DELETE FROM records WHERE account=? AND zone=? AND deleted=1");
        drop.bind(1, options_.account).bind(2, zone.zoneName);
        drop.step();
        Statement mark(db_, "UPDATE zones SET expiredBefore=MAX(expiredBefore, ?) WHERE account=? AND name=?");
        mark.bind(1, last).bind(2, options_.account).bind(3, zone.zoneName);
        mark.step();
    }
    sqlite3_exec(db_, "COMMIT", nullptr, nullptr, nullptr);
}

std::map<std::string, CloudRecord> SqliteCloudDatabase::records(const CloudZoneID& zone) {
    std::lock_guard guard(mutex_);
    std::map<std::string, CloudRecord> found;
    if (!db_) return found;
    const auto live = loadZone(zone.zoneName);
    if (!live) return found;
    Statement query(db_,
                    "SELECT name, type, fields, modified, sequence FROM records WHERE account=? AND zone=? AND deleted=0");
    query.bind(1, options_.account).bind(2, zone.zoneName);
    while (query.step()) {
        CloudRecord record{query.text(1), CloudRecordID{query.text(0), zone}, decodeFields(query.text(2)),
                           Date(query.real(3)), changeTag(live->generation, query.integer(4))};
        found.emplace(record.recordID.recordName, std::move(record));
    }
    return found;
}

std::unique_ptr<CloudDatabase> cloudStandInFromEnvironment() {
    const char* path = std::getenv("PLENDA_CLOUD_STORE");
    if (!path || !*path) return nullptr;
    return std::make_unique<SqliteCloudDatabase>(SqliteCloudDatabase::Options{.path = path});
}

}  // namespace plenda
