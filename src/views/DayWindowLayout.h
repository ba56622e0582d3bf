#pragma once

#include "views/LayoutRect.h"

namespace plenda {

// The day window's bands for a content area, top to bottom: header, treemap
// (with its bottom gap), list.
struct DayWindowLayout {
    static constexpr double headerHeight = 92;
    static constexpr double horizontalInset = 24;
    static constexpr double treemapBottomGap = 8;
    static constexpr double minimumWidth = 720;
    static constexpr double minimumHeight = 560;

    double treemapHeight = 0;
    double listHeight = 0;  // includes the treemap's bottom gap

    LayoutRect treemapRect(double contentWidth) const;
    LayoutRect listRect(double contentWidth) const;
};

// Treemap 42 % of the height within 180...400; the list the rest below the
// header, at least 80.
DayWindowLayout dayWindowLayout(double contentHeight);

}  // namespace plenda
