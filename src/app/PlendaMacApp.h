#pragma once

#include "app/PlatformServices.h"
#include "tracking/MacAppTracker.h"
#include "ui/PanelCommands.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QPointer>

#include <memory>

class QSystemTrayIcon;

class QMenuBar;

namespace plenda {

class IconProvider;
class IcuCalendar;
class MacActivityStore;
class MacAppDelegate;
class MenuBarContent;
class NotchPanelController;
class QtDefaults;
class QtFiles;
class QtScheduler;
class QtStringTable;
class QuitSignals;
class SingleInstance;
class SystemClock;
class TodayView;
class TodayWindowKeeper;

// The tracker's dependencies in the running application: the platform's
// services, and the system log that also receives its diagnostic lines.
MacAppTracker::Dependencies trackerDependencies(PlatformServices& services, Clock& clock, Scheduler& scheduler,
                                                Defaults& defaults, std::ostream& output);

// The application: the shared store and tracker, the day window, the
// menu-bar item (only without a notch) or the notch panel, the settings
// window and the delegate that runs the lifecycle. Every way of quitting
// (the panel's command, the app menu or Dock, the session ending, SIGTERM)
// goes through requestTermination and its bounded wait for uploads.
class PlendaMacApp final : public QApplication {
public:
    PlendaMacApp(int& argc, char** argv);
    ~PlendaMacApp() override;

    // Sets everything up, runs the event loop, returns the exit status.
    int run();
    void requestTermination();
    void openDayWindow();
    void openSettingsWindow();

protected:
    bool event(QEvent* event) override;

private:
    void makeDayWindow();
    void makeMenuBarItem();
    // The tray item shows whether tracking is paused.
    void updateTrayIcon();
    void showMenuBarPanel();
    PanelCommands panelCommands();

    std::unique_ptr<QtScheduler> scheduler_;

    std::unique_ptr<QMenuBar> menuBar_;
    std::unique_ptr<SystemClock> clock_;
    std::unique_ptr<IcuCalendar> calendar_;
    std::unique_ptr<QtDefaults> defaults_;
    std::unique_ptr<QtFiles> files_;
    std::unique_ptr<SingleInstance> instance_;
    std::unique_ptr<QtStringTable> strings_;
    std::unique_ptr<IconProvider> icons_;
    PlatformServices services_;
    std::shared_ptr<MacActivityStore> store_;
    std::shared_ptr<MacAppTracker> tracker_;
    std::unique_ptr<TodayWindowKeeper> keeper_;
    std::unique_ptr<NotchPanelController> notch_;
    std::unique_ptr<MacAppDelegate> delegate_;
    std::unique_ptr<QuitSignals> quitSignals_;
    std::unique_ptr<QWidget> dayWindow_;
    TodayView* todayView_ = nullptr;
    std::unique_ptr<QWidget> settingsWindow_;
    std::unique_ptr<QWidget> menuPanel_;
    MenuBarContent* menuContent_ = nullptr;
    QSystemTrayIcon* trayIcon_ = nullptr;
    bool trayShowsPaused_ = false;
    Subscription trayIconWatch_;
    bool showsMenuBarIcon_ = false;
    bool quitting_ = false;
    // The end of the bounded wait at quitting, from the first request.
    QDeadlineTimer quitDeadline_{QDeadlineTimer::Forever};
};

}  // namespace plenda
