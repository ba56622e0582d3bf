#include "app/DayReport.h"
#include "app/ReportStore.h"
#include "fakes/KeyStringTable.h"
#include "fakes/StoreFixture.h"
#include "fakes/VirtualScheduler.h"
#include "model/MacDayBlockJson.h"

#include <QDateTime>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>

namespace plenda {
namespace {

struct BadArguments {
    std::vector<std::string_view> arguments;
    const char* error;
};

TEST(DayReportArguments, RejectsWithOneClearLine) {
    const std::vector<BadArguments> cases{
        {{"--date", "2024-02-30"}, "not a date (YYYY-MM-DD): 2024-02-30"},
        {{"--date", "2024-2-3"}, "not a date (YYYY-MM-DD): 2024-2-3"},
        {{"--date"}, "--date needs a value"},
        {{"--size", "800"}, "not a size (WxH): 800"},
        {{"--size", "0x600"}, "not a size (WxH): 0x600"},
        {{"--size", "800x-1"}, "not a size (WxH): 800x-1"},
        {{"--verbose"},
         "unknown argument: --verbose (usage: plenda report [--date YYYY-MM-DD] [--week] [--json] [--png FILE] "
         "[--size WxH], or plenda report [--from YYYY-MM-DD --to YYYY-MM-DD] --csv [--activities] | --json)"},
        {{"--from", "2024-03-05", "--csv"}, "--from and --to go together"},
        {{"--from", "2024-03-05", "--to", "2024-03-04", "--csv"}, "--from is after --to"},
        {{"--from", "2024-03-05", "--to", "2024-03-06"}, "an export is --csv or --json"},
        {{"--csv", "--json"}, "an export is --csv or --json"},
        {{"--csv", "--week"}, "an export takes no --week or --png"},
        {{"--activities"}, "--activities goes with --csv"},
        {{"--date", "2024-03-05", "--from", "2024-03-05", "--to", "2024-03-06", "--json"},
         "--date or --from and --to, not both"},
    };
    for (const auto& c : cases) {
        const auto parsed = parseDayReportArguments(c.arguments);
        ASSERT_TRUE(std::holds_alternative<std::string>(parsed)) << c.error;
        EXPECT_EQ(std::get<std::string>(parsed), c.error);
    }
}

TEST(DayReportArguments, ReadsEveryOption) {
    const auto parsed =
        parseDayReportArguments({"--json", "--date", "2024-03-05", "--png", "day.png", "--size", "640x480.5"});
    ASSERT_TRUE(std::holds_alternative<DayReportOptions>(parsed));
    const auto& options = std::get<DayReportOptions>(parsed);
    EXPECT_TRUE(options.json);
    EXPECT_EQ(options.date, "2024-03-05");
    EXPECT_EQ(options.pngPath, "day.png");
    EXPECT_EQ(options.width, 640);
    EXPECT_EQ(options.height, 480.5);
    const auto range = std::get<DayReportOptions>(
        parseDayReportArguments({"--from", "2024-03-01", "--to", "2024-03-07", "--csv", "--activities"}));
    EXPECT_TRUE(range.exports() && range.csv && range.activities);
    EXPECT_EQ(range.from, "2024-03-01");
    EXPECT_EQ(range.to, "2024-03-07");
}

// An export reads the file once for the range it asks for: the days' blocks
// come out, those before and after stay out.
TEST(DayReport, ExportsTheBlocksOfARangeOfDays) {
    const std::string path = testing::TempDir() + "plenda-report-range.json";
    const auto local = [](int day, int hour) {
        return Date::fromUnixSeconds(double(QDateTime(QDate(2024, 3, day), QTime(hour, 0)).toSecsSinceEpoch()));
    };
    std::vector<MacDayBlock> blocks;
    for (int day = 1; day <= 9; ++day) blocks.push_back(makeBlock("Day " + std::to_string(day), MacBlockCategory::work, local(day, 9), local(day, 10)));
    std::ofstream(path) << *encodeBlocks(blocks);
    const char* argv[] = {"report", "--from", "2024-03-03", "--to", "2024-03-05", "--csv", "--blocks", path.c_str()};
    testing::internal::CaptureStdout();
    EXPECT_EQ(runDayReport(8, const_cast<char**>(argv)), 0);
    const std::string csv = testing::internal::GetCapturedStdout();
    std::vector<std::string> titles;
    std::istringstream lines(csv);
    std::getline(lines, titles.emplace_back());  // the header
    for (std::string line; std::getline(lines, line);) titles.push_back(line.substr(37, 5));  // after the id
    EXPECT_EQ(titles, (std::vector<std::string>{"\xEF\xBB\xBFid,title,category,start,end,minutes,type,note\r", "Day 3",
                                                "Day 4", "Day 5"}));
    std::remove(path.c_str());
}

// A block across midnight counts whole on the day it starts, as the day
// window shows it: the report never runs the app's one-time split.
TEST(DayReport, ShowsTheBlocksOfTheDayAsTheFileHoldsThem) {
    const std::string path = testing::TempDir() + "plenda-report-midnight.json";
    const auto local = [](int day, int hour) {
        return Date::fromUnixSeconds(double(QDateTime(QDate(2024, 3, day), QTime(hour, 0)).toSecsSinceEpoch()));
    };
    const std::vector<MacDayBlock> blocks{makeBlock("Late", MacBlockCategory::work, local(5, 22), local(6, 2), 240),
                                          makeBlock("Next", MacBlockCategory::work, local(6, 9), local(6, 10), 60)};
    std::ofstream(path) << *encodeBlocks(blocks);
    const char* argv[] = {"report", "--json", "--date", "2024-03-05", "--blocks", path.c_str()};
    testing::internal::CaptureStdout();
    EXPECT_EQ(runDayReport(6, const_cast<char**>(argv)), 0);
    const std::string json = testing::internal::GetCapturedStdout();
    EXPECT_NE(json.find("\"totalMinutes\":240,"), std::string::npos) << json;
    EXPECT_EQ((std::stringstream() << std::ifstream(path).rdbuf()).str(), *encodeBlocks(blocks));
    std::remove(path.c_str());
}

// The picture of the day window says what the app says with sync off, not
// that something waits to be synced.
TEST(DayReport, TheStoreShownSaysSyncIsOff) {
    VirtualScheduler scheduler{Date(700000000.0)};
    IcuCalendar calendar("Europe/Berlin");
    KeyStringTable strings;
    const Date start = scheduler.now() - 3600;
    ReportStore report({makeBlock("Xcode", MacBlockCategory::work, start, start + 600)}, scheduler, scheduler,
                       calendar, strings);
    EXPECT_EQ(report.store().blockCount(), 1u);
    EXPECT_EQ(report.store().syncMessage(), "mac.sync.testmode");
}

TEST(DayReport, AnUnreadableBlockFileFailsAndStaysAsItWas) {
    const std::string path = testing::TempDir() + "plenda-report-blocks.json";
    const std::string garbage = "[{\"id\": 1}, not json";
    std::ofstream(path) << garbage;
    const char* argv[] = {"report", "--blocks", path.c_str()};
    testing::internal::CaptureStderr();
    const int status = runDayReport(3, const_cast<char**>(argv));
    const std::string error = testing::internal::GetCapturedStderr();
    EXPECT_EQ(status, 1);
    // One line of ours (Qt may add its own warnings about the environment).
    std::istringstream lines(error);
    std::vector<std::string> ours;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("plenda report: ")) ours.push_back(line);
    }
    ASSERT_EQ(ours.size(), 1u) << error;
    EXPECT_NE(ours[0].find(path + " is not a block file"), std::string::npos) << ours[0];
    EXPECT_EQ((std::stringstream() << std::ifstream(path).rdbuf()).str(), garbage);
    std::remove(path.c_str());
}

}  // namespace
}  // namespace plenda
