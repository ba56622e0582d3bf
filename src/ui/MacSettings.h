#pragma once

#include <iosfwd>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace plenda {

class Defaults;
class LoginItem;
class MacAppTracker;

// The rules behind the settings window, apart from its widgets.
namespace MacSettings {

inline constexpr std::string_view idleThresholdKey = "idleThresholdSeconds";
inline constexpr std::string_view mergeGapKey = "sessionMergeGapSeconds";
inline constexpr std::string_view minimumSessionKey = "minimumSessionSeconds";
inline constexpr std::string_view ignoredKey = "ignoredBundleIdentifiers";

// One choice of a picker: the stored value in seconds and its label's key.
struct Choice {
    double seconds;
    const char* labelKey;
};
struct Picker {
    std::string_view key;
    const char* labelKey;
    double fallback;  // shown when the key is absent
    std::vector<Choice> choices;
};
const std::vector<Picker>& pickers();
// The value a picker shows: the stored number, or the fallback when absent.
double pickerValue(const Defaults& defaults, const Picker& picker);
// Index of the choice equal to `value`; -1 when none matches (the value stays stored).
int choiceIndex(const Picker& picker, double value);

// Spaces and tabs off both ends; line breaks stay.
std::string trimBlanks(std::string_view text);
// Stored as an array in ascending order.
void saveIgnoredBundleIdentifiers(Defaults& defaults, const std::set<std::string>& identifiers);
// Both return the new list, ascending. Adding blank text changes nothing.
std::vector<std::string> addIgnored(Defaults& defaults, const MacAppTracker& tracker, std::string_view typed);
std::vector<std::string> removeIgnored(Defaults& defaults, const MacAppTracker& tracker, const std::string& identifier);
std::vector<std::string> sortedIgnored(const MacAppTracker& tracker);

// Registers or unregisters the application as a login item; returns whether
// it is enabled afterwards. A failure is one line on `output`.
bool setLaunchAtLogin(LoginItem& item, bool enabled, std::ostream& output);

}  // namespace MacSettings
}  // namespace plenda
