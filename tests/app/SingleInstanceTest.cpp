#include "app/SingleInstance.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace plenda {
namespace {

class SingleInstanceTest : public ::testing::Test {
protected:
    int argc = 1;
    char name[9] = "instance";
    char* argv[1] = {name};
    QCoreApplication app{argc, argv};
    QTemporaryDir folder;
};

TEST_F(SingleInstanceTest, ASecondLaunchHandsOverToTheFirstAndTheLockOutlivesNoOne) {
    auto first = std::make_unique<SingleInstance>(folder.path());
    ASSERT_TRUE(first->claim());
    struct stat lock {};
    ASSERT_EQ(::stat(QFile::encodeName(folder.filePath("plenda.lock")).constData(), &lock), 0);
    EXPECT_EQ(lock.st_mode & 0777, 0600u);
    int shown = 0;
    first->onShowRequested([&] { ++shown; });

    SingleInstance second(folder.path());
    EXPECT_FALSE(second.claim());
    EXPECT_TRUE(second.askRunningInstanceToShow());
    const QDeadlineTimer deadline(5000);
    while (shown == 0 && !deadline.hasExpired()) QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    EXPECT_EQ(shown, 1);

    first.reset();
    SingleInstance third(folder.path());
    EXPECT_TRUE(third.claim()) << "the lock goes with its holder";
}

TEST_F(SingleInstanceTest, ALockLeftByACrashedProcessDoesNotCount) {
    // The lock file's own format: pid, application name, host name.
    QFile stale(folder.filePath("plenda.lock"));
    ASSERT_TRUE(stale.open(QIODevice::WriteOnly));
    stale.write("2147483646\nplenda\n" + QSysInfo::machineHostName().toUtf8() + "\n");
    stale.close();
    SingleInstance next(folder.path());
    EXPECT_TRUE(next.claim());
}

TEST(CommandLine, HelpAndVersionPrintAndExitWithoutStartingTheApp) {
    for (const char* argument : {"--version", "--help"}) {
        QProcess plenda;
        // No display and no offscreen platform: starting the app would abort.
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) environment.remove(name);
        plenda.setProcessEnvironment(environment);
        plenda.start(PLENDA_EXECUTABLE, {argument});
        ASSERT_TRUE(plenda.waitForFinished(10000)) << argument;
        EXPECT_EQ(plenda.exitStatus(), QProcess::NormalExit) << argument;
        EXPECT_EQ(plenda.exitCode(), 0) << argument;
        EXPECT_TRUE(plenda.readAllStandardOutput().startsWith(argument == std::string("--version") ? "Plenda " : "usage: "))
            << argument;
    }
}

}  // namespace
}  // namespace plenda
