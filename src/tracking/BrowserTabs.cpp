#include "tracking/BrowserTabs.h"

#include "platform/Defaults.h"
#include "platform/ScriptRunner.h"
#include "platform/Workspace.h"

#include <ostream>

namespace plenda {

const std::map<std::string, std::string, std::less<>>& browserScripts() {
    static const std::map<std::string, std::string, std::less<>> table{
        {"com.google.Chrome", R"(tell application "Google Chrome" to return URL of active tab of front window)"},
        {"com.apple.Safari", R"(tell application "Safari" to return URL of current tab of front window)"},
        {"com.brave.Browser", R"(tell application "Brave Browser" to return URL of active tab of front window)"},
        {"com.microsoft.edgemac", R"(tell application "Microsoft Edge" to return URL of active tab of front window)"},
    };
    return table;
}

namespace {

bool isAlpha(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isHex(char c) { return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }
int hexValue(char c) { return isDigit(c) ? c - '0' : (c | 0x20) - 'a' + 10; }

// Characters an address may hold as they are: unreserved, reserved and '%'.
bool isAddressCharacter(char c) {
    if (isAlpha(c) || isDigit(c)) return true;
    return std::string_view("-._~:/?#[]@!$&'()*+,;=%").find(c) != std::string_view::npos;
}

std::optional<std::string> percentDecoded(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            out += text[i];
            continue;
        }
        if (i + 2 >= text.size() || !isHex(text[i + 1]) || !isHex(text[i + 2])) return std::nullopt;
        out += static_cast<char>(hexValue(text[i + 1]) * 16 + hexValue(text[i + 2]));
        i += 2;
    }
    return out;
}

}  // namespace

std::optional<std::string> hostOfAddress(std::string_view address) {
    if (address.empty()) return std::nullopt;
    // scheme = ALPHA *( ALPHA / DIGIT / "+" / "-" / "." ) ":"
    const auto colon = address.find(':');
    if (colon == std::string_view::npos || colon == 0 || !isAlpha(address[0])) return std::nullopt;
    for (char c : address.substr(0, colon)) {
        if (!isAlpha(c) && !isDigit(c) && c != '+' && c != '-' && c != '.') return std::nullopt;
    }
    std::string_view rest = address.substr(colon + 1);
    if (!rest.starts_with("//")) return std::nullopt;
    rest.remove_prefix(2);
    std::string_view authority = rest.substr(0, rest.find_first_of("/?#"));
    // Only the authority is held to the address alphabet: the system's address
    // type percent-encodes stray characters ('|', '^', '{', ...) in the path,
    // query and fragment and keeps the host.
    for (char c : authority) {
        if (!isAddressCharacter(c)) return std::nullopt;
    }
    if (const auto at = authority.rfind('@'); at != std::string_view::npos) authority.remove_prefix(at + 1);

    std::string_view host;
    if (authority.starts_with('[')) {
        const auto close = authority.find(']');
        if (close == std::string_view::npos) return std::nullopt;
        host = authority.substr(1, close - 1);
        const std::string_view after = authority.substr(close + 1);
        if (!after.empty() && after[0] != ':') return std::nullopt;
    } else {
        if (authority.find_first_of("[]") != std::string_view::npos) return std::nullopt;
        host = authority.substr(0, authority.find(':'));
        const auto portColon = authority.find(':');
        if (portColon != std::string_view::npos) {
            for (char c : authority.substr(portColon + 1)) {
                if (!isDigit(c)) return std::nullopt;
            }
        }
    }
    auto decoded = percentDecoded(host);
    if (!decoded || decoded->empty()) return std::nullopt;
    return decoded;
}

BrowserTabs::BrowserTabs(ScriptRunner& scripts, Defaults& defaults, const Workspace& workspace, SyncLog log)
    : scripts_(scripts), defaults_(defaults), workspace_(workspace), log_(log) {}

std::optional<std::string> BrowserTabs::browserHost(std::string_view bundleIdentifier) {
    const auto script = browserScripts().find(bundleIdentifier);
    if (script == browserScripts().end()) return std::nullopt;
    if (deniedBrowsers_.contains(bundleIdentifier)) return std::nullopt;

    const ScriptResult result = scripts_.run(script->second);
    const std::string id(bundleIdentifier);
    switch (result.status) {
    case ScriptResult::Status::unavailable:
        return std::nullopt;
    case ScriptResult::Status::failed:
        if (result.errorNumber == ScriptRunner::notPermittedError) {
            deniedBrowsers_.insert(id);
            defaults_.setString(outcomeKey, "denied " + id);
            log_("Automation denied for " + id + "; using app name only");
        } else {
            defaults_.setString(outcomeKey, "error " + std::to_string(result.errorNumber) + " " + id);
        }
        return std::nullopt;
    case ScriptResult::Status::succeeded:
        break;
    }
    std::optional<std::string> host = result.text ? hostOfAddress(*result.text) : std::nullopt;
    if (!host) {
        defaults_.setString(outcomeKey, "empty " + id);
        return std::nullopt;
    }
    if (host->starts_with("www.")) host->erase(0, 4);
    defaults_.setString(outcomeKey, "ok " + *host);
    return host;
}

void BrowserTabs::requestBrowserAutomation() {
    deniedBrowsers_.clear();
    std::set<std::string, std::less<>> running;
    for (const RunningApplication& app : workspace_.runningApplications()) {
        if (app.bundleIdentifier) running.insert(*app.bundleIdentifier);
    }
    for (const auto& [id, source] : browserScripts()) {
        if (running.contains(id)) browserHost(id);
    }
}

bool BrowserTabs::browserAutomationDenied() const {
    return defaults_.string(outcomeKey).value_or("").starts_with("denied");
}

}  // namespace plenda
