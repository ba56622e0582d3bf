#include "platform/linux/XdgAutostartLoginItem.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <fstream>

#include <sys/stat.h>

namespace plenda {
namespace {

class XdgAutostart : public ::testing::Test {
protected:
    QTemporaryDir config;
    std::string folder() const { return config.path().toStdString() + "/autostart"; }
    static std::string entry(const XdgAutostartLoginItem& item) {
        std::ifstream in(item.entryPath());
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
};

TEST_F(XdgAutostart, RegisterWritesAnEntryThatUnregisterRemovesOrTheUserHides) {
    XdgAutostartLoginItem item(folder(), "/opt/plenda/bin/plenda");
    EXPECT_FALSE(item.isEnabled());
    EXPECT_FALSE(item.registerItem());
    EXPECT_TRUE(item.isEnabled());
    struct stat status {};
    ASSERT_EQ(::stat(folder().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700u) << "made by Plenda, so private";
    ASSERT_EQ(::stat(item.entryPath().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    const std::string text = entry(item);
    EXPECT_NE(text.find("[Desktop Entry]\n"), std::string::npos);
    EXPECT_NE(text.find("Exec=/opt/plenda/bin/plenda\n"), std::string::npos);
    EXPECT_NE(text.find("Type=Application\n"), std::string::npos);
    EXPECT_FALSE(item.unregisterItem());
    EXPECT_FALSE(item.isEnabled());
    EXPECT_FALSE(item.unregisterItem()) << "unregistering twice is fine";

    ASSERT_FALSE(XdgAutostartLoginItem(folder(), "/home/me/My Apps/plenda").registerItem());
    EXPECT_NE(entry(item).find("Exec=\"/home/me/My Apps/plenda\"\n"), std::string::npos) << "blanks are quoted";

    // An entry the user hid or emptied is not enabled.
    for (const char* content : {"[Desktop Entry]\nExec=/opt/plenda/bin/plenda\nHidden=true\n",
                                "[Desktop Entry]\nExec=\n", "garbage"}) {
        std::ofstream(item.entryPath()) << content;
        EXPECT_FALSE(item.isEnabled()) << content;
    }
}

TEST_F(XdgAutostart, AFolderThatCannotBeMadeIsReported) {
    std::ofstream(config.filePath("autostart").toStdString()) << "a file where the folder should be";
    XdgAutostartLoginItem item(folder(), "/usr/bin/plenda");
    const auto error = item.registerItem();
    ASSERT_TRUE(error);
    EXPECT_FALSE(error->empty());
    EXPECT_FALSE(item.isEnabled());
}

}  // namespace
}  // namespace plenda
