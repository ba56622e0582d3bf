// Kills a process that keeps saving the block file at random moments and
// checks after every kill that the file still decodes and holds every block
// of the last save that completed.
#include "model/MacActivityStore.h"
#include "model/MacDayBlockJson.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <numeric>
#include <optional>
#include <random>
#include <set>
#include <vector>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace plenda {
namespace {

double steadySeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

struct Killed {
    std::vector<std::string> lines;  // everything the writer printed
    double at = 0;                   // on the steady clock, which the writer shares
};

// Starts the writer (with `mode` as its second argument, if any), lets it run
// for `runFor` (counted from its first printed line when `afterFirstLine`),
// kills it with SIGKILL and returns what it printed.
Killed killDuringSaves(const std::string& folder, std::chrono::microseconds runFor, bool afterFirstLine,
                       const char* mode = nullptr) {
    int pipeFds[2];
    EXPECT_EQ(pipe(pipeFds), 0);
    const pid_t child = fork();
    if (child == 0) {
        dup2(pipeFds[1], STDOUT_FILENO);
        close(pipeFds[0]);
        execl(PLENDA_CRASH_WRITER, PLENDA_CRASH_WRITER, folder.c_str(), mode, nullptr);
        _exit(127);
    }
    close(pipeFds[1]);
    FILE* output = fdopen(pipeFds[0], "r");
    Killed killed;
    char line[256];
    const auto readLine = [&] {
        if (!std::fgets(line, sizeof line, output)) return false;
        killed.lines.emplace_back(line);
        return true;
    };
    if (afterFirstLine) readLine();
    // A real process has to be killed at a real moment.
    std::this_thread::sleep_for(runFor);
    killed.at = steadySeconds();
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "the writer must not stop by itself";
    while (readLine()) continue;
    std::fclose(output);
    return killed;
}

std::optional<std::vector<MacDayBlock>> readBlocks(const std::string& path, std::string& error) {
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::ReadOnly)) return std::nullopt;
    return decodeBlocks(file.readAll().toStdString(), &error);
}

TEST(CrashSafety, KilledMidSaveTheFileStillHoldsTheLastCompletedSave) {
    QTemporaryDir folder;
    const std::string path = folder.path().toStdString() + "/Plenda/blocks.json";
    std::mt19937 random(20261123);
    std::uniform_int_distribution<int> microseconds(0, 20000);
    int kills = 0, killsWithSaves = 0;
    std::size_t previousCount = 0;

    for (; kills < 200; ++kills) {
        // Most kills land among saves; every fifth may land during start-up.
        const Killed killed = killDuringSaves(folder.path().toStdString(),
                                              std::chrono::microseconds(microseconds(random)), kills % 5 != 0);
        std::optional<std::size_t> lastSave;
        for (const std::string& line : killed.lines) {
            std::size_t count = 0;
            if (std::sscanf(line.c_str(), "saved %zu", &count) == 1) lastSave = count;
        }
        killsWithSaves += lastSave.has_value();

        std::string error;
        const auto blocks = readBlocks(path, error);
        if (!blocks && error.empty()) {
            ASSERT_FALSE(lastSave) << "a save completed but there is no file";
            continue;
        }
        ASSERT_TRUE(blocks) << "after kill " << kills << ": " << error;

        std::set<std::string> titles;
        for (const MacDayBlock& block : *blocks) titles.insert(block.title);
        const std::size_t mustHold = std::max(lastSave.value_or(0), previousCount);
        for (std::size_t i = 0; i < mustHold; ++i) {
            ASSERT_TRUE(titles.contains("Session " + std::to_string(i))) << "after kill " << kills << " block " << i;
        }
        previousCount = blocks->size();
    }
    EXPECT_GE(killsWithSaves, 160) << "four runs in five wait for a completed save";
    EXPECT_GT(previousCount, 200u);
}

// How long writes ran within [from, to]: those that completed, and the one
// the kill cut short (writes run one at a time, so only the last can be).
double writingWithin(const std::vector<std::pair<double, double>>& writes, double from, double to) {
    double total = 0;
    for (const auto& [begin, end] : writes) total += std::max(0.0, std::min(end, to) - std::max(begin, from));
    return total;
}

