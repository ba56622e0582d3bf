#pragma once

#include "base/Date.h"

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace plenda {

// `plenda report [--date YYYY-MM-DD] [--json] [--png FILE] [--size WxH]`
struct DayReportOptions {
    std::optional<std::string> date;  // the day, in the user's calendar; today when absent
    bool json = false;
    std::optional<std::string> pngPath;
    double width = 760, height = 620;
    std::optional<std::string> blocksPath;  // --blocks FILE; the user's block file by default
};

// The options, or the one-line error for bad arguments.
std::variant<DayReportOptions, std::string> parseDayReportArguments(const std::vector<std::string_view>& arguments);

// Prints the day's activities; never writes the block file. Exit status.
int runDayReport(int argc, char** argv);

}  // namespace plenda
