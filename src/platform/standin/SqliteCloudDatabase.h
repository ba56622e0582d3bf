#pragma once

#include "platform/CloudDatabase.h"

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <string>

struct sqlite3;

namespace plenda {

class Clock;

// A real cloud database off the platform, keeping CloudKit's semantics on
// SQLite: zones per account, a change sequence per zone behind opaque
// tokens, pages with moreComing, deletions as tombstones, tokens that expire
// once the tombstones they need were compacted (21), missing zones (26),
// zones the user deleted (28) and unknown items (11). In memory by default;
// two instances on one file are two devices of one account.
class SqliteCloudDatabase final : public CloudDatabase {
public:
    struct Options {
        std::string path = ":memory:";
        std::string account = "user";
        std::size_t pageSize = 400;
        // The server's clock for modification dates; null: the system clock.
        const Clock* clock = nullptr;
    };
    // CloudKit refuses modify requests with more items than this.
    static constexpr std::size_t requestItemLimit = 400;

    explicit SqliteCloudDatabase(Options options);
    SqliteCloudDatabase() : SqliteCloudDatabase(Options{}) {}
    ~SqliteCloudDatabase() override;
    SqliteCloudDatabase(const SqliteCloudDatabase&) = delete;
    SqliteCloudDatabase& operator=(const SqliteCloudDatabase&) = delete;

    // Empty when the database opened; otherwise why not (every request then fails).
    const std::string& openError() const { return openError_; }

    void setAccountStatus(CloudAccountStatus status);
    void setPageSize(std::size_t pageSize);

    void accountStatus(std::function<void(CloudResult<CloudAccountStatus>)> completion) override;
    void saveZone(const CloudZoneID& zone, std::function<void(std::optional<CloudError>)> completion) override;
    void fetchZoneChanges(const CloudZoneID& zone, CloudChangeTokenPtr token,
                          std::function<void(CloudResult<CloudZoneChanges>)> completion) override;
    void modifyRecords(std::vector<CloudRecord> saving, std::vector<CloudRecordID> deleting, CloudSavePolicy policy,
                       bool atomically, std::function<void(CloudResult<CloudModifyResults>)> completion) override;

    // What the server side can do on its own.
    // Removes the zone and its records; the user doing it is reported as 28, else 26.
    void deleteZone(const CloudZoneID& zone, bool byUser);
    // Forgets the zone's tombstones; tokens older than the last of them expire.
    void compactTombstones(const CloudZoneID& zone);
    // The zone's live records by name.
    std::map<std::string, CloudRecord> records(const CloudZoneID& zone);

private:
    struct Zone;
    std::optional<Zone> loadZone(const std::string& name);
    std::optional<CloudError> zoneError(const std::string& name);
    CloudResult<CloudZoneChanges> fetchLocked(const CloudZoneID& zone, const CloudChangeTokenPtr& token);
    CloudResult<CloudModifyResults> modifyLocked(const std::vector<CloudRecord>& saving,
                                                 const std::vector<CloudRecordID>& deleting, CloudSavePolicy policy,
                                                 bool atomically);
    Date serverNow() const;

    Options options_;
    std::mutex mutex_;
    sqlite3* db_ = nullptr;
    std::string openError_;
    CloudAccountStatus status_ = CloudAccountStatus::available;
};

// The stand-in the application uses off macOS: a file-backed database when
// the environment variable PLENDA_CLOUD_STORE names a file, else none.
std::unique_ptr<CloudDatabase> cloudStandInFromEnvironment();

}  // namespace plenda
