#pragma once

#include "platform/Accessibility.h"
#include "platform/ChangeTokenArchive.h"
#include "platform/CloudDatabase.h"
#include "platform/IdleClock.h"
#include "platform/LoginItem.h"
#include "platform/Screens.h"
#include "platform/ScriptRunner.h"
#include "platform/SystemLog.h"
#include "platform/WorkingFolders.h"
#include "platform/Workspace.h"

#include <functional>
#include <memory>

class QWidget;

namespace plenda {

// The operating system's services for the running application, made once.
struct PlatformServices {
    std::shared_ptr<void> connection;  // keeps the display connection alive
    std::unique_ptr<Workspace> workspace;
    std::unique_ptr<Accessibility> accessibility;
    std::unique_ptr<IdleClock> idleClock;
    std::unique_ptr<ScriptRunner> scripts;
    std::unique_ptr<LoginItem> loginItem;
    std::unique_ptr<CloudDatabase> cloudDatabase;  // null: no cloud configured
    std::unique_ptr<SystemLog> systemLog;
    std::unique_ptr<ChangeTokenArchive> changeTokenArchive;
    // The screens and their camera housings: the system's on macOS, Qt's elsewhere.
    std::unique_ptr<Screens> screens;
    // Where terminals' programs work; null where titles tell (macOS).
    std::unique_ptr<WorkingFolders> workingFolders;
    // Brings the application to the front, ignoring other applications.
    std::function<void()> activateIgnoringOtherApps;
    // Gives the notch panel's window the properties of a non-activating panel.
    std::function<void(QWidget&)> configureNotchPanel;
    // Lets the day window's content reach under a transparent title bar;
    // returns the height the title bar covers at the top. Unset: nothing to do.
    std::function<double(QWidget&)> configureDayWindow;
    // False when the desktop cannot be followed (no display connection).
    bool canTrack = true;
};

PlatformServices makePlatformServices();

}  // namespace plenda
