#pragma once

#include "platform/Screens.h"

namespace plenda {

// NSScreen: every screen's frame and, from macOS 12, the menu-bar areas left
// and right of its camera housing; told of changes by the application's
// screen-parameter notification on the main queue.
class MacScreens final : public Screens {
public:
    std::vector<ScreenInfo> screens() const override;
    Subscription onChange(std::function<void()> changed) override;
};

}  // namespace plenda
