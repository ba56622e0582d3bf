#pragma once

#include "base/Date.h"
#include "model/MacBlockCategory.h"
#include "base/Uuid.h"

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

}  // namespace plenda
