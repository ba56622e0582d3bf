// Resident memory of a store of 365,000 and 1,000,000 blocks, each measured
// in a process of its own (this program run with --memory-of FILE): the
// peak while loading the file and the steady size after sessions and a save.
#include "MemoryBench.h"

#include "SyntheticBlocks.h"

#include "fakes/KeyStringTable.h"
#include "fakes/MemoryDefaults.h"
#include "fakes/VirtualScheduler.h"
#include "model/MacActivityStore.h"
#include "model/MacDayBlockJson.h"
#include "platform/IcuCalendar.h"
#include "platform/qt/QtFiles.h"
#include "sync/MacCloudSync.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

#include <cstdio>
#include <fstream>
#include <sstream>

namespace plenda {

namespace {

const Date firstDay(694224000.0);  // 2023-01-01 UTC

// A line of /proc/self/status in megabytes ("VmRSS", "VmHWM").
double statusMegabytes(const std::string& name) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind(name + ":", 0) == 0) return std::stod(line.substr(name.size() + 1)) / 1024.0;
    }
    return 0;
}

// Measures a child of this program holding the store of `folder`.
std::pair<double, double> measureChild(const QString& folder) {
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), {"--memory-of", folder});
    child.waitForFinished(-1);
    double steady = 0, peak = 0;
    std::istringstream(child.readAllStandardOutput().toStdString()) >> steady >> peak;
    return {steady, peak};
}

void storeMemory(benchmark::State& state) {
    const auto size = static_cast<std::size_t>(state.range(0));
    QTemporaryDir folder;
    QtFiles files(folder.path().toStdString());
    files.createDirectories(folder.path().toStdString() + "/Plenda");
    const std::string path = folder.path().toStdString() + "/Plenda/blocks.json";
    files.writeFileAtomically(path, "[]");
    const auto [emptySteady, emptyPeak] = measureChild(folder.path());
    files.writeFileAtomically(path, *encodeBlocks(syntheticBlocks(size, firstDay)));
    for (auto _ : state) {
        const auto [steady, peak] = measureChild(folder.path());
        state.counters["steadyMB"] = steady;
        state.counters["loadPeakMB"] = peak;
        state.counters["emptyMB"] = emptySteady;
    }
}
BENCHMARK(storeMemory)->Arg(365000)->Arg(1000000)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace

int printMemoryOf(const std::string& folder) {
    VirtualScheduler scheduler(firstDay + 4000.0 * 86400.0);
    IcuCalendar calendar("UTC");
    MemoryDefaults defaults;
    defaults.setBool(MacActivityStore::didSplitKey, true);
    KeyStringTable strings;
    QtFiles files(folder);
    std::ostringstream output;
    MacActivityStore store({scheduler, scheduler, calendar, defaults, files, strings, false, &Uuid::random, output,
                            MacCloudSync::factory({defaults, scheduler, nullptr, nullptr, nullptr, output})});
    const double peak = statusMegabytes("VmHWM");
    for (int i = 0; i < 20; ++i) {
        const Date start = scheduler.now();
        store.recordSession(i % 2 ? "Xcode" : "Safari", MacBlockCategory::work, start, start + 60, std::nullopt);
        scheduler.advance(61);
    }
    scheduler.runUntilIdle();
    std::printf("%.1f %.1f\n", statusMegabytes("VmRSS"), peak);
    return store.hasPendingSave() ? 1 : 0;
}

}  // namespace plenda
