#include "platform/macos/MacLoginItem.h"

#include "platform/macos/Arc.h"

#import <Foundation/Foundation.h>
#import <ServiceManagement/ServiceManagement.h>

namespace plenda {

namespace {

std::string describe(NSError* error) {
    if (error == nil) return "unknown error";
    const char* description = error.localizedDescription.UTF8String;
    return std::string(description ? description : "unknown error");
}

}  // namespace

bool MacLoginItem::isEnabled() const {
    if (@available(macOS 13.0, *)) {
        return SMAppService.mainAppService.status == SMAppServiceStatusEnabled;
    }
    return false;
}

std::optional<std::string> MacLoginItem::registerItem() {
    if (@available(macOS 13.0, *)) {
        NSError* error = nil;
        if ([SMAppService.mainAppService registerAndReturnError:&error]) return std::nullopt;
        return describe(error);
    }
    return "login items need macOS 13";
}

std::optional<std::string> MacLoginItem::unregisterItem() {
    if (@available(macOS 13.0, *)) {
        NSError* error = nil;
        if ([SMAppService.mainAppService unregisterAndReturnError:&error]) return std::nullopt;
        return describe(error);
    }
    return "login items need macOS 13";
}

}  // namespace plenda
