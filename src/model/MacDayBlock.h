#pragma once

#include "base/Date.h"
#include "model/MacBlockCategory.h"
#include "base/Uuid.h"

#include <cmath>
#include <limits>
#include <optional>
#include <string>

namespace plenda {

// One titled, categorised stretch of the user's day. A plain value.
struct MacDayBlock {
    Uuid id;
    std::string title;
    MacBlockCategory category = MacBlockCategory::mind;
    double weight = 0;  // minutes
    std::optional<std::string> note;
    Date createdAt;
    std::optional<Date> startDate;
    std::optional<Date> endDate;
    std::string blockType;
    std::optional<Date> modifiedAt;

    Date effectiveStart() const { return startDate.value_or(createdAt); }
    Date effectiveEnd() const { return endDate.value_or(createdAt); }
    // What last-writer-wins compares.
    Date lastModified() const { return modifiedAt.value_or(createdAt); }

    bool operator==(const MacDayBlock&) const = default;
};

inline constexpr std::string_view trackedBlockType = "tracked";

// Minutes add up without overflowing: a sum past the largest double stays
// at it, so totals of hostile weights stay finite.
inline double addMinutes(double total, double minutes) {
    const double sum = total + minutes;
    return std::isfinite(sum) ? sum : std::copysign(std::numeric_limits<double>::max(), sum);
}

}  // namespace plenda
