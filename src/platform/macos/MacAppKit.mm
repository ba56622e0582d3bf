#include "platform/macos/MacAppKit.h"

#include "platform/macos/Arc.h"

#import <AppKit/AppKit.h>

namespace plenda {

void macActivateIgnoringOtherApps() { [NSApp activateIgnoringOtherApps:YES]; }

void macConfigureNotchPanel(void* nsView) {
    NSView* view = (__bridge NSView*)nsView;
    NSWindow* window = view.window;
    if (window == nil) return;
    if ([window isKindOfClass:[NSPanel class]]) {
        NSPanel* panel = (NSPanel*)window;
        panel.styleMask = panel.styleMask | NSWindowStyleMaskNonactivatingPanel;
        panel.becomesKeyOnlyIfNeeded = YES;
        panel.floatingPanel = YES;
    }
    window.opaque = NO;
    window.backgroundColor = [NSColor clearColor];
    window.hasShadow = NO;
    window.movable = NO;
    window.hidesOnDeactivate = NO;
    window.acceptsMouseMovedEvents = YES;
    window.ignoresMouseEvents = NO;
    window.level = NSStatusWindowLevel;  // 25
    window.collectionBehavior = NSWindowCollectionBehaviorCanJoinAllSpaces | NSWindowCollectionBehaviorStationary |
                                NSWindowCollectionBehaviorIgnoresCycle |
                                NSWindowCollectionBehaviorFullScreenAuxiliary;  // 337
    [window orderFrontRegardless];
}

}  // namespace plenda
