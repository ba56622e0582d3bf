#pragma once

#include "base/Date.h"

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace plenda {

// `plenda report [--date YYYY-MM-DD] [--week] [--json] [--png FILE] [--size WxH]`
// `plenda report [--from YYYY-MM-DD --to YYYY-MM-DD] --csv [--activities] | --json`
struct DayReportOptions {
    std::optional<std::string> date;  // the day, in the user's calendar; today when absent
    bool json = false;
    bool week = false;                // the week holding the day
    // An export of the days from..to (both included), or of the one day.
    std::optional<std::string> from, to;
    bool csv = false;
    bool activities = false;  // the CSV of each day's activities rather than of its blocks
    bool exports() const { return csv || from.has_value(); }
    std::optional<std::string> pngPath;
    double width = 760, height = 620;
    std::optional<std::string> blocksPath;  // --blocks FILE; the user's block file by default
};

// The options, or the one-line error for bad arguments.
std::variant<DayReportOptions, std::string> parseDayReportArguments(const std::vector<std::string_view>& arguments);

// Prints the day's activities; never writes the block file. Exit status.
int runDayReport(int argc, char** argv);

}  // namespace plenda
