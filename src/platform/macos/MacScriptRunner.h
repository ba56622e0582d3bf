#pragma once

#include "platform/ScriptRunner.h"

#include <memory>

namespace plenda {

// AppleScript through the Open Scripting Architecture, run synchronously on
// the calling (main) thread. Every Apple event the script sends waits at most
// about a second for its answer, so a hung application cannot stall the caller;
// only an event that waits on the system's consent prompt keeps the system's
// own timeout. Needs the automation entitlement and no sandbox.
class MacScriptRunner final : public ScriptRunner {
public:
    MacScriptRunner();
    ~MacScriptRunner() override;
    MacScriptRunner(const MacScriptRunner&) = delete;
    MacScriptRunner& operator=(const MacScriptRunner&) = delete;

    ScriptResult run(std::string_view source) override;

private:
    struct Native;
    std::unique_ptr<Native> native_;
};

}  // namespace plenda
