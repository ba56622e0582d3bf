#pragma once

#include "platform/ScriptRunner.h"

namespace plenda {

// Browsers on Linux take no automation scripts: every run is unavailable, so
// sessions keep the browser's name.
class UnsupportedScriptRunner final : public ScriptRunner {
public:
    ScriptResult run(std::string_view) override { return {ScriptResult::Status::unavailable, std::nullopt, 0}; }
};

}  // namespace plenda
