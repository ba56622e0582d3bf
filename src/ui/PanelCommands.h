#pragma once

#include <functional>

namespace plenda {

// What the menu-bar panel and the notch card can ask of the application.
struct PanelCommands {
    std::function<void()> openDayWindow;
    std::function<void()> openSettings;
    std::function<void()> quit;
    // Bring the application forward, then probe the browsers / prompt for trust.
    std::function<void()> grantBrowserAutomation;
    std::function<void()> grantAccessibility;
    // Asked each time the content is drawn.
    std::function<bool()> browserAutomationDenied;
    std::function<bool()> accessibilityTrusted;
};

}  // namespace plenda
