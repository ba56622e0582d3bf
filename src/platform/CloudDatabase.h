#pragma once

#include "base/Date.h"
#include "platform/Defaults.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace plenda {

// CKCurrentUserDefaultName: the zone owner that means "the signed-in user".
inline constexpr const char* cloudCurrentUserName = "__defaultOwner__";

struct CloudZoneID {
    std::string zoneName;
    std::string ownerName = cloudCurrentUserName;
    bool operator==(const CloudZoneID&) const = default;
};

struct CloudRecordID {
    std::string recordName;
    CloudZoneID zoneID;
    bool operator==(const CloudRecordID&) const = default;
};

// The field values this program stores: bytes, dates, text and numbers.
using CloudFieldValue = std::variant<Data, Date, std::string, double>;

struct CloudRecord {
    std::string recordType;
    CloudRecordID recordID;
    std::map<std::string, CloudFieldValue> fields;
    // Set by the server; absent on records built locally.
    std::optional<Date> modificationDate;
    // The server's version stamp, opaque (CloudKit: the record's archived
    // system fields, which carry its change tag); empty on records never saved.
    // A save that must not overwrite a change it has not seen carries it.
    std::string changeTag;
    bool operator==(const CloudRecord&) const = default;
};

// An error as the platform reports it: a domain, a numeric code and a text.
// CloudKit's own errors carry the domain "CKErrorDomain" and CKError codes.
struct CloudError {
    CloudError() = default;
    CloudError(std::string domain, long code, std::string description)
        : domain(std::move(domain)), code(code), description(std::move(description)) {}

    std::string domain;
    long code = 0;
    std::string description;
    // With "server record changed" (14): the record the server holds.
    std::shared_ptr<const CloudRecord> serverRecord;

    static constexpr const char* cloudKitDomain = "CKErrorDomain";
    bool isCloudKit(long ckCode) const { return domain == cloudKitDomain && code == ckCode; }
    static CloudError cloudKit(long ckCode, std::string text) {
        return CloudError{cloudKitDomain, ckCode, std::move(text)};
    }
    bool operator==(const CloudError&) const = default;
};

// The CKError codes this program reacts to or produces.
namespace CloudErrorCode {
inline constexpr long internalError = 1;
inline constexpr long networkUnavailable = 3;
inline constexpr long networkFailure = 4;
inline constexpr long serviceUnavailable = 6;
inline constexpr long unknownItem = 11;
inline constexpr long invalidArguments = 12;
inline constexpr long serverRecordChanged = 14;
inline constexpr long changeTokenExpired = 21;
inline constexpr long batchRequestFailed = 22;
inline constexpr long zoneNotFound = 26;
inline constexpr long limitExceeded = 27;
inline constexpr long userDeletedZone = 28;
}  // namespace CloudErrorCode

// A value or the error that stood in its place.
template <class T>
class CloudResult {
public:
    CloudResult(T value) : content_(std::move(value)) {}
    CloudResult(CloudError error) : content_(std::move(error)) {}

    bool ok() const { return content_.index() == 0; }
    T& value() { return std::get<0>(content_); }
    const T& value() const { return std::get<0>(content_); }
    const CloudError& error() const { return std::get<1>(content_); }

private:
    std::variant<T, CloudError> content_;
};

// CKAccountStatus, by raw value.
enum class CloudAccountStatus : long {
    couldNotDetermine = 0,
    available = 1,
    restricted = 2,
    noAccount = 3,
    temporarilyUnavailable = 4,
};

// CKRecordSavePolicy, by raw value.
enum class CloudSavePolicy : long { ifServerRecordUnchanged = 0, changedKeys = 1, allKeys = 2 };

// A server change token of a record zone: opaque to everything but the
// database that issued it and the archive that stores it.
class CloudChangeToken {
public:
    virtual ~CloudChangeToken() = default;
};
using CloudChangeTokenPtr = std::shared_ptr<const CloudChangeToken>;

// One page of a zone's changes since a token.
struct CloudZoneChanges {
    // Per record: the record, or why it could not be delivered; in server order.
    std::vector<std::pair<CloudRecordID, CloudResult<CloudRecord>>> modifications;
    std::vector<CloudRecordID> deletions;
    CloudChangeTokenPtr changeToken;
    bool moreComing = false;
};

// Per-record outcomes of one modify request: a save gives the record as
// saved (with its new change tag); a deletion gives no error on success.
struct CloudModifyResults {
    std::vector<std::pair<CloudRecordID, CloudResult<CloudRecord>>> saveResults;
    std::vector<std::pair<CloudRecordID, std::optional<CloudError>>> deleteResults;
};

// The user's private cloud database (with the container's account check), as
// CloudKit shapes it. Every completion is called at most once, on any thread;
// a request that never returns never calls it.
class CloudDatabase {
public:
    virtual ~CloudDatabase() = default;

    virtual void accountStatus(std::function<void(CloudResult<CloudAccountStatus>)> completion) = 0;
    // Creates the zone, or succeeds when it exists already.
    virtual void saveZone(const CloudZoneID& zone,
                          std::function<void(std::optional<CloudError>)> completion) = 0;
    // The next page of changes since `token` (none: the whole zone). Fails as
    // a whole on request errors, an expired token (21) or a missing zone (26, 28).
    virtual void fetchZoneChanges(const CloudZoneID& zone, CloudChangeTokenPtr token,
                                  std::function<void(CloudResult<CloudZoneChanges>)> completion) = 0;
    // Saves and deletes records; fails as a whole only on request errors.
    virtual void modifyRecords(std::vector<CloudRecord> saving, std::vector<CloudRecordID> deleting,
                               CloudSavePolicy policy, bool atomically,
                               std::function<void(CloudResult<CloudModifyResults>)> completion) = 0;
};

}  // namespace plenda
