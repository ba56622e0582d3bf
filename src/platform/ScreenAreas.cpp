#include "platform/ScreenAreas.h"

namespace plenda {

namespace {

// Half a point of slack for sizes the system computes in floating point.
constexpr double slack = 0.5;

bool liesOn(const Frame& screen, const Frame& area) {
    return area.x >= screen.x - slack && area.maxX() <= screen.maxX() + slack && area.y >= screen.y - slack &&
           area.maxY() <= screen.maxY() + slack;
}

}  // namespace

std::optional<Frame> auxiliaryAreaOnScreen(const Frame& screen, const Frame& area) {
    if (!(area.width > 0) || !(area.height > 0)) return std::nullopt;
    if (liesOn(screen, area)) return area;
    const Frame moved{area.x + screen.x, area.y + screen.y, area.width, area.height};
    if (liesOn(screen, moved)) return moved;
    return std::nullopt;
}

void setAuxiliaryTopAreas(ScreenInfo& screen, const Frame& left, const Frame& right) {
    auto leftArea = auxiliaryAreaOnScreen(screen.frame, left);
    auto rightArea = auxiliaryAreaOnScreen(screen.frame, right);
    if (!leftArea || !rightArea) {
        screen.auxiliaryTopLeftArea.reset();
        screen.auxiliaryTopRightArea.reset();
        return;
    }
    screen.auxiliaryTopLeftArea = leftArea;
    screen.auxiliaryTopRightArea = rightArea;
}

}  // namespace plenda
