#include "views/DurationText.h"

#include <cmath>
#include <cstdio>

namespace plenda {

namespace {

std::string wholeNumber(double value) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.0f", value);
    return buffer;
}

}  // namespace

std::string formatDuration(double minutes) {
    if (std::isnan(minutes) || minutes < 1) return std::isnan(minutes) ? "—" : "<1m";
    if (std::isinf(minutes)) return "—";
    const double n = std::round(minutes);  // halves away from zero
    if (n < 60) return wholeNumber(n) + "m";
    const double hours = std::floor(n / 60);
    const double rest = n - hours * 60;
    if (rest == 0) return wholeNumber(hours) + "h";
    return wholeNumber(hours) + "h " + wholeNumber(rest) + "m";
}

}  // namespace plenda
