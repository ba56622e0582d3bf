#pragma once

#include "base/Observers.h"
#include "platform/Scheduler.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace plenda {

class Accessibility;
class Clock;
class Defaults;
class MacActivityStore;
class MacAppTracker;
class Workspace;

// The application's lifecycle without any window: the start-up sequence, the
// sync timer, sync on activation and wake, and the bounded wait for uploads
// when quitting. Main thread only.
class MacAppDelegate {
public:
    struct Dependencies {
        Scheduler& scheduler;
        Clock& clock;
        Defaults& defaults;
        Workspace& workspace;
        Accessibility& accessibility;
        std::shared_ptr<MacActivityStore> store;
        std::shared_ptr<MacAppTracker> tracker;
        // Shows the notch panel when a notched screen is connected.
        std::function<void()> showNotchPanel;
        // The day-window keeper's stored visibility.
        std::function<void()> applyStoredVisibility;
        // Lets a deferred termination go ahead.
        std::function<void()> terminate;
    };

    enum class TerminateReply { now, later };

    static constexpr double visibilityDelay = 1.0;
    static constexpr double browserProbeDelay = 3.0;
    static constexpr double accessibilityPromptDelay = 6.0;
    static constexpr double syncInterval = 120;
    static constexpr double syncTolerance = 20;
    static constexpr double terminateLimit = 4.0;

    explicit MacAppDelegate(Dependencies dependencies);
    MacAppDelegate(const MacAppDelegate&) = delete;
    MacAppDelegate& operator=(const MacAppDelegate&) = delete;

    void applicationDidFinishLaunching();
    void applicationDidBecomeActive();
    // Ends the session and saves; `later` when uploads are still pending, and
    // then `terminate` is called once, after the upload or the time limit.
    TerminateReply applicationShouldTerminate();
    void replyToTerminateOnce();

    bool hasRepliedToTerminate() const { return hasRepliedToTerminate_; }
    bool isTerminating() const { return terminateRequested_; }

private:
    // A main-thread task that runs syncNow, unless the delegate is gone.
    void startSync();
    // The sync bookkeeping and the settings, on storage now.
    void writeSettings();

    Scheduler& scheduler_;
    Clock& clock_;
    Defaults& defaults_;
    Workspace& workspace_;
    Accessibility& accessibility_;
    std::shared_ptr<MacActivityStore> store_;
    std::shared_ptr<MacAppTracker> tracker_;
    std::function<void()> showNotchPanel_;
    std::function<void()> applyStoredVisibility_;
    std::function<void()> terminate_;

    std::optional<TaskHandle> syncTimer_;
    std::vector<Subscription> workspaceObservers_;
    std::vector<TaskHandle> launchSteps_;
    bool hasRepliedToTerminate_ = false;
    bool terminateRequested_ = false;
    Lifetime lifetime_;
};

}  // namespace plenda
