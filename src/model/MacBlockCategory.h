#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace plenda {

// Declaration order is the order wherever all categories are offered.
enum class MacBlockCategory { mind, body, work, social, selfCare, meals, entertainment, chores, commute, sleep };

inline constexpr std::array<MacBlockCategory, 10> allCategories = {
    MacBlockCategory::mind,          MacBlockCategory::body,   MacBlockCategory::work,
    MacBlockCategory::social,        MacBlockCategory::selfCare, MacBlockCategory::meals,
    MacBlockCategory::entertainment, MacBlockCategory::chores, MacBlockCategory::commute,
    MacBlockCategory::sleep,
};

// The stored text: "self" for selfCare, the case name otherwise.
std::string_view rawValue(MacBlockCategory category);
// Exact, case-sensitive match against the ten stored texts.
std::optional<MacBlockCategory> categoryFromRawValue(std::string_view raw);
// The string-table key of the category's label ("category.selfcare", ...).
std::string_view labelKey(MacBlockCategory category);

}  // namespace plenda
