#include "app/PlatformServices.h"

#include "platform/linux/DesktopEntries.h"
#include "platform/linux/ProcWorkingFolders.h"
#include "platform/linux/UnsupportedScriptRunner.h"
#include "platform/linux/X11Accessibility.h"
#include "platform/linux/X11Connection.h"
#include "platform/linux/X11Workspace.h"
#include "platform/linux/XScreenSaverIdleClock.h"
#include "platform/linux/XdgAutostartLoginItem.h"
#include "platform/qt/QtScreens.h"
#include "platform/standin/SqliteCloudDatabase.h"

#include <QApplication>
#include <QDir>
#include <QWidget>

namespace plenda {

PlatformServices makePlatformServices() {
    PlatformServices services;
    auto x11 = std::make_shared<X11Connection>();
    services.canTrack = x11->isOpen();
    services.workspace = std::make_unique<X11Workspace>(*x11, DesktopEntries::forUser(), "plenda");
    services.accessibility = std::make_unique<X11Accessibility>(*x11);
    services.idleClock = std::make_unique<XScreenSaverIdleClock>(*x11);
    services.connection = x11;
    services.scripts = std::make_unique<UnsupportedScriptRunner>();
    services.loginItem = std::make_unique<XdgAutostartLoginItem>(XdgAutostartLoginItem::forCurrentUser());
    services.cloudDatabase = cloudStandInFromEnvironment();
    services.screens = std::make_unique<QtScreens>();  // reads PLENDA_FAKE_NOTCH
    services.workingFolders = std::make_unique<ProcWorkingFolders>(QDir::homePath().toStdString());
    services.activateIgnoringOtherApps = [] {
        if (QWidget* window = QApplication::activeWindow()) window->raise();
    };
    return services;
}

}  // namespace plenda
