// Every file Plenda writes holds the user's day: readable by the user alone.
#include "platform/linux/XdgAutostartLoginItem.h"
#include "platform/standin/SqliteCloudDatabase.h"
#include "sync/CloudRecordEnvelope.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <sys/stat.h>

namespace plenda {
namespace {

unsigned mode(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

TEST(PrivateFiles, TheCloudStandInAndTheAutostartEntryAreTheUsersAlone) {
    const QTemporaryDir home;
    const std::string root = home.path().toStdString();
    {
        SqliteCloudDatabase server(SqliteCloudDatabase::Options{.path = root + "/cloud/standin.sqlite"});
        ASSERT_TRUE(server.openError().empty()) << server.openError();
        server.saveZone(dayBlocksZoneID(), [](auto) {});
        EXPECT_EQ(mode(root + "/cloud"), 0700u);
        for (const char* file : {"standin.sqlite", "standin.sqlite-wal", "standin.sqlite-shm"}) {
            EXPECT_EQ(mode(root + "/cloud/" + file), 0600u) << file;
        }
    }
    XdgAutostartLoginItem item(root + "/config/autostart", "/usr/bin/plenda");
    ASSERT_FALSE(item.registerItem());
    EXPECT_EQ(mode(root + "/config/autostart"), 0700u);
    EXPECT_EQ(mode(root + "/config/autostart/plenda.desktop"), 0600u);
}

}  // namespace
}  // namespace plenda
