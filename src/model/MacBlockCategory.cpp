#include "model/MacBlockCategory.h"

namespace plenda {

namespace {

struct CategoryNames {
    std::string_view raw;
    std::string_view label;
};

constexpr std::array<CategoryNames, 10> names = {{
    {"mind", "category.mind"},
    {"body", "category.body"},
    {"work", "category.work"},
    {"social", "category.social"},
    {"self", "category.selfcare"},
    {"meals", "category.meals"},
    {"entertainment", "category.entertainment"},
    {"chores", "category.chores"},
    {"commute", "category.commute"},
    {"sleep", "category.sleep"},
}};

}  // namespace

std::string_view rawValue(MacBlockCategory category) {
    return names[static_cast<std::size_t>(category)].raw;
}

std::optional<MacBlockCategory> categoryFromRawValue(std::string_view raw) {
    for (MacBlockCategory category : allCategories) {
        if (rawValue(category) == raw) return category;
    }
    return std::nullopt;
}

std::string_view labelKey(MacBlockCategory category) {
    return names[static_cast<std::size_t>(category)].label;
}

}  // namespace plenda
