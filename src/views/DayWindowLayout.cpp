#include "views/DayWindowLayout.h"

#include <algorithm>

namespace plenda {

DayWindowLayout dayWindowLayout(double contentHeight) {
    DayWindowLayout layout;
    layout.treemapHeight = std::clamp(contentHeight * 0.42, 180.0, 400.0);
    layout.listHeight = std::max(contentHeight - DayWindowLayout::headerHeight - layout.treemapHeight, 80.0);
    return layout;
}

LayoutRect DayWindowLayout::treemapRect(double contentWidth) const {
    return {horizontalInset, headerHeight, std::max(contentWidth - 2 * horizontalInset, 0.0), treemapHeight};
}

LayoutRect DayWindowLayout::listRect(double contentWidth) const {
    return {0, headerHeight + treemapHeight + treemapBottomGap, contentWidth,
            std::max(listHeight - treemapBottomGap, 0.0)};
}

}  // namespace plenda
