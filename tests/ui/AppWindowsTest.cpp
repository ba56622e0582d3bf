#include "ui/MenuBarContent.h"

#include "platform/qt/QtScreens.h"
#include "ui/NotchButton.h"
#include "ui/NotchPanelController.h"
#include "ui/NotchView.h"
#include "ui/TodayWindowKeeper.h"
#include "ui/WindowPlacement.h"
#include "ui/ViewFixture.h"
#include "views/Spring.h"

#include <QGuiApplication>
#include <QScreen>
#include <gtest/gtest.h>

namespace plenda {
namespace {

class ListedScreens final : public Screens {
public:
    std::vector<ScreenInfo> list;
    std::vector<ScreenInfo> screens() const override { return list; }
    Subscription onChange(std::function<void()>) override { return Subscription([] {}); }
};

const ScreenInfo plain{Frame{0, 0, 1280, 800}, {}, {}};
// A 1512 x 982 built-in display with a 200 x 32 notch at x = 656, left of
// which lies the primary screen of Qt's offscreen platform.
ScreenInfo notched(double x = 0) {
    return ScreenInfo{Frame{x, 0, 1512, 982}, Frame{x, 950, 656, 32}, Frame{x + 856, 950, 656, 32}};
}

class AppWindowsTest : public ViewFixture {
protected:
    bool denied = false;
    int opened = 0;
    const RunningApplication xcode{"com.apple.dt.Xcode", "Xcode", 7};

