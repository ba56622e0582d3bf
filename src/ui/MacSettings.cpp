#include "ui/MacSettings.h"

#include "platform/Defaults.h"
#include "platform/LoginItem.h"
#include "tracking/MacAppTracker.h"

#include <algorithm>
#include <ostream>

namespace plenda::MacSettings {

const std::vector<Picker>& pickers() {
    static const std::vector<Picker> all{
        {idleThresholdKey, "mac.settings.idle", 300,
         {{120, "mac.minutes.2"}, {300, "mac.minutes.5"}, {600, "mac.minutes.10"}, {900, "mac.minutes.15"}}},
        {mergeGapKey, "mac.settings.merge", 180, {{60, "mac.minutes.1"}, {180, "mac.minutes.3"}, {300, "mac.minutes.5"}}},
        {minimumSessionKey, "mac.settings.minimum", 5,
         {{5, "mac.seconds.5"}, {15, "mac.seconds.15"}, {30, "mac.seconds.30"}, {60, "mac.minutes.1"}}},
    };
    return all;
}

double pickerValue(const Defaults& defaults, const Picker& picker) {
    return defaults.object(picker.key) ? defaults.doubleValue(picker.key) : picker.fallback;
}

int choiceIndex(const Picker& picker, double value) {
    for (std::size_t i = 0; i < picker.choices.size(); ++i) {
        if (picker.choices[i].seconds == value) return static_cast<int>(i);
    }
    return -1;
}

std::string trimBlanks(std::string_view text) {
    const auto blank = [](char c) { return c == ' ' || c == '\t'; };
    while (!text.empty() && blank(text.front())) text.remove_prefix(1);
    while (!text.empty() && blank(text.back())) text.remove_suffix(1);
    return std::string(text);
}

void saveIgnoredBundleIdentifiers(Defaults& defaults, const std::set<std::string>& identifiers) {
    // A std::set already iterates in byte order, which is code-point order for NFC text.
    defaults.setStringArray(ignoredKey, std::vector<std::string>(identifiers.begin(), identifiers.end()));
}

std::vector<std::string> sortedIgnored(const MacAppTracker& tracker) {
    const auto set = tracker.loadIgnoredBundleIdentifiers();
    return {set.begin(), set.end()};
}

std::vector<std::string> addIgnored(Defaults& defaults, const MacAppTracker& tracker, std::string_view typed) {
    const std::string trimmed = trimBlanks(typed);
    if (trimmed.empty()) return sortedIgnored(tracker);
    auto set = tracker.loadIgnoredBundleIdentifiers();
    set.insert(trimmed);
    saveIgnoredBundleIdentifiers(defaults, set);
    return sortedIgnored(tracker);
}

std::vector<std::string> removeIgnored(Defaults& defaults, const MacAppTracker& tracker, const std::string& identifier) {
    auto set = tracker.loadIgnoredBundleIdentifiers();
    set.erase(identifier);
    saveIgnoredBundleIdentifiers(defaults, set);
    return sortedIgnored(tracker);
}

bool setLaunchAtLogin(LoginItem& item, bool enabled, std::ostream& output) {
    const auto error = enabled ? item.registerItem() : item.unregisterItem();
    if (error) {
        output << "Launch at login " << (enabled ? "register" : "unregister") << " failed: " << *error << std::endl;
    }
    return item.isEnabled();
}

}  // namespace plenda::MacSettings
