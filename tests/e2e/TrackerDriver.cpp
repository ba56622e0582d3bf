// Runs the real tracker and store with the Linux adapters, as the application
// will, until SIGTERM or SIGINT; then ends the session, saves and reports.
//
//   plenda-tracker-driver             track the desktop in $DISPLAY
//   plenda-tracker-driver --blocks F  print the blocks of a block file, one a line:
//                                     title|start|end|weight-in-seconds (Unix seconds)
#include "model/MacActivityStore.h"
#include "model/MacDayBlockJson.h"
#include "platform/IcuCalendar.h"
#include "platform/linux/DesktopEntries.h"
#include "platform/linux/UnsupportedScriptRunner.h"
#include "platform/linux/X11Accessibility.h"
#include "platform/linux/X11Connection.h"
#include "platform/linux/X11Workspace.h"
#include "platform/linux/XScreenSaverIdleClock.h"
#include "platform/qt/QtDefaults.h"
#include "platform/qt/QtFiles.h"
#include "platform/qt/QtScheduler.h"
#include "platform/qt/QtStringTable.h"
#include "platform/qt/SystemClock.h"
#include "tracking/BrowserTabs.h"
#include "tracking/MacAppTracker.h"
#include "tracking/WindowTitles.h"
#include "sync/MacCloudSync.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>
#include <unistd.h>

using namespace plenda;

namespace {

int signalPipe[2];

void onSignal(int) {
    const char byte = 1;
    [[maybe_unused]] auto written = write(signalPipe[1], &byte, 1);
}

int printBlocks(const char* path) {
    std::ifstream file(path);
    std::stringstream bytes;
    bytes << file.rdbuf();
    std::string error;
    const auto blocks = decodeBlocks(bytes.str(), &error);
    if (!blocks) {
        std::cerr << "cannot read " << path << ": " << error << "\n";
        return 1;
    }
    std::cout.precision(15);
    for (const MacDayBlock& block : *blocks) {
        std::cout << block.title << "|" << block.effectiveStart().unixSeconds() << "|"
                  << block.effectiveEnd().unixSeconds() << "|" << block.weight * 60 << "\n";
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::string_view(argv[1]) == "--blocks") return printBlocks(argv[2]);
    setvbuf(stdout, nullptr, _IONBF, 0);
    QCoreApplication app(argc, argv);

    X11Connection x11;
    if (!x11.isOpen()) {
        std::cerr << "plenda-tracker-driver: no X display\n";
        return 1;
    }
    QtScheduler scheduler;
    SystemClock clock;
    IcuCalendar calendar;
    auto defaults = QtDefaults::forUser();
    QtFiles files;
    QtStringTable strings;
    X11Workspace workspace(x11, DesktopEntries::forUser(), "plenda");
    X11Accessibility accessibility(x11);
    XScreenSaverIdleClock idleClock(x11);
    UnsupportedScriptRunner scripts;

    auto store = std::make_shared<MacActivityStore>(MacActivityStore::Dependencies{
        clock, scheduler, calendar, *defaults, files, strings,
        cloudSyncDisabledBy(std::getenv("PLENDA_DISABLE_CLOUD_SYNC")), &Uuid::random, std::cout,
        MacCloudSync::factory({*defaults, scheduler})});
    MacAppTracker tracker(
        MacAppTracker::Dependencies{clock, scheduler, *defaults, workspace, scripts, accessibility, idleClock});
    const Subscription watch = tracker.observe([&] {
        std::cout << isoUtcText(clock.now()) << " tracking: " << tracker.currentAppName().value_or("(nothing)")
                  << (tracker.isIdle() ? " (idle)" : "") << "\n";
    });
    tracker.start(store);

    if (pipe(signalPipe) != 0) return 1;
    std::signal(SIGTERM, onSignal);
    std::signal(SIGINT, onSignal);
    QSocketNotifier quitNotifier(signalPipe[0], QSocketNotifier::Read);
    QObject::connect(&quitNotifier, &QSocketNotifier::activated, &app, [&] {
        tracker.commitSession(clock.now());
        tracker.clearCurrentAppName();
        store->saveNow();
        defaults->synchronize();
        QCoreApplication::quit();
    });
    const int status = QCoreApplication::exec();
    std::cout << BrowserTabs::outcomeKey << ": " << defaults->string(BrowserTabs::outcomeKey).value_or("(absent)") << "\n"
              << WindowTitles::outcomeKey << ": " << defaults->string(WindowTitles::outcomeKey).value_or("(absent)")
              << "\n"
              << "blocks file: " << store->blocksFilePath() << "\n";
    return status;
}
