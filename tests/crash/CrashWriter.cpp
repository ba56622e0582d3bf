// Saves a growing store in a loop until it is killed. After every save that
// completed it prints "saved N" (N blocks in that save), so a test that kills
// it knows what the file must at least hold.
#include "fakes/KeyStringTable.h"
#include "fakes/MemoryDefaults.h"
#include "fakes/VirtualScheduler.h"
#include "model/MacActivityStore.h"
#include "platform/IcuCalendar.h"
#include "platform/qt/QtFiles.h"

#include <cstdio>
#include <sstream>
#include <string>

int main(int argc, char** argv) {
    using namespace plenda;
    if (argc != 2) return 2;  // the application support folder
    QtFiles files(argv[1]);
    VirtualScheduler scheduler;
    IcuCalendar calendar("UTC");
    MemoryDefaults defaults;
    defaults.setBool("didSplitMidnightSpanningBlocks", true);
    KeyStringTable strings;
    std::ostringstream quiet;
    MacActivityStore store({scheduler, scheduler, calendar, defaults, files, strings, true, &Uuid::random, quiet});

    for (std::size_t next = store.blocks().size();; ++next) {
        const Date start = scheduler.now();
        scheduler.advance(600);
        store.recordSession("Session " + std::to_string(next), MacBlockCategory::work, start, scheduler.now(),
                            "Logged automatically on Mac");
        if (store.saveNow()) {
            std::printf("saved %zu\n", store.blocks().size());
            std::fflush(stdout);
        }
    }
}
