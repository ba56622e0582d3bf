#include "platform/qt/QtFiles.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>

namespace plenda {
namespace {

class QtFilesTest : public ::testing::Test {
protected:
    QTemporaryDir root;
    QtFiles files{root.path().toStdString()};
    std::string path(const char* name) const { return root.filePath(name).toStdString(); }
    static mode_t modeOf(const std::string& path) {
        struct stat info {};
        stat(path.c_str(), &info);
        return info.st_mode & 0777;
    }
};

TEST_F(QtFilesTest, ReadsWhatItWroteAndTellsMissingFromFailed) {
    EXPECT_EQ(files.readFile(path("none")).status, FileRead::Status::missing);
    ASSERT_FALSE(files.writeFileAtomically(path("a.json"), "[1,2]"));
    const FileRead read = files.readFile(path("a.json"));
    EXPECT_EQ(read.status, FileRead::Status::ok);
    EXPECT_EQ(read.bytes, "[1,2]");
    EXPECT_EQ(files.readFile(root.path().toStdString()).status, FileRead::Status::failed)
        << "a folder cannot be read as a file";
}

TEST_F(QtFilesTest, CreatesUserOnlyFoldersAndFiles) {
    const std::string folder = path("deep/Plenda");
    ASSERT_TRUE(files.createDirectories(folder));
    EXPECT_EQ(modeOf(folder), 0700u);
    ASSERT_FALSE(files.writeFileAtomically(folder + "/blocks.json", "[]"));
    EXPECT_EQ(modeOf(folder + "/blocks.json"), 0600u);
    EXPECT_TRUE(files.createDirectories(folder)) << "an existing folder is fine";
}

TEST_F(QtFilesTest, MoveRenames) {
    ASSERT_FALSE(files.writeFileAtomically(path("a"), "x"));
    EXPECT_TRUE(files.moveFile(path("a"), path("b")));
    EXPECT_EQ(files.readFile(path("b")).bytes, "x");
    EXPECT_FALSE(files.moveFile(path("a"), path("c")));
}

// A write cut off half-way (the file-size limit makes write() fail part-way
// through, even for root) leaves the previous file whole and no stray file;
// also when the bytes are few enough to sit in a write buffer until commit.
class QtFilesInterruptedWrite : public QtFilesTest, public ::testing::WithParamInterface<std::size_t> {};

TEST_P(QtFilesInterruptedWrite, LeavesThePreviousFileIntact) {
    const std::string target = path("blocks.json");
    ASSERT_FALSE(files.writeFileAtomically(target, "[\"previous\"]"));

    rlimit saved{};
    getrlimit(RLIMIT_FSIZE, &saved);
    auto previousHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit small = saved;
    small.rlim_cur = GetParam() / 2;
    setrlimit(RLIMIT_FSIZE, &small);
    const auto error = files.writeFileAtomically(target, std::string(GetParam(), 'x'));
    setrlimit(RLIMIT_FSIZE, &saved);
    std::signal(SIGXFSZ, previousHandler);

    EXPECT_TRUE(error.has_value());
    EXPECT_EQ(files.readFile(target).bytes, "[\"previous\"]");
    EXPECT_EQ(QDir(root.path()).entryList(QDir::Files), QStringList{"blocks.json"});
    EXPECT_FALSE(files.writeFileAtomically(target, "[]")) << "the next write succeeds";
}

INSTANTIATE_TEST_SUITE_P(Sizes, QtFilesInterruptedWrite, ::testing::Values(2 * 1024, 12 * 1024, 1024 * 1024));

TEST(QtFilesDefault, ApplicationSupportFollowsXdgDataHome) {
    QTemporaryDir home;
    const QByteArray saved = qgetenv("XDG_DATA_HOME");
    qputenv("XDG_DATA_HOME", home.path().toUtf8());
    EXPECT_EQ(QtFiles().applicationSupportDirectory(), home.path().toStdString());
    if (saved.isEmpty()) qunsetenv("XDG_DATA_HOME"); else qputenv("XDG_DATA_HOME", saved);
}

}  // namespace
}  // namespace plenda
