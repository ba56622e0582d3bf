#pragma once

#include "platform/ScriptRunner.h"

#include <map>
#include <string>
#include <vector>

namespace plenda {

// Answers each script source with what the test set for it; a source without
// an answer is unavailable. Keeps every source it was asked to run.
class ScriptedScriptRunner final : public ScriptRunner {
public:
    std::map<std::string, ScriptResult, std::less<>> answers;
    std::vector<std::string> ran;

    ScriptResult run(std::string_view source) override {
        ran.emplace_back(source);
        const auto found = answers.find(source);
        return found == answers.end() ? ScriptResult{} : found->second;
    }
    static ScriptResult text(std::optional<std::string> value) {
        return {ScriptResult::Status::succeeded, std::move(value), 0};
    }
    static ScriptResult error(long number) { return {ScriptResult::Status::failed, std::nullopt, number}; }
};

}  // namespace plenda
