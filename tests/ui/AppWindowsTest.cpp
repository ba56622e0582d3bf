#include "ui/MacSettingsView.h"
#include "ui/MenuBarContent.h"

#include "fakes/ScriptedAccessibility.h"
#include "fakes/ScriptedIdleClock.h"
#include "fakes/ScriptedScriptRunner.h"
#include "fakes/ScriptedWorkspace.h"
#include "platform/LoginItem.h"
#include "platform/qt/QtScreens.h"
#include "tracking/MacAppTracker.h"
#include "ui/NotchButton.h"
#include "ui/NotchPanelController.h"
#include "ui/NotchView.h"
#include "views/Spring.h"
#include "ui/TodayWindowKeeper.h"
#include "ui/ViewFixture.h"

#include <QCloseEvent>
#include <QDir>
#include <QEnterEvent>
#include <QTabWidget>

#include <gtest/gtest.h>

namespace plenda {
namespace {

class ListedScreens final : public Screens {
public:
    std::vector<ScreenInfo> list;
    std::function<void()> changed;
    std::vector<ScreenInfo> screens() const override { return list; }
    Subscription onChange(std::function<void()> callback) override {
        changed = std::move(callback);
        return Subscription([this] { changed = nullptr; });
    }
};

// A 1512 x 982 built-in display with a 200 x 32 notch at x = 656, left of
// which lies the primary screen of Qt's offscreen platform.
ScreenInfo notched(double x = 0) {
    ScreenInfo screen{Frame{x, 0, 1512, 982}, {}, {}};
    screen.auxiliaryTopLeftArea = Frame{x, 950, 656, 32};
    screen.auxiliaryTopRightArea = Frame{x + 856, 950, 656, 32};
    return screen;
}

class AppWindowsTest : public ViewFixture {
protected:
    ScriptedWorkspace workspace;
    ScriptedScriptRunner scripts;
    ScriptedAccessibility accessibility;
    ScriptedIdleClock idleClock{scheduler};
    std::unique_ptr<MacAppTracker> tracker;
    bool denied = false;
    int opened = 0;

