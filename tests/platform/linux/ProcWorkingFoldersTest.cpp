#include "platform/linux/ProcWorkingFolders.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <vector>

namespace plenda {
namespace {

// This test process plays the terminal emulator: each "window" is a real
// pseudo-terminal whose shell (a child of ours) works in one folder and may
// hand the terminal to a job working in another, as job control does.
class Terminal : public ::testing::Test {
protected:
    QTemporaryDir root;
    std::vector<pid_t> shells;

    void TearDown() override {
        for (pid_t shell : shells) {
            ::kill(-shell, SIGKILL);
            ::waitpid(shell, nullptr, 0);
        }
    }
    std::string folder(const QString& relative) {
        QDir().mkpath(root.filePath(relative));
        return QDir(root.filePath(relative)).canonicalPath().toStdString();
    }
    void openWindow(const std::string& shellFolder, const std::string& jobFolder = {}) {
        int master = -1;
        const pid_t shell = ::forkpty(&master, nullptr, nullptr, nullptr);
        ASSERT_GE(shell, 0);
        if (shell == 0) {
            if (::chdir(shellFolder.c_str()) != 0) ::_exit(1);
            if (!jobFolder.empty()) {
                const pid_t job = ::fork();
                if (job == 0) {
                    ::setpgid(0, 0);
                    if (::chdir(jobFolder.c_str()) != 0) ::_exit(1);
                    ::pause();
                }
                ::setpgid(job, job);
                ::tcsetpgrp(STDIN_FILENO, job);
            }
            ::pause();
            ::_exit(0);
        }
        shells.push_back(shell);
        // Settled once the shell is in its folder and the terminal's foreground is as it set it.
        const auto cwd = [](pid_t pid) {
            return QFileInfo(QStringLiteral("/proc/%1/cwd").arg(pid)).symLinkTarget().toStdString();
        };
        const auto settled = [&] {
            const pid_t front = ::tcgetpgrp(master);
            return cwd(shell) == shellFolder && (jobFolder.empty() || (front != shell && cwd(front) == jobFolder));
        };
        for (int i = 0; i < 1000 && !settled(); ++i) ::usleep(1000);
        ASSERT_TRUE(settled());
    }
    std::optional<std::string> project(std::string_view title = "") {
        return ProcWorkingFolders(folder("home")).projectFolder(::getpid(), title);
    }
};

TEST_F(Terminal, TheFolderOfWhatRunsInFrontOrItsRepositorysTop) {
    const std::string repository = folder("home/src/engine");
    folder("home/src/engine/.git");
    openWindow(folder("home/src/engine/crates/core"));
    EXPECT_EQ(project(), repository) << "a folder inside a repository names the repository";
}

TEST_F(Terminal, AJobInFrontCountsNotTheShellBehindIt) {
    openWindow(folder("home"), folder("home/notes"));
    EXPECT_EQ(project(), folder("home/notes"));
}

TEST_F(Terminal, TheHomeFolderAndNoTerminalAreNoProject) {
    EXPECT_EQ(project(), std::nullopt);
    openWindow(folder("home"));
    EXPECT_EQ(project(), std::nullopt);
}

TEST_F(Terminal, OfSeveralWindowsTheOneTheTitleShows) {
    openWindow(folder("home/alpha"));
    openWindow(folder("home/beta"));
    openWindow(folder("home/gamma"));
    EXPECT_EQ(project("me@host: ~/beta"), folder("home/beta"));
    EXPECT_EQ(project("bash " + folder("home/alpha")), folder("home/alpha"));
    EXPECT_TRUE(project("vim").has_value()) << "without a hint, one of them";
}

}  // namespace
}  // namespace plenda
