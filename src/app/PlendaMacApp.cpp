#include "app/PlendaMacApp.h"

#include "app/MacAppDelegate.h"
#include "ui/MacSettingsView.h"
#include "ui/MenuBarContent.h"
#include "app/QuitSignals.h"
#include "app/SingleInstance.h"
#include "model/MacActivityStore.h"
#include "platform/IcuCalendar.h"
#include "platform/qt/QtDefaults.h"
#include "platform/qt/QtFiles.h"
#include "platform/qt/QtScheduler.h"
#include "platform/qt/QtStringTable.h"
#include "platform/qt/SystemClock.h"
#include "tracking/MacAppTracker.h"
#include "ui/IconProvider.h"
#include "views/NotchGeometry.h"
#include "ui/NotchPanelController.h"
#include "ui/TodayView.h"
#include "ui/TodayWindowKeeper.h"
#include "ui/WindowPlacement.h"
#include "ui/Translations.h"
#include "ui/ViewStyle.h"
#include "sync/MacCloudSync.h"
#include "tracking/CategoryRules.h"

#include <QAction>
#include <QPainter>
#include <QMenuBar>
#include <QScreen>
#include <QSessionManager>
#include <QSystemTrayIcon>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iostream>

namespace plenda {

namespace {

// The day window: its content's minimum is its own. Where the platform lets
// the content reach under the title bar, the window paints the background
// there and the content starts below it.
class DayWindow final : public QWidget {
public:
    DayWindow(TodayView* content, std::function<double(QWidget&)> underTitleBar)
        : underTitleBar_(std::move(underTitleBar)),
          contentMinimum_(content->minimumSizeHint().expandedTo(content->minimumSize())) {
        setWindowTitle(localized("Plenda"));
        auto* layout = new QVBoxLayout(this);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(content);
        setMinimumSize(contentMinimum_);
        resize(760, 620);
    }

protected:
    void showEvent(QShowEvent* event) override {
        if (underTitleBar_) {
            const int inset = int(std::ceil(underTitleBar_(*this)));
            if (inset != layout()->contentsMargins().top()) {
                layout()->setContentsMargins(0, inset, 0, 0);
                setMinimumSize(contentMinimum_ + QSize(0, inset));
            }
        }
        QWidget::showEvent(event);
    }
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.fillRect(rect(), toQColor(Palette::background, appearanceOf(*this)));
    }

private:
    std::function<double(QWidget&)> underTitleBar_;
    QSize contentMinimum_;
};

}  // namespace

MacAppTracker::Dependencies trackerDependencies(PlatformServices& services, Clock& clock, Scheduler& scheduler,
                                                Defaults& defaults, std::ostream& output) {
    return MacAppTracker::Dependencies{clock,
                                       scheduler,
                                       defaults,
                                       *services.workspace,
                                       *services.scripts,
                                       *services.accessibility,
                                       *services.idleClock,
                                       output,
                                       services.systemLog.get(),
                                       linuxKeywordRows,
                                       services.workingFolders.get()};
}

PlendaMacApp::PlendaMacApp(int& argc, char** argv) : QApplication(argc, argv) {
    setApplicationName(QStringLiteral("Plenda"));
    setOrganizationName(QStringLiteral("Plenda"));
    setOrganizationDomain(QStringLiteral("plenda.app"));
    // The installed desktop entry's id, which windows announce to the desktop.
    setDesktopFileName(QStringLiteral("plenda"));
    // A menu-bar utility: closing its last window does not end it.
    setQuitOnLastWindowClosed(false);
}

PlendaMacApp::~PlendaMacApp() {
    // Windows first: they observe the store and the tracker.
    menuPanel_.reset();
    settingsWindow_.reset();
    dayWindow_.reset();
    notch_.reset();
    trayIconWatch_.reset();
}

PanelCommands PlendaMacApp::panelCommands() {
    PanelCommands commands;
    commands.openDayWindow = [this] { openDayWindow(); };
    commands.openSettings = [this] { openSettingsWindow(); };
    commands.quit = [this] { requestTermination(); };
    commands.grantBrowserAutomation = [this] {
        services_.activateIgnoringOtherApps();
        tracker_->browserTabs().requestBrowserAutomation();
    };
    commands.grantAccessibility = [this] {
        services_.activateIgnoringOtherApps();
        services_.accessibility->requestTrust();
    };
    commands.browserAutomationDenied = [this] { return tracker_->browserTabs().browserAutomationDenied(); };
    commands.accessibilityTrusted = [this] { return services_.accessibility->isTrusted(); };
    return commands;
}

