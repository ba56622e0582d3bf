#include "platform/qt/QtFiles.h"

#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <csignal>
#include <sys/fsuid.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

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
    EXPECT_FALSE(files.stamp(file));
    ASSERT_FALSE(files.writeFileAtomically(file, "[0,0]"));
    const auto first = files.stamp(file);
    ASSERT_TRUE(first);
    EXPECT_EQ(first->size, 5u);
    EXPECT_EQ(files.stamp(file), first);
    std::optional<FileStamp> told;
    ASSERT_FALSE(files.writeAtomically(file, [&](FileWriter& writer) {
        const bool wrote = writer.write("[1,2]");
        told = writer.stamp();
        return wrote;
    }));
    EXPECT_NE(files.stamp(file), first) << "rewritten at once with as many bytes";
    EXPECT_EQ(files.stamp(file), told) << "the writer knew the file's stamp before it replaced the old one";
    EXPECT_EQ(modeOf(file), 0600u);
    const FileRead read = files.readFile(file);
    EXPECT_EQ(read.status, FileRead::Status::ok);
    EXPECT_EQ(read.bytes, "[1,2]");
    EXPECT_EQ(files.readFile(folder).status, FileRead::Status::failed) << "a folder cannot be read as a file";
    EXPECT_TRUE(files.moveFile(file, folder + "/b.json"));
    EXPECT_EQ(files.readFile(folder + "/b.json").bytes, "[1,2]");
    EXPECT_FALSE(files.moveFile(file, folder + "/c.json"));
}

// Real files when the disk is full, the folder read-only or the file's place
// taken: a failed write leaves the previous file whole and no temporary file
// behind, and the next write after the fault succeeds.
struct Fault {
    const char* name;
    std::size_t bytes;  // written; on a full disk half of them fit
};

class SaveFailure : public ::testing::TestWithParam<Fault> {};

TEST_P(SaveFailure, PreviousFileStaysWholeAndNoTemporaryFileIsLeft) {
    QTemporaryDir root;
    QtFiles files(root.path().toStdString());
    const QString folder = root.filePath("Plenda"), target = folder + "/blocks.json", aside = target + ".aside";
    ASSERT_TRUE(files.createDirectories(folder.toStdString()));
    ASSERT_FALSE(files.writeFileAtomically(target.toStdString(), "[\"previous\"]"));
    const std::string_view fault = GetParam().name;
    rlimit saved{};
    getrlimit(RLIMIT_FSIZE, &saved);
    const auto previousHandler = std::signal(SIGXFSZ, SIG_IGN);  // a write past the limit fails with EFBIG
    if (fault.starts_with("DiskFull")) {  // as on a full disk, for root too
        rlimit limited = saved;
        limited.rlim_cur = GetParam().bytes / 2;
        setrlimit(RLIMIT_FSIZE, &limited);
    } else if (fault == "ReadOnlyFolder") {  // root ignores file modes; another user does not
        chmod(qPrintable(root.path()), 0755);
        chmod(qPrintable(folder), 0555);
        setfsuid(65534);
    } else {  // something else took the file's place; renaming over a folder fails
        QDir().rename(target, aside);
        QDir().mkdir(target);
    }
    EXPECT_TRUE(files.writeFileAtomically(target.toStdString(), std::string(GetParam().bytes, 'x')));
    setfsuid(getuid());
    setrlimit(RLIMIT_FSIZE, &saved);
    std::signal(SIGXFSZ, previousHandler);
    chmod(qPrintable(folder), 0700);
    if (QDir().rmdir(target)) QDir().rename(aside, target);

    EXPECT_EQ(files.readFile(target.toStdString()).bytes, "[\"previous\"]");
    EXPECT_EQ(QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
              QStringList{"blocks.json"});
    EXPECT_FALSE(files.writeFileAtomically(target.toStdString(), "[]")) << "the next write succeeds";
}

// Small writes sit in a buffer until commit unless the file is unbuffered.
INSTANTIATE_TEST_SUITE_P(Faults, SaveFailure,
                         ::testing::Values(Fault{"DiskFullSmallWrite", 2 * 1024}, Fault{"DiskFull", 12 * 1024},
                                           Fault{"DiskFullLargeWrite", 1024 * 1024}, Fault{"ReadOnlyFolder", 8 * 1024},
                                           Fault{"FileReplacedByFolder", 8 * 1024}),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace plenda
