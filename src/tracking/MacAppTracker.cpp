#include "tracking/MacAppTracker.h"

#include "model/MacActivityStore.h"
#include "platform/Clock.h"
#include "platform/Defaults.h"
#include "platform/IdleClock.h"
#include "platform/WorkingFolders.h"
#include "tracking/CategoryRules.h"

#include <cmath>

namespace plenda {

MacAppTracker::MacAppTracker(Dependencies dependencies)
    : clock_(dependencies.clock),
      scheduler_(dependencies.scheduler),
      defaults_(dependencies.defaults),
      workspace_(dependencies.workspace),
      idleClock_(dependencies.idleClock),
      browserTabs_(dependencies.scripts, dependencies.defaults, dependencies.workspace,
                   SyncLog(dependencies.output, dependencies.systemLog)),
      windowTitles_(dependencies.accessibility, dependencies.defaults),
      workingFolders_(dependencies.workingFolders),
      linuxCategoryRows_(dependencies.linuxCategoryRows) {
    const auto stored = defaults_.object(trackingEnabledKey);
    if (stored && std::holds_alternative<bool>(stored->value)) isTracking_ = std::get<bool>(stored->value);
}

MacAppTracker::~MacAppTracker() {
    if (idleTimer_) idleTimer_->cancel();
    if (browserPollTimer_) browserPollTimer_->cancel();
}

void MacAppTracker::postWeakly(std::function<void(MacAppTracker&)> work) {
    scheduler_.post([this, alive = lifetime_.weak(), work = std::move(work)] {
        if (alive.expired()) return;
        work(*this);
    });
}

void MacAppTracker::start(const std::shared_ptr<MacActivityStore>& store) {
    if (!observerTokens_.empty()) return;
    store_ = store;
    observerTokens_.push_back(workspace_.observeActivation([this, alive = lifetime_.weak()](
                                                               const RunningApplication& app) {
        if (alive.expired()) return;
        postWeakly([app](MacAppTracker& tracker) { tracker.handleActivation(app); });
    }));
    observerTokens_.push_back(workspace_.observeWillSleep([this, alive = lifetime_.weak()] {
        if (alive.expired()) return;
        postWeakly([](MacAppTracker& tracker) { tracker.handleWillSleep(); });
    }));
    startIdleTimer();
    if (const auto front = workspace_.frontmostApplication()) handleActivation(*front);
}

std::set<std::string> MacAppTracker::loadIgnoredBundleIdentifiers() const {
    const auto stored = defaults_.stringArray(ignoredBundleIdentifiersKey);
    if (!stored) return {"com.apple.loginwindow"};
    return {stored->begin(), stored->end()};
}

void MacAppTracker::handleActivation(const RunningApplication& app) {
    if (!isTracking_ || isIdle_) return;
    const std::optional<std::string>& id = app.bundleIdentifier;

    const bool ignored = id == workspace_.ownBundleIdentifier() ||
                         (id && loadIgnoredBundleIdentifiers().contains(*id));
    if (ignored) {
        commitSession(clock_.now());
        currentHost_.reset();
        currentProject_.reset();
        stopBrowserPolling();
        setCurrentAppName(std::nullopt);
        return;
    }

    commitSession(clock_.now());
    currentBundleIdentifier_ = id;
    currentAppLabel_ = app.localizedName.value_or(std::string(unknownAppLabel));
    currentHost_ = id ? browserTabs_.browserHost(*id) : std::nullopt;
    currentProject_.reset();
    if (!currentHost_) {
        const auto title = windowTitles_.frontWindowTitle(app.processIdentifier);
        if (title) currentProject_ = projectName(id, *title);
        if (!currentProject_ && workingFolders_ && id && isLinuxTerminal(*id)) {
            const auto folder = workingFolders_->projectFolder(app.processIdentifier, title.value_or(""));
            if (folder) currentProject_ = folderProject(*folder);
        }
    }
    setCurrentAppName(displayTitle());
    // Taken after the title sources, which may have waited on a consent prompt.
    startSessionClock(clock_.now());
    updateBrowserPolling(id);
}

std::string MacAppTracker::displayTitle() const {
    if (currentHost_) return *currentHost_;
    const std::string label = currentAppLabel_.value_or(std::string(unknownAppLabel));
    if (currentProject_) return label + " \u00B7 " + *currentProject_;
    return label;
}

bool MacAppTracker::isLongEnough(double duration) const {
    const double minimum = defaults_.doubleValue(minimumSessionKey);
    return minimum > 0 ? duration >= minimum : duration >= defaultMinimumSession;
}

void MacAppTracker::startSessionClock(Date now) {
    sessionStartedAt_ = now;
    sessionStartedMonotonic_ = clock_.monotonicSeconds();
}

double MacAppTracker::wallClockJump() const {
    if (!sessionStartedAt_) return 0;
    const double jump =
        (clock_.now() - *sessionStartedAt_) - (clock_.monotonicSeconds() - sessionStartedMonotonic_);
    return std::abs(jump) > clockJumpLimit ? jump : 0;
}

void MacAppTracker::commitSession(Date end) {
    // Back to the wall time the session started in, so it holds only the time
    // that passed.
    end = end - wallClockJump();
    if (sessionStartedAt_ && currentAppName_ && isLongEnough(end - *sessionStartedAt_)) {
        const std::string& title = *currentAppName_;
        auto category = categoryOverride(defaults_, title);
        if (!category && currentAppLabel_) category = applicationCategoryOverride(defaults_, *currentAppLabel_);
        if (!category) {
            const std::string key = currentAppLabel_.value_or(title) + " " + currentHost_.value_or("") + " " +
                                    currentBundleIdentifier_.value_or("");
            category = classifyCategory(key, currentHost_.has_value(), linuxCategoryRows_);
        }
        if (const auto store = store_.lock()) {
            store->recordSession(title, *category, *sessionStartedAt_, end, std::string(sessionNote));
        }
    }
    sessionStartedAt_.reset();
    currentBundleIdentifier_.reset();
}

void MacAppTracker::clearCurrentAppName() { setCurrentAppName(std::nullopt); }

void MacAppTracker::setTracking(bool enabled) {
    if (enabled == isTracking_) return;
    if (!enabled) {
        commitSession(clock_.now());
        stopBrowserPolling();
    }
    isTracking_ = enabled;
    defaults_.setBool(trackingEnabledKey, enabled);
    observers_.notify();
    if (enabled) {
        if (const auto front = workspace_.frontmostApplication()) handleActivation(*front);
    }
}

void MacAppTracker::stopBrowserPolling() {
    if (browserPollTimer_) browserPollTimer_->cancel();
    browserPollTimer_.reset();
}

void MacAppTracker::updateBrowserPolling(const std::optional<std::string>& bundleIdentifier) {
    stopBrowserPolling();
    if (!bundleIdentifier || !browserScripts().contains(*bundleIdentifier)) return;
    browserPollTimer_ = scheduler_.repeating(browserPollInterval, timerTolerance, [this, alive = lifetime_.weak()] {
        if (alive.expired()) return;
        postWeakly([](MacAppTracker& tracker) { tracker.pollBrowser(); });
    });
}

void MacAppTracker::pollBrowser() {
    if (!isTracking_ || !currentBundleIdentifier_) return;
    const std::string browser = *currentBundleIdentifier_;
    const auto host = browserTabs_.browserHost(browser);
    if (!host || currentHost_ == host) return;
    // The old site's session ends and the new one's begins at the same instant.
    const Date now = clock_.now();
    commitSession(now);
    currentHost_ = host;
    startSessionClock(now);
    currentBundleIdentifier_ = browser;
    setCurrentAppName(*host);
}

void MacAppTracker::startIdleTimer() {
    idleTimer_ = scheduler_.repeating(idleCheckInterval, timerTolerance, [this, alive = lifetime_.weak()] {
        if (alive.expired()) return;
        postWeakly([](MacAppTracker& tracker) { tracker.checkIdle(); });
    });
}

void MacAppTracker::checkIdle() {
    if (!isTracking_) return;
    if (wallClockJump() != 0) {
        // The session ends at the jump and goes on from the new wall time.
        const std::optional<std::string> bundleIdentifier = currentBundleIdentifier_;
        commitSession(clock_.now());
        currentBundleIdentifier_ = bundleIdentifier;
        startSessionClock(clock_.now());
    }
    const double idle = idleClock_.secondsSinceLastInput();
    const double stored = defaults_.doubleValue(idleThresholdKey);
    const double threshold = stored > 0 ? stored : defaultIdleThreshold;

    if (!isIdle_ && idle >= threshold) {
        setIdle(true);
        // The idle stretch belongs to nothing: the session ends at the last input.
        commitSession(clock_.now() - idle);
        currentHost_.reset();
        currentProject_.reset();
        stopBrowserPolling();
        setCurrentAppName(std::nullopt);
        return;
    }
    if (isIdle_ && idle < threshold) {
        setIdle(false);
        if (const auto front = workspace_.frontmostApplication()) handleActivation(*front);
    }
}

void MacAppTracker::handleWillSleep() {
    commitSession(clock_.now());
    const auto store = store_.lock();
    if (!store) return;
    store->saveNow();
    if (!store->cloudSyncDisabled()) store->pushAllPending();
}

void MacAppTracker::setCurrentAppName(std::optional<std::string> name) {
    if (name == currentAppName_) return;
    currentAppName_ = std::move(name);
    observers_.notify();
}

void MacAppTracker::setIdle(bool idle) {
    isIdle_ = idle;
    observers_.notify();
}

}  // namespace plenda
