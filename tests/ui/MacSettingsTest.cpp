#include "ui/MacSettings.h"
#include "ui/MacSettingsView.h"

#include "fakes/ScriptedAccessibility.h"
#include "fakes/ScriptedIdleClock.h"
#include "fakes/ScriptedScriptRunner.h"
#include "fakes/ScriptedWorkspace.h"
#include "platform/LoginItem.h"
#include "tracking/BrowserTabs.h"
#include "tracking/MacAppTracker.h"
#include "ui/BundledIconProvider.h"
#include "ui/ViewFixture.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>

#include <gtest/gtest.h>

namespace plenda {
namespace {

class FakeLoginItem final : public LoginItem {
public:
    bool enabled = false;
    std::optional<std::string> failure;
    bool isEnabled() const override { return enabled; }
    std::optional<std::string> registerItem() override {
        if (failure) return failure;
        enabled = true;
        return std::nullopt;
    }
    std::optional<std::string> unregisterItem() override {
        if (failure) return failure;
        enabled = false;
        return std::nullopt;
    }
};

class MacSettingsTest : public ViewFixture {
protected:
    ScriptedWorkspace workspace;
    ScriptedScriptRunner scripts;
    ScriptedAccessibility accessibility;
    ScriptedIdleClock idleClock{scheduler};
    FakeLoginItem loginItem;
    MacAppTracker tracker{{scheduler, scheduler, defaults, workspace, scripts, accessibility, idleClock, output}};