    void SetUp() override {
        ViewFixture::SetUp();
        scheduler.advanceTo(at(2024, 3, 5, 15, 0));
        makeViewStore();
        tracker = std::make_unique<MacAppTracker>(MacAppTracker::Dependencies{
            scheduler, scheduler, defaults, workspace, scripts, accessibility, idleClock, output});
    }
    void TearDown() override {
        tracker.reset();
        ViewFixture::TearDown();
    }
    PanelCommands commands() {
        PanelCommands c;
        c.openDayWindow = [this] { ++opened; };
        c.browserAutomationDenied = [this] { return denied; };
        c.accessibilityTrusted = [this] { return accessibility.trusted; };
        return c;
    }
    void addDay(int count) {
        const char* titles[] = {"Xcode", "Safari", "Mail", "Slack", "Notes", "Music", "Maps"};
        for (int i = 0; i < count; ++i) {
            add(titles[i], i % 2 ? MacBlockCategory::social : MacBlockCategory::work, at(2024, 3, 5, 8 + i, 0),
                90.0 - 10 * i);
        }
    }
    static void save(QWidget& widget, const char* name) {
        QDir().mkpath(PLENDA_RENDER_DIR);
        widget.grab().save(QStringLiteral(PLENDA_RENDER_DIR "/") + name);
    }
};

TEST_F(AppWindowsTest, MenuPanelWithoutBlocksShowsLessThanAMinuteAndNoList) {
    MenuBarContent panel(*store, *tracker, scheduler, icons, commands());
    EXPECT_EQ(panel.totalText(), "<1m");
    EXPECT_TRUE(panel.summaryTitles().isEmpty());
    EXPECT_EQ(panel.width(), MenuBarContent::panelWidth);
    EXPECT_EQ(panel.buttonTitles(), (QStringList{"mac.open", "mac.pause", "mac.settings", "mac.quit"}));
}

TEST_F(AppWindowsTest, MenuPanelListsTheThreeLargestAndTheCurrentActivity) {
    addDay(5);
    tracker->handleActivation({"com.apple.dt.Xcode", "Xcode", 7});
    MenuBarContent panel(*store, *tracker, scheduler, icons, commands());
    EXPECT_EQ(panel.summaryTitles(), (QStringList{"Xcode", "Safari", "Mail"}));
    EXPECT_EQ(panel.currentActivityText(), "Xcode");
    EXPECT_TRUE(panel.liveDotLit());
    setForcedAppearance(Appearance::light);
    panel.reload();
    save(panel, "menu-bar-panel-light.png");
    setForcedAppearance(Appearance::dark);
    panel.reload();
    save(panel, "menu-bar-panel-dark.png");
}

TEST_F(AppWindowsTest, PausedMenuPanelHidesTheActivityAndOffersResume) {
    tracker->handleActivation({"com.apple.dt.Xcode", "Xcode", 7});
    MenuBarContent panel(*store, *tracker, scheduler, icons, commands());
    panel.button("mac.pause")->click();
    EXPECT_FALSE(tracker->isTracking());
    EXPECT_FALSE(panel.liveDotLit());
    EXPECT_TRUE(panel.currentActivityText().isEmpty());
    EXPECT_TRUE(panel.buttonTitles().contains("mac.resume"));
}

TEST_F(AppWindowsTest, MenuPanelGrantButtonsFollowThePermissions) {
    denied = true;
    accessibility.trusted = false;
    MenuBarContent panel(*store, *tracker, scheduler, icons, commands());
    EXPECT_EQ(panel.buttonTitles().mid(0, 2), (QStringList{"mac.grant.browser", "mac.grant.projects"}));
    accessibility.trusted = true;
    panel.reload();
    EXPECT_FALSE(panel.buttonTitles().contains("mac.grant.projects"));
    EXPECT_TRUE(panel.buttonTitles().contains("mac.grant.browser"));
}

TEST_F(AppWindowsTest, NotchPanelHangsFromTheNotchAndFollowsTheHover) {
    ListedScreens screens;
    screens.list = {ScreenInfo{Frame{0, 0, 1280, 800}, {}, {}}, notched()};
    std::vector<QSizeF> resizes;
    NotchPanelController controller(screens, scheduler, commands());
    controller.show(*store, *tracker);
    ASSERT_NE(controller.panel(), nullptr) << "the notched screen listed second is used";
    EXPECT_EQ(controller.panelFrame(), (Frame{656, 950, 200, 32}));
    NotchView& view = *controller.panel();
    view.setHovering(true);
    EXPECT_EQ(controller.panelFrame(), (Frame{516, 796, 480, 186}));
    view.setHovering(true);
    EXPECT_EQ(controller.panelFrame(), (Frame{516, 796, 480, 186}));
    view.setHovering(false);
    EXPECT_EQ(controller.panelFrame(), (Frame{656, 950, 200, 32}));

    // The screens move: the panel follows; with no notch left it stays.
    screens.list = {notched(100)};
    controller.reposition();
    EXPECT_EQ(controller.panelFrame(), (Frame{756, 950, 200, 32}));
    screens.list = {ScreenInfo{Frame{0, 0, 1280, 800}, {}, {}}};
    controller.reposition();
    EXPECT_EQ(controller.panelFrame(), (Frame{756, 950, 200, 32}));
    controller.show(*store, *tracker);
    EXPECT_EQ(controller.panelFrame(), (Frame{756, 950, 200, 32})) << "made once, never again";
}

TEST_F(AppWindowsTest, NoNotchNoPanel) {
    ListedScreens screens;
    screens.list = {ScreenInfo{Frame{0, 0, 1280, 800}, {}, {}}};
    NotchPanelController controller(screens, scheduler, commands());
    controller.show(*store, *tracker);
    EXPECT_EQ(controller.panel(), nullptr);
    screens.list = {notched()};
    controller.reposition();
    EXPECT_EQ(controller.panel(), nullptr) << "a notch connected later does not make one";
}

TEST_F(AppWindowsTest, NotchCardButtonsAndPictures) {
    addDay(7);
    tracker->handleActivation({"com.apple.dt.Xcode", "Xcode · plenda", 7});
    denied = true;
    accessibility.trusted = false;
    ListedScreens screens;
    screens.list = {notched()};
    NotchPanelController controller(screens, scheduler, commands());
    controller.show(*store, *tracker);
    NotchView& view = *controller.panel();
    save(view, "notch-collapsed.png");
    view.setHovering(true);
    view.finishAnimation();
    std::vector<std::string> titles;
    for (NotchButton* button : view.buttons()) titles.push_back(button->title());
    EXPECT_EQ(titles, (std::vector<std::string>{"mac.open", "mac.pause", "mac.browser.access", "mac.project.names",
                                                "mac.settings", "mac.quit"}));
    view.buttons().front()->click();
    EXPECT_EQ(opened, 1);
    save(view, "notch-expanded.png");
    tracker->setTracking(false);
    view.finishAnimation();
    save(view, "notch-expanded-paused.png");
}

TEST_F(AppWindowsTest, SpringSettlesAfterASmallOvershoot) {
    EXPECT_EQ(springProgress(0, 0.32, 0.78), 0);
    double peak = 0;
    for (double t = 0; t < 1; t += 0.005) peak = std::max(peak, springProgress(t, 0.32, 0.78));
    EXPECT_GT(peak, 1.0);
    EXPECT_LT(peak, 1.03);
    EXPECT_NEAR(springProgress(1.0, 0.32, 0.78), 1.0, 1e-3);
    EXPECT_FALSE(springSettled(0.1, 0.32, 0.78));
    EXPECT_TRUE(springSettled(1.0, 0.32, 0.78));
}

TEST_F(AppWindowsTest, FakeNotchFromTheEnvironment) {
    EXPECT_EQ(QtScreens::parseFakeNotch("200x32@656"), (QtScreens::FakeNotch{200, 32, 656}));
    for (const char* bad : {"", "200x32", "200@656", "0x32@656", "ax32@1", "200x32@-1", "200x32@656px"}) {
        EXPECT_FALSE(QtScreens::parseFakeNotch(bad)) << bad;
    }
    ScreenInfo screen{Frame{0, 0, 1512, 982}, {}, {}};
    QtScreens::addNotch(screen, {200, 32, 656});
    EXPECT_EQ(screen.auxiliaryTopLeftArea, notched().auxiliaryTopLeftArea);
    EXPECT_EQ(screen.auxiliaryTopRightArea, notched().auxiliaryTopRightArea);
}

class KeeperTest : public AppWindowsTest {
protected:
    int activations = 0;
    std::unique_ptr<TodayWindowKeeper> keeper;
    void SetUp() override {
        AppWindowsTest::SetUp();
        keeper = std::make_unique<TodayWindowKeeper>(defaults, [this] { ++activations; });
    }
    static std::unique_ptr<QWidget> window(const char* title, Qt::WindowFlags flags = Qt::Window) {
        auto widget = std::make_unique<QWidget>(nullptr, flags);
        widget->setWindowTitle(title);
        return widget;
    }
};

TEST_F(KeeperTest, ClosingHidesAndTheNextLaunchKeepsItHidden) {
    auto day = window("Plenda");
    day->show();
    keeper->applyStoredVisibility();
    EXPECT_TRUE(day->isVisible()) << "nothing stored: as the window opened";
    EXPECT_FALSE(defaults.object(TodayWindowKeeper::visibilityKey));
    EXPECT_FALSE(day->close()) << "never really closed";
    EXPECT_FALSE(day->isVisible());
    EXPECT_EQ(defaults.object(TodayWindowKeeper::visibilityKey), DefaultsValue(false));

    // Next launch.
    day.reset();
    keeper = std::make_unique<TodayWindowKeeper>(defaults, [] {});
    auto next = window("Plenda");
    next->show();
    keeper->applyStoredVisibility();
    EXPECT_FALSE(next->isVisible());
}

TEST_F(KeeperTest, ShowBringsBackTheSameWindowAndRemembers) {
    auto day = window("Plenda");
    day->setGeometry(100, 120, 700, 500);
    day->show();
    keeper->attach();
    day->close();
    keeper->show();
    EXPECT_EQ(keeper->window(), day.get());
    EXPECT_TRUE(day->isVisible());
    EXPECT_EQ(day->geometry(), QRect(100, 120, 700, 500));
    EXPECT_EQ(activations, 1);
    EXPECT_EQ(defaults.object(TodayWindowKeeper::visibilityKey), DefaultsValue(true));
    keeper->applyStoredVisibility();
    EXPECT_TRUE(day->isVisible());
}

TEST_F(KeeperTest, RaisedWindowsWithTheTitleAreNeverAdopted) {
    auto panel = window("Plenda", Qt::Tool | Qt::WindowStaysOnTopHint);
    auto floating = window("Plenda", Qt::Window | Qt::WindowStaysOnTopHint);
    auto other = window("Settings");
    keeper->attach();
    EXPECT_EQ(keeper->window(), nullptr);
    keeper->show();
    EXPECT_EQ(activations, 1) << "still activates";
    EXPECT_EQ(defaults.object(TodayWindowKeeper::visibilityKey), DefaultsValue(true));
    auto day = window("Plenda");
    keeper->attach();
    EXPECT_EQ(keeper->window(), day.get()) << "every later call tries again";
}

QPalette darkPalette() {
    QPalette palette;
    palette.setColor(QPalette::Window, QColor(30, 30, 32));
    palette.setColor(QPalette::WindowText, QColor(235, 235, 240));
    palette.setColor(QPalette::Base, QColor(44, 44, 46));
    palette.setColor(QPalette::Text, QColor(235, 235, 240));
    palette.setColor(QPalette::Button, QColor(58, 58, 60));
    palette.setColor(QPalette::ButtonText, QColor(235, 235, 240));
    palette.setColor(QPalette::PlaceholderText, QColor(140, 140, 145));
    return palette;
}

class NoLoginItem final : public LoginItem {
public:
    bool isEnabled() const override { return false; }
    std::optional<std::string> registerItem() override { return std::nullopt; }
    std::optional<std::string> unregisterItem() override { return std::nullopt; }
};

TEST_F(AppWindowsTest, SettingsTabPictures) {
    defaults.setStringArray("ignoredBundleIdentifiers", {"com.apple.loginwindow", "com.1password.1password"});
    defaults.setString("browserTab.lastOutcome", "denied -1743 com.apple.Safari");
    accessibility.trusted = false;
    NoLoginItem login;
    for (const Appearance appearance : {Appearance::light, Appearance::dark}) {
        setForcedAppearance(appearance);
        app->setPalette(appearance == Appearance::dark ? darkPalette() : QPalette());
        MacSettingsView view({defaults, *tracker, login, accessibility, icons, output});
        const char* suffix = appearance == Appearance::light ? "light" : "dark";
        for (int tab = 0; tab < 3; ++tab) {
            view.tabs()->setCurrentIndex(tab);
            save(view, QStringLiteral("settings-%1-%2.png").arg(tab).arg(suffix).toUtf8().constData());
        }
    }
    app->setPalette(QPalette());
    SUCCEED();
}

}  // namespace
}  // namespace plenda