int PlendaMacApp::run() {
    installTranslations(*this);
    scheduler_ = std::make_unique<QtScheduler>();
    clock_ = std::make_unique<SystemClock>();
    calendar_ = std::make_unique<IcuCalendar>();
    defaults_ = QtDefaults::forUser();
    files_ = std::make_unique<QtFiles>();
    if (const auto support = files_->applicationSupportDirectory()) {
        const std::string folder = *support + "/Plenda";
        files_->createDirectories(folder);
        instance_ = std::make_unique<SingleInstance>(QString::fromStdString(folder));
        if (!instance_->claim()) {
            std::cout << (instance_->askRunningInstanceToShow()
                              ? "Plenda is already running; brought its day window forward\n"
                              : "Plenda is already running\n");
            return 0;
        }
    }
    strings_ = std::make_unique<QtStringTable>();
    icons_ = makeSystemIconProvider();
    services_ = makePlatformServices();
    if (!services_.canTrack) std::cerr << "plenda: no display connection; the desktop cannot be followed\n";

    // Without a cloud (Linux with no stand-in file named) sync is off, said
    // once here, rather than failing every two minutes.
    const bool syncOff = cloudSyncDisabledBy(std::getenv("PLENDA_DISABLE_CLOUD_SYNC")) || !services_.cloudDatabase;
    if (!services_.cloudDatabase) {
        std::cout << "Plenda: no cloud is configured (PLENDA_CLOUD_STORE names none); blocks stay on this computer"
                  << std::endl;
    }
    store_ = std::make_shared<MacActivityStore>(MacActivityStore::Dependencies{
        *clock_, *scheduler_, *calendar_, *defaults_, *files_, *strings_,
        syncOff, &Uuid::random, std::cout,
        MacCloudSync::factory({*defaults_, *scheduler_, services_.cloudDatabase.get(), services_.systemLog.get(),
                               services_.changeTokenArchive.get(), std::cout, files_.get()}),
        categoryOverrideWriter(*defaults_)});
    tracker_ = std::make_shared<MacAppTracker>(trackerDependencies(services_, *clock_, *scheduler_, *defaults_, std::cout));

    showsMenuBarIcon_ = !findNotch(services_.screens->screens()).has_value();
    keeper_ = std::make_unique<TodayWindowKeeper>(*defaults_, services_.activateIgnoringOtherApps);
    {
        PanelCommands commands = panelCommands();
        // The card's open command goes through the keeper, which remembers it.
        commands.openDayWindow = [this] { keeper_->show(); };
        notch_ = std::make_unique<NotchPanelController>(*services_.screens, *clock_, commands, services_.configureNotchPanel);
    }
    makeDayWindow();
    if (instance_) instance_->onShowRequested([this] { openDayWindow(); });
    if (showsMenuBarIcon_) makeMenuBarItem();

    // The app menu's Settings… and Quit (Cmd-, and Cmd-Q on macOS).
    // Without a parent it is the Mac's global menu bar; the app owns it.
    menuBar_ = std::make_unique<QMenuBar>();
    auto* appMenu = menuBar_->addMenu(QStringLiteral("Plenda"));
    auto* settings = appMenu->addAction(localized("mac.settings"), this, [this] { openSettingsWindow(); });
    settings->setMenuRole(QAction::PreferencesRole);
    settings->setShortcut(QKeySequence::Preferences);
    // Linux desktops have no standard one; Ctrl+, is what their apps use.
    if (settings->shortcut().isEmpty()) settings->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Comma));
    auto* quit = appMenu->addAction(localized("mac.quit"), this, [this] { requestTermination(); });
    quit->setMenuRole(QAction::QuitRole);
    quit->setShortcut(QKeySequence::Quit);
    if (QSysInfo::productType() != QLatin1String("macos")) {
        dayWindow_->addAction(settings);
        dayWindow_->addAction(quit);
    }

    delegate_ = std::make_unique<MacAppDelegate>(MacAppDelegate::Dependencies{
        *scheduler_, *clock_, *defaults_, *services_.workspace, *services_.accessibility, store_, tracker_,
        [this] { notch_->show(*store_, *tracker_); },
        [this] { keeper_->applyStoredVisibility(!showsMenuBarIcon_ || QSystemTrayIcon::isSystemTrayAvailable()); },
        [this] {
            quitting_ = true;
            QCoreApplication::exit(0);
        }});
    quitSignals_ = std::make_unique<QuitSignals>([this] { requestTermination(); });
    connect(this, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
        if (state == Qt::ApplicationActive) delegate_->applicationDidBecomeActive();
    });
    // The X session manager's "die" arrives as Qt's quit event (handled in event()).
    connect(this, &QGuiApplication::commitDataRequest, this, [](QSessionManager& manager) {
        manager.setRestartHint(QSessionManager::RestartNever);
    });

    placeWhollyOnPointerScreen(*dayWindow_);
    dayWindow_->show();
    QTimer::singleShot(0, this, [this] { delegate_->applicationDidFinishLaunching(); });
    const int status = exec();
    // What the uploads waited for at quit changed last.
    if (store_->sync()) store_->sync()->writeBookkeeping();
    defaults_->synchronize();
    // Everything is saved by now. A cloud request that never returns (a
    // stand-in locked by another process) must not hold the quit past its
    // bound: the worker gets what is left of it, at most a quarter second,
    // and is left behind when still busy.
    const qint64 left = quitDeadline_.isForever() ? 250 : std::clamp<qint64>(quitDeadline_.remainingTime(), 0, 250);
    if (!scheduler_->stopWorker(int(left))) {
        std::cout << std::flush;
        std::_Exit(status);
    }
    return status;
}

