// Real files when the disk is full, the folder read-only or the file's place
// taken: a failed write leaves the previous file whole and no temporary file
// behind, and the next write after the fault succeeds.
#include "platform/qt/QtFiles.h"

#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <csignal>
#include <linux/capability.h>
#include <optional>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace plenda {
namespace {

// Writes beyond `bytes` fail with EFBIG, as on a full disk, for root too.
struct FileSizeLimit {
    rlimit saved{};
    void (*previousHandler)(int) = std::signal(SIGXFSZ, SIG_IGN);
    explicit FileSizeLimit(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &saved);
        rlimit limited = saved;
        limited.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limited);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &saved);
        std::signal(SIGXFSZ, previousHandler);
    }
};

// Root ignores file modes; taking the file-permission capabilities out of this
// thread's effective set (always allowed, and undone from the permitted set)
// makes a read-only folder read-only for the test, as it is for a user.
struct WithoutPermissionOverride {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct saved[2]{};
    bool active = false;
    WithoutPermissionOverride() {
        if (syscall(SYS_capget, &header, saved) != 0) return;
        __user_cap_data_struct reduced[2] = {saved[0], saved[1]};
        for (int capability : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH, CAP_FOWNER}) {
            reduced[capability / 32].effective &= ~(1u << (capability % 32));
        }
        active = syscall(SYS_capset, &header, reduced) == 0;
    }
    ~WithoutPermissionOverride() {
        if (active) syscall(SYS_capset, &header, saved);
    }
};

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
    {
        std::optional<FileSizeLimit> limit;
        std::optional<WithoutPermissionOverride> asUser;
        if (fault.starts_with("DiskFull")) {
            limit.emplace(GetParam().bytes / 2);
        } else if (fault == "ReadOnlyFolder") {
            chmod(qPrintable(folder), 0500);
            asUser.emplace();
        } else {  // something else took the file's place; renaming over a folder fails
            QDir().rename(target, aside);
            QDir().mkdir(target);
        }
        EXPECT_TRUE(files.writeFileAtomically(target.toStdString(), std::string(GetParam().bytes, 'x')));
    }
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
