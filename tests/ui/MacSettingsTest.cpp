#include "ui/MacSettings.h"
#include "ui/MacSettingsView.h"

#include "platform/LoginItem.h"
#include "tracking/BrowserTabs.h"
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
    std::optional<std::string> registerItem() override { return failure ? failure : (enabled = true, std::nullopt); }
    std::optional<std::string> unregisterItem() override { return failure ? failure : (enabled = false, std::nullopt); }
};

class MacSettingsTest : public ViewFixture {
protected:
    FakeLoginItem loginItem;

    std::unique_ptr<MacSettingsView> makeView() {
        return std::make_unique<MacSettingsView>(
            MacSettingsView::Dependencies{defaults, tracker, loginItem, accessibility, icons, output});
    }
    std::vector<std::string> stored() const {
        return defaults.stringArray(MacSettings::ignoredKey).value_or(std::vector<std::string>{});
    }
};

TEST_F(MacSettingsTest, FreshSettingsShowTheDefaultsAndPickersListAndLoginToggleWriteAtOnce) {
    auto view = makeView();
    ASSERT_EQ(view->tabs()->count(), 3);
    const auto& pickers = view->pickers();
    ASSERT_EQ(pickers.size(), 3u);
    EXPECT_EQ(pickers[0]->currentData().toDouble(), 300);
    EXPECT_EQ(pickers[1]->currentData().toDouble(), 180);
    EXPECT_EQ(pickers[2]->currentData().toDouble(), 5);
    EXPECT_EQ(pickers[0]->currentText(), localized("mac.minutes.5"));
    EXPECT_EQ(view->ignored(), std::vector<std::string>{"com.apple.loginwindow"});
    EXPECT_FALSE(view->addButton()->isEnabled());

    // A stored value that no entry offers matches none.
    defaults.setDouble(MacSettings::idleThresholdKey, 45);
    loginItem.enabled = true;
    view = makeView();
    EXPECT_EQ(view->pickers()[0]->currentIndex(), -1);
    EXPECT_EQ(defaults.doubleValue(MacSettings::idleThresholdKey), 45) << "left stored as it was";
    view->pickers()[2]->activated(3);
    EXPECT_EQ(defaults.doubleValue(MacSettings::minimumSessionKey), 60);
    view->pickers()[1]->activated(0);
    EXPECT_EQ(defaults.doubleValue(MacSettings::mergeGapKey), 60);
    // Removing the last entry stores an empty list rather than falling back.
    view->removeIgnored("com.apple.loginwindow");
    ASSERT_TRUE(defaults.object(MacSettings::ignoredKey));
    EXPECT_TRUE(stored().empty());
    EXPECT_TRUE(tracker.loadIgnoredBundleIdentifiers().empty()) << "the login window is tracked now";

    // The login toggle shows the real state and falls back to it when a change fails.
    EXPECT_TRUE(view->launchAtLoginToggle()->isChecked());
    view->launchAtLoginToggle()->setChecked(false);
    EXPECT_FALSE(loginItem.enabled);
    loginItem.failure = "Operation not permitted";
    output.str("");
    view->launchAtLoginToggle()->setChecked(true);
    EXPECT_FALSE(view->launchAtLoginToggle()->isChecked());
    EXPECT_EQ(output.str(), "Launch at login register failed: Operation not permitted\n");
}

TEST_F(MacSettingsTest, AddingTrimsBlanksAndKeepsCaseAndOrder) {
    const auto view = makeView();
    view->newIgnoredField()->setText(" \t ");
    EXPECT_FALSE(view->addButton()->isEnabled());
    view->addIgnored();
    EXPECT_FALSE(defaults.object(MacSettings::ignoredKey)) << "blank text writes nothing";
    EXPECT_EQ(MacSettings::trimBlanks(" a\n"), "a\n") << "line breaks are not blanks";

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

TEST_F(MacSettingsTest, PermissionRowsShowAllowedOrAGrantButton) {
    // Browser outcome stored, trusted, then the two rows' texts.
    using Case = std::tuple<std::optional<std::string>, bool, const char*, const char*>;
    const Case cases[] = {
        {std::nullopt, true, "Allowed", "Allowed"},
        {"denied -1743 com.apple.Safari", false, "mac.settings.grant.automation", "mac.settings.grant.accessibility"},
        {"ok example.com", false, "Allowed", "mac.settings.grant.accessibility"},
    };
    for (const auto& [browserOutcome, trusted, browserText, accessibilityText] : cases) {
        SCOPED_TRACE(browserOutcome.value_or("never asked"));
        if (browserOutcome) defaults.setString(BrowserTabs::outcomeKey, *browserOutcome);
        accessibility.trusted = trusted;
        const auto view = makeView();
#ifdef __APPLE__
        EXPECT_EQ(view->browserPermissionText(), localized(browserText));
#else
        EXPECT_EQ(view->browserPermissionText(), "Not available on Linux") << "whatever was stored: " << browserText;
#endif
        EXPECT_EQ(view->accessibilityPermissionText(), localized(accessibilityText));
        // Granting shows at the next draw.
        accessibility.trusted = true;
        view->refreshPermissions();
        EXPECT_EQ(view->accessibilityPermissionText(), localized("Allowed"));
    }
}

TEST_F(MacSettingsTest, TabPicturesWithTheStoredListSorted) {
    defaults.setStringArray(MacSettings::ignoredKey, {"com.apple.loginwindow", "com.1password.1password"});
    defaults.setString(BrowserTabs::outcomeKey, "denied -1743 com.apple.Safari");
    accessibility.trusted = false;
    const std::pair<QPalette::ColorRole, QRgb> darkColours[] = {
        {QPalette::Window, 0x1e1e20}, {QPalette::WindowText, 0xebebf0}, {QPalette::Base, 0x2c2c2e},
        {QPalette::Text, 0xebebf0},   {QPalette::Button, 0x3a3a3c},     {QPalette::ButtonText, 0xebebf0},
        {QPalette::PlaceholderText, 0x8c8c91}};
    QPalette dark;
    for (const auto& [role, rgb] : darkColours) dark.setColor(role, QColor(rgb));
    for (const Appearance appearance : {Appearance::light, Appearance::dark}) {
        setForcedAppearance(appearance);
        app->setPalette(appearance == Appearance::dark ? dark : QPalette());
        const auto view = makeView();
        EXPECT_EQ(view->ignored(), (std::vector<std::string>{"com.1password.1password", "com.apple.loginwindow"}))
            << "shown sorted";
        for (int tab = 0; tab < 3; ++tab) {
            view->tabs()->setCurrentIndex(tab);
            EXPECT_EQ(unnamedControls(*view), "") << "screen readers name every control, tab " << tab;
            const char* suffix = appearance == Appearance::dark ? "dark" : "light";
            saveRender(*view, QStringLiteral("settings-%1-%2.png").arg(tab).arg(suffix));
        }
    }
    app->setPalette(QPalette());
}

}  // namespace
}  // namespace plenda