void PlendaMacApp::makeDayWindow() {
    TodayView::Actions actions;
    actions.syncNow = [this] {
        QTimer::singleShot(0, this, [this] { store_->syncNow(); });
    };
    actions.openSettings = [this] { openSettingsWindow(); };
    actions.chooseCategoryForApplication = [this](std::string_view application, MacBlockCategory category) {
        setApplicationCategoryOverride(*defaults_, application, category);
    };
    todayView_ = new TodayView(*store_, *clock_, *calendar_, *icons_, actions);
    dayWindow_ = std::make_unique<DayWindow>(todayView_, services_.configureDayWindow);
    dayWindow_->setObjectName(QStringLiteral("today"));
}

void PlendaMacApp::makeMenuBarItem() {
    if (!QSystemTrayIcon::isSystemTrayAvailable()) {
        std::cerr << "plenda: no system tray; the day window opens at every start\n";
    }
    trayIcon_ = new QSystemTrayIcon(this);
    updateTrayIcon();
    trayIconWatch_ = tracker_->observe([this] { updateTrayIcon(); });
    connect(trayIcon_, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::Context) showMenuBarPanel();
    });
    trayIcon_->show();
}

void PlendaMacApp::updateTrayIcon() {
    const bool paused = !tracker_->isTracking();
    if (!trayIcon_->icon().isNull() && paused == trayShowsPaused_) return;
    trayShowsPaused_ = paused;
    if (QSysInfo::productType() == QLatin1String("macos")) {
        QIcon icon(icons_->symbol("square.grid.2x2.fill", 16, QFont::Normal, Qt::black, devicePixelRatio()));
        icon.setIsMask(true);  // a template image: the menu bar tints it
        trayIcon_->setIcon(icon);
        trayIcon_->setToolTip(localized("Plenda"));
        return;
    }
    // Trays elsewhere neither tint nor read masks: the grid in its colours,
    // greyed while tracking is paused, and the tooltip says so.
    QPixmap pixmap(QSize(22, 22) * devicePixelRatio());
    pixmap.setDevicePixelRatio(devicePixelRatio());
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const QColor colours[] = {QColor(0x2e, 0x73, 0xfa), QColor(0xff, 0x9e, 0x1f), QColor(0x1a, 0xc2, 0x9c),
                              QColor(0x8a, 0x66, 0xe6)};
    for (int i = 0; i < 4; ++i) {
        painter.setBrush(paused ? QColor(150, 150, 150, 200) : colours[i]);
        painter.drawRoundedRect(QRectF(2.5 + (i % 2) * 9, 2.5 + (i / 2) * 9, 8, 8), 2, 2);
    }
    painter.end();
    trayIcon_->setIcon(QIcon(pixmap));
    trayIcon_->setToolTip(paused ? localized("Plenda") + QStringLiteral(" \u2014 ") + localized("mac.paused")
                                 : localized("Plenda"));
}

