#include "fakes/TrackerFixture.h"
#include "tracking/BrowserTabs.h"

#include <gtest/gtest.h>

#include <cmath>

namespace plenda {
namespace {

const RunningApplication notes{"com.apple.Notes", "Notes", 101};
const RunningApplication mail{"com.apple.mail", "Mail", 102};
const RunningApplication vscode{"com.microsoft.VSCode", "Code", 103};
const RunningApplication chrome{"com.google.Chrome", "Google Chrome", 104};
const RunningApplication loginWindow{"com.apple.loginwindow", "loginwindow", 105};

class Tracker : public TrackerFixture {
protected:
    // Brings each application to the front in turn and works in it for the given seconds.
    void use(std::initializer_list<std::pair<RunningApplication, double>> steps) {
        for (const auto& [app, seconds] : steps) {
            activate(app);
            work(seconds);
        }
    }
    void chromeShows(const std::string& url) {
        scripts.answers[browserScripts().at("com.google.Chrome")] = ScriptedScriptRunner::text(url);
    }
};

struct MinimumCase { std::optional<DefaultsValue> stored; double seconds; bool recorded; };

class MinimumLength : public Tracker, public ::testing::WithParamInterface<MinimumCase> {};

TEST_P(MinimumLength, ShortSessionsAreDropped) {
    if (GetParam().stored) defaults.set(MacAppTracker::minimumSessionKey, *GetParam().stored);
    startTracker();
    use({{notes, GetParam().seconds}, {mail, 0}});
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

TEST_F(Tracker, RecordsFinishedSessionsWithCategoryAndNoteAndAPauseCommitsTheLast) {
    defaults.set("categoryOverrides", DefaultsValue::Dictionary{{"notes", "body"}});
    // Chosen for the whole application: below a title's own choice, above the keywords.
    defaults.set("applicationCategoryOverrides", DefaultsValue::Dictionary{{"notes", "social"}, {"mail", "chores"}});
    startTracker();
    const Date start = scheduler.now();
    use({{vscode, 120}, {notes, 30}, {mail, 0}});
    ASSERT_EQ(blocks().size(), 2u);
    EXPECT_EQ(blocks()[0].title, "Code");
    EXPECT_EQ(blocks()[0].category, MacBlockCategory::work);
    EXPECT_EQ(blocks()[0].note, "Logged automatically on Mac");
    EXPECT_EQ(blocks()[0].startDate, start);
    EXPECT_EQ(blocks()[0].endDate, start + 120);
    EXPECT_EQ(blocks()[1].category, MacBlockCategory::body) << "the override wins over the keywords";
    EXPECT_EQ(tracker->currentAppName(), "Mail");

    // A pause commits the session and keeps the name; it survives a restart.
    work(30);
    const int writes = defaults.writes();
    tracker->setTracking(true);  // already on: writes and commits nothing
    EXPECT_EQ(defaults.writes(), writes);
    EXPECT_EQ(blocks().size(), 2u);
    EXPECT_TRUE(tracker->sessionStartedAt().has_value());
    tracker->setTracking(false);
    ASSERT_EQ(blocks().size(), 3u);
    EXPECT_EQ(blocks()[2].category, MacBlockCategory::chores) << "the application's choice wins over the keywords";
    EXPECT_EQ(defaults.object(MacAppTracker::trackingEnabledKey), DefaultsValue(false));
    EXPECT_EQ(tracker->currentAppName(), "Mail");  // keeps its last value
    EXPECT_FALSE(makeTracker().isTracking()) << "the pause survives a restart";
    defaults.set(MacAppTracker::trackingEnabledKey, 0);  // not a boolean: counts as absent
    EXPECT_TRUE(makeTracker().isTracking());
}

TEST_F(Tracker, TitlesFromEditorProjectBrowserHostOrNothingAndOnlyBrowsersArePolled) {
    accessibility.setTitle(vscode.processIdentifier, "● main.rs — api");
    chromeShows("https://www.example.org/page");
    startTracker();
    activate(vscode);
    EXPECT_EQ(tracker->currentAppName(), "Code · api");
    activate(chrome);
    EXPECT_EQ(tracker->currentAppName(), "example.org");
    EXPECT_EQ(tracker->currentProject(), std::nullopt);
    // No title read for an application whose host was found.
    EXPECT_EQ(accessibility.titleQueries, 1);
    EXPECT_TRUE(tracker->isBrowserPolling());
    activate(notes);
    EXPECT_FALSE(tracker->isBrowserPolling());
    const auto runs = scripts.ran.size();
    work(100);
    EXPECT_EQ(scripts.ran.size(), runs);

    activate(RunningApplication{std::nullopt, std::nullopt, 7});
    EXPECT_EQ(tracker->currentAppName(), "Unknown App");
    work(10);
    activate(mail);
    ASSERT_FALSE(blocks().empty());
    EXPECT_EQ(blocks().back().title, "Unknown App");
    // With no identifier of its own either, an absent one counts as its own: ignored.
    workspace.ownIdentifier.reset();
    activate(RunningApplication{std::nullopt, "Helper", 9});
    EXPECT_EQ(tracker->sessionStartedAt(), std::nullopt);
}

// A terminal's title is its shell's to set: on Linux the project is the
// folder its program works in; other applications, and the Mac's terminals,
// keep to their titles.
TEST_F(Tracker, LinuxTerminalsTakeTheirProjectFromTheFolderTheirProgramWorksIn) {
    const RunningApplication xterm{"debian-xterm", "XTerm", 40}, konsole{"org.kde.konsole", "Konsole", 41},
        editor{"org.gnome.TextEditor", "Text Editor", 42}, macTerminal{"com.apple.Terminal", "Terminal", 43};
    folders.folders = {{40, "/home/me/src/engine"}, {42, "/home/me/notes"}, {43, "/home/me/other"}};
    accessibility.setTitle(40, "me@host: ~/src/engine/crates");
    accessibility.setTitle(43, "src — -zsh — 80×24");
    startTracker();
    const std::vector<std::pair<RunningApplication, std::string>> cases{
        {xterm, "XTerm · engine"}, {konsole, "Konsole"}, {editor, "Text Editor"}, {macTerminal, "Terminal · src"}};
    for (const auto& [app, title] : cases) {
        activate(app);
        EXPECT_EQ(tracker->currentAppName(), title);
    }
    EXPECT_EQ(folders.titles, (std::vector<std::string>{"me@host: ~/src/engine/crates", ""}))
        << "asked for the two Linux terminals only, with the window's title";
}

struct IgnoreCase { std::optional<DefaultsValue> list; RunningApplication app; bool ignored; };

class Ignoring : public Tracker, public ::testing::WithParamInterface<IgnoreCase> {};

TEST_P(Ignoring, IgnoredApplicationEndsTheSessionAndStartsNone) {
    if (GetParam().list) defaults.set(MacAppTracker::ignoredBundleIdentifiersKey, *GetParam().list);
    startTracker();
    use({{notes, 30}, {GetParam().app, 0}});
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

TEST_F(Tracker, StartTakesTheFrontAppAtOnceAndAnIgnoredAppOrTheSameAppAgainEndsTheSession) {
    workspace.frontmost = notes;
    startTracker();
    EXPECT_EQ(tracker->currentAppName(), "Notes");
    tracker->start(sharedStore);
    EXPECT_EQ(workspace.observerCount(), 2u) << "a second start installs no more observers";
    workspace.activate(mail);
    EXPECT_EQ(tracker->currentAppName(), "Notes") << "later activations arrive in a later turn";
    scheduler.runUntilIdle();
    EXPECT_EQ(tracker->currentAppName(), "Mail");

    use({{notes, 30}, {loginWindow, 600}, {notes, 30}, {notes, 0}});
    ASSERT_EQ(blocks().size(), 2u) << "reactivating the same app commits its session";
    EXPECT_DOUBLE_EQ(*blocks()[1].startDate - *blocks()[0].endDate, 600);
    EXPECT_EQ(tracker->sessionStartedAt(), scheduler.now()) << "and starts a new one";
    work(30);
    sharedStore.reset();  // a gone store leaves no trace
    activate(mail);
    EXPECT_EQ(tracker->currentAppName(), "Mail");
}

class Idle : public Tracker {};

struct ThresholdCase { std::optional<DefaultsValue> stored; double idleAtTick; bool entersIdle; };

class IdleThreshold : public Idle, public ::testing::WithParamInterface<ThresholdCase> {};

TEST_P(IdleThreshold, SessionEndsAtLastInputOnceThresholdIsReached) {
    if (GetParam().stored) defaults.set(MacAppTracker::idleThresholdKey, *GetParam().stored);
    startTracker();
    activate(notes);
    const Date start = scheduler.now();
    work(1000);
    // Ticks come every 20 s from the start; put the last input so that the
    // next tick reads exactly `idleAtTick`.
    const double untilTick = 20 - std::fmod(scheduler.now() - start, 20.0);
    scheduler.advance(untilTick - 0.5);
    idleClock.setIdleSeconds(GetParam().idleAtTick - 0.5);
    const Date lastInput = scheduler.now() - (GetParam().idleAtTick - 0.5);
    scheduler.advance(0.5);
    EXPECT_EQ(tracker->isIdle(), GetParam().entersIdle);
    if (GetParam().entersIdle) {
        ASSERT_EQ(blocks().size(), 1u);
        EXPECT_DOUBLE_EQ(blocks()[0].endDate->seconds, lastInput.seconds);
        EXPECT_EQ(tracker->currentAppName(), std::nullopt);
    } else {
        EXPECT_TRUE(blocks().empty());
        EXPECT_EQ(tracker->currentAppName(), "Notes");
    }
}

INSTANTIATE_TEST_SUITE_P(Thresholds, IdleThreshold,
                         ::testing::Values(ThresholdCase{std::nullopt, 299, false},
                                           ThresholdCase{std::nullopt, 300, true},
                                           ThresholdCase{std::nullopt, 318, true}, ThresholdCase{60, 59, false},
                                           ThresholdCase{60, 75, true}, ThresholdCase{0, 299, false},
                                           ThresholdCase{-5, 299, false}, ThresholdCase{-5, 300, true}));

TEST_F(Idle, InputAfterIdleStartsSessionAtTheTickEvenAcrossAResume) {
    defaults.set(MacAppTracker::idleThresholdKey, 60);
    startTracker();
    activate(notes);
    work(200);
    scheduler.advance(100);
    ASSERT_TRUE(tracker->isIdle());
    activate(mail);  // the user switched apps; dropped while idle
    EXPECT_EQ(tracker->sessionStartedAt(), std::nullopt);
    idleClock.touch();
    scheduler.advance(1);
    EXPECT_TRUE(tracker->isIdle());  // noticed only at the tick
    tracker->setTracking(false);
    scheduler.advance(1);
    tracker->setTracking(true);
    EXPECT_TRUE(tracker->isIdle()) << "a resume does not read the input either";
    EXPECT_EQ(tracker->sessionStartedAt(), std::nullopt);
    const Date before = scheduler.now();
    scheduler.advance(MacAppTracker::idleCheckInterval);
    EXPECT_FALSE(tracker->isIdle());
    EXPECT_EQ(tracker->currentAppName(), "Mail");
    ASSERT_TRUE(tracker->sessionStartedAt());
    EXPECT_DOUBLE_EQ(std::fmod(*tracker->sessionStartedAt() - before, 20.0), 18);
}

TEST_F(Idle, StopsTheBrowserPollSoOnlyTheCheckTicksEveryTwentySeconds) {
    chromeShows("https://a.example/");
    startTracker();
    activate(chrome);
    scheduler.advance(320);
    ASSERT_TRUE(tracker->isIdle());
    EXPECT_FALSE(tracker->isBrowserPolling());
    const auto firings = scheduler.timerFirings();
    scheduler.advance(3600);
    EXPECT_EQ(scheduler.timerFirings() - firings, 180u);
}

TEST_F(Tracker, SleepCommitsSavesAtOnceKeepsTheTitleAndSilencesThePoll) {
    chromeShows("https://a.example/");
    startTracker();
    const Date start = scheduler.now();
    use({{chrome, 180}});
    workspace.sleep();
    scheduler.runUntilIdle();
    ASSERT_EQ(blocks().size(), 1u);
    EXPECT_EQ(blocks()[0].endDate, start + 180);
    EXPECT_EQ(tracker->currentAppName(), "a.example");
    EXPECT_FALSE(sharedStore->hasPendingSave());
    ASSERT_TRUE(files.files.contains(blocksPath));
    EXPECT_NE(files.files.at(blocksPath).find("\"a.example\""), std::string::npos);
    const auto runs = scripts.ran.size();
    scheduler.advance(100);
    EXPECT_TRUE(tracker->isBrowserPolling());
    EXPECT_EQ(scripts.ran.size(), runs);
}

TEST_F(Tracker, AWallClockJumpEndsTheRunningSessionWithOnlyTheTimeThatPassed) {
    for (const double jump : {3 * 3600.0, -3 * 3600.0}) {
        SCOPED_TRACE(jump);
        files.files.clear();
        startTracker();
        activate(notes);
        const Date start = scheduler.now();
        work(12);
        scheduler.jumpWallClock(jump);
        work(30);
        activate(mail);
        // Cut at the check that saw the jump: a block before it and one after.
        ASSERT_EQ(blocks().size(), 2u);
        double minutes = 0;
        for (const MacDayBlock& block : blocks()) {
            EXPECT_EQ(block.title, "Notes");
            EXPECT_LE(*block.endDate - *block.startDate, 32) << "no session is credited with time that did not pass";
            minutes += block.weight;
        }
        EXPECT_EQ(blocks().front().startDate, start);
        EXPECT_NEAR(minutes, 42.0 / 60, 1e-9);
    }
}

}  // namespace
}  // namespace plenda
