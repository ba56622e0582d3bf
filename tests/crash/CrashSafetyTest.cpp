// Kills a process that keeps saving the block file at random moments and
// checks after every kill that the file still decodes and holds every block
// of the last save that completed.
#include "model/MacDayBlockJson.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <random>
#include <set>
#include <spawn.h>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace plenda {
namespace {

struct WriterRun {
    std::size_t lastCompletedSave = 0;
    int saves = 0;
};

// Starts the writer, lets it run for `runFor` (counted from its first
// completed save when `afterFirstSave`), kills it with SIGKILL and returns
// what it reported as saved.
WriterRun killDuringSaves(const std::string& folder, std::chrono::microseconds runFor, bool afterFirstSave) {
    int pipeFds[2];
    EXPECT_EQ(pipe(pipeFds), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, pipeFds[0]);
    const std::string writer = PLENDA_CRASH_WRITER;
    char* args[] = {const_cast<char*>(writer.c_str()), const_cast<char*>(folder.c_str()), nullptr};
    pid_t child = 0;
    EXPECT_EQ(posix_spawn(&child, writer.c_str(), &actions, nullptr, args, environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    close(pipeFds[1]);

    // A real process has to be killed at a real moment.
    std::string output;
    char buffer[4096];
    if (afterFirstSave) {
        pollfd readable{pipeFds[0], POLLIN, 0};
        while (output.find('\n') == std::string::npos && poll(&readable, 1, 10000) > 0) {
            const ssize_t n = read(pipeFds[0], buffer, sizeof buffer);
            if (n <= 0) break;
            output.append(buffer, static_cast<std::size_t>(n));
        }
    }
    std::this_thread::sleep_for(runFor);
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "the writer must not stop by itself";

    for (ssize_t n; (n = read(pipeFds[0], buffer, sizeof buffer)) > 0;) output.append(buffer, static_cast<std::size_t>(n));
    close(pipeFds[0]);

    WriterRun run;
    std::istringstream lines(output);
    for (std::string word; lines >> word;) {
        if (word == "saved") {
            lines >> run.lastCompletedSave;
            ++run.saves;
        }
    }
    return run;
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
        const WriterRun run = killDuringSaves(folder.path().toStdString(),
                                              std::chrono::microseconds(microseconds(random)), kills % 5 != 0);
        killsWithSaves += run.saves > 0;

        std::ifstream in(path, std::ios::binary);
        if (!in) {
            ASSERT_EQ(run.saves, 0) << "a save completed but there is no file";
            continue;
        }
        const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        std::string error;
        const auto blocks = decodeBlocks(bytes, &error);
        ASSERT_TRUE(blocks) << "after kill " << kills << ": " << error;

        std::set<std::string> titles;
        for (const MacDayBlock& block : *blocks) titles.insert(block.title);
        const std::size_t mustHold = std::max(run.lastCompletedSave, previousCount);
        for (std::size_t i = 0; i < mustHold; ++i) {
            ASSERT_TRUE(titles.contains("Session " + std::to_string(i))) << "after kill " << kills << " block " << i;
        }
        previousCount = blocks->size();

        struct stat info {};
        ASSERT_EQ(stat(path.c_str(), &info), 0);
        EXPECT_EQ(info.st_mode & 0777, 0600u);
    }
    EXPECT_EQ(kills, 200);
    EXPECT_GE(killsWithSaves, 160) << "four runs in five wait for a completed save";
    EXPECT_GT(previousCount, 200u);
    std::printf("%d kills, %d after at least one completed save, %zu blocks in the end\n", kills, killsWithSaves,
                previousCount);
}

}  // namespace
}  // namespace plenda