void PlendaMacApp::showMenuBarPanel() {
    if (!menuPanel_) {
        menuPanel_ = std::make_unique<QWidget>(nullptr, Qt::Popup | Qt::FramelessWindowHint);
        auto* layout = new QVBoxLayout(menuPanel_.get());
        layout->setContentsMargins(0, 0, 0, 0);
        menuContent_ = new MenuBarContent(*store_, *tracker_, *clock_, *icons_, panelCommands());
        layout->addWidget(menuContent_);
    }
    menuContent_->reload();
    menuPanel_->adjustSize();
    // Under the item, kept on its screen.
    const QRect item = trayIcon_->geometry();
    QPoint at = item.isValid() ? QPoint(item.center().x() - menuPanel_->width() / 2, item.bottom() + 4)
                               : QCursor::pos();
    if (const QScreen* screen = screenAt(at)) {
        const QRect room = screen->availableGeometry();
        at.setX(std::clamp(at.x(), room.left() + 4, room.right() - menuPanel_->width() - 4));
        at.setY(std::clamp(at.y(), room.top(), room.bottom() - menuPanel_->height()));
    }
    menuPanel_->move(at);
    menuPanel_->show();
    menuPanel_->activateWindow();
}

void PlendaMacApp::openDayWindow() {
    if (menuPanel_) menuPanel_->hide();
    services_.activateIgnoringOtherApps();
    placeWhollyOnPointerScreen(*dayWindow_);
    dayWindow_->show();
    // In a later turn, bring the one day window forward; the notch panel shares its title but not its level.
    QTimer::singleShot(0, this, [] {
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (window->windowTitle() != QLatin1String("Plenda") || TodayWindowKeeper::isRaisedLevel(*window)) continue;
            window->raise();
            window->activateWindow();
            return;
        }
    });
}

void PlendaMacApp::openSettingsWindow() {
    if (menuPanel_) menuPanel_->hide();
    services_.activateIgnoringOtherApps();
    // Made afresh at each opening, so it shows the login item and the ignored
    // list as they are now, not as they were the first time.
    if (!settingsWindow_ || !settingsWindow_->isVisible()) {
        settingsWindow_ = std::make_unique<MacSettingsView>(MacSettingsView::Dependencies{
            *defaults_, *tracker_, *services_.loginItem, *services_.accessibility, *icons_, std::cout});
        settingsWindow_->setWindowTitle(localized("mac.settings"));
        placeWhollyOnPointerScreen(*settingsWindow_);
    }
    settingsWindow_->show();
    settingsWindow_->raise();
    settingsWindow_->activateWindow();
}

void PlendaMacApp::requestTermination() {
    if (quitting_ || !delegate_) {
        QCoreApplication::exit(0);
        return;
    }
    if (quitDeadline_.isForever())
        quitDeadline_.setRemainingTime(std::chrono::milliseconds(std::llround(MacAppDelegate::terminateLimit * 1000)));
    if (delegate_->applicationShouldTerminate() == MacAppDelegate::TerminateReply::now) {
        quitting_ = true;
        QCoreApplication::exit(0);
    }
    // Otherwise the delegate ends the application once the upload or the time limit is done.
}

bool PlendaMacApp::event(QEvent* event) {
    // Qt turns the Dock's and the app menu's Quit, logout and the session
    // manager's "die" into this event; ignoring it defers the platform's
    // termination until requestTermination lets it go.
    if (event->type() == QEvent::Quit && !quitting_) {
        requestTermination();
        if (!quitting_) {
            event->ignore();
            return true;
        }
        return true;
    }
    return QApplication::event(event);
}

}  // namespace plenda
