#include "sync/CloudRecordEnvelope.h"

namespace plenda {

CloudRecord makeRecord(const CloudRecordEnvelope& envelope, const CloudZoneID& zoneID) {
    CloudRecord record;
    record.recordType = dayBlockRecordType;
    record.recordID = CloudRecordID{envelope.id.string(), zoneID};
    record.fields.emplace(payloadField, Data{envelope.payload});
    record.fields.emplace(modifiedAtField, envelope.modifiedAt);
    return record;
}

std::optional<CloudRecordEnvelope> makeEnvelope(const CloudRecord& record) {
    const auto id = Uuid::parse(record.recordID.recordName);
    if (!id) return std::nullopt;

    const auto payload = record.fields.find(payloadField);
    if (payload == record.fields.end()) return std::nullopt;
    const auto* bytes = std::get_if<Data>(&payload->second);
    if (!bytes) return std::nullopt;

    Date modifiedAt = record.modificationDate.value_or(Date::distantPast());
    const auto stored = record.fields.find(modifiedAtField);
    if (stored != record.fields.end()) {
        if (const auto* date = std::get_if<Date>(&stored->second)) modifiedAt = *date;
    }
    return CloudRecordEnvelope{*id, bytes->bytes, modifiedAt};
}

CloudRecord makeZoneMarkRecord(const std::string& mark, const CloudZoneID& zoneID) {
    CloudRecord record;
    record.recordType = zoneMarkRecordType;
    record.recordID = CloudRecordID{zoneMarkRecordName, zoneID};
    record.fields.emplace(zoneMarkField, mark);
    return record;
}

std::optional<std::string> zoneMarkOf(const CloudRecord& record) {
    if (record.recordID.recordName != zoneMarkRecordName) return std::nullopt;
    const auto field = record.fields.find(zoneMarkField);
    const auto* mark = field == record.fields.end() ? nullptr : std::get_if<std::string>(&field->second);
    if (!mark || mark->empty()) return std::nullopt;
    return *mark;
}

}  // namespace plenda
