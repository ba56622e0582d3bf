#pragma once

#include "fakes/ScriptedAccessibility.h"
#include "fakes/ScriptedIdleClock.h"
#include "fakes/ScriptedScriptRunner.h"
#include "fakes/ScriptedWorkspace.h"
#include "fakes/StoreFixture.h"
#include "platform/WorkingFolders.h"
#include "tracking/MacAppTracker.h"

namespace plenda {

// Working folders by terminal process, and the titles they were asked with.
struct ScriptedWorkingFolders final : WorkingFolders {
    std::map<int, std::string> folders;
    std::vector<std::string> titles;
    std::optional<std::string> projectFolder(int pid, std::string_view title) override {
        titles.emplace_back(title);
        const auto found = folders.find(pid);
        return found == folders.end() ? std::nullopt : std::optional(found->second);
    }
};

// A tracker and a shared store on virtual time, with scripted platform doubles.
class TrackerFixture : public StoreFixture {
protected:
    ScriptedWorkspace workspace;
    ScriptedScriptRunner scripts;
    ScriptedAccessibility accessibility;
    ScriptedIdleClock idleClock{scheduler};
    ScriptedWorkingFolders folders;
    std::shared_ptr<MacActivityStore> sharedStore;
    std::unique_ptr<MacAppTracker> tracker;

    void SetUp() override {
        scheduler.advanceTo(at(2024, 3, 5, 9, 0));
        idleClock.touch();
    }

    MacAppTracker& makeTracker() {
        makeStore();
        sharedStore = std::move(store);
        tracker = std::make_unique<MacAppTracker>(MacAppTracker::Dependencies{
            scheduler, scheduler, defaults, workspace, scripts, accessibility, idleClock, output, nullptr,
            linuxKeywordRows, &folders});
        return *tracker;
    }
    MacAppTracker& startTracker() {
        makeTracker().start(sharedStore);
        return *tracker;
    }
    // The user brings `app` to the front; the tracker handles it in the next turn.
    void activate(const RunningApplication& app) {
        workspace.activate(app);
        scheduler.runUntilIdle();
    }
    // Virtual time passes while the user keeps working.
    void work(double seconds) {
        const Date end = scheduler.now() + seconds;
        while (scheduler.now() < end) {
            idleClock.touch();
            scheduler.advance(std::min(1.0, end - scheduler.now()));
        }
        idleClock.touch();
    }
    std::vector<MacDayBlock> blocks() const { return sharedStore->blocks(); }
};

}  // namespace plenda
