// Kills a process that keeps saving the block file at random moments and
// checks after every kill that the file still decodes and holds every block
// of the last save that completed.
#include "model/MacDayBlockJson.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace plenda {
namespace {

// Starts the writer, lets it run for `runFor` (counted from its first
// completed save when `afterFirstSave`), kills it with SIGKILL and returns
// the block count of the last save it reported as completed.
std::optional<std::size_t> killDuringSaves(const std::string& folder, std::chrono::microseconds runFor,
                                           bool afterFirstSave) {
    int pipeFds[2];
    EXPECT_EQ(pipe(pipeFds), 0);
    const pid_t child = fork();
    if (child == 0) {
        dup2(pipeFds[1], STDOUT_FILENO);
        close(pipeFds[0]);
        execl(PLENDA_CRASH_WRITER, PLENDA_CRASH_WRITER, folder.c_str(), nullptr);
        _exit(127);
    }
    close(pipeFds[1]);
    FILE* output = fdopen(pipeFds[0], "r");
    std::optional<std::size_t> lastSave;
    const auto readSave = [&] {
        std::size_t count = 0;
        if (std::fscanf(output, " saved %zu", &count) != 1) return false;
        lastSave = count;
        return true;
    };
    if (afterFirstSave) readSave();
    // A real process has to be killed at a real moment.
    std::this_thread::sleep_for(runFor);
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "the writer must not stop by itself";
    while (readSave()) continue;
    std::fclose(output);
    return lastSave;
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
        const auto lastSave = killDuringSaves(folder.path().toStdString(),
                                              std::chrono::microseconds(microseconds(random)), kills % 5 != 0);
        killsWithSaves += lastSave.has_value();

        QFile file(QString::fromStdString(path));
        if (!file.open(QIODevice::ReadOnly)) {
            ASSERT_FALSE(lastSave) << "a save completed but there is no file";
            continue;
        }
        std::string error;
        const auto blocks = decodeBlocks(file.readAll().toStdString(), &error);
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

}  // namespace
}  // namespace plenda
