#include "platform/macos/CloudKitDatabase.h"

#include "platform/macos/Arc.h"
#include "platform/macos/CFRef.h"

#import <CloudKit/CloudKit.h>
#import <Foundation/Foundation.h>
#include <Security/SecTask.h>
#include <os/log.h>

#include <map>
#include <mutex>
#include <utility>

namespace plenda {

namespace {

// Holds a CKServerChangeToken for the core, which sees only the base class.
// The token is kept (a strong member under ARC) for as long as the core keeps
// this object, whichever thread lets go of it last.
class CloudKitChangeToken final : public CloudChangeToken {
public:
    explicit CloudKitChangeToken(CKServerChangeToken* token) : token_(token) {}
    CKServerChangeToken* token() const { return token_; }

private:
    __strong CKServerChangeToken* token_;
};

NSString* toNS(const std::string& text) {
    NSString* string = [NSString stringWithUTF8String:text.c_str()];
    return string ? string : @"";
}

std::string fromNS(NSString* text) { return text ? std::string(text.UTF8String) : std::string(); }

CloudRecord recordTo(CKRecord* native);

CloudError errorFrom(NSError* error) {
    if (!error) return CloudError{"NSCocoaErrorDomain", 0, "Unknown error"};
    CloudError converted{fromNS(error.domain), static_cast<long>(error.code), fromNS(error.localizedDescription)};
    id server = error.userInfo[CKRecordChangedErrorServerRecordKey];
    if ([server isKindOfClass:[CKRecord class]]) converted.serverRecord = std::make_shared<const CloudRecord>(recordTo(server));
    return converted;
}

// The change tag travels inside the record's system fields, which are the
// only way to give a new CKRecord the server's version.
std::string systemFieldsOf(CKRecord* native) {
    NSKeyedArchiver* archiver = [[NSKeyedArchiver alloc] initRequiringSecureCoding:YES];
    [native encodeSystemFieldsWithCoder:archiver];
    [archiver finishEncoding];
    NSData* data = archiver.encodedData;
    return std::string(static_cast<const char*>(data.bytes), data.length);
}

CKRecord* recordWithSystemFields(const std::string& bytes) {
    NSData* data = [NSData dataWithBytes:bytes.data() length:bytes.size()];
    NSError* error = nil;
    NSKeyedUnarchiver* coder = [[NSKeyedUnarchiver alloc] initForReadingFromData:data error:&error];
    if (!coder) return nil;
    coder.requiresSecureCoding = YES;
    CKRecord* native = [[CKRecord alloc] initWithCoder:coder];
    [coder finishDecoding];
    return native;
}

NSDate* toNSDate(Date date) { return [NSDate dateWithTimeIntervalSinceReferenceDate:date.seconds]; }

CKRecordZoneID* zoneIDFrom(const CloudZoneID& zone) {
    return [[CKRecordZoneID alloc] initWithZoneName:toNS(zone.zoneName) ownerName:toNS(zone.ownerName)];
}

CKRecordID* recordIDFrom(const CloudRecordID& id) {
    return [[CKRecordID alloc] initWithRecordName:toNS(id.recordName) zoneID:zoneIDFrom(id.zoneID)];
}

CloudRecordID recordIDTo(CKRecordID* id) {
    return CloudRecordID{fromNS(id.recordName), CloudZoneID{fromNS(id.zoneID.zoneName), fromNS(id.zoneID.ownerName)}};
}

CKRecord* recordFrom(const CloudRecord& record) {
    CKRecord* native = record.changeTag.empty() ? nil : recordWithSystemFields(record.changeTag);
    if (!native || ![native.recordID.recordName isEqualToString:toNS(record.recordID.recordName)]) {
        native = [[CKRecord alloc] initWithRecordType:toNS(record.recordType) recordID:recordIDFrom(record.recordID)];
    }
    for (const auto& [name, value] : record.fields) {
        id<CKRecordValue> nativeValue = nil;
        if (const auto* bytes = std::get_if<Data>(&value)) {
            nativeValue = [NSData dataWithBytes:bytes->bytes.data() length:bytes->bytes.size()];
        } else if (const auto* date = std::get_if<Date>(&value)) {
            nativeValue = toNSDate(*date);
        } else if (const auto* text = std::get_if<std::string>(&value)) {
            nativeValue = toNS(*text);
        } else if (const auto* number = std::get_if<double>(&value)) {
            nativeValue = @(*number);
        }
        native[toNS(name)] = nativeValue;
    }
    return native;
}

CloudRecord recordTo(CKRecord* native) {
    CloudRecord record;
    record.recordType = fromNS(native.recordType);
    record.recordID = recordIDTo(native.recordID);
    if (native.modificationDate) record.modificationDate = Date(native.modificationDate.timeIntervalSinceReferenceDate);
    record.changeTag = systemFieldsOf(native);
    for (NSString* key in native.allKeys) {
        id value = native[key];
        if ([value isKindOfClass:[NSData class]]) {
            NSData* data = value;
            record.fields.emplace(fromNS(key), Data{std::string(static_cast<const char*>(data.bytes), data.length)});
        } else if ([value isKindOfClass:[NSDate class]]) {
            record.fields.emplace(fromNS(key), Date([(NSDate*)value timeIntervalSinceReferenceDate]));
        } else if ([value isKindOfClass:[NSString class]]) {
            record.fields.emplace(fromNS(key), fromNS(value));
        } else if ([value isKindOfClass:[NSNumber class]]) {
            record.fields.emplace(fromNS(key), [(NSNumber*)value doubleValue]);
        }
    }
    return record;
}

// CloudKit raises an exception at the first use of a container the process is
// not entitled to (an ad hoc signed build); such a build has no account.
bool entitledToICloud() {
    const CFRef<SecTaskRef> task(SecTaskCreateFromSelf(kCFAllocatorDefault));
    if (!task) return false;
    const CFRef<CFTypeRef> services(
        SecTaskCopyValueForEntitlement(task.get(), CFSTR("com.apple.developer.icloud-services"), nullptr));
    return static_cast<bool>(services);
}

}  // namespace

struct CloudKitDatabase::Native {
    std::string containerIdentifier;
    // Kept for the database's lifetime: the operations' databases belong to it.
    __strong CKContainer* container = nil;

