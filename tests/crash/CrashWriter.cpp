// Saves a growing store until it is killed, in one of two ways:
// - `plenda-crash-writer FOLDER` calls saveNow in a loop and prints "saved N"
//   (N blocks in that save) after every save that completed;
// - `plenda-crash-writer FOLDER background` records sessions in bursts on the
//   real event loop and lets the debounced saves write on the writer thread.
//   It prints "recorded ID T P" for every new block (recorded by T, the
//   next one P seconds later or more), "began S" as every write begins and
//   "wrote S E" for every write that completed (T, S, E on the steady
//   clock, in seconds), so a test that kills it can tell what the file must
//   hold.
#include "fakes/ForwardingFiles.h"
#include "fakes/KeyStringTable.h"
#include "fakes/MemoryDefaults.h"
#include "fakes/VirtualScheduler.h"
#include "model/MacActivityStore.h"
#include "platform/IcuCalendar.h"
#include "platform/qt/QtFiles.h"
#include "platform/qt/QtScheduler.h"
#include "platform/qt/SystemClock.h"

#include <QCoreApplication>
#include <QTimer>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <mutex>
#include <random>
#include <sstream>
#include <string>
#include <unistd.h>

namespace plenda {
namespace {

double steadySeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

std::mutex printing;

// Reports every write as it begins, and again with when it began and ended
// once it has completed.
class TimedFiles final : public ForwardingFiles {
public:
    using ForwardingFiles::ForwardingFiles;
    std::optional<std::string> writeAtomically(const std::string& path,
                                               const std::function<bool(FileWriter&)>& produce) override {
        const double start = steadySeconds();
        {
            std::lock_guard lock(printing);
            std::printf("began %.6f\n", start);
            std::fflush(stdout);
        }
        auto failure = ForwardingFiles::writeAtomically(path, produce);
        if (!failure) {
            std::lock_guard lock(printing);
            std::printf("wrote %.6f %.6f\n", start, steadySeconds());
            std::fflush(stdout);
        }
        return failure;
    }
};

int saveInBackground(int argc, char** argv, Files& plain) {
    QCoreApplication app(argc, argv);
    QtScheduler scheduler;
    SystemClock clock;
    IcuCalendar calendar("UTC");
    MemoryDefaults defaults;
    defaults.setBool("didSplitMidnightSpanningBlocks", true);
    KeyStringTable strings;
    TimedFiles files(plain);
    // The id of the newest block, without copying out every block for it.
    Uuid newest;
    const auto makeUuid = [&newest] { return newest = Uuid::random(); };
    // What the store says goes into the report, which a failing test shows.
    MacActivityStore store({clock, scheduler, calendar, defaults, files, strings, true, makeUuid, std::cout});

    // Bursts of one to three sessions, then a pause that may or may not let
    // the debounced save fire before the next burst.
    std::mt19937 random(static_cast<unsigned>(getpid()));
    std::uniform_int_distribution<int> burst(1, 3), pause(300, 1500);
    int left = 0;
    std::function<void()> next = [&] {
        if (left == 0) left = burst(random);
        const Date now = clock.now();
        store.recordSession("Session " + std::to_string(store.blockCount()), MacBlockCategory::work, now - 1, now,
                            "Logged automatically on Mac");
        const int milliseconds = --left > 0 ? 20 : pause(random);
        {
            std::lock_guard lock(printing);
            std::printf("recorded %s %.6f %.3f\n", newest.string().c_str(), steadySeconds(), milliseconds / 1000.0);
            std::fflush(stdout);
        }
        QTimer::singleShot(milliseconds, next);
    };
    QTimer::singleShot(0, next);
    return app.exec();
}

}  // namespace
}  // namespace plenda

int main(int argc, char** argv) {
    using namespace plenda;
    if (argc < 2) return 2;  // the application support folder
    QtFiles files(argv[1]);
    if (argc == 3 && std::strcmp(argv[2], "background") == 0) return saveInBackground(argc, argv, files);

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
