#include "platform/macos/MacScriptRunner.h"

#include "platform/macos/Arc.h"

#import <Carbon/Carbon.h>
#import <Foundation/Foundation.h>

#include "platform/macos/MacText.h"

namespace plenda {

namespace {

// 60 ticks: one second.
constexpr SInt32 answerBoundTicks = 60;

// An Apple event descriptor this code owns.
struct OwnedDesc {
    AEDesc desc{typeNull, nullptr};
    OwnedDesc() = default;
    OwnedDesc(const OwnedDesc&) = delete;
    OwnedDesc& operator=(const OwnedDesc&) = delete;
    ~OwnedDesc() { AEDisposeDesc(&desc); }
};

// A script or value held by the scripting component.
struct ScriptValue {
    ComponentInstance component;
    OSAID id = kOSANullScript;
    explicit ScriptValue(ComponentInstance owner) : component(owner) {}
    ScriptValue(const ScriptValue&) = delete;
    ScriptValue& operator=(const ScriptValue&) = delete;
    ~ScriptValue() {
        if (id != kOSANullScript) OSADispose(component, id);
    }
};

// Sends each of the script's events, waiting for the answer at most
// answerBoundTicks: an application that does not answer in time makes the
// script fail with errAETimeout (-1712). The first event towards an
// application may wait on the system's consent prompt, which only the user
// ends; that one keeps the timeout the script asked for.
OSErr sendWithinBound(const AppleEvent* event, AppleEvent* reply, AESendMode mode, AESendPriority, SInt32 timeout,
                      AEIdleUPP, AEFilterUPP, SRefCon) {
    bool awaitsConsent = false;
    {
        OwnedDesc target;
        if (AEGetAttributeDesc(event, keyAddressAttr, typeWildCard, &target.desc) == noErr) {
            awaitsConsent = AEDeterminePermissionToAutomateTarget(&target.desc, typeWildCard, typeWildCard, false) ==
                            errAEEventWouldRequireUserConsent;
        }
    }
    if (awaitsConsent) return static_cast<OSErr>(AESendMessage(event, reply, mode, timeout));
    const SInt32 ticks = timeout >= 0 && timeout < answerBoundTicks ? timeout : answerBoundTicks;
    return static_cast<OSErr>(AESendMessage(event, reply, mode, ticks));
}

// The error number of the script's last failure, as NSAppleScript reports it.
long scriptErrorNumber(ComponentInstance component, OSAError status) {
    if (status != errOSAScriptError) return status;
    OwnedDesc number;
    if (OSAScriptError(component, kOSAErrorNumber, typeSInt32, &number.desc) != noErr) return 0;
    SInt32 value = 0;
    if (AEGetDescData(&number.desc, &value, sizeof value) != noErr) return 0;
    return value;
}

}  // namespace

// The Component Manager is deprecated but still the way to the AppleScript
// component whose send procedure can be replaced (NSAppleScript has none).
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
struct MacScriptRunner::Native {
    ComponentInstance component = nullptr;

    ~Native() {
        if (component) CloseComponent(component);
    }
    // The AppleScript component, opened on first use with the bounded send.
    ComponentInstance open() {
        if (component) return component;
        component = OpenDefaultComponent(kOSAComponentType, kAppleScriptSubtype);
        if (component && OSASetSendProc(component, &sendWithinBound, 0) != noErr) {
            CloseComponent(component);
            component = nullptr;
        }
        return component;
    }
};
#pragma clang diagnostic pop

MacScriptRunner::MacScriptRunner() : native_(std::make_unique<Native>()) {}

MacScriptRunner::~MacScriptRunner() = default;

ScriptResult MacScriptRunner::run(std::string_view source) {
    @autoreleasepool {
        ComponentInstance component = native_->open();
        NSString* text = nsString(source);
        if (!component || !text) return {ScriptResult::Status::unavailable, std::nullopt, 0};
        // Kept until the end of the scope: the component reads its inner descriptor.
        NSAppleEventDescriptor* sourceDescriptor __attribute__((objc_precise_lifetime)) =
            [NSAppleEventDescriptor descriptorWithString:text];

        ScriptValue script(component);
        OSAError status = OSACompile(component, sourceDescriptor.aeDesc, kOSAModeNull, &script.id);
        if (status != noErr) return {ScriptResult::Status::failed, std::nullopt, scriptErrorNumber(component, status)};
        ScriptValue value(component);
        status = OSAExecute(component, script.id, kOSANullScript, kOSAModeNull, &value.id);
        if (status != noErr) return {ScriptResult::Status::failed, std::nullopt, scriptErrorNumber(component, status)};
        if (value.id == kOSANullScript) return {ScriptResult::Status::succeeded, std::nullopt, 0};

        // The result as a descriptor, read the way NSAppleScript's result is.
        AEDesc raw{typeNull, nullptr};
        if (OSACoerceToDesc(component, value.id, typeWildCard, kOSAModeNull, &raw) != noErr) {
            return {ScriptResult::Status::succeeded, std::nullopt, 0};
        }
        NSAppleEventDescriptor* result = [[NSAppleEventDescriptor alloc] initWithAEDescNoCopy:&raw];  // owns raw
        return {ScriptResult::Status::succeeded, utf8Text(result.stringValue), 0};
    }
}

}  // namespace plenda
