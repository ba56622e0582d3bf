#pragma once

#include "base/Date.h"
#include "model/MacBlockCategory.h"

#include <cstdint>
#include <string>

namespace plenda {

// One activity of a day: every block of the day with this title and category.
struct MacActivitySummary {
    std::string id;  // category raw value + "|" + title, or "__other"
    std::string title;
    MacBlockCategory category = MacBlockCategory::mind;
    double minutes = 0;
    std::int64_t sessions = 0;
    Date firstStart;
    Date lastEnd;
    bool isAggregate = false;

    bool operator==(const MacActivitySummary&) const = default;
};

}  // namespace plenda
