#include "app/DayReport.h"

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
