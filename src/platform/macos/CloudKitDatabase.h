#pragma once

#include "platform/ChangeTokenArchive.h"
#include "platform/CloudDatabase.h"
#include "platform/SystemLog.h"

#include <memory>
#include <string>

namespace plenda {

// The user's private CloudKit database in the application's container. The
// container is created on first use (call that on the main thread).
class CloudKitDatabase final : public CloudDatabase {
public:
    explicit CloudKitDatabase(std::string containerIdentifier);
    ~CloudKitDatabase() override;

    void accountStatus(std::function<void(CloudResult<CloudAccountStatus>)> completion) override;
    void saveZone(const CloudZoneID& zone, std::function<void(std::optional<CloudError>)> completion) override;
    void fetchZoneChanges(const CloudZoneID& zone, CloudChangeTokenPtr token,
                          std::function<void(CloudResult<CloudZoneChanges>)> completion) override;
    void modifyRecords(std::vector<CloudRecord> saving, std::vector<CloudRecordID> deleting, CloudSavePolicy policy,
                       bool atomically, std::function<void(CloudResult<CloudModifyResults>)> completion) override;

private:
    struct Native;
    std::unique_ptr<Native> native_;
};

// CKServerChangeToken through NSKeyedArchiver with secure coding.
class CloudKitChangeTokenArchive final : public ChangeTokenArchive {
public:
    std::optional<Data> archive(const CloudChangeToken& token) const override;
    CloudChangeTokenPtr unarchive(const Data& bytes) const override;
};

// os_log, one log object per subsystem and category, "%{public}s".
class OsSystemLog final : public SystemLog {
public:
    void write(std::string_view subsystem, std::string_view category, std::string_view line) override;
};

}  // namespace plenda
