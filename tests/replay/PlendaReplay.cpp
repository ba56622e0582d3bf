// plenda-replay: drives the real tracker and store through a JSON Lines
// timeline on virtual time and prints the blocks and outcome keys.
//
//   plenda-replay SCENARIO.jsonl
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
//   settings  {"key", "value"}  (null removes the key)
//   pause / resume / probe / quit
#include "ReplayScenario.h"

#include <fstream>
#include <iostream>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: plenda-replay SCENARIO.jsonl\n";
        return 2;
    }
    std::ifstream input(argv[1]);
    if (!input) {
        std::cerr << "plenda-replay: cannot read " << argv[1] << "\n";
        return 2;
    }
    try {
        std::cout << plenda::runScenario(input, argv[1]);
    } catch (const plenda::ScenarioError& error) {
        std::cerr << "plenda-replay: " << error.what() << "\n";
        return 2;
    }
    return 0;
}
