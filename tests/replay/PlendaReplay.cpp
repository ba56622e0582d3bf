// plenda-replay: drives the real tracker and store through a JSON Lines
// timeline on virtual time and prints the blocks and outcome keys.
//
//   plenda-replay SCENARIO.jsonl [--expect EXPECTED.txt]
//
// Every line is one object with "at" (seconds from the start, at most two days, never going
// back) and "event":
//   setup     {"zone": IANA id, "startUnix": seconds}      first line only
//   start                                                 the tracker starts
//   activate  {"bundleId", "name", "pid", "input": true}  an app comes to the front
//   away      the user stops touching the machine now
//   back      the user works again (input all the time)
//   idle      {"seconds"}   the last input lies that long before now
//   sleep / wake
//   browser   {"bundleId", and one of "url" (text or null), "error" (number), "unavailable": true}
//   window    {"pid", and one of "title", "windowError", "titleError", "notAnElement": true}
//   trust     {"trusted"}
//   running   {"apps": [{"bundleId", "name", "pid"}]}
//   settings  {"key", "value"}  (null removes the key)
//   pause / resume / probe / requestAccessibility / quit
#include "ReplayScenario.h"

#include <fstream>
#include <iostream>
#include <sstream>
#include <string_view>

int main(int argc, char** argv) {
    if (argc != 2 && !(argc == 4 && std::string_view(argv[2]) == "--expect")) {
        std::cerr << "usage: plenda-replay SCENARIO.jsonl [--expect EXPECTED.txt]\n";
        return 2;
    }
    std::ifstream input(argv[1]);
    if (!input) {
        std::cerr << "plenda-replay: cannot read " << argv[1] << "\n";
        return 2;
    }
    std::string result;
    try {
        result = plenda::runScenario(input, argv[1]);
    } catch (const plenda::ScenarioError& error) {
        std::cerr << "plenda-replay: " << error.what() << "\n";
        return 2;
    }
    std::cout << result;
    if (argc == 2) return 0;
    std::ifstream expectedFile(argv[3]);
    std::stringstream expected;
    expected << expectedFile.rdbuf();
    if (!expectedFile || expected.str() != result) {
        std::cerr << "plenda-replay: the result differs from " << argv[3] << "; expected:\n" << expected.str();
        return 1;
    }
    return 0;
}