    std::unique_ptr<MacSettingsView> makeView() {
        return std::make_unique<MacSettingsView>(
            MacSettingsView::Dependencies{defaults, tracker, loginItem, accessibility, icons, output});
    }
    std::vector<std::string> stored() const { return defaults.stringArray(MacSettings::ignoredKey).value_or(std::vector<std::string>{}); }
};

TEST_F(MacSettingsTest, FreshSettingsShowTheDefaults) {
    const auto view = makeView();
    EXPECT_EQ(view->size(), QSize(460, 330));
    ASSERT_EQ(view->tabs()->count(), 3);
    EXPECT_EQ(view->tabs()->tabText(0), localized("mac.settings.general"));
    const auto& pickers = view->pickers();
    ASSERT_EQ(pickers.size(), 3u);
    EXPECT_EQ(pickers[0]->currentData().toDouble(), 300);
    EXPECT_EQ(pickers[1]->currentData().toDouble(), 180);
    EXPECT_EQ(pickers[2]->currentData().toDouble(), 5);
    EXPECT_EQ(pickers[0]->currentText(), localized("mac.minutes.5"));
    EXPECT_EQ(view->ignored(), std::vector<std::string>{"com.apple.loginwindow"});
    EXPECT_FALSE(view->addButton()->isEnabled());
}

TEST_F(MacSettingsTest, PickersWriteAtOnceAndUnknownValuesMatchNothing) {
    defaults.setDouble(MacSettings::idleThresholdKey, 45);
    const auto view = makeView();
    EXPECT_EQ(view->pickers()[0]->currentIndex(), -1);
    EXPECT_EQ(defaults.doubleValue(MacSettings::idleThresholdKey), 45) << "left stored as it was";
    view->pickers()[2]->activated(3);
    EXPECT_EQ(defaults.doubleValue(MacSettings::minimumSessionKey), 60);
    view->pickers()[1]->activated(0);
    EXPECT_EQ(defaults.doubleValue(MacSettings::mergeGapKey), 60);
}

TEST_F(MacSettingsTest, AddingTrimsBlanksAndKeepsCaseAndOrder) {
    const auto view = makeView();
    view->newIgnoredField()->setText("  com.foo.bar\t ");
    EXPECT_TRUE(view->addButton()->isEnabled());
    view->addIgnored();
    EXPECT_EQ(stored(), (std::vector<std::string>{"com.apple.loginwindow", "com.foo.bar"}));
    EXPECT_TRUE(view->newIgnoredField()->text().isEmpty());
    view->newIgnoredField()->setText("com.Foo.Bar");
    view->addIgnored();
    EXPECT_EQ(stored(), (std::vector<std::string>{"com.Foo.Bar", "com.apple.loginwindow", "com.foo.bar"}));
    view->newIgnoredField()->setText("com.foo.bar");
    view->addIgnored();
    EXPECT_EQ(view->ignored().size(), 3u) << "already present";
    EXPECT_EQ(view->ignored(), stored());
}

TEST_F(MacSettingsTest, BlankTextAddsNothing) {
    const auto view = makeView();
    view->newIgnoredField()->setText(" \t ");
    EXPECT_FALSE(view->addButton()->isEnabled());
    view->addIgnored();
    EXPECT_FALSE(defaults.object(MacSettings::ignoredKey)) << "nothing written";
    // Line breaks are not blanks.
    EXPECT_EQ(MacSettings::trimBlanks(" a\n"), "a\n");
}

TEST_F(MacSettingsTest, ListIsSortedAndRemovingTheLoginWindowStoresAnEmptyArray) {
    defaults.setStringArray(MacSettings::ignoredKey, {"com.b", "org.c", "com.a"});
    auto view = makeView();
    EXPECT_EQ(view->ignored(), (std::vector<std::string>{"com.a", "com.b", "org.c"}));
    defaults.remove(MacSettings::ignoredKey);
    view = makeView();
    view->removeIgnored("com.apple.loginwindow");
    ASSERT_TRUE(defaults.object(MacSettings::ignoredKey));
    EXPECT_TRUE(stored().empty());
    EXPECT_TRUE(tracker.loadIgnoredBundleIdentifiers().empty()) << "the login window is tracked now";
}

TEST_F(MacSettingsTest, LoginToggleShowsTheRealStateAndReportsFailures) {
    loginItem.enabled = true;
    auto view = makeView();
    EXPECT_TRUE(view->launchAtLoginToggle()->isChecked());
    view->launchAtLoginToggle()->setChecked(false);
    EXPECT_FALSE(loginItem.enabled);
    loginItem.failure = "Operation not permitted";
    output.str("");
    view->launchAtLoginToggle()->setChecked(true);
    EXPECT_FALSE(view->launchAtLoginToggle()->isChecked()) << "falls back to the actual state";
    EXPECT_EQ(output.str(), "Launch at login register failed: Operation not permitted\n");
}

struct PermissionCase {
    const char* name;
    std::optional<std::string> browserOutcome;
    bool trusted;
    const char* browserText;
    const char* accessibilityText;
};

class PermissionRowsTest : public MacSettingsTest, public ::testing::WithParamInterface<PermissionCase> {};

TEST_P(PermissionRowsTest, ShowAllowedOrAGrantButton) {
    const auto& c = GetParam();
    if (c.browserOutcome) defaults.setString(BrowserTabs::outcomeKey, *c.browserOutcome);
    accessibility.trusted = c.trusted;
    const auto view = makeView();
    EXPECT_EQ(view->browserPermissionText(), localized(c.browserText));
    EXPECT_EQ(view->accessibilityPermissionText(), localized(c.accessibilityText));
}

INSTANTIATE_TEST_SUITE_P(
    Privacy, PermissionRowsTest,
    ::testing::Values(
        PermissionCase{"neverAsked", std::nullopt, true, "Allowed", "Allowed"},
        PermissionCase{"denied", "denied -1743 com.apple.Safari", false, "mac.settings.grant.automation",
                       "mac.settings.grant.accessibility"},
        PermissionCase{"otherOutcome", "ok example.com", false, "Allowed", "mac.settings.grant.accessibility"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(MacSettingsTest, GrantingAccessibilityShowsAllowedAtTheNextDraw) {
    accessibility.trusted = false;
    const auto view = makeView();
    EXPECT_EQ(view->accessibilityPermissionText(), localized("mac.settings.grant.accessibility"));
    accessibility.trusted = true;
    view->refreshPermissions();
    EXPECT_EQ(view->accessibilityPermissionText(), localized("Allowed"));
}

}  // namespace
}  // namespace plenda
