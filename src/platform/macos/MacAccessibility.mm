#include "platform/macos/MacAccessibility.h"

#import <ApplicationServices/ApplicationServices.h>
#import <Foundation/Foundation.h>

#include "platform/macos/CFRef.h"
#include "platform/macos/MacText.h"

namespace plenda {

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

        CFRef<CFTypeRef> window;
        AXError error = AXUIElementCopyAttributeValue(app.get(), kAXFocusedWindowAttribute, window.out());
        if (error != kAXErrorSuccess) return {Status::windowError, static_cast<long>(error), {}};
        if (!window) return {Status::windowError, 0, {}};
        if (CFGetTypeID(window.get()) != AXUIElementGetTypeID()) return {Status::notAnElement, 0, {}};

        CFRef<CFTypeRef> title;
        error = AXUIElementCopyAttributeValue(static_cast<AXUIElementRef>(window.get()), kAXTitleAttribute,
                                              title.out());
        if (error != kAXErrorSuccess) return {Status::titleError, static_cast<long>(error), {}};
        if (!title || CFGetTypeID(title.get()) != CFStringGetTypeID()) return {Status::titleError, 0, {}};
        const auto text = utf8Text((__bridge NSString*)title.get());
        if (!text) return {Status::titleError, 0, {}};
        return {Status::title, 0, *text};
    }
}

}  // namespace plenda
