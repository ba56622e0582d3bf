// Runs the benchmarks and prints the figures that have targets as ratios
// and limits, so one run shows whether each target is met.
#include "MemoryBench.h"

#include "ui/Translations.h"

#include <QApplication>
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <string_view>

namespace {

class TargetReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.iterations == 0) continue;
            // Named as registered, without the run's settings.
            std::string name = run.benchmark_name();
            if (name.ends_with(manual)) name.resize(name.size() - manual.size());
            if (const auto fixed = name.find("/iterations:"); fixed != std::string::npos) name.resize(fixed);
            seconds_[name] = run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
            for (const auto& [counter, value] : run.counters) counters_[name + "." + counter] = value;
        }
    }

    void Finalize() override {
        ConsoleReporter::Finalize();
        std::printf("\nTargets\n");
        ratio("loadBlockFile/365000", "rawRead/365000", 5);
        ratio("saveBlockFile/365000", "rawWrite/365000", 2);
        // Per session (record and mark dirty, no save) and per day query, at
        // each size; the two ratios show whether they grow with the store.
        for (const char* size : {"/100000", "/365000", "/1000000"}) {
            limit(std::string("recordSession") + size, 0.005);
            limit(std::string("upsertRecent") + size, 0.005);
            limit(std::string("blocksOnDayAndTodayMinutes") + size, 0.001);
        }
        ratio("recordSession/1000000", "recordSession/100000", 2);
        ratio("upsertRecent/1000000", "upsertRecent/100000", 2);
        // Saves: the main thread's share and the whole write against a raw one.
        for (const char* size : {"100000", "365000", "1000000"}) {
            limit(std::string("saveMainThread/") + size, 0.002);
            ratio(std::string("saveWallTime/") + size, std::string("rawWriteOf/") + size, 2);
        }
        ratio("sessionInAll/365000", "rawWriteCpuOf/365000", 2);
        // Each period's redraw at a million blocks, and the week's and month's queries.
        for (const char* shown : {"/720/560/0", "/1200/900/0", "/720/560/1", "/720/560/2"}) {
            limit(std::string("BM_DayWindowRedraw") + shown, 0.016);
        }
        limit("BM_PeriodQuery/1", 0.001);
        limit("BM_PeriodQuery/2", 0.001);
        limit("writeIdSet365k", 0.050);
        ratio("idleSyncTick/365k", "idleSyncTick/Empty", 2);
        ratio("idleSyncTick/365kNoCloud", "idleSyncTick/Empty", 2);
        for (const auto& [name, value] : counters_) {
            if (!name.ends_with(".writes")) continue;
            std::printf("  %-28s %6.0f writes            (target 0)         %s\n", name.c_str(), value,
                        value == 0 ? "met" : "NOT MET");
        }
        // Resident memory, in megabytes, beside what the same process takes with no blocks.
        for (const auto& [size, steadyLimit] : {std::pair{"365000", 120.0}, {"1000000", 300.0}}) {
            const std::string run = std::string("storeMemory/") + size;
            if (!counters_.contains(run + ".steadyMB")) continue;
            const double steady = counters_[run + ".steadyMB"], peak = counters_[run + ".loadPeakMB"];
            std::printf("  %-36s %6.0f MB (%.0f MB with no blocks)  (target < %.0f MB)  %s\n",
                        (run + " steady").c_str(), steady, counters_[run + ".emptyMB"], steadyLimit,
                        steady < steadyLimit ? "met" : "NOT MET");
            std::printf("  %-36s %6.1f x steady                (target < 2 x)  %s\n",
                        (run + " peak while loading").c_str(), peak / steady, peak < 2 * steady ? "met" : "NOT MET");
        }
    }

private:
    void ratio(const std::string& measured, const std::string& baseline, double target) {
        if (!seconds_.contains(measured) || !seconds_.contains(baseline)) return;
        const double value = seconds_[measured] / seconds_[baseline];
        std::printf("  %-36s %6.1f x %-22s (target < %g x)  %s\n", measured.c_str(), value, baseline.c_str(),
                    target, value < target ? "met" : "NOT MET");
    }
    void limit(const std::string& measured, double seconds) {
        if (!seconds_.contains(measured)) return;
        const double value = seconds_[measured];
        std::printf("  %-36s %8.3f ms                     (target < %g ms)  %s\n", measured.c_str(), value * 1e3,
                    seconds * 1e3, value < seconds ? "met" : "NOT MET");
    }

    static constexpr std::string_view manual = "/manual_time";
    std::map<std::string, double> seconds_;
    std::map<std::string, double> counters_;  // "run.counter"
};

}  // namespace

int main(int argc, char** argv) {
    // The day window is painted offscreen, with the real string table.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    if (argc == 3 && std::string_view(argv[1]) == "--memory-of") return plenda::printMemoryOf(argv[2]);
    plenda::installTranslations(app);
    benchmark::Initialize(&argc, argv);
    TargetReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
