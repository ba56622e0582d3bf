#include "platform/macos/MacScreens.h"

#include "platform/macos/Arc.h"

#import <AppKit/AppKit.h>

#include "platform/ScreenAreas.h"

namespace plenda {

namespace {

// NSScreen's frames are already what Frame holds: global, origin at the
// bottom left of the first screen, y up.
Frame frameOf(NSRect rect) { return Frame{rect.origin.x, rect.origin.y, rect.size.width, rect.size.height}; }

}  // namespace

std::vector<ScreenInfo> MacScreens::screens() const {
    @autoreleasepool {
        std::vector<ScreenInfo> result;
        for (NSScreen* screen in NSScreen.screens) {
            ScreenInfo info;
            info.frame = frameOf(screen.frame);
            if (@available(macOS 12.0, *)) {
                // NSZeroRect for both on a screen without a housing.
                setAuxiliaryTopAreas(info, frameOf(screen.auxiliaryTopLeftArea), frameOf(screen.auxiliaryTopRightArea));
            }
            result.push_back(info);
        }
        return result;
    }
}

Subscription MacScreens::onChange(std::function<void()> changed) {
    NSNotificationCenter* center = NSNotificationCenter.defaultCenter;
    id token = [center addObserverForName:NSApplicationDidChangeScreenParametersNotification
                                   object:nil
                                    queue:NSOperationQueue.mainQueue
                               usingBlock:^(NSNotification*) {
                                 changed();
                               }];
    return Subscription([center, token] { [center removeObserver:token]; });
}

}  // namespace plenda
