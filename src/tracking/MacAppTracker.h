#pragma once

#include "base/Date.h"
#include "base/Observers.h"
#include "platform/Scheduler.h"
#include "platform/Workspace.h"
#include "tracking/BrowserTabs.h"
#include "tracking/CategoryRules.h"
#include "tracking/WindowTitles.h"

#include <iostream>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace plenda {

class Accessibility;
class Clock;
class Defaults;
class IdleClock;
class MacActivityStore;
class ScriptRunner;
class SystemLog;
class WorkingFolders;

// Follows the front application and cuts the day into sessions: one stretch
// of use of one application, site or project. Finished sessions long enough to
// count go to the store. Also ends sessions at idle and before sleep.
// Main thread only.
class MacAppTracker {
public:
    struct Dependencies {
        Clock& clock;
        Scheduler& scheduler;
        Defaults& defaults;
        Workspace& workspace;
        ScriptRunner& scripts;
        Accessibility& accessibility;
        IdleClock& idleClock;
        std::ostream& output = std::cout;
        // Also receives the diagnostic lines, where the platform has a system log.
        SystemLog* systemLog = nullptr;
        // The Linux keyword rows; a replay of a Mac's day turns them off.
        bool linuxCategoryRows = linuxKeywordRows;
        // Where terminals' programs work, where the platform can tell.
        WorkingFolders* workingFolders = nullptr;
    };

    static constexpr std::string_view trackingEnabledKey = "trackingEnabled";
    static constexpr std::string_view minimumSessionKey = "minimumSessionSeconds";
    static constexpr std::string_view ignoredBundleIdentifiersKey = "ignoredBundleIdentifiers";
    static constexpr std::string_view idleThresholdKey = "idleThresholdSeconds";
    static constexpr std::string_view unknownAppLabel = "Unknown App";
    static constexpr std::string_view sessionNote = "Logged automatically on Mac";
    static constexpr double browserPollInterval = 20;
    static constexpr double idleCheckInterval = 20;
    static constexpr double timerTolerance = 5;
    static constexpr double defaultMinimumSession = 5;
    // A wall clock that moved this much more (or less) than time passed was set.
    static constexpr double clockJumpLimit = 60;
    static constexpr double defaultIdleThreshold = 300;

    explicit MacAppTracker(Dependencies dependencies);
    ~MacAppTracker();
    MacAppTracker(const MacAppTracker&) = delete;
    MacAppTracker& operator=(const MacAppTracker&) = delete;

    // Published state.
    const std::optional<std::string>& currentAppName() const { return currentAppName_; }
    bool isTracking() const { return isTracking_; }
    bool isIdle() const { return isIdle_; }
    // Told after every change of the published state.
    Subscription observe(std::function<void()> callback) { return observers_.subscribe(std::move(callback)); }

    // Installs the workspace observers and the idle timer, then tracks what is
    // in front. Only the first call does anything.
    void start(const std::shared_ptr<MacActivityStore>& store);
    void handleActivation(const RunningApplication& app);
    // Ends the running session at `end`, handing it to the store when it is long enough.
    void commitSession(Date end);
    // For quitting: nothing is tracked any more.
    void clearCurrentAppName();
    std::set<std::string> loadIgnoredBundleIdentifiers() const;
    void setTracking(bool enabled);
    void updateBrowserPolling(const std::optional<std::string>& bundleIdentifier);
    void pollBrowser();
    void checkIdle();

    BrowserTabs& browserTabs() { return browserTabs_; }
    WindowTitles& windowTitles() { return windowTitles_; }

    // Inspection for tests and the replay tool.
    const std::optional<std::string>& currentBundleIdentifier() const { return currentBundleIdentifier_; }
    const std::optional<std::string>& currentHost() const { return currentHost_; }
    const std::optional<std::string>& currentProject() const { return currentProject_; }
    std::optional<Date> sessionStartedAt() const { return sessionStartedAt_; }
    bool isBrowserPolling() const { return browserPollTimer_.has_value(); }

private:
    void startSessionClock(Date now);
    // How far the wall clock was set since the session began; 0 for drift
    // within clockJumpLimit.
    double wallClockJump() const;
    std::string displayTitle() const;
    bool isLongEnough(double duration) const;
    void handleWillSleep();
    void startIdleTimer();
    void stopBrowserPolling();
    void setCurrentAppName(std::optional<std::string> name);
    void setIdle(bool idle);
    // Runs `work` as a later main-thread task, unless the tracker is gone by then.
    void postWeakly(std::function<void(MacAppTracker&)> work);

    Clock& clock_;
    Scheduler& scheduler_;
    Defaults& defaults_;
    Workspace& workspace_;
    IdleClock& idleClock_;
    BrowserTabs browserTabs_;
    WindowTitles windowTitles_;
    WorkingFolders* workingFolders_;

    std::optional<std::string> currentAppName_;
    bool isTracking_ = true;
    std::weak_ptr<MacActivityStore> store_;
    std::optional<std::string> currentBundleIdentifier_;
    std::optional<std::string> currentAppLabel_;
    std::optional<std::string> currentHost_;
    std::optional<std::string> currentProject_;
    std::optional<Date> sessionStartedAt_;
    double sessionStartedMonotonic_ = 0;
    std::vector<Subscription> observerTokens_;
    std::optional<TaskHandle> browserPollTimer_;
    bool isIdle_ = false;
    std::optional<TaskHandle> idleTimer_;

    ObserverList observers_;
    const bool linuxCategoryRows_;
    Lifetime lifetime_;
};

}  // namespace plenda
