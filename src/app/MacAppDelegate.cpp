#include "app/MacAppDelegate.h"

#include "model/MacActivityStore.h"
#include "platform/Accessibility.h"
#include "platform/Clock.h"
#include "platform/Defaults.h"
#include "platform/Workspace.h"
#include "tracking/BrowserTabs.h"
#include "tracking/MacAppTracker.h"
#include "tracking/WindowTitles.h"

#include <cstdio>

namespace plenda {

MacAppDelegate::MacAppDelegate(Dependencies d)
    : scheduler_(d.scheduler),
      clock_(d.clock),
      defaults_(d.defaults),
      workspace_(d.workspace),
      accessibility_(d.accessibility),
      store_(std::move(d.store)),
      tracker_(std::move(d.tracker)),
      showNotchPanel_(std::move(d.showNotchPanel)),
      applyStoredVisibility_(std::move(d.applyStoredVisibility)),
      terminate_(std::move(d.terminate)) {}

void MacAppDelegate::applicationDidFinishLaunching() {
    // Diagnostic lines must reach a log or a terminal at once.
    std::setvbuf(stdout, nullptr, _IONBF, 0);

    tracker_->start(store_);
    if (showNotchPanel_) showNotchPanel_();

    const auto alive = lifetime_.weak();
    launchSteps_.push_back(scheduler_.after(visibilityDelay, [this, alive] {
        if (!alive.expired() && applyStoredVisibility_) applyStoredVisibility_();
    }));
    // Both conditions are decided now, not when the delay has passed.
    if (!defaults_.object(BrowserTabs::outcomeKey)) {
        launchSteps_.push_back(scheduler_.after(browserProbeDelay, [this, alive] {
            if (!alive.expired()) tracker_->browserTabs().requestBrowserAutomation();
        }));
    }
    if (!accessibility_.isTrusted() && !defaults_.object(WindowTitles::outcomeKey)) {
        launchSteps_.push_back(scheduler_.after(accessibilityPromptDelay, [this, alive] {
            if (!alive.expired()) tracker_->windowTitles().requestAccessibility();
        }));
    }

    startSync();
    syncTimer_ = scheduler_.repeating(syncInterval, syncTolerance, [this, alive] {
        if (!alive.expired()) startSync();
    });
    // After the tracker's own will-sleep work (posted before this), which may mark a session.
    workspaceObservers_.push_back(workspace_.observeWillSleep([this, alive] {
        scheduler_.post([this, alive] {
            if (!alive.expired()) writeSettings();
        });
    }));
    workspaceObservers_.push_back(workspace_.observeDidWake([this, alive] {
        if (alive.expired()) return;
        // An account found unusable before the sleep is examined afresh.
        if (!store_->sync()) return;
        std::weak_ptr<MacActivityStore> store = store_;
        store_->sync()->resetAvailability([this, alive, store] {
            scheduler_.post([this, alive, store] {
                if (alive.expired() || store.expired()) return;
                store_->syncNow();
            });
        });
    }));
}

void MacAppDelegate::applicationDidBecomeActive() {
    startSync();
    tracker_->browserTabs().requestBrowserAutomation();
}

MacAppDelegate::TerminateReply MacAppDelegate::applicationShouldTerminate() {
    // A second request while waiting (a second Quit, SIGTERM during logout)
    // joins the wait already running.
    if (terminateRequested_) return hasRepliedToTerminate_ ? TerminateReply::now : TerminateReply::later;
    terminateRequested_ = true;

    tracker_->commitSession(clock_.now());
    tracker_->clearCurrentAppName();
    store_->saveNow();
    writeSettings();
    if (store_->cloudSyncDisabled() || !store_->sync()->hasPendingChanges()) {
        hasRepliedToTerminate_ = true;
        return TerminateReply::now;
    }

    const auto alive = lifetime_.weak();
    launchSteps_.push_back(scheduler_.after(terminateLimit, [this, alive] {
        if (!alive.expired()) replyToTerminateOnce();
    }));
    scheduler_.post([this, alive] {
        if (alive.expired()) return;
        store_->pushAllPending([this, alive] {
            if (!alive.expired()) replyToTerminateOnce();
        });
    });
    return TerminateReply::later;
}

void MacAppDelegate::replyToTerminateOnce() {
    if (hasRepliedToTerminate_) return;
    hasRepliedToTerminate_ = true;
    if (terminate_) terminate_();
}

void MacAppDelegate::writeSettings() {
    if (store_->sync()) store_->sync()->writeBookkeeping();
    defaults_.synchronize();
}

void MacAppDelegate::startSync() {
    const auto alive = lifetime_.weak();
    scheduler_.post([this, alive] {
        if (!alive.expired()) store_->syncNow();
    });
}

}  // namespace plenda
