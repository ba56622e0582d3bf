#include "platform/qt/QtFiles.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <sys/stat.h>

namespace plenda {
namespace {

mode_t modeOf(const std::string& path) {
    struct stat info {};
    stat(path.c_str(), &info);
    return info.st_mode & 0777;
}

TEST(QtFiles, UserOnlyFilesAreWrittenReadAndMovedTellingMissingFromFailed) {
    QTemporaryDir root;
    QtFiles files(root.path().toStdString());
    const std::string folder = root.filePath("deep/Plenda").toStdString(), file = folder + "/a.json";
    ASSERT_TRUE(files.createDirectories(folder));
    EXPECT_EQ(modeOf(folder), 0700u);
    EXPECT_TRUE(files.createDirectories(folder)) << "an existing folder is fine";
    EXPECT_EQ(files.readFile(file).status, FileRead::Status::missing);
    ASSERT_FALSE(files.writeFileAtomically(file, "[1,2]"));
    EXPECT_EQ(modeOf(file), 0600u);
    const FileRead read = files.readFile(file);
    EXPECT_EQ(read.status, FileRead::Status::ok);
    EXPECT_EQ(read.bytes, "[1,2]");
    EXPECT_EQ(files.readFile(folder).status, FileRead::Status::failed) << "a folder cannot be read as a file";
    EXPECT_TRUE(files.moveFile(file, folder + "/b.json"));
    EXPECT_EQ(files.readFile(folder + "/b.json").bytes, "[1,2]");
    EXPECT_FALSE(files.moveFile(file, folder + "/c.json"));
}

TEST(QtFilesDefault, ApplicationSupportFollowsXdgDataHome) {
    QTemporaryDir home;
    const QByteArray saved = qgetenv("XDG_DATA_HOME");
    qputenv("XDG_DATA_HOME", home.path().toUtf8());
    EXPECT_EQ(QtFiles().applicationSupportDirectory(), home.path().toStdString());
    if (saved.isEmpty()) qunsetenv("XDG_DATA_HOME"); else qputenv("XDG_DATA_HOME", saved);
}

}  // namespace
}  // namespace plenda
