#include "fakes/TrackerFixture.h"

#include <gtest/gtest.h>

#include <cmath>

namespace plenda {
namespace {

const RunningApplication notes{"com.apple.Notes", "Notes", 101};
const RunningApplication mail{"com.apple.mail", "Mail", 102};

class Idle : public TrackerFixture {
protected:
    // Starts tracking Notes at a tick boundary; returns the session's start.
    Date startWorking() {
        startTracker();
        activate(notes);
        return scheduler.now();
    }
    // Runs to the next idle tick without input.
    void nextTick() { scheduler.advance(MacAppTracker::idleCheckInterval); }
};

struct ThresholdCase {
    std::optional<DefaultsValue> stored;
    double idleAtTick;
    bool entersIdle;
};

class IdleThreshold : public Idle, public ::testing::WithParamInterface<ThresholdCase> {};

TEST_P(IdleThreshold, SessionEndsAtLastInputOnceThresholdIsReached) {
    if (GetParam().stored) defaults.set(MacAppTracker::idleThresholdKey, *GetParam().stored);
    const Date start = startWorking();
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

TEST_F(Idle, ThresholdIsReadAtEveryTick) {
    startWorking();
    work(100);
    idleClock.setIdleSeconds(0);
    scheduler.advance(120);  // ~120 s without input, default threshold: still active
    EXPECT_FALSE(tracker->isIdle());
    defaults.set(MacAppTracker::idleThresholdKey, 90);
    nextTick();
    EXPECT_TRUE(tracker->isIdle());
}

TEST_F(Idle, InputAfterIdleStartsSessionAtTheTick) {
    defaults.set(MacAppTracker::idleThresholdKey, 60);
    startWorking();
    work(200);
    scheduler.advance(100);
    ASSERT_TRUE(tracker->isIdle());
    activate(mail);  // the user switched apps; dropped while idle
    EXPECT_EQ(tracker->sessionStartedAt(), std::nullopt);
    idleClock.touch();
    scheduler.advance(2);
    EXPECT_TRUE(tracker->isIdle());  // noticed only at the tick
    const Date before = scheduler.now();
    nextTick();
    EXPECT_FALSE(tracker->isIdle());
    EXPECT_EQ(tracker->currentAppName(), "Mail");
    ASSERT_TRUE(tracker->sessionStartedAt());
    EXPECT_GT(*tracker->sessionStartedAt(), before);
    EXPECT_DOUBLE_EQ(std::fmod(*tracker->sessionStartedAt() - before, 20.0), 18);
}

TEST_F(Idle, SessionStartedAfterLastInputIsDropped) {
    defaults.set(MacAppTracker::idleThresholdKey, 60);
    startTracker();
    idleClock.setIdleSeconds(50);
    activate(notes);  // a program brought it forward; no input since
    scheduler.advance(40);
    EXPECT_TRUE(tracker->isIdle());
    EXPECT_TRUE(blocks().empty());
}

TEST_F(Idle, StaleIdleStateAfterResumeWaitsForTheTick) {
    defaults.set(MacAppTracker::idleThresholdKey, 60);
    startWorking();
    scheduler.advance(80);
    ASSERT_TRUE(tracker->isIdle());
    tracker->setTracking(false);
    idleClock.touch();
    scheduler.advance(3);
    tracker->setTracking(true);
    EXPECT_TRUE(tracker->isIdle());
    EXPECT_EQ(tracker->sessionStartedAt(), std::nullopt);
    scheduler.advance(20);
    EXPECT_FALSE(tracker->isIdle());
    EXPECT_TRUE(tracker->sessionStartedAt().has_value());
}

TEST_F(Idle, TimerTicksEveryTwentySecondsWithoutOtherWork) {
    startWorking();
    const auto firings = scheduler.timerFirings();
    scheduler.advance(3600);
    EXPECT_EQ(scheduler.timerFirings() - firings, 180u);
}

TEST_F(Idle, IdleStopsTheBrowserPoll) {
    scripts.answers["tell application \"Google Chrome\" to return URL of active tab of front window"] =
        ScriptedScriptRunner::text("https://a.example/");
    startTracker();
    activate(RunningApplication{"com.google.Chrome", "Google Chrome", 5});
    scheduler.advance(320);
    ASSERT_TRUE(tracker->isIdle());
    EXPECT_FALSE(tracker->isBrowserPolling());
    const auto firings = scheduler.timerFirings();
    scheduler.advance(3600);
    EXPECT_EQ(scheduler.timerFirings() - firings, 180u) << "the idle check alone";
}

class Sleep : public TrackerFixture {};

TEST_F(Sleep, CommitsSavesAtOnceAndKeepsTheTitle) {
    startTracker();
    activate(notes);
    const Date start = scheduler.now();
    work(180);
    workspace.sleep();
    scheduler.runUntilIdle();
    ASSERT_EQ(blocks().size(), 1u);
    EXPECT_EQ(blocks()[0].endDate, start + 180);
    EXPECT_EQ(tracker->currentAppName(), "Notes");
    EXPECT_FALSE(sharedStore->hasPendingSave());
    ASSERT_TRUE(files.files.contains(blocksPath));
    EXPECT_NE(files.files.at(blocksPath).find("\"Notes\""), std::string::npos);
}

TEST_F(Sleep, AfterWakeNothingIsRecordedUntilTheNextActivation) {
    startTracker();
    activate(notes);
    work(60);
    workspace.sleep();
    scheduler.runUntilIdle();
    work(3600);
    workspace.wake();
    work(600);
    EXPECT_EQ(blocks().size(), 1u);
    EXPECT_EQ(tracker->sessionStartedAt(), std::nullopt);
    activate(mail);
    work(10);
    activate(notes);
    EXPECT_EQ(blocks().size(), 2u);
}

TEST_F(Sleep, BrowserPollAfterSleepDoesNothing) {
    scripts.answers["tell application \"Google Chrome\" to return URL of active tab of front window"] =
        ScriptedScriptRunner::text("https://a.example/");
    startTracker();
    activate(RunningApplication{"com.google.Chrome", "Google Chrome", 5});
    work(30);
    workspace.sleep();
    scheduler.runUntilIdle();
    const auto runs = scripts.ran.size();
    scheduler.advance(100);
    EXPECT_TRUE(tracker->isBrowserPolling());
    EXPECT_EQ(scripts.ran.size(), runs);
}

}  // namespace
}  // namespace plenda
