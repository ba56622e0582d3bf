#include "base/Date.h"

#include <chrono>
#include <cmath>
#include <cstdio>

namespace plenda {

std::string isoUtcText(Date date) {
    using namespace std::chrono;
    const auto unix = static_cast<long long>(std::floor(date.unixSeconds()));
    const sys_seconds instant{seconds{unix}};
    const auto day = floor<days>(instant);
    const year_month_day ymd{day};
    const hh_mm_ss time{instant - day};
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(ymd.year()),
                  static_cast<unsigned>(ymd.month()), static_cast<unsigned>(ymd.day()),
                  static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    return text;
}

}  // namespace plenda
