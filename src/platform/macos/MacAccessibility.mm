#include "platform/macos/MacAccessibility.h"

#include "platform/macos/Arc.h"

#import <ApplicationServices/ApplicationServices.h>
#import <Foundation/Foundation.h>

#include "platform/macos/CFRef.h"
#include "platform/macos/MacText.h"

namespace plenda {

namespace {

// A hung application answers an accessibility query with
// kAXErrorCannotComplete after this long instead of stalling the caller.
constexpr float messagingTimeoutSeconds = 1.0f;

}  // namespace

bool MacAccessibility::isTrusted() const { return AXIsProcessTrusted(); }

bool MacAccessibility::requestTrust() {
    @autoreleasepool {
        NSDictionary* options = @{(__bridge NSString*)kAXTrustedCheckOptionPrompt : @YES};
        return AXIsProcessTrustedWithOptions((__bridge CFDictionaryRef)options);
    }
}

FocusedWindowTitle MacAccessibility::focusedWindowTitle(int processIdentifier) {
    using Status = FocusedWindowTitle::Status;
    @autoreleasepool {
        CFRef<AXUIElementRef> app(AXUIElementCreateApplication(processIdentifier));
        if (!app) return {Status::windowError, 0, {}};
        AXUIElementSetMessagingTimeout(app.get(), messagingTimeoutSeconds);

        CFRef<CFTypeRef> window;
        AXError error = AXUIElementCopyAttributeValue(app.get(), kAXFocusedWindowAttribute, window.out());
        if (error != kAXErrorSuccess) return {Status::windowError, static_cast<long>(error), {}};
        if (!window) return {Status::windowError, 0, {}};
        if (CFGetTypeID(window.get()) != AXUIElementGetTypeID()) return {Status::notAnElement, 0, {}};

        // The window is an element of its own, with the default timeout until set.
        const auto windowElement = static_cast<AXUIElementRef>(window.get());
        AXUIElementSetMessagingTimeout(windowElement, messagingTimeoutSeconds);
        CFRef<CFTypeRef> title;
        error = AXUIElementCopyAttributeValue(windowElement, kAXTitleAttribute, title.out());
        if (error != kAXErrorSuccess) return {Status::titleError, static_cast<long>(error), {}};
        if (!title || CFGetTypeID(title.get()) != CFStringGetTypeID()) return {Status::titleError, 0, {}};
        const auto text = utf8Text((__bridge NSString*)title.get());
        if (!text) return {Status::titleError, 0, {}};
        return {Status::title, 0, *text};
    }
}

}  // namespace plenda
