#include "platform/linux/XdgAutostartLoginItem.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace plenda {
namespace {

class XdgAutostart : public ::testing::Test {
protected:
    QTemporaryDir config;
    std::string folder() const { return config.path().toStdString() + "/autostart"; }
    std::string entry(const XdgAutostartLoginItem& item) const {
        QFile file(QString::fromStdString(item.entryPath()));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll().toStdString();
    }
};

TEST_F(XdgAutostart, RegisterWritesAnEntryThatUnregisterRemoves) {
    XdgAutostartLoginItem item(folder(), "/opt/plenda/bin/plenda");
    EXPECT_FALSE(item.isEnabled());
    EXPECT_FALSE(item.registerItem());
    EXPECT_TRUE(item.isEnabled());
    const std::string text = entry(item);
    EXPECT_NE(text.find("[Desktop Entry]\n"), std::string::npos);
    EXPECT_NE(text.find("Exec=/opt/plenda/bin/plenda\n"), std::string::npos);
    EXPECT_NE(text.find("Type=Application\n"), std::string::npos);
    EXPECT_FALSE(item.unregisterItem());
    EXPECT_FALSE(item.isEnabled());
    EXPECT_FALSE(item.unregisterItem()) << "unregistering twice is fine";

    ASSERT_FALSE(XdgAutostartLoginItem(folder(), "/home/me/My Apps/plenda").registerItem());
    EXPECT_NE(entry(item).find("Exec=\"/home/me/My Apps/plenda\"\n"), std::string::npos) << "blanks are quoted";
}

TEST_F(XdgAutostart, AnEntryTheUserHidOrEmptiedIsNotEnabled) {
    XdgAutostartLoginItem item(folder(), "/usr/bin/plenda");
    ASSERT_FALSE(item.registerItem());
    for (const char* content : {"[Desktop Entry]\nExec=/usr/bin/plenda\nHidden=true\n", "[Desktop Entry]\nExec=\n",
                                "garbage"}) {
        QFile file(QString::fromStdString(item.entryPath()));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(content);
        file.close();
        EXPECT_FALSE(item.isEnabled()) << content;
    }
}

TEST_F(XdgAutostart, AFolderThatCannotBeMadeIsReported) {
    QFile blocker(config.filePath("autostart"));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));  // a file where the folder should be
    blocker.close();
    XdgAutostartLoginItem item(folder(), "/usr/bin/plenda");
    const auto error = item.registerItem();
    ASSERT_TRUE(error);
    EXPECT_FALSE(error->empty());
    EXPECT_FALSE(item.isEnabled());
}

}  // namespace
}  // namespace plenda