    void SetUp() override {
        ViewFixture::SetUp();
        scheduler.advanceTo(at(2024, 3, 5, 15, 0));
        makeViewStore();
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
        for (int i = 0; i < count; ++i)
            add(titles[i], i % 2 ? MacBlockCategory::social : MacBlockCategory::work, at(2024, 3, 5, 8 + i, 0),
                90.0 - 10 * i);
    }
};

TEST_F(AppWindowsTest, MenuPanelShowsTheTotalTheLargestTheCurrentActivityPausesAndAsksForPermissions) {
    MenuBarContent panel(*store, tracker, scheduler, icons, commands());
    EXPECT_EQ(panel.totalText(), "<1m");
    EXPECT_TRUE(panel.summaryTitles().isEmpty());
    EXPECT_EQ(panel.buttonTitles(), (QStringList{"mac.open", "mac.pause", "mac.settings", "mac.quit"}));
    // The panel follows the store and the tracker on its own.
    addDay(5);
    tracker.handleActivation(xcode);
    EXPECT_EQ(panel.summaryTitles(), (QStringList{"Xcode", "Safari", "Mail"}));
    EXPECT_EQ(panel.currentActivityText(), "Xcode");
    EXPECT_TRUE(panel.liveDotLit());
    for (const auto& [appearance, file] : {std::pair{Appearance::light, "menu-bar-panel-light.png"},
                                           std::pair{Appearance::dark, "menu-bar-panel-dark.png"}}) {
        setForcedAppearance(appearance);
        panel.reload();
        saveRender(panel, file);
    }
    panel.button("mac.pause")->click();
    EXPECT_FALSE(tracker.isTracking());
    EXPECT_FALSE(panel.liveDotLit());
    EXPECT_TRUE(panel.currentActivityText().isEmpty());
    EXPECT_TRUE(panel.buttonTitles().contains("mac.resume"));
    // Paused, the commands still fit whole: none is cut at the panel's edge.
    panel.adjustSize();
    for (const QString& key : panel.buttonTitles()) {
        const QWidget* button = panel.button(key.toUtf8().constData());
        const QRect inPanel(button->mapTo(&panel, QPoint(0, 0)), button->size());
        EXPECT_TRUE(QRect(QPoint(0, 0), panel.size()).contains(inPanel)) << key.toStdString();
        EXPECT_GE(button->width(), button->sizeHint().width()) << key.toStdString();
    }

    // Grant buttons lead while a permission is missing.
    denied = true;
    accessibility.trusted = false;
    panel.reload();
    EXPECT_EQ(panel.buttonTitles().mid(0, 2), (QStringList{"mac.grant.browser", "mac.grant.projects"}));
    accessibility.trusted = true;
    panel.reload();
    EXPECT_FALSE(panel.buttonTitles().contains("mac.grant.projects"));
    EXPECT_TRUE(panel.buttonTitles().contains("mac.grant.browser"));
}

TEST_F(AppWindowsTest, NotchPanelHangsFromTheNotchFollowsTheHoverAndTheScreensAndOffersItsButtons) {
    ListedScreens screens;
    screens.list = {plain};
    {
        NotchPanelController none(screens, scheduler, commands());
        none.show(*store, tracker);
        EXPECT_EQ(none.panel(), nullptr) << "no notch, no panel";
        screens.list = {notched()};
        none.reposition();
        EXPECT_EQ(none.panel(), nullptr) << "a notch connected later does not make one";
    }
    addDay(7);
    tracker.handleActivation({"com.apple.dt.Xcode", "Xcode · plenda", 7});
    denied = true;
    accessibility.trusted = false;
    screens.list = {plain, notched()};
    NotchPanelController controller(screens, scheduler, commands());
    controller.show(*store, tracker);
    ASSERT_NE(controller.panel(), nullptr) << "the notched screen listed second is used";
    NotchView& view = *controller.panel();
    const Frame collapsed{656, 950, 200, 32}, expanded{516, 796, 480, 186};
    EXPECT_EQ(controller.panelFrame(), collapsed);
    saveRender(view, "notch-collapsed.png", false);
    for (const bool hovering : {true, true, false, true}) {
        view.setHovering(hovering);
        EXPECT_EQ(controller.panelFrame(), hovering ? expanded : collapsed);
    }
    view.finishAnimation();
    std::vector<std::string> titles;
    for (NotchButton* button : view.buttons()) titles.push_back(button->title());
    EXPECT_EQ(titles, (std::vector<std::string>{"mac.open", "mac.pause", "mac.browser.access", "mac.project.names",
                                                "mac.settings", "mac.quit"}));
    view.buttons().front()->click();
    EXPECT_EQ(opened, 1);
    saveRender(view, "notch-expanded.png");
    tracker.setTracking(false);
    view.finishAnimation();
    saveRender(view, "notch-expanded-paused.png");

    // The screens move: the panel follows; with no notch left it stays.
    const Frame moved{756, 950, 200, 32};
    view.setHovering(false);
    screens.list = {notched(100)};
    controller.reposition();
    EXPECT_EQ(controller.panelFrame(), moved);
    screens.list = {plain};
    controller.reposition();
    EXPECT_EQ(controller.panelFrame(), moved);
    controller.show(*store, tracker);
    EXPECT_EQ(controller.panelFrame(), moved) << "made once, never again";
}

TEST(Spring, SettlesAfterASmallOvershoot) {
    EXPECT_EQ(springProgress(0, 0.32, 0.78), 0);
    double peak = 0;
    for (double t = 0; t < 1; t += 0.005) peak = std::max(peak, springProgress(t, 0.32, 0.78));
    EXPECT_GT(peak, 1.0);
    EXPECT_LT(peak, 1.03);
    EXPECT_NEAR(springProgress(1.0, 0.32, 0.78), 1.0, 1e-3);
    EXPECT_FALSE(springSettled(0.1, 0.32, 0.78));
    EXPECT_TRUE(springSettled(1.0, 0.32, 0.78));
}

TEST(QtScreens, FakeNotchFromTheEnvironment) {
    EXPECT_EQ(QtScreens::parseFakeNotch("200x32@656"), (QtScreens::FakeNotch{200, 32, 656}));
    for (const char* bad : {"", "200x32", "200@656", "0x32@656", "ax32@1", "200x32@-1", "200x32@656px"})
        EXPECT_FALSE(QtScreens::parseFakeNotch(bad)) << bad;
    ScreenInfo screen{Frame{0, 0, 1512, 982}, {}, {}};
    QtScreens::addNotch(screen, {200, 32, 656});
    EXPECT_EQ(screen.auxiliaryTopLeftArea, notched().auxiliaryTopLeftArea);
    EXPECT_EQ(screen.auxiliaryTopRightArea, notched().auxiliaryTopRightArea);
}

class KeeperTest : public ViewFixture {
protected:
    int activations = 0;
    std::unique_ptr<TodayWindowKeeper> keeper;
    void SetUp() override {
        ViewFixture::SetUp();
        keeper = std::make_unique<TodayWindowKeeper>(defaults, [this] { ++activations; });
    }
    static std::unique_ptr<QWidget> window(const char* title, Qt::WindowFlags flags = Qt::Window) {
        auto widget = std::make_unique<QWidget>(nullptr, flags);
        widget->setWindowTitle(title);
        return widget;
    }
    std::optional<DefaultsValue> stored() const { return defaults.object(TodayWindowKeeper::visibilityKey); }
};

TEST_F(KeeperTest, ClosingHidesShowBringsBackTheSameWindowAndTheNextLaunchRemembers) {
    auto day = window("Plenda");
    day->setGeometry(50, 40, 700, 500);
    day->show();
    keeper->applyStoredVisibility(true);
    EXPECT_TRUE(day->isVisible()) << "nothing stored: as the window opened";
    EXPECT_FALSE(stored());
    EXPECT_FALSE(day->close()) << "never really closed";
    EXPECT_FALSE(day->isVisible());
    EXPECT_EQ(stored(), DefaultsValue(false));

    keeper->show();
    EXPECT_EQ(keeper->window(), day.get());
    EXPECT_TRUE(day->isVisible());
    EXPECT_EQ(day->geometry(), QRect(50, 40, 700, 500));
    EXPECT_EQ(activations, 1);
    EXPECT_EQ(stored(), DefaultsValue(true));
    keeper->applyStoredVisibility(true);
    EXPECT_TRUE(day->isVisible());

    // Closed again; the next launch keeps it hidden.
    day->close();
    day.reset();
    keeper = std::make_unique<TodayWindowKeeper>(defaults, [] {});
    auto next = window("Plenda");
    next->show();
    keeper->applyStoredVisibility(true);
    EXPECT_FALSE(next->isVisible());
    // Without a tray or notch to bring it back, every launch shows it.
    next->show();
    keeper->applyStoredVisibility(false);
    EXPECT_TRUE(next->isVisible());
}

// Windows open wholly on the pointer's screen: brought in when partly off it,
// shrunk when larger (one that fits stays put, as the window above shows).
TEST_F(KeeperTest, WindowsOpenWhollyOnThePointersScreen) {
    const QRect room = QGuiApplication::primaryScreen()->availableGeometry();
    const std::pair<const char*, QRect> cases[] = {
        {"partly off", QRect(room.bottomRight() - QPoint(100, 100), QSize(300, 200))},
        {"on no screen", QRect(room.right() + 500, room.top(), 300, 200)},
        {"taller than the screen", QRect(room.topLeft(), room.size() + QSize(0, 300))},
    };
    for (const auto& [name, before] : cases) {
        SCOPED_TRACE(name);
        auto day = window("Plenda");
        day->setGeometry(before);
        placeWhollyOnPointerScreen(*day);
        EXPECT_TRUE(room.contains(day->frameGeometry())) << "the whole window is on the screen";
    }
    // Never placed before (a settings window made afresh): in the middle of
    // the screen, not wherever the window manager finds room.
    auto settings = window("Settings");
    settings->resize(460, 330);
    placeWhollyOnPointerScreen(*settings);
    EXPECT_LE((settings->frameGeometry().center() - room.center()).manhattanLength(), 2);
}

TEST_F(KeeperTest, RaisedWindowsWithTheTitleAreNeverAdopted) {
    auto panel = window("Plenda", Qt::Tool | Qt::WindowStaysOnTopHint);
    auto floating = window("Plenda", Qt::Window | Qt::WindowStaysOnTopHint);
    auto other = window("Settings");
    keeper->attach();
    EXPECT_EQ(keeper->window(), nullptr);
    keeper->show();
    EXPECT_EQ(activations, 1) << "still activates";
    EXPECT_EQ(stored(), DefaultsValue(true));
    auto day = window("Plenda");
    keeper->attach();
    EXPECT_EQ(keeper->window(), day.get()) << "every later call tries again";
}

}  // namespace
}  // namespace plenda
