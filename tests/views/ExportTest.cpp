#include "fakes/StoreFixture.h"
#include "views/Export.h"

#include <simdjson.h>

namespace plenda {
namespace {

using C = MacBlockCategory;

class Exporting : public StoreFixture {
protected:
    void SetUp() override {
        scheduler.advanceTo(at(2024, 6, 1, 12));
        makeStore();
    }
    MacDayBlock add(std::string title, C category, Date start, double minutes, std::optional<std::string> note = {}) {
        MacDayBlock block = makeBlock(std::move(title), category, start, start + minutes * 60);
        block.note = std::move(note);
        store->upsert(block);
        return block;
    }
};

TEST(IsoLocalText, TheWallTimeAndItsOffsetToTheMinute) {
    const Date instant = Date::fromUnixSeconds(1710147600.4);  // 2024-03-11 09:00:00.4 UTC
    const std::vector<std::pair<const char*, const char*>> zones{
        {"UTC", "2024-03-11T09:00:00+00:00"},        {"Europe/Berlin", "2024-03-11T10:00:00+01:00"},
        {"America/New_York", "2024-03-11T05:00:00-04:00"},  // the day after the change
        {"Asia/Kolkata", "2024-03-11T14:30:00+05:30"}, {"America/St_Johns", "2024-03-11T06:30:00-02:30"}};
    for (const auto& [zone, text] : zones) EXPECT_EQ(isoLocalText(IcuCalendar(zone), instant), text) << zone;
}

// What a spreadsheet reads back: every field as it was, whatever it holds.
TEST_F(Exporting, CsvQuotesWhatSpreadsheetsWouldSplitAndKeepsEveryCharacter) {
    const MacDayBlock plain = add("Xcode", C::work, at(2024, 3, 5, 9), 60);
    const MacDayBlock odd = add("a, \"quoted\"\r\nand\nbroken · Über 😀", C::selfCare, at(2024, 3, 5, 11), 1.5,
                                "note, with \"quotes\"");
    const auto days = exportDays(*store, calendar, at(2024, 3, 5), at(2024, 3, 5, 23));
    EXPECT_EQ(blocksCsv(days, calendar),
              "\xEF\xBB\xBF" "id,title,category,start,end,minutes,type,note\r\n" +
                  plain.id.string() + ",Xcode,work,2024-03-05T09:00:00+01:00,2024-03-05T10:00:00+01:00,60,tracked,\r\n" +
                  odd.id.string() +
                  ",\"a, \"\"quoted\"\"\r\nand\nbroken · Über 😀\",self,2024-03-05T11:00:00+01:00,"
                  "2024-03-05T11:01:30+01:00,1.5,tracked,\"note, with \"\"quotes\"\"\"\r\n");
    EXPECT_EQ(activitiesCsv(days, calendar),
              "\xEF\xBB\xBF" "date,title,category,minutes,sessions,first start,last end\r\n"
              "2024-03-05,Xcode,work,60,1,2024-03-05T09:00:00+01:00,2024-03-05T10:00:00+01:00\r\n"
              "2024-03-05,\"a, \"\"quoted\"\"\r\nand\nbroken · Über 😀\",self,1.5,1,2024-03-05T11:00:00+01:00,"
              "2024-03-05T11:01:30+01:00\r\n");
}

// A range of days, both ends included, across the change to summer time; a
// block running past midnight counts once, on the day it starts.
TEST_F(Exporting, ARangeOfDaysAsJson) {
    add("Late", C::work, at(2024, 3, 30, 23), 180);
    add("Run", C::body, at(2024, 3, 31, 8), 30);
    add("Outside", C::body, at(2024, 4, 2, 8), 30);
    const auto days = exportDays(*store, calendar, at(2024, 3, 30, 15), at(2024, 4, 1, 1));
    ASSERT_EQ(days.size(), 3u);
    simdjson::dom::parser parser;
    const simdjson::dom::element json = parser.parse(exportJson(days, calendar));
    EXPECT_EQ(std::string_view(json["from"]), "2024-03-30");
    EXPECT_EQ(std::string_view(json["to"]), "2024-04-01");
    const simdjson::dom::array blocks = json["blocks"];
    ASSERT_EQ(blocks.size(), 2u);
    EXPECT_EQ(std::string_view(blocks.at(0)["end"]), "2024-03-31T03:00:00+02:00") << "02:00 never was";
    EXPECT_EQ(std::string_view(blocks.at(1)["start"]), "2024-03-31T08:00:00+02:00");
    const simdjson::dom::array perDay = json["days"];
    ASSERT_EQ(perDay.size(), 3u);
    EXPECT_EQ(double(perDay.at(0)["minutes"]), 180);
    EXPECT_EQ(std::string_view(perDay.at(1)["activities"].at(0)["title"]), "Run");
    EXPECT_EQ(simdjson::dom::array(perDay.at(2)["activities"]).size(), 0u);
}

}  // namespace
}  // namespace plenda
