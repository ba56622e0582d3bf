#include "views/ViewColors.h"

#include "views/MacActivitySummary.h"

#include <array>

namespace plenda {

namespace {

// In declaration order of the categories.
constexpr std::array<ColorPair, 10> categoryColors = {{
    {{0.10, 0.76, 0.61}, {0.24, 0.84, 0.69}},  // mind
    {{1.00, 0.42, 0.31}, {1.00, 0.54, 0.43}},  // body
    {{0.18, 0.45, 0.98}, {0.36, 0.60, 1.00}},  // work
    {{1.00, 0.62, 0.12}, {1.00, 0.70, 0.28}},  // social
    {{0.54, 0.40, 0.90}, {0.67, 0.55, 0.98}},  // selfCare
    {{0.96, 0.30, 0.62}, {1.00, 0.44, 0.70}},  // meals
    {{0.83, 0.24, 0.77}, {0.91, 0.38, 0.85}},  // entertainment
    {{0.12, 0.65, 0.92}, {0.28, 0.74, 1.00}},  // chores
    {{0.04, 0.65, 0.71}, {0.19, 0.75, 0.80}},  // commute
    {{0.38, 0.32, 0.75}, {0.53, 0.47, 0.90}},  // sleep
}};

}  // namespace

ColorPair categoryColor(MacBlockCategory category) {
    return categoryColors[static_cast<std::size_t>(category)];
}

ColorPair summaryColor(const MacActivitySummary& summary) {
    return summary.isAggregate ? Palette::textSecondary : categoryColor(summary.category);
}

}  // namespace plenda
