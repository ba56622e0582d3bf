#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "base/Observers.h"

namespace plenda {

// A rectangle in global screen coordinates: origin at the bottom left of the
// main screen, y growing upward, as window frames are given on the Mac.
struct Frame {
    double x = 0, y = 0, width = 0, height = 0;
    double maxX() const { return x + width; }
    double maxY() const { return y + height; }
    double midX() const { return x + width / 2; }
    bool operator==(const Frame&) const = default;
};

struct ScreenInfo {
    Frame frame;
    // The menu-bar areas left and right of a camera housing; both absent on
    // screens without a notch.
    std::optional<Frame> auxiliaryTopLeftArea;
    std::optional<Frame> auxiliaryTopRightArea;
};

// The connected screens in the system's order, and word of any change.
class Screens {
public:
    virtual ~Screens() = default;
    virtual std::vector<ScreenInfo> screens() const = 0;
    // `changed` runs on the main thread after the configuration changed.
    virtual Subscription onChange(std::function<void()> changed) = 0;
};

}  // namespace plenda
