#pragma once

#include "base/Date.h"
#include "base/Uuid.h"
#include "platform/CloudDatabase.h"

#include <optional>
#include <string>

namespace plenda {

// What crosses between the store and the engine: a block's id, its JSON and
// its last-change time. The engine never looks inside the payload.
struct CloudRecordEnvelope {
    Uuid id;
    std::string payload;
    Date modifiedAt;
    bool operator==(const CloudRecordEnvelope&) const = default;
};

inline constexpr const char* dayBlockRecordType = "DayBlock";
inline constexpr const char* dayBlocksZoneName = "DayBlocks";
inline constexpr const char* payloadField = "payload";
inline constexpr const char* modifiedAtField = "modifiedAt";

// One record in the zone names the zone's incarnation, so that a device can
// tell a zone deleted and made anew from the one its knowledge is about.
inline constexpr const char* zoneMarkRecordType = "ZoneMark";
inline constexpr const char* zoneMarkRecordName = "zone-mark";
inline constexpr const char* zoneMarkField = "mark";

inline CloudZoneID dayBlocksZoneID() { return CloudZoneID{dayBlocksZoneName, cloudCurrentUserName}; }

// A fresh record (no server change tag) holding exactly the two fields.
CloudRecord makeRecord(const CloudRecordEnvelope& envelope, const CloudZoneID& zoneID = dayBlocksZoneID());
// None when the record name is not a UUID or there is no byte payload. A
// missing date falls back to the server's modification date, then the
// distant past.
std::optional<CloudRecordEnvelope> makeEnvelope(const CloudRecord& record);
CloudRecord makeZoneMarkRecord(const std::string& mark, const CloudZoneID& zoneID = dayBlocksZoneID());
// The mark a zone-mark record holds; none for any other record.
std::optional<std::string> zoneMarkOf(const CloudRecord& record);

}  // namespace plenda
