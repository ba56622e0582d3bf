#pragma once

namespace plenda {

// A rectangle in view points, y pointing down.
struct LayoutRect {
    double x = 0, y = 0, width = 0, height = 0;

    constexpr double maxX() const { return x + width; }
    constexpr double maxY() const { return y + height; }
    constexpr bool operator==(const LayoutRect&) const = default;
};

}  // namespace plenda
