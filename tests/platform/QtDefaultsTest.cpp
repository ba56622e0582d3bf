#include "platform/qt/QtDefaults.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace plenda {
namespace {

// A corrupt file reads as empty and new writes replace it.
TEST(QtDefaultsFile, EveryTypeComesBackAsItWasStoredAfterARestartEvenOverACorruptFile) {
    QTemporaryDir folder;
    const QString path = folder.filePath("Plenda.json");
    const auto open = [&] {
        return std::make_unique<QtDefaults>(std::make_unique<QSettings>(path, QtDefaults::typedJsonFormat()));
    };
    QFile corrupt(path);
    ASSERT_TRUE(corrupt.open(QIODevice::WriteOnly));
    corrupt.write("{ not json");
    corrupt.close();
    const std::vector<std::pair<std::string, DefaultsValue>> values = {
        {"trackingEnabled", false},
        {"idleThresholdSeconds", 600.0},
        {"browserTab.lastOutcome", "ok example.org"},
        {"cloudSync.dayBlocks.zoneChangeToken", Data{std::string("\x00\xFF token", 8)}},
        {"ignoredBundleIdentifiers", DefaultsValue::Array{"com.apple.loginwindow", "org.gnome.Nautilus"}},
        {"categoryOverrides", DefaultsValue::Dictionary{{"code \xC2\xB7 api", "work"}, {"weird", 3.0}}},
        {"cloudSync.dayBlocks.dirtyIDs", DefaultsValue::Array{}},
        {"text that looks numeric", "300"},
        {"text that looks boolean", "true"},
    };
    {
        auto defaults = open();
        EXPECT_FALSE(defaults->object("trackingEnabled"));
        for (const auto& [key, value] : values) defaults->set(key, value);
        defaults->synchronize();
    }
    auto reopened = open();
    for (const auto& [key, value] : values) {
        EXPECT_EQ(reopened->object(key), value) << key;
    }
    reopened->remove("trackingEnabled");
    EXPECT_FALSE(reopened->object("trackingEnabled"));
    EXPECT_FALSE(reopened->object("never.written"));
}

TEST(QtDefaultsVariants, ConvertBothWays) {
    EXPECT_EQ(fromVariant(QVariant(42)), DefaultsValue(42.0));
    EXPECT_EQ(fromVariant(QVariant(QStringList{"a", "b"})), DefaultsValue(DefaultsValue::Array{"a", "b"}));
    EXPECT_EQ(fromVariant(toVariant(DefaultsValue(Data{"abc"}))), DefaultsValue(Data{"abc"}));
    EXPECT_FALSE(fromVariant(QVariant()));
}

}  // namespace
}  // namespace plenda
