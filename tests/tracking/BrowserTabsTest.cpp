#include "fakes/CapturedSystemLog.h"
#include "fakes/MemoryDefaults.h"
#include "fakes/ScriptedScriptRunner.h"
#include "fakes/ScriptedWorkspace.h"
#include "tracking/BrowserTabs.h"

#include <gtest/gtest.h>

#include <sstream>
#include <tuple>

namespace plenda {
namespace {

struct AddressCase {
    std::string address;
    std::optional<std::string> host;
};

class Addresses : public ::testing::TestWithParam<AddressCase> {};

TEST_P(Addresses, HostIsCutFromAbsoluteAddresses) {
    EXPECT_EQ(hostOfAddress(GetParam().address), GetParam().host) << GetParam().address;
}

INSTANTIATE_TEST_SUITE_P(
    Texts, Addresses,
    ::testing::Values(AddressCase{"https://www.example.org/a/b?c#d", "www.example.org"},
                      AddressCase{"http://user:pw@Example.COM:8080/x", "Example.COM"},
                      AddressCase{"https://[::1]:3000/", "::1"}, AddressCase{"https://a.b", "a.b"},
                      AddressCase{"chrome://settings/", "settings"}, AddressCase{"file:///Users/me/a.html", std::nullopt},
                      AddressCase{"about:blank", std::nullopt}, AddressCase{"", std::nullopt},
                      AddressCase{"not an address", std::nullopt}, AddressCase{"example.org", std::nullopt},
                      AddressCase{"https://exa mple.org/", std::nullopt}, AddressCase{"https://:80/", std::nullopt},
                      AddressCase{"https://a.org:8x/", std::nullopt}, AddressCase{"1http://a.org/", std::nullopt},
                      AddressCase{"https://caf%C3%A9.fr/", "café.fr"}, AddressCase{"https://a%2/", std::nullopt}));

// Browsers report addresses with characters outside RFC 3986 in the path, query
// or fragment; the system's address type encodes them and keeps the host.
INSTANTIATE_TEST_SUITE_P(
    StrayCharacters, Addresses,
    ::testing::Values(
        AddressCase{"https://fonts.googleapis.com/css?family=Roboto|Lato", "fonts.googleapis.com"},
        AddressCase{"https://www.bing.com/search?q=a|b", "www.bing.com"},
        AddressCase{"https://finance.yahoo.com/quote/%5EGSPC?p=^GSPC", "finance.yahoo.com"},
        AddressCase{R"(https://grafana.example.net/explore?left={"queries":[{"expr":"up"}]}&orgId=1)",
                    "grafana.example.net"},
        AddressCase{"https://a.org/x\\y/`z`#{top}", "a.org"}, AddressCase{"https://a.org:8080/a b", "a.org"},
        AddressCase{"https://a.org?|", "a.org"}, AddressCase{"https://a.org#^", "a.org"},
        // Inside the authority they still refuse the address.
        AddressCase{"https://a|b.org/", std::nullopt}, AddressCase{"https://a.org{x}/", std::nullopt},
        AddressCase{"https://us^er@a.org/", std::nullopt}, AddressCase{"https://a.org:80`/", std::nullopt},
        AddressCase{"ht|tp://a.org/", std::nullopt}));

class Browsers : public ::testing::Test {
protected:
    ScriptedScriptRunner scripts;
    MemoryDefaults defaults;
    ScriptedWorkspace workspace;
    std::ostringstream output;
    CapturedSystemLog systemLog;
    BrowserTabs tabs{scripts, defaults, workspace, SyncLog(output, &systemLog)};

