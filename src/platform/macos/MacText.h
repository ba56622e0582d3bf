#pragma once

// Objective-C++ only: included by the .mm adapters.
#import <Foundation/Foundation.h>

#include <optional>
#include <string>

namespace plenda {

// Text as the core keeps it: UTF-8 in composed form.
inline std::optional<std::string> utf8Text(NSString* text) {
    if (!text) return std::nullopt;
    const char* bytes = text.precomposedStringWithCanonicalMapping.UTF8String;
    return bytes ? std::optional<std::string>(bytes) : std::nullopt;
}

inline NSString* nsString(std::string_view text) {
    return [[NSString alloc] initWithBytes:text.data() length:text.size() encoding:NSUTF8StringEncoding];
}

}  // namespace plenda
