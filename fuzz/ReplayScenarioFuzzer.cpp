// Scenario files for plenda-replay, as typed by hand: every line either runs
// or is refused with a message naming the file and the line.
#include "ReplayScenario.h"

#include <cstdlib>
#include <sstream>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::istringstream input(std::string(reinterpret_cast<const char*>(data), size));
    try {
        (void)plenda::runScenario(input, "fuzz.jsonl");
    } catch (const plenda::ScenarioError& error) {
        if (std::string_view(error.what()).rfind("fuzz.jsonl: line ", 0) != 0) std::abort();
    }
    return 0;
}