    CKContainer* openContainer() {
        if (!container) container = [CKContainer containerWithIdentifier:toNS(containerIdentifier)];
        return container;
    }
    CKDatabase* database() { return openContainer().privateCloudDatabase; }
};

CloudKitDatabase::CloudKitDatabase(std::string containerIdentifier) : native_(std::make_unique<Native>()) {
    native_->containerIdentifier = std::move(containerIdentifier);
}

CloudKitDatabase::~CloudKitDatabase() = default;

void CloudKitDatabase::accountStatus(std::function<void(CloudResult<CloudAccountStatus>)> completion) {
    if (!entitledToICloud()) return completion(CloudAccountStatus::noAccount);
    auto shared = std::make_shared<decltype(completion)>(std::move(completion));
    [native_->openContainer() accountStatusWithCompletionHandler:^(CKAccountStatus status, NSError* error) {
      if (error) return (*shared)(errorFrom(error));
      (*shared)(static_cast<CloudAccountStatus>(status));
    }];
}

void CloudKitDatabase::saveZone(const CloudZoneID& zone, std::function<void(std::optional<CloudError>)> completion) {
    auto shared = std::make_shared<decltype(completion)>(std::move(completion));
    CKRecordZone* recordZone = [[CKRecordZone alloc] initWithZoneID:zoneIDFrom(zone)];
    CKModifyRecordZonesOperation* operation =
        [[CKModifyRecordZonesOperation alloc] initWithRecordZonesToSave:@[ recordZone ] recordZoneIDsToDelete:nil];
    operation.modifyRecordZonesCompletionBlock = ^(NSArray<CKRecordZone*>*, NSArray<CKRecordZoneID*>*, NSError* error) {
      if (error) return (*shared)(errorFrom(error));
      (*shared)(std::nullopt);
    };
    [native_->database() addOperation:operation];
}

void CloudKitDatabase::fetchZoneChanges(const CloudZoneID& zone, CloudChangeTokenPtr token,
                                        std::function<void(CloudResult<CloudZoneChanges>)> completion) {
    auto shared = std::make_shared<decltype(completion)>(std::move(completion));
    // Per-record callbacks arrive on the operation's queue, one at a time.
    auto changes = std::make_shared<CloudZoneChanges>();
    CKRecordZoneID* zoneID = zoneIDFrom(zone);
    CKFetchRecordZoneChangesConfiguration* configuration = [[CKFetchRecordZoneChangesConfiguration alloc] init];
    if (const auto* native = dynamic_cast<const CloudKitChangeToken*>(token.get())) {
        configuration.previousServerChangeToken = native->token();
    }
    CKFetchRecordZoneChangesOperation* operation =
        [[CKFetchRecordZoneChangesOperation alloc] initWithRecordZoneIDs:@[ zoneID ]
                                                   configurationsByRecordZoneID:@{zoneID : configuration}];
    operation.fetchAllChanges = NO;  // one page per request; moreComing drives the caller
    operation.recordWasChangedBlock = ^(CKRecordID* recordID, CKRecord* record, NSError* error) {
      if (error) {
          changes->modifications.emplace_back(recordIDTo(recordID), errorFrom(error));
      } else {
          changes->modifications.emplace_back(recordIDTo(recordID), recordTo(record));
      }
    };
    operation.recordWithIDWasDeletedBlock = ^(CKRecordID* recordID, CKRecordType) {
      changes->deletions.push_back(recordIDTo(recordID));
    };
    operation.recordZoneFetchCompletionBlock = ^(CKRecordZoneID*, CKServerChangeToken* serverToken, NSData*,
                                                 BOOL moreComing, NSError* error) {
      if (error) return;  // reported by the operation's completion
      changes->changeToken = serverToken ? std::make_shared<CloudKitChangeToken>(serverToken) : nullptr;
      changes->moreComing = moreComing;
    };
    operation.fetchRecordZoneChangesCompletionBlock = ^(NSError* error) {
      if (error) {
          // A failure of the one zone comes wrapped in a partial failure.
          NSError* zoneError = error.userInfo[CKPartialErrorsByItemIDKey][zoneID];
          return (*shared)(errorFrom(zoneError ? zoneError : error));
      }
      (*shared)(std::move(*changes));
    };
    [native_->database() addOperation:operation];
}

void CloudKitDatabase::modifyRecords(std::vector<CloudRecord> saving, std::vector<CloudRecordID> deleting,
                                     CloudSavePolicy policy, bool atomically,
                                     std::function<void(CloudResult<CloudModifyResults>)> completion) {
    auto shared = std::make_shared<decltype(completion)>(std::move(completion));
    NSMutableArray<CKRecord*>* records = [NSMutableArray arrayWithCapacity:saving.size()];
    for (const CloudRecord& record : saving) [records addObject:recordFrom(record)];
    NSMutableArray<CKRecordID*>* ids = [NSMutableArray arrayWithCapacity:deleting.size()];
    for (const CloudRecordID& id : deleting) [ids addObject:recordIDFrom(id)];

    auto results = std::make_shared<CloudModifyResults>();
    CKModifyRecordsOperation* operation = [[CKModifyRecordsOperation alloc] initWithRecordsToSave:records
                                                                                recordIDsToDelete:ids];
    operation.savePolicy = static_cast<CKRecordSavePolicy>(policy);
    operation.atomic = atomically;
    operation.perRecordSaveBlock = ^(CKRecordID* recordID, CKRecord* saved, NSError* error) {
      if (error || !saved) {
          results->saveResults.emplace_back(recordIDTo(recordID), errorFrom(error));
      } else {
          results->saveResults.emplace_back(recordIDTo(recordID), recordTo(saved));
      }
    };
    operation.perRecordDeleteBlock = ^(CKRecordID* recordID, NSError* error) {
      results->deleteResults.emplace_back(recordIDTo(recordID),
                                          error ? std::optional<CloudError>(errorFrom(error)) : std::nullopt);
    };
    operation.modifyRecordsCompletionBlock = ^(NSArray<CKRecord*>*, NSArray<CKRecordID*>*, NSError* error) {
      // Per-record failures arrive above; only a failure of the request itself ends it here.
      if (error && error.code != CKErrorPartialFailure) return (*shared)(errorFrom(error));
      (*shared)(std::move(*results));
    };
    [native_->database() addOperation:operation];
}

std::optional<Data> CloudKitChangeTokenArchive::archive(const CloudChangeToken& token) const {
    const auto* native = dynamic_cast<const CloudKitChangeToken*>(&token);
    if (!native) return std::nullopt;
    NSError* error = nil;
    NSData* data = [NSKeyedArchiver archivedDataWithRootObject:native->token() requiringSecureCoding:YES error:&error];
    if (!data) return std::nullopt;
    return Data{std::string(static_cast<const char*>(data.bytes), data.length)};
}

CloudChangeTokenPtr CloudKitChangeTokenArchive::unarchive(const Data& bytes) const {
    NSData* data = [NSData dataWithBytes:bytes.bytes.data() length:bytes.bytes.size()];
    NSError* error = nil;
    CKServerChangeToken* token = [NSKeyedUnarchiver unarchivedObjectOfClass:[CKServerChangeToken class]
                                                                   fromData:data
                                                                      error:&error];
    if (!token) return nullptr;
    return std::make_shared<CloudKitChangeToken>(token);
}

void OsSystemLog::write(std::string_view subsystem, std::string_view category, std::string_view line) {
    // One log object per channel, made on first use and kept (os_log_t is an
    // Objective-C object under ARC, held strongly by the map).
    static std::mutex mutex;
    static std::map<std::pair<std::string, std::string>, __strong os_log_t> channels;
    os_log_t channel;
    {
        std::lock_guard guard(mutex);
        auto& slot = channels[{std::string(subsystem), std::string(category)}];
        if (!slot) slot = os_log_create(std::string(subsystem).c_str(), std::string(category).c_str());
        channel = slot;
    }
    os_log(channel, "%{public}s", std::string(line).c_str());
}

}  // namespace plenda
