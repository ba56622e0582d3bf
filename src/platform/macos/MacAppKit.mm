#include "platform/macos/MacAppKit.h"

#include "platform/macos/Arc.h"

#import <AppKit/AppKit.h>

#include <algorithm>

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

double macConfigureDayWindow(void* nsView) {
    NSView* view = (__bridge NSView*)nsView;
    NSWindow* window = view.window;
    if (window == nil) return 0;
    window.styleMask = window.styleMask | NSWindowStyleMaskFullSizeContentView;
    window.titlebarAppearsTransparent = YES;
    // The content view now fills the frame; the layout rect is what the title bar leaves free.
    const NSRect content = window.contentView.frame;
    const NSRect free = window.contentLayoutRect;
    return std::max<CGFloat>(0, NSHeight(content) - NSMaxY(free));
}

}  // namespace plenda
