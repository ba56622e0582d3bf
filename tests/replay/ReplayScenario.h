#pragma once

#include <istream>
#include <stdexcept>
#include <string>

namespace plenda {

// A line of a scenario that cannot be run, with the reason.
struct ScenarioError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Replays the scenario and returns the blocks and outcome keys as text.
// Throws ScenarioError naming `name` and the line.
std::string runScenario(std::istream& input, const std::string& name);

}  // namespace plenda
