#pragma once

#include "base/Observers.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace plenda {

// A running application as the workspace describes it.
struct RunningApplication {
    std::optional<std::string> bundleIdentifier;  // NFC; absent when the system knows none
    std::optional<std::string> localizedName;     // NFC; absent when the system knows none
    int processIdentifier = 0;                    // 0 when unknown

    bool operator==(const RunningApplication&) const = default;
};

// The desktop's applications and the system's sleep and wake. Handlers are
// called on the main thread; a subscription ends when its handle is destroyed.
class Workspace {
public:
    virtual ~Workspace() = default;

    // The application in front; nothing when there is none or it cannot be told.
    virtual std::optional<RunningApplication> frontmostApplication() const = 0;
    // Every running application the system lists; empty when it cannot tell.
    virtual std::vector<RunningApplication> runningApplications() const = 0;
    // This program's own bundle identifier; nothing when it has none.
    virtual std::optional<std::string> ownBundleIdentifier() const = 0;

    // Another application came to the front.
    virtual Subscription observeActivation(std::function<void(const RunningApplication&)> handler) = 0;
    // The system is about to sleep.
    virtual Subscription observeWillSleep(std::function<void()> handler) = 0;
    // The system woke from sleep.
    virtual Subscription observeDidWake(std::function<void()> handler) = 0;
};

}  // namespace plenda
