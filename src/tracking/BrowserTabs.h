#pragma once

#include "platform/SyncLog.h"

#include <iosfwd>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace plenda {

class Defaults;
class ScriptRunner;
class Workspace;

// The four supported browsers by bundle identifier, each with the script that
// returns the address of its front tab.
const std::map<std::string, std::string, std::less<>>& browserScripts();

// The host of an absolute address ("https://www.example.org/a" gives
// "www.example.org"); nothing for text that is not an address or has no host.
std::optional<std::string> hostOfAddress(std::string_view address);

// Reads the site of the front tab of a supported browser and remembers which
// browsers refused automation. Main thread only.
class BrowserTabs {
public:
    static constexpr std::string_view outcomeKey = "browserTab.lastOutcome";

    BrowserTabs(ScriptRunner& scripts, Defaults& defaults, const Workspace& workspace, SyncLog log);

    // The front tab's host without a leading "www.", or nothing. Writes the
    // outcome of every attempt it makes.
    std::optional<std::string> browserHost(std::string_view bundleIdentifier);
    // Forgets every refusal and asks each running supported browser once, so
    // that the system shows its consent prompt.
    void requestBrowserAutomation();
    // The last attempt was refused.
    bool browserAutomationDenied() const;

    const std::set<std::string, std::less<>>& deniedBrowsers() const { return deniedBrowsers_; }

private:
    ScriptRunner& scripts_;
    Defaults& defaults_;
    const Workspace& workspace_;
    SyncLog log_;
    std::set<std::string, std::less<>> deniedBrowsers_;
};

}  // namespace plenda
