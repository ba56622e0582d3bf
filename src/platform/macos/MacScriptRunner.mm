#include "platform/macos/MacScriptRunner.h"

#import <Foundation/Foundation.h>

#include "platform/macos/MacText.h"

namespace plenda {

ScriptResult MacScriptRunner::run(std::string_view source) {
    @autoreleasepool {
        NSAppleScript* script = [[NSAppleScript alloc] initWithSource:nsString(source)];
        if (!script) return {ScriptResult::Status::unavailable, std::nullopt, 0};
        NSDictionary<NSString*, id>* error = nil;
        NSAppleEventDescriptor* result = [script executeAndReturnError:&error];
        if (!result) {
            id number = error[NSAppleScriptErrorNumber];
            const long code = [number isKindOfClass:NSNumber.class] ? [(NSNumber*)number longValue] : 0;
            return {ScriptResult::Status::failed, std::nullopt, code};
        }
        return {ScriptResult::Status::succeeded, utf8Text(result.stringValue), 0};
    }
}

}  // namespace plenda
