#include "fakes/TrackerFixture.h"
#include "tracking/BrowserTabs.h"

#include <gtest/gtest.h>

namespace plenda {
namespace {

const RunningApplication notes{"com.apple.Notes", "Notes", 101};
const RunningApplication mail{"com.apple.mail", "Mail", 102};
const RunningApplication vscode{"com.microsoft.VSCode", "Code", 103};
const RunningApplication chrome{"com.google.Chrome", "Google Chrome", 104};
const RunningApplication loginWindow{"com.apple.loginwindow", "loginwindow", 105};

const std::string& chromeScript() { return browserScripts().at("com.google.Chrome"); }

class Tracker : public TrackerFixture {};

struct MinimumCase {
    std::optional<DefaultsValue> stored;
    double seconds;
    bool recorded;
};

class MinimumLength : public TrackerFixture, public ::testing::WithParamInterface<MinimumCase> {};

TEST_P(MinimumLength, ShortSessionsAreDropped) {
    if (GetParam().stored) defaults.set(MacAppTracker::minimumSessionKey, *GetParam().stored);
    startTracker();
    activate(notes);
    work(GetParam().seconds);
    activate(mail);
    ASSERT_EQ(blocks().size(), GetParam().recorded ? 1u : 0u);
    if (GetParam().recorded) {
        EXPECT_DOUBLE_EQ(*blocks()[0].endDate - *blocks()[0].startDate, GetParam().seconds);
    }
}

INSTANTIATE_TEST_SUITE_P(Thresholds, MinimumLength,
                         ::testing::Values(MinimumCase{std::nullopt, 4, false}, MinimumCase{std::nullopt, 5, true},
                                           MinimumCase{60, 59, false}, MinimumCase{60, 60, true},
                                           MinimumCase{2, 2, true}, MinimumCase{0, 4.5, false},
                                           MinimumCase{-10, 5, true}, MinimumCase{"junk", 4, false}));

TEST_F(Tracker, RecordsFinishedSessionWithCategoryAndNote) {
    startTracker();
    activate(vscode);
    const Date start = scheduler.now();
    work(120);
    activate(notes);
    ASSERT_EQ(blocks().size(), 1u);
    EXPECT_EQ(blocks()[0].title, "Code");
    EXPECT_EQ(blocks()[0].category, MacBlockCategory::work);
    EXPECT_EQ(blocks()[0].note, "Logged automatically on Mac");
    EXPECT_EQ(blocks()[0].startDate, start);
    EXPECT_EQ(blocks()[0].endDate, start + 120);
    EXPECT_EQ(tracker->currentAppName(), "Notes");
}

TEST_F(Tracker, OverrideWinsOverKeywords) {
    defaults.set("categoryOverrides", DefaultsValue::Dictionary{{"notes", "body"}});
    startTracker();
    activate(notes);
    work(30);
    activate(mail);
    ASSERT_EQ(blocks().size(), 1u);
    EXPECT_EQ(blocks()[0].category, MacBlockCategory::body);
}

TEST_F(Tracker, EditorProjectAndBrowserHostMakeTheTitle) {
    accessibility.setTitle(vscode.processIdentifier, "● main.rs — api");
    scripts.answers[chromeScript()] = ScriptedScriptRunner::text("https://www.example.org/page");
    startTracker();
    activate(vscode);
    EXPECT_EQ(tracker->currentAppName(), "Code · api");
    activate(chrome);
    EXPECT_EQ(tracker->currentAppName(), "example.org");
    EXPECT_EQ(tracker->currentProject(), std::nullopt);
    // No title read for an application whose host was found.
    EXPECT_EQ(accessibility.titleQueries, 1);
}

TEST_F(Tracker, ApplicationWithoutNameOrIdentifier) {
    startTracker();
    activate(RunningApplication{std::nullopt, std::nullopt, 7});
    EXPECT_EQ(tracker->currentAppName(), "Unknown App");
    work(10);
    activate(notes);
    ASSERT_EQ(blocks().size(), 1u);
    EXPECT_EQ(blocks()[0].title, "Unknown App");
}

struct IgnoreCase {
    std::optional<DefaultsValue> list;
    RunningApplication app;
    bool ignored;
};

class Ignoring : public TrackerFixture, public ::testing::WithParamInterface<IgnoreCase> {};

TEST_P(Ignoring, IgnoredApplicationEndsTheSessionAndStartsNone) {
    if (GetParam().list) defaults.set(MacAppTracker::ignoredBundleIdentifiersKey, *GetParam().list);
    startTracker();
    activate(notes);
    work(30);
    activate(GetParam().app);
    EXPECT_EQ(blocks().size(), 1u);  // Notes was committed either way
    EXPECT_EQ(tracker->sessionStartedAt().has_value(), !GetParam().ignored);
    EXPECT_EQ(tracker->currentAppName().has_value(), !GetParam().ignored);
}

INSTANTIATE_TEST_SUITE_P(
    Lists, Ignoring,
    ::testing::Values(IgnoreCase{std::nullopt, loginWindow, true},
                      IgnoreCase{std::nullopt, {"app.plenda.Plenda", "Plenda", 1}, true},
                      IgnoreCase{std::nullopt, mail, false},
                      IgnoreCase{DefaultsValue::Array{}, loginWindow, false},
                      IgnoreCase{DefaultsValue::Array{"com.apple.mail"}, mail, true},
                      IgnoreCase{DefaultsValue::Array{"com.apple.mail"}, loginWindow, false},
                      IgnoreCase{DefaultsValue::Array{"COM.APPLE.MAIL"}, mail, false},
                      IgnoreCase{DefaultsValue::Array{"com.apple.mail", 3}, loginWindow, true},
                      IgnoreCase{"com.apple.mail", loginWindow, true}));

TEST_F(Tracker, AbsentIdentifierIsIgnoredWhenTheAppHasNoneEither) {
    workspace.ownIdentifier.reset();
    startTracker();
    activate(RunningApplication{std::nullopt, "Helper", 9});
    EXPECT_EQ(tracker->sessionStartedAt(), std::nullopt);
}

TEST_F(Tracker, ReturningFromIgnoredApplicationStartsNewSession) {
    startTracker();
    activate(notes);
    work(30);
    activate(loginWindow);
    work(600);
    activate(notes);
    work(30);
    activate(mail);
    ASSERT_EQ(blocks().size(), 2u);
    EXPECT_DOUBLE_EQ(*blocks()[1].startDate - *blocks()[0].endDate, 600);
}

TEST_F(Tracker, BrowserPollSplitsAtOneInstant) {
    scripts.answers[chromeScript()] = ScriptedScriptRunner::text("https://one.example/");
    startTracker();
    activate(chrome);
    const Date start = scheduler.now();
    EXPECT_TRUE(tracker->isBrowserPolling());
    work(25);  // the tick at 20 s reads the same host
    scripts.answers[chromeScript()] = ScriptedScriptRunner::text("https://two.example/");
    work(20);  // tick at 40 s splits
    scripts.answers[chromeScript()] = ScriptedScriptRunner::error(-1728);
    work(20);  // tick at 60 s reads nothing: session continues
    scripts.answers[chromeScript()] = ScriptedScriptRunner::text("https://three.example/x");
    work(20);  // tick at 80 s splits again
    ASSERT_EQ(blocks().size(), 2u);
    EXPECT_EQ(blocks()[0].title, "one.example");
    EXPECT_EQ(blocks()[0].startDate, start);
    EXPECT_EQ(blocks()[0].endDate, start + 40);
    EXPECT_EQ(blocks()[1].title, "two.example");
    EXPECT_EQ(blocks()[1].startDate, start + 40);
    EXPECT_EQ(blocks()[1].endDate, start + 80);
    EXPECT_EQ(tracker->currentAppName(), "three.example");
    EXPECT_EQ(tracker->sessionStartedAt(), start + 80);
    EXPECT_EQ(tracker->currentBundleIdentifier(), "com.google.Chrome");
}

TEST_F(Tracker, SessionStartedUnderBrowserNameSplitsAtFirstHost) {
    scripts.answers[chromeScript()] = ScriptedScriptRunner::error(-600);
    startTracker();
    activate(chrome);
    EXPECT_EQ(tracker->currentAppName(), "Google Chrome");
    scripts.answers[chromeScript()] = ScriptedScriptRunner::text("https://news.example/");
    work(21);
    ASSERT_EQ(blocks().size(), 1u);
    EXPECT_EQ(blocks()[0].title, "Google Chrome");
    EXPECT_EQ(tracker->currentAppName(), "news.example");
}

TEST_F(Tracker, PollStopsWhenAnotherApplicationComesToFront) {
    scripts.answers[chromeScript()] = ScriptedScriptRunner::text("https://one.example/");
    startTracker();
    activate(chrome);
    activate(notes);
    EXPECT_FALSE(tracker->isBrowserPolling());
    const auto runs = scripts.ran.size();
    work(100);
    EXPECT_EQ(scripts.ran.size(), runs);
}

TEST_F(Tracker, PauseRecordsAndResumeStartsAtResumeInstant) {
    startTracker();
    activate(notes);
    work(30);
    tracker->setTracking(false);
    ASSERT_EQ(blocks().size(), 1u);
    EXPECT_EQ(defaults.object(MacAppTracker::trackingEnabledKey), DefaultsValue(false));
    EXPECT_EQ(tracker->currentAppName(), "Notes");  // keeps its last value
    activate(mail);                                 // dropped while paused
    EXPECT_EQ(tracker->sessionStartedAt(), std::nullopt);
    work(400);  // no idle state while paused
    idleClock.setIdleSeconds(1000);
    scheduler.advance(21);
    EXPECT_FALSE(tracker->isIdle());
    const Date resume = scheduler.now();
    tracker->setTracking(true);
    EXPECT_EQ(tracker->currentAppName(), "Mail");
    EXPECT_EQ(tracker->sessionStartedAt(), resume);
}

TEST_F(Tracker, SettingTheCurrentTrackingStateWritesAndCommitsNothing) {
    startTracker();
    activate(notes);
    work(30);
    const int writes = defaults.writes();
    tracker->setTracking(true);
    EXPECT_EQ(defaults.writes(), writes);
    EXPECT_TRUE(blocks().empty());
    EXPECT_TRUE(tracker->sessionStartedAt().has_value());
}

TEST_F(Tracker, StoredPauseSurvivesRestart) {
    defaults.set(MacAppTracker::trackingEnabledKey, false);
    EXPECT_FALSE(makeTracker().isTracking());
    defaults.set(MacAppTracker::trackingEnabledKey, 0);  // not a boolean: counts as absent
    EXPECT_TRUE(makeTracker().isTracking());
}

TEST_F(Tracker, StartTwiceInstallsOneSetOfObservers) {
    workspace.frontmost = notes;
    startTracker();
    EXPECT_EQ(tracker->currentAppName(), "Notes");
    tracker->start(sharedStore);
    EXPECT_EQ(workspace.observerCount(), 2u);
}

TEST_F(Tracker, SessionEndedAfterStoreIsGoneLeavesNoTrace) {
    startTracker();
    activate(notes);
    work(30);
    sharedStore.reset();
    activate(mail);
    EXPECT_EQ(tracker->currentAppName(), "Mail");
}

TEST_F(Tracker, ActivationIsHandledInALaterTurn) {
    startTracker();
    workspace.activate(notes);
    EXPECT_EQ(tracker->currentAppName(), std::nullopt);
    scheduler.runUntilIdle();
    EXPECT_EQ(tracker->currentAppName(), "Notes");
}

TEST_F(Tracker, ReactivatingTheSameAppCommitsAndRestarts) {
    startTracker();
    activate(notes);
    work(30);
    activate(notes);
    ASSERT_EQ(blocks().size(), 1u);
    EXPECT_EQ(tracker->sessionStartedAt(), scheduler.now());
}

}  // namespace
}  // namespace plenda