// Sessions come in bursts on the real event loop and the debounced saves
// write on the writer thread. After every kill the file decodes, keeps every
// block the file held before, and holds every session followed by the
// debounce's quiet once the time since it, less the time spent writing
// (the write under way when the debounce ended, then its own), exceeds the
// debounce and a margin for the event loop. At every size: from empty, and
// from a ten-years-like file.
TEST(CrashSafety, KilledWhileSavingInTheBackgroundLosesNothingOlderThanTheDebounceAndItsWrites) {
    constexpr double margin = 0.5;
    std::mt19937 random(20261124);
    std::uniform_int_distribution<int> milliseconds(200, 3000);
    int bounded = 0, rounds = 0;
    for (const std::size_t size : {std::size_t(0), std::size_t(30000)}) {
        QTemporaryDir folder;
        const std::string path = folder.path().toStdString() + "/Plenda/blocks.json";
        std::vector<MacDayBlock> old;
        for (std::size_t i = 0; i < size; ++i) {
            const Date start(600000000.0 + 600.0 * i);
            old.push_back(MacDayBlock{Uuid::random(), "Old " + std::to_string(i), MacBlockCategory::work, 5,
                                      "Logged automatically on Mac", start, start, start + 300.0, "tracked", start + 300.0});
        }
        if (size > 0) {
            QDir().mkpath(folder.path() + "/Plenda");
            QFile file(QString::fromStdString(path));
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
            file.write(encodeBlocks(old)->c_str());
        }
        std::set<Uuid> held;
        for (const MacDayBlock& block : old) held.insert(block.id);

        for (int round = 0; round < 12; ++round, ++rounds) {
            SCOPED_TRACE("size " + std::to_string(size) + ", round " + std::to_string(round));
            // Timed from the first session: a busy machine may take seconds to start the writer.
            const Killed killed = killDuringSaves(folder.path().toStdString(),
                                                  std::chrono::milliseconds(milliseconds(random)), true, "background");
            struct Recorded {
                Uuid id;
                double at, pauseAfter;
            };
            std::vector<Recorded> recorded;
            std::vector<std::pair<double, double>> writes;
            for (const std::string& line : killed.lines) {
                char id[64];
                double begin = 0, end = 0;
                double pause = 0;
                if (std::sscanf(line.c_str(), "recorded %63s %lf %lf", id, &begin, &pause) == 3) {
                    recorded.push_back({*Uuid::parse(id), begin, pause});
                }
                if (std::sscanf(line.c_str(), "began %lf", &begin) == 1) writes.emplace_back(begin, killed.at);
                if (std::sscanf(line.c_str(), "wrote %lf %lf", &begin, &end) == 2) writes.back().second = end;
            }
            std::string error;
            const auto blocks = readBlocks(path, error);
            if (!blocks && error.empty()) {
                ASSERT_TRUE(held.empty()) << "the file is gone";
                continue;
            }
            ASSERT_TRUE(blocks) << error;
            std::set<Uuid> now;
            for (const MacDayBlock& block : *blocks) now.insert(block.id);
            for (const Uuid& id : held) ASSERT_TRUE(now.contains(id)) << "a block that was in the file went missing";

            // The newest session whose save must have landed by the kill.
            std::optional<std::size_t> due;
            for (std::size_t i = 0; i < recorded.size(); ++i) {
                // Timed by the pause the writer chose: a late event loop delays both timers alike.
                const double at = recorded[i].at;
                const bool quietAfter = i + 1 == recorded.size() || recorded[i].pauseAfter > MacActivityStore::saveDelay;
                const double idle = killed.at - at - writingWithin(writes, at, killed.at);
                if (quietAfter && idle > MacActivityStore::saveDelay + margin) due = i;
            }
            for (std::size_t i = 0; due && i <= *due; ++i) {
                ASSERT_TRUE(now.contains(recorded[i].id))
                    << "session " << i << " of " << recorded.size() << ", recorded "
                    << killed.at - recorded[i].at << " s before the kill; the writer said:\n"
                    << std::accumulate(killed.lines.begin(), killed.lines.end(), std::string());
            }
            bounded += due.has_value();
            held = std::move(now);
        }
    }
    EXPECT_GE(bounded, rounds / 3) << "most kills come late enough for the bound to say something";
}

}  // namespace
}  // namespace plenda
