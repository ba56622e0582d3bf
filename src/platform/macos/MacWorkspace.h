#pragma once

#include "platform/Workspace.h"

namespace plenda {

// NSWorkspace: the front and running applications, the application activation
// and sleep/wake notifications (delivered on the main queue) and the bundle
// identifier of this application.
class MacWorkspace final : public Workspace {
public:
    std::optional<RunningApplication> frontmostApplication() const override;
    std::vector<RunningApplication> runningApplications() const override;
    std::optional<std::string> ownBundleIdentifier() const override;

    Subscription observeActivation(std::function<void(const RunningApplication&)> handler) override;
    Subscription observeWillSleep(std::function<void()> handler) override;
    Subscription observeDidWake(std::function<void()> handler) override;
};

}  // namespace plenda
