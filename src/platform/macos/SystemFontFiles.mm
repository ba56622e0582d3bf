#include "platform/macos/SystemFontFiles.h"

#include "platform/macos/Arc.h"

#import <AppKit/AppKit.h>
#import <CoreText/CoreText.h>

#include "platform/macos/CFRef.h"

namespace plenda::macos {

namespace {

// The system font of this weight in its rounded design, nil when there is none.
NSFont* roundedSystemFont(NSFontWeight weight) {
    NSFontDescriptor* rounded = [[NSFont systemFontOfSize:13 weight:weight].fontDescriptor
        fontDescriptorWithDesign:NSFontDescriptorSystemDesignRounded];
    return rounded == nil ? nil : [NSFont fontWithDescriptor:rounded size:13];
}

}  // namespace

std::string roundedSystemFontFile() {
    @autoreleasepool {
        // The family name behind the rounded design is private, so Qt gets
        // the font by its file instead.
        NSFont* font = roundedSystemFont(NSFontWeightRegular);
        if (font == nil) return {};
        CFRef<CFTypeRef> url(CTFontCopyAttribute((__bridge CTFontRef)font, kCTFontURLAttribute));
        if (!url || CFGetTypeID(url.get()) != CFURLGetTypeID()) return {};
        NSURL* file = (__bridge NSURL*)url.get();
        if (!file.isFileURL || file.path == nil) return {};
        return std::string(file.path.fileSystemRepresentation);
    }
}

std::optional<double> roundedSystemFontWeightAxis(double appKitWeight) {
    @autoreleasepool {
        NSFont* font = roundedSystemFont(appKitWeight);
        if (font == nil) return std::nullopt;
        CFRef<CFDictionaryRef> variation(CTFontCopyVariation((__bridge CTFontRef)font));
        if (!variation) return std::nullopt;
        // Keyed by axis identifier, the four-character tag as a number.
        constexpr unsigned weightAxis = ('w' << 24) | ('g' << 16) | ('h' << 8) | 't';
        id value = ((__bridge NSDictionary*)variation.get())[@(weightAxis)];
        if (![value isKindOfClass:NSNumber.class]) return std::nullopt;
        return [(NSNumber*)value doubleValue];
    }
}

}  // namespace plenda::macos
