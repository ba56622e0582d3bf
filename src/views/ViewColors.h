#pragma once

#include "model/MacBlockCategory.h"

namespace plenda {

struct MacActivitySummary;

enum class Appearance { light, dark };

// sRGB components in 0...1, full opacity.
struct Rgb {
    double r = 0, g = 0, b = 0;
    constexpr bool operator==(const Rgb&) const = default;
};

// A colour for each appearance, resolved whenever it is drawn.
struct ColorPair {
    Rgb light;
    Rgb dark;
    constexpr Rgb resolved(Appearance appearance) const {
        return appearance == Appearance::dark ? dark : light;
    }
};

// The neutral tokens every day view shares.
struct Palette {
    static constexpr ColorPair background{{0.925, 0.937, 0.957}, {0.08, 0.09, 0.13}};
    static constexpr ColorPair textPrimary{{0.11, 0.11, 0.12}, {0.95, 0.95, 0.97}};
    static constexpr ColorPair textSecondary{{0.56, 0.58, 0.63}, {0.65, 0.67, 0.72}};
    static constexpr ColorPair accent{{0.22, 0.48, 0.98}, {0.40, 0.62, 1.00}};
    static constexpr ColorPair live{{0.54, 0.86, 0.63}, {0.44, 0.76, 0.53}};
    static constexpr ColorPair card{{1.00, 1.00, 1.00}, {0.15, 0.15, 0.17}};
    static constexpr ColorPair hairline{{0.90, 0.90, 0.92}, {0.25, 0.25, 0.27}};
};

ColorPair categoryColor(MacBlockCategory category);
// The neutral secondary colour for the aggregate, else the category's.
ColorPair summaryColor(const MacActivitySummary& summary);

}  // namespace plenda
