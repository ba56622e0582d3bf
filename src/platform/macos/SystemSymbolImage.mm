#include "platform/macos/SystemSymbolImage.h"

#include "platform/macos/Arc.h"

#import <AppKit/AppKit.h>

#include <algorithm>

namespace plenda::macos {

std::vector<std::uint8_t> systemSymbolPNG(const char* name, double points, double weight, double red, double green,
                                          double blue, double alpha, double scale) {
    @autoreleasepool {
        NSString* symbolName = [NSString stringWithUTF8String:name];
        NSImage* base = [NSImage imageWithSystemSymbolName:symbolName accessibilityDescription:nil];
        if (!base) return {};
        NSImageSymbolConfiguration* configuration =
            [NSImageSymbolConfiguration configurationWithPointSize:points weight:weight];
        NSImage* symbol = [base imageWithSymbolConfiguration:configuration];
        if (!symbol) return {};

        const NSInteger pixels = static_cast<NSInteger>(points * scale + 0.5);
        NSBitmapImageRep* bitmap = [[NSBitmapImageRep alloc] initWithBitmapDataPlanes:nullptr
                                                                           pixelsWide:pixels
                                                                           pixelsHigh:pixels
                                                                        bitsPerSample:8
                                                                      samplesPerPixel:4
                                                                             hasAlpha:YES
                                                                             isPlanar:NO
                                                                       colorSpaceName:NSDeviceRGBColorSpace
                                                                          bytesPerRow:0
                                                                         bitsPerPixel:0];
        if (!bitmap) return {};
        bitmap.size = NSMakeSize(points, points);

        NSGraphicsContext* context = [NSGraphicsContext graphicsContextWithBitmapImageRep:bitmap];
        [NSGraphicsContext saveGraphicsState];
        NSGraphicsContext.currentContext = context;
        // Fit the symbol, keeping its proportions, centred in the square.
        const NSSize size = symbol.size;
        const CGFloat fit = std::min(points / std::max(size.width, 1.0), points / std::max(size.height, 1.0));
        const CGFloat factor = std::min<CGFloat>(fit, 1.0);
        const NSRect target = NSMakeRect((points - size.width * factor) / 2, (points - size.height * factor) / 2,
                                         size.width * factor, size.height * factor);
        [symbol drawInRect:target fromRect:NSZeroRect operation:NSCompositingOperationSourceOver fraction:1.0];
        // Tint: keep the symbol's coverage, replace its colour.
        [[NSColor colorWithSRGBRed:red green:green blue:blue alpha:alpha] set];
        NSRectFillUsingOperation(NSMakeRect(0, 0, points, points), NSCompositingOperationSourceIn);
        [context flushGraphics];
        [NSGraphicsContext restoreGraphicsState];

        NSData* png = [bitmap representationUsingType:NSBitmapImageFileTypePNG properties:@{}];
        if (!png) return {};
        const auto* bytes = static_cast<const std::uint8_t*>(png.bytes);
        return std::vector<std::uint8_t>(bytes, bytes + png.length);
    }
}

}  // namespace plenda::macos
