#include "platform/macos/SystemFontFiles.h"

#include "platform/macos/Arc.h"

#import <AppKit/AppKit.h>
#import <CoreText/CoreText.h>

#include "platform/macos/CFRef.h"

namespace plenda::macos {

std::string roundedSystemFontFile() {
    @autoreleasepool {
        // The system font's descriptor with the rounded design: the family
        // name behind it is private, so Qt gets the font by its file instead.
        NSFontDescriptor* rounded =
            [[NSFont systemFontOfSize:13].fontDescriptor fontDescriptorWithDesign:NSFontDescriptorSystemDesignRounded];
        if (rounded == nil) return {};
        NSFont* font = [NSFont fontWithDescriptor:rounded size:13];
        if (font == nil) return {};
        CFRef<CFTypeRef> url(CTFontCopyAttribute((__bridge CTFontRef)font, kCTFontURLAttribute));
        if (!url || CFGetTypeID(url.get()) != CFURLGetTypeID()) return {};
        NSURL* file = (__bridge NSURL*)url.get();
        if (!file.isFileURL || file.path == nil) return {};
        return std::string(file.path.fileSystemRepresentation);
    }
}

}  // namespace plenda::macos
