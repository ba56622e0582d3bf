#include "sync/CloudRecordEnvelope.h"

#include <gtest/gtest.h>

namespace plenda {
namespace {

const CloudRecordEnvelope envelope{*Uuid::parse("6f1c2a3b-4d5e-4f60-8a7b-9c0d1e2f3a4b"), "{\"id\":1}", Date(700000000.25)};

TEST(CloudRecordFormat, RecordRoundTripsAndIsNamedInUpperCase) {
    const CloudRecord record = makeRecord(envelope);
    EXPECT_EQ(record.recordType, "DayBlock");
    EXPECT_EQ(record.recordID.recordName, "6F1C2A3B-4D5E-4F60-8A7B-9C0D1E2F3A4B");
    EXPECT_EQ(record.recordID.zoneID, (CloudZoneID{"DayBlocks", "__defaultOwner__"}));
    EXPECT_EQ(record.fields.size(), 2u) << "no field beyond payload and modifiedAt";
    EXPECT_EQ(makeEnvelope(record), envelope);
}

TEST(CloudRecordFormat, ConversionFallsBackForDates) {
    using Change = std::function<void(CloudRecord&)>;
    // Names that are not UUIDs and payloads that are missing or text are refused on the store's
    // pull from a hostile server.
    const std::vector<std::tuple<const char*, Change, Date>> cases{
        {"lowerCaseName", [](CloudRecord& r) { r.recordID.recordName = "6f1c2a3b-4d5e-4f60-8a7b-9c0d1e2f3a4b"; },
         envelope.modifiedAt},
        {"noDateUsesServerDate",
         [](CloudRecord& r) {
             r.fields.erase("modifiedAt");
             r.modificationDate = Date(5);
         },
         Date(5)},
        {"dateOfWrongTypeUsesServerDate",
         [](CloudRecord& r) {
             r.fields["modifiedAt"] = 12.0;
             r.modificationDate = Date(6);
         },
         Date(6)},
        {"noDateAtAllIsDistantPast", [](CloudRecord& r) { r.fields.erase("modifiedAt"); }, Date::distantPast()}};
    for (const auto& [name, change, expectedDate] : cases) {
        SCOPED_TRACE(name);
        CloudRecord record = makeRecord(envelope);
        change(record);
        EXPECT_EQ(makeEnvelope(record), (CloudRecordEnvelope{envelope.id, envelope.payload, expectedDate}));
    }
}

}  // namespace
}  // namespace plenda
