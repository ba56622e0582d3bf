// The store on real files when the disk is full or the folder read-only:
// the previous file stays whole, no temporary file is left behind, the store
// keeps recording, saves stay silent, and the next save after the fault
// writes everything.
#include "fakes/KeyStringTable.h"
#include "fakes/MemoryDefaults.h"
#include "fakes/VirtualScheduler.h"
#include "model/MacActivityStore.h"
#include "model/MacDayBlockJson.h"
#include "platform/IcuCalendar.h"
#include "platform/qt/QtFiles.h"

#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <linux/capability.h>
#include <sstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace plenda {
namespace {

// Root ignores file modes; taking the file-permission capabilities out of this
// thread's effective set (always allowed, and undone from the permitted set)
// makes a read-only folder read-only for the test, as it is for a user.
class WithoutPermissionOverride {
public:
    WithoutPermissionOverride() {
        header_.version = _LINUX_CAPABILITY_VERSION_3;
        if (syscall(SYS_capget, &header_, saved_) != 0) return;
        __user_cap_data_struct reduced[2] = {saved_[0], saved_[1]};
        for (int capability : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH, CAP_FOWNER}) {
            reduced[capability / 32].effective &= ~(1u << (capability % 32));
        }
        active_ = syscall(SYS_capset, &header_, reduced) == 0;
    }
    ~WithoutPermissionOverride() {
        if (active_) syscall(SYS_capset, &header_, saved_);
    }
    WithoutPermissionOverride(const WithoutPermissionOverride&) = delete;
    WithoutPermissionOverride& operator=(const WithoutPermissionOverride&) = delete;

private:
    __user_cap_header_struct header_{};
    __user_cap_data_struct saved_[2]{};
    bool active_ = false;
};

// Writes beyond `bytes` fail with EFBIG, as on a full disk, for root too.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &saved_);
        previousHandler_ = std::signal(SIGXFSZ, SIG_IGN);
        rlimit limited = saved_;
        limited.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limited);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &saved_);
        std::signal(SIGXFSZ, previousHandler_);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit saved_{};
    void (*previousHandler_)(int) = nullptr;
};

struct Fault {
    const char* name;
    // Sets the fault up and returns what undoes it.
    std::function<std::function<void()>(const std::string& folder)> begin;
};

class SaveFailureTest : public ::testing::TestWithParam<Fault> {
protected:
    QTemporaryDir root;
    QtFiles files{root.path().toStdString()};
    VirtualScheduler scheduler{Date(700000000)};
    IcuCalendar calendar{"Europe/Berlin"};
    MemoryDefaults defaults;
    KeyStringTable strings;
    std::ostringstream output;
    MacActivityStore store{{scheduler, scheduler, calendar, defaults, files, strings, true, &Uuid::random, output}};

    std::string folder() const { return root.filePath("Plenda").toStdString(); }
    std::string blockFile() const { return folder() + "/blocks.json"; }
    std::vector<MacDayBlock> onDisk() const {
        const FileRead read = files.readFile(blockFile());
        EXPECT_EQ(read.status, FileRead::Status::ok) << read.error;
        std::string error;
        auto blocks = decodeBlocks(read.bytes, &error);
        EXPECT_TRUE(blocks) << error;
        return blocks.value_or(std::vector<MacDayBlock>{});
    }
    QStringList folderEntries() const {
        return QDir(QString::fromStdString(folder())).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
    }
    // Ten minutes of work with a long title, so each save is bigger than the last.
    void work(int session) {
        const Date start = scheduler.now();
        scheduler.advance(600);
        store.recordSession("Session " + std::to_string(session) + " " + std::string(2000, 'x'),
                            MacBlockCategory::work, start, scheduler.now(), "Logged automatically on Mac");
        scheduler.advance(60);
    }
};

TEST_P(SaveFailureTest, PreviousFileStaysAndTheNextSaveWritesEverything) {
    for (int i = 0; i < 3; ++i) work(i);
    ASSERT_EQ(onDisk().size(), 3u);
    const auto before = onDisk();

    std::function<void()> undo = GetParam().begin(folder());
    for (int i = 3; i < 6; ++i) work(i);  // each debounced save fails
    EXPECT_FALSE(store.saveNow());
    EXPECT_EQ(store.blocks().size(), 6u) << "the store keeps recording";
    EXPECT_FALSE(store.hasPendingSave());
    undo();

    EXPECT_EQ(onDisk(), before) << "the previous file is untouched";
    EXPECT_EQ(folderEntries(), QStringList{"blocks.json"}) << "no temporary file is left";
    EXPECT_EQ(output.str(), "") << "failed saves are silent";

    work(6);  // the next save after the fault
    EXPECT_EQ(onDisk(), store.blocks());
    EXPECT_EQ(onDisk().size(), 7u);
    EXPECT_EQ(folderEntries(), QStringList{"blocks.json"});
}

INSTANTIATE_TEST_SUITE_P(
    Faults, SaveFailureTest,
    ::testing::Values(
        Fault{"DiskFull",
              [](const std::string&) {
                  auto limit = std::make_shared<FileSizeLimit>(8 * 1024);
                  return [limit]() mutable { limit.reset(); };
              }},
        Fault{"ReadOnlyFolder",
              [](const std::string& folder) {
                  chmod(folder.c_str(), 0500);
                  auto asUser = std::make_shared<WithoutPermissionOverride>();
                  return [asUser, folder]() mutable {
                      asUser.reset();
                      chmod(folder.c_str(), 0700);
                  };
              }},
        Fault{"FileReplacedByFolder",
              [](const std::string& folder) {
                  // Something else took the file's place; renaming over a folder fails.
                  const QString file = QString::fromStdString(folder + "/blocks.json");
                  const QString aside = file + ".aside";
                  QDir().rename(file, aside);
                  QDir().mkdir(file);
                  return [file, aside] {
                      QDir().rmdir(file);
                      QDir().rename(aside, file);
                  };
              }}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace plenda
