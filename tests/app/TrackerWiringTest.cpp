#include "app/PlendaMacApp.h"

#include "fakes/CapturedSystemLog.h"
#include "fakes/MemoryDefaults.h"
#include "fakes/ScriptedAccessibility.h"
#include "fakes/ScriptedIdleClock.h"
#include "fakes/ScriptedScriptRunner.h"
#include "fakes/ScriptedWorkspace.h"
#include "fakes/VirtualScheduler.h"
#include "tracking/BrowserTabs.h"

#include <gtest/gtest.h>

#include <sstream>

namespace plenda {
namespace {

// The application's tracker on scripted services: its diagnostic lines reach
// the platform's system log as well as the output.
TEST(TrackerWiring, DiagnosticLinesReachTheSystemLog) {
    VirtualScheduler scheduler;
    MemoryDefaults defaults;
    std::ostringstream output;
    PlatformServices services;
    auto* scripts = new ScriptedScriptRunner;
    auto* systemLog = new CapturedSystemLog;
    services.workspace = std::make_unique<ScriptedWorkspace>();
    services.accessibility = std::make_unique<ScriptedAccessibility>();
    services.idleClock = std::make_unique<ScriptedIdleClock>(scheduler);
    services.scripts.reset(scripts);
    services.systemLog.reset(systemLog);

    MacAppTracker tracker(trackerDependencies(services, scheduler, scheduler, defaults, output));
    scripts->answers[browserScripts().at("com.google.Chrome")] =
        ScriptedScriptRunner::error(ScriptRunner::notPermittedError);
    tracker.browserTabs().browserHost("com.google.Chrome");

    const std::string line = "Automation denied for com.google.Chrome; using app name only";
    EXPECT_EQ(systemLog->texts(), std::vector<std::string>{line});
    EXPECT_NE(output.str().find(line), std::string::npos);
}

}  // namespace
}  // namespace plenda
