#include "app/DayReport.h"
#include "fakes/StoreFixture.h"
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
         "unknown argument: --verbose (usage: plenda report [--date YYYY-MM-DD] [--json] [--png FILE] [--size WxH])"},
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
