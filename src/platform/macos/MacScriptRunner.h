#pragma once

#include "platform/ScriptRunner.h"

namespace plenda {

// NSAppleScript, run synchronously on the calling (main) thread. Needs the
// automation entitlement and no sandbox.
class MacScriptRunner final : public ScriptRunner {
public:
    ScriptResult run(std::string_view source) override;
};

}  // namespace plenda