    static const std::string& script(const char* id) { return browserScripts().at(id); }
    std::optional<std::string> outcome() const { return defaults.string(BrowserTabs::outcomeKey); }
};

TEST_F(Browsers, TableHoldsFourExactScripts) {
    ASSERT_EQ(browserScripts().size(), 4u);
    EXPECT_EQ(script("com.apple.Safari"), "tell application \"Safari\" to return URL of current tab of front window");
    EXPECT_EQ(script("com.microsoft.edgemac"),
              "tell application \"Microsoft Edge\" to return URL of active tab of front window");
}

using R = ScriptedScriptRunner;

TEST_F(Browsers, OutcomeKeyTellsWhatHappened) {
    const std::tuple<ScriptResult, std::optional<std::string>, std::string> cases[] = {
        {R::text("https://www.github.com/x"), "github.com", "ok github.com"},
        {R::text("https://WWW.github.com/"), "WWW.github.com", "ok WWW.github.com"},
        {R::text("https://www2.example.com/"), "www2.example.com", "ok www2.example.com"},
        {R::text("https://www.example.com:8443/"), "example.com", "ok example.com"},
        {R::text("file:///tmp/a.html"), std::nullopt, "empty com.brave.Browser"},
        {R::text(std::nullopt), std::nullopt, "empty com.brave.Browser"},
        // A browser that does not answer in time (the event's timeout).
        {R::error(-1712), std::nullopt, "error -1712 com.brave.Browser"},
        {R::error(0), std::nullopt, "error 0 com.brave.Browser"}};
    for (const auto& [answer, host, recorded] : cases) {
        SCOPED_TRACE(recorded);
        scripts.answers[script("com.brave.Browser")] = answer;
        EXPECT_EQ(tabs.browserHost("com.brave.Browser"), host);
        EXPECT_EQ(outcome(), recorded);
    }
}

TEST_F(Browsers, UnsupportedOrUncreatableWritesNothingAndDeniedReadsTheKey) {
    EXPECT_EQ(tabs.browserHost("org.mozilla.firefox"), std::nullopt);
    EXPECT_EQ(tabs.browserHost("com.apple.Safari"), std::nullopt);  // no answer: unavailable
    EXPECT_EQ(outcome(), std::nullopt);
    EXPECT_EQ(scripts.ran.size(), 1u);
    EXPECT_FALSE(tabs.browserAutomationDenied());
    defaults.set(BrowserTabs::outcomeKey, "deniedsomething");
    EXPECT_TRUE(tabs.browserAutomationDenied());
    defaults.set(BrowserTabs::outcomeKey, "error -1743 x");
    EXPECT_FALSE(tabs.browserAutomationDenied());
}

TEST_F(Browsers, RefusedBrowserIsNotAskedAgainUntilTheProbe) {
    scripts.answers[script("com.google.Chrome")] = R::error(ScriptRunner::notPermittedError);
    EXPECT_EQ(tabs.browserHost("com.google.Chrome"), std::nullopt);
    EXPECT_EQ(outcome(), "denied com.google.Chrome");
    EXPECT_EQ(output.str(), "☁️ [SYNC] Automation denied for com.google.Chrome; using app name only\n");
    EXPECT_EQ(systemLog.texts(), std::vector<std::string>{"Automation denied for com.google.Chrome; using app name only"})
        << "the same diagnostic log as cloud sync";

    defaults.setString(BrowserTabs::outcomeKey, "ok elsewhere.org");
    EXPECT_EQ(tabs.browserHost("com.google.Chrome"), std::nullopt);
    EXPECT_EQ(outcome(), "ok elsewhere.org");
    EXPECT_EQ(scripts.ran.size(), 1u);
    EXPECT_EQ(output.str().size(), std::string("☁️ [SYNC] Automation denied for com.google.Chrome; using app name only\n").size());

    workspace.running = {{"com.google.Chrome", "Google Chrome", 3}};
    scripts.answers[script("com.google.Chrome")] = R::text("https://a.org");
    tabs.requestBrowserAutomation();
    EXPECT_TRUE(tabs.deniedBrowsers().empty());
    EXPECT_EQ(outcome(), "ok a.org");
}

TEST_F(Browsers, ProbeAsksEachRunningSupportedBrowserOnce) {
    workspace.running = {{"com.apple.Safari", "Safari", 1},
                         {"com.google.Chrome", "Google Chrome", 2},
                         {std::nullopt, "helper", 3},
                         {"org.mozilla.firefox", "Firefox", 4},
                         {"com.google.Chrome", "Google Chrome", 5}};
    scripts.answers[script("com.apple.Safari")] = R::error(ScriptRunner::notPermittedError);
    scripts.answers[script("com.google.Chrome")] = R::text("https://a.org");
    tabs.requestBrowserAutomation();
    ASSERT_EQ(scripts.ran.size(), 2u);
    EXPECT_NE(scripts.ran.front(), scripts.ran.back());
    // The key holds whichever was asked last.
    const bool safariLast = scripts.ran.back() == script("com.apple.Safari");
    EXPECT_EQ(tabs.browserAutomationDenied(), safariLast);
}

}  // namespace
}  // namespace plenda
