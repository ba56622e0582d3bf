#include "app/MacAppDelegate.h"

#include "fakes/TrackerFixture.h"
#include "platform/standin/CloudFaultInjector.h"
#include "platform/standin/SqliteCloudDatabase.h"
#include "tracking/BrowserTabs.h"
#include "tracking/WindowTitles.h"
#include "sync/MacCloudSync.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace plenda {
namespace {

const RunningApplication editor{"com.example.Editor", "Editor", 41};
const RunningApplication safari{"com.apple.Safari", "Safari", 42};

// The delegate with the real store and tracker on virtual time, a cloud
// stand-in behind a fault injector, and scripted platform services.
class MacAppDelegateTest : public TrackerFixture {
protected:
    SqliteCloudDatabase server{SqliteCloudDatabase::Options{.clock = &scheduler}};
    CloudFaultInjector cloud{server};
    std::shared_ptr<MacAppTracker> sharedTracker;
    std::unique_ptr<MacAppDelegate> delegate;
    std::vector<Date> terminations;
    int notchShows = 0;
    int visibilityApplied = 0;
    std::optional<RunningApplication> frontAtLaunch = editor;

    void launch() {
        sharedStore = std::make_shared<MacActivityStore>(MacActivityStore::Dependencies{
            scheduler, scheduler, calendar, defaults, files, strings, cloudSyncDisabled, &Uuid::random, output,
            MacCloudSync::factory({defaults, scheduler, &cloud, nullptr, nullptr, output})});
        sharedTracker = std::make_shared<MacAppTracker>(MacAppTracker::Dependencies{
            scheduler, scheduler, defaults, workspace, scripts, accessibility, idleClock, output});
        delegate = std::make_unique<MacAppDelegate>(MacAppDelegate::Dependencies{
            scheduler, scheduler, defaults, workspace, accessibility, sharedStore, sharedTracker,
            [this] { ++notchShows; }, [this] { ++visibilityApplied; },
            [this] { terminations.push_back(scheduler.now()); }});
        workspace.frontmost = frontAtLaunch;
        delegate->applicationDidFinishLaunching();
    }
    std::size_t requests(CloudFaultInjector::Kind kind) const {
        return std::ranges::count(cloud.requests(), kind, &CloudFaultInjector::Request::kind);
    }
    // Launched, synced once, then a minute of work in the editor.
    void launchAndWork() {
        launch();
        scheduler.runUntilIdle();
        work(60);
    }
};

TEST_F(MacAppDelegateTest, StartUpRunsItsStepsInOrderAndSyncsAtOnceThenEveryTwoMinutes) {
    // Steps left behind by a delegate that is gone do nothing.
    launch();
    delegate.reset();
    scheduler.advance(300);
    EXPECT_EQ(visibilityApplied, 0);
    EXPECT_EQ(requests(CloudFaultInjector::Kind::fetchZoneChanges), 0u);
    launch();
    EXPECT_EQ(notchShows, 2) << "once a launch";
    EXPECT_EQ(sharedTracker->currentAppName(), "Editor");
    EXPECT_EQ(requests(CloudFaultInjector::Kind::fetchZoneChanges), 0u) << "the sync is a separate task";
    scheduler.runUntilIdle();
    EXPECT_EQ(requests(CloudFaultInjector::Kind::fetchZoneChanges), 1u);
    scheduler.advance(0.99);
    EXPECT_EQ(visibilityApplied, 0);
    scheduler.advance(0.02);
    EXPECT_EQ(visibilityApplied, 1);
    scheduler.advance(10 * 60);
    // At launch and after 2, 4, 6, 8 and 10 minutes.
    EXPECT_EQ(requests(CloudFaultInjector::Kind::fetchZoneChanges), 6u);
}

struct LaunchPrompts {
    const char* name;
    bool browserOutcomeStored, trusted, windowOutcomeStored, probesBrowsers, asksForTrust;
};

class LaunchPromptTest : public MacAppDelegateTest, public ::testing::WithParamInterface<LaunchPrompts> {};

TEST_P(LaunchPromptTest, ProbesAndPromptsOnlyOnFirstRun) {
    const LaunchPrompts& c = GetParam();
    if (c.browserOutcomeStored) defaults.setString(BrowserTabs::outcomeKey, "ok example.com");
    if (c.windowOutcomeStored) defaults.setString(WindowTitles::outcomeKey, "asked");
    accessibility.trusted = c.trusted;
    workspace.running = {editor, safari};
    // A window title read at start would store its outcome before the check.
    frontAtLaunch = std::nullopt;
    launch();
    scheduler.advance(2.9);
    EXPECT_TRUE(scripts.ran.empty());
    scheduler.advance(0.2);
    EXPECT_EQ(!scripts.ran.empty(), c.probesBrowsers);
    scheduler.advance(2.8);
    EXPECT_EQ(accessibility.trustRequests, 0);
    scheduler.advance(0.2);
    EXPECT_EQ(accessibility.trustRequests, c.asksForTrust ? 1 : 0);
    scheduler.advance(60);
    EXPECT_EQ(accessibility.trustRequests, c.asksForTrust ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(
    FirstRun, LaunchPromptTest,
    ::testing::Values(LaunchPrompts{"fresh", false, false, false, true, true},
                      LaunchPrompts{"browserAsked", true, false, false, false, true},
                      LaunchPrompts{"trusted", false, true, false, true, false},
                      LaunchPrompts{"accessibilityAsked", false, false, true, true, false}),
    [](const auto& info) { return std::string(info.param.name); });

// With sync on, once the session's upload went through; with sync off, at once.
class QuitAtOnce : public MacAppDelegateTest, public ::testing::WithParamInterface<bool> {};

TEST_P(QuitAtOnce, RecordsAndWritesTheSessionBeforeAnswering) {
    cloudSyncDisabled = GetParam();
    launchAndWork();
    const Date end = scheduler.now();
    if (!cloudSyncDisabled) {
        sharedTracker->setTracking(false);
        scheduler.runUntilIdle();
        ASSERT_FALSE(sharedStore->sync()->hasPendingChanges()) << "the session's upload went through";
    }
    EXPECT_EQ(delegate->applicationShouldTerminate(), MacAppDelegate::TerminateReply::now);
    ASSERT_EQ(blocks().size(), 1u);
    EXPECT_EQ(blocks().front().title, "Editor");
    EXPECT_EQ(blocks().front().effectiveEnd(), end);
    EXPECT_FALSE(sharedTracker->currentAppName()) << "quitting ends the running session";
    EXPECT_FALSE(sharedStore->hasPendingSave()) << "written before the answer";
    EXPECT_NE(files.readFile(blocksPath).bytes.find("Editor"), std::string::npos);
    EXPECT_EQ(cloud.requests().empty(), cloudSyncDisabled);
    scheduler.advance(10);
    EXPECT_TRUE(terminations.empty()) << "an immediate answer needs no deferred reply";
}

INSTANTIATE_TEST_SUITE_P(SyncOnOff, QuitAtOnce, ::testing::Bool());

// The session's upload hangs; the server answers after a second, or never.
class QuitLater : public MacAppDelegateTest, public ::testing::WithParamInterface<bool> {};

TEST_P(QuitLater, WaitsForTheUploadAtMostFourSeconds) {
    const bool answers = GetParam();
    const double waited = answers ? 1.0 : MacAppDelegate::terminateLimit;
    launchAndWork();
    scheduler.runUntilIdle();
    cloud.hangNextRequests(answers ? 1 : 100);
    const Date requested = scheduler.now();
    if (answers) scheduler.after(1.0, [this] { cloud.releaseHungRequests(); });
    EXPECT_EQ(delegate->applicationShouldTerminate(), MacAppDelegate::TerminateReply::later);
    // A second request while waiting (SIGTERM during logout) joins the same wait.
    EXPECT_EQ(delegate->applicationShouldTerminate(), MacAppDelegate::TerminateReply::later);
    scheduler.advance(waited - 0.05);
    EXPECT_TRUE(terminations.empty());
    scheduler.advance(0.1);
    ASSERT_EQ(terminations.size(), 1u);
    EXPECT_NEAR(terminations.front() - requested, waited, 0.01);
    EXPECT_EQ(sharedStore->sync()->hasPendingChanges(), !answers);
    scheduler.advance(5);
    EXPECT_EQ(terminations.size(), 1u) << "the limit finds the reply given";
    EXPECT_EQ(delegate->applicationShouldTerminate(), MacAppDelegate::TerminateReply::now);
    // Nothing was lost: the block is on disk for the next launch to upload.
    EXPECT_NE(files.readFile(blocksPath).bytes.find("Editor"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(ServerAnswers, QuitLater, ::testing::Bool());

TEST_F(MacAppDelegateTest, WakeClearsTheUnavailableLatchActivationSyncsAndProbesAndSleepPushesEveryBlock) {
    defaults.setString(BrowserTabs::outcomeKey, "ok example.com");
    workspace.running = {safari};
    cloud.setAccountStatus(CloudAccountStatus::noAccount);
    launchAndWork();
    const auto checks = requests(CloudFaultInjector::Kind::accountStatus);
    cloud.setAccountStatus(std::nullopt);
    // Latched: the timer's sync does not look at the account again.
    scheduler.advance(121);
    EXPECT_EQ(requests(CloudFaultInjector::Kind::accountStatus), checks);
    EXPECT_EQ(requests(CloudFaultInjector::Kind::fetchZoneChanges), 0u);
    workspace.wake();
    scheduler.runUntilIdle();
    EXPECT_EQ(requests(CloudFaultInjector::Kind::accountStatus), checks + 1);
    EXPECT_EQ(requests(CloudFaultInjector::Kind::fetchZoneChanges), 1u);
    delegate->applicationDidBecomeActive();
    EXPECT_EQ(scripts.ran.size(), 1u) << "the probe runs at once";
    scheduler.runUntilIdle();
    EXPECT_EQ(requests(CloudFaultInjector::Kind::fetchZoneChanges), 2u);

    cloud.failNextRequests(1);
    activate(RunningApplication{"com.example.Other", "Other", 43});  // the editor's upload fails
    work(30);
    ASSERT_TRUE(sharedStore->sync()->hasPendingChanges());
    workspace.sleep();
    scheduler.runUntilIdle();
    EXPECT_EQ(blocks().size(), 2u);
    EXPECT_FALSE(sharedStore->sync()->hasPendingChanges());
}

}  // namespace
}  // namespace plenda
