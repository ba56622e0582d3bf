#include "app/PlatformServices.h"

#include "platform/macos/MacAppKit.h"
#include "platform/macos/CloudKitDatabase.h"
#include "platform/macos/MacAccessibility.h"
#include "platform/macos/MacIdleClock.h"
#include "platform/macos/MacLoginItem.h"
#include "platform/macos/MacScreens.h"
#include "platform/macos/MacScriptRunner.h"
#include "platform/macos/MacWorkspace.h"
#include "sync/CloudSyncEngine.h"

#include <QWidget>

namespace plenda {

PlatformServices makePlatformServices() {
    PlatformServices services;
    services.workspace = std::make_unique<MacWorkspace>();
    services.accessibility = std::make_unique<MacAccessibility>();
    services.idleClock = std::make_unique<MacIdleClock>();
    services.scripts = std::make_unique<MacScriptRunner>();
    services.loginItem = std::make_unique<MacLoginItem>();
    services.cloudDatabase = std::make_unique<CloudKitDatabase>(cloudContainerIdentifier);
    services.systemLog = std::make_unique<OsSystemLog>();
    services.changeTokenArchive = std::make_unique<CloudKitChangeTokenArchive>();
    services.screens = std::make_unique<MacScreens>();
    services.activateIgnoringOtherApps = [] { macActivateIgnoringOtherApps(); };
    services.configureNotchPanel = [](QWidget& panel) {
        macConfigureNotchPanel(reinterpret_cast<void*>(panel.winId()));
    };
    services.configureDayWindow = [](QWidget& window) {
        return macConfigureDayWindow(reinterpret_cast<void*>(window.winId()));
    };
    return services;
}

}  // namespace plenda
