#include "platform/macos/MacWorkspace.h"

#include "platform/macos/Arc.h"

#import <AppKit/AppKit.h>

#include "platform/macos/MacText.h"

namespace plenda {

namespace {

RunningApplication describe(NSRunningApplication* app) {
    return {utf8Text(app.bundleIdentifier), utf8Text(app.localizedName), static_cast<int>(app.processIdentifier)};
}

// Observes one workspace notification on the main queue until the
// subscription ends.
Subscription observe(NSNotificationName name, void (^block)(NSNotification*)) {
    NSNotificationCenter* center = NSWorkspace.sharedWorkspace.notificationCenter;
    id token = [center addObserverForName:name object:nil queue:NSOperationQueue.mainQueue usingBlock:block];
    return Subscription([center, token] { [center removeObserver:token]; });
}

}  // namespace

std::optional<RunningApplication> MacWorkspace::frontmostApplication() const {
    @autoreleasepool {
        NSRunningApplication* app = NSWorkspace.sharedWorkspace.frontmostApplication;
        if (!app) return std::nullopt;
        return describe(app);
    }
}

std::vector<RunningApplication> MacWorkspace::runningApplications() const {
    @autoreleasepool {
        std::vector<RunningApplication> apps;
        for (NSRunningApplication* app in NSWorkspace.sharedWorkspace.runningApplications) {
            apps.push_back(describe(app));
        }
        return apps;
    }
}

std::optional<std::string> MacWorkspace::ownBundleIdentifier() const {
    @autoreleasepool {
        return utf8Text(NSBundle.mainBundle.bundleIdentifier);
    }
}

Subscription MacWorkspace::observeActivation(std::function<void(const RunningApplication&)> handler) {
    return observe(NSWorkspaceDidActivateApplicationNotification, ^(NSNotification* note) {
      // A notification without a running application is ignored.
      id app = note.userInfo[NSWorkspaceApplicationKey];
      if (![app isKindOfClass:NSRunningApplication.class]) return;
      handler(describe(app));
    });
}

Subscription MacWorkspace::observeWillSleep(std::function<void()> handler) {
    return observe(NSWorkspaceWillSleepNotification, ^(NSNotification*) {
      handler();
    });
}

Subscription MacWorkspace::observeDidWake(std::function<void()> handler) {
    return observe(NSWorkspaceDidWakeNotification, ^(NSNotification*) {
      handler();
    });
}

}  // namespace plenda
