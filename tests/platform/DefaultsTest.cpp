#include "fakes/MemoryDefaults.h"
#include "platform/qt/QtDefaults.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include <sys/stat.h>

namespace plenda {
namespace {

TEST(TypedReaders, FollowTheUserDefaultsConversions) {
    struct Case {
        const char* name;
        std::optional<DefaultsValue> stored;
        double asDouble;
        bool asBool;
        std::optional<std::string> asString;
        std::string_view container;  // the one container reader that answers
    };
    const Case cases[] = {
        {"missing", std::nullopt, 0, false, std::nullopt, ""},
        {"number", DefaultsValue(300.0), 300, true, "300", ""},
        {"zero", DefaultsValue(0.0), 0, false, "0", ""},
        {"negative", DefaultsValue(-2.5), -2.5, true, "-2.5", ""},
        {"boolTrue", DefaultsValue(true), 1, true, "1", ""},
        {"numericText", DefaultsValue(" 45.5s"), 45.5, true, " 45.5s", ""},
        {"yesText", DefaultsValue("YES"), 0, true, "YES", ""},
        {"noText", DefaultsValue("no"), 0, false, "no", ""},
        {"data", DefaultsValue(Data{"x"}), 0, false, std::nullopt, "data"},
        {"stringArray", DefaultsValue(DefaultsValue::Array{"a", "b"}), 0, false, std::nullopt, "stringArray"},
        {"emptyArray", DefaultsValue(DefaultsValue::Array{}), 0, false, std::nullopt, "stringArray"},
        {"mixedArray", DefaultsValue(DefaultsValue::Array{"a", true}), 0, false, std::nullopt, ""},
        {"dictionary", DefaultsValue(DefaultsValue::Dictionary{{"a", "b"}}), 0, false, std::nullopt, "dictionary"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        MemoryDefaults defaults;
        if (c.stored) defaults.set("key", *c.stored);
        EXPECT_EQ(defaults.doubleValue("key"), c.asDouble);
        EXPECT_EQ(defaults.boolValue("key"), c.asBool);
        EXPECT_EQ(defaults.string("key"), c.asString);
        EXPECT_EQ(defaults.stringArray("key").has_value(), c.container == "stringArray");
        EXPECT_EQ(defaults.data("key").has_value(), c.container == "data");
        EXPECT_EQ(defaults.dictionary("key").has_value(), c.container == "dictionary");
    }
}

unsigned mode(const QString& path) {
    struct stat status {};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777 : 0;
}

class SettingsFile : public ::testing::Test {
protected:
    QTemporaryDir home;
    QString folder() const { return home.filePath("config/Plenda"); }
    QString path() const { return folder() + "/Plenda.json"; }
    std::ostringstream output;

    void write(const QByteArray& bytes) {
        QDir().mkpath(folder());
        std::ofstream(path().toStdString(), std::ios::binary) << bytes.toStdString();
    }
    QStringList copies() const { return QDir(folder()).entryList({"Plenda.json.unreadable-*"}, QDir::Files); }
};

TEST_F(SettingsFile, EveryTypeComesBackAfterARestartAndEveryWriteStaysPrivate) {
    write("{\"trackingEnabled\": false}");
    ::chmod(QFile::encodeName(path()).constData(), 0644);
    const std::vector<std::pair<std::string, DefaultsValue>> values = {
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
        auto defaults = QtDefaults::openFile(path(), output);
        for (const auto& [key, value] : values) defaults->set(key, value);
        defaults->synchronize();
    }
    EXPECT_TRUE(output.str().empty()) << output.str();
    EXPECT_EQ(mode(path()), 0600u);
    EXPECT_EQ(mode(folder()), 0700u);
    auto reopened = QtDefaults::openFile(path(), output);
    EXPECT_EQ(reopened->object("trackingEnabled"), DefaultsValue(false));
    for (const auto& [key, value] : values) {
        EXPECT_EQ(reopened->object(key), value) << key;
    }
    reopened->remove("trackingEnabled");
    EXPECT_FALSE(reopened->object("trackingEnabled"));
}

TEST_F(SettingsFile, ADamagedFileIsKeptAsACopyAndNeverWrittenOver) {
    const QByteArray damaged[] = {
        "{\"trackingEnabled\": false, \"ignoredBundleIdentifiers\": [\"org.gnome.Nautilus\"]",  // one missing brace
        "{\"trackingEnabled\": false, \"title\": \"caf\xE9\"}",                               // one byte not UTF-8
        "[\"not\", \"an\", \"object\"]",
    };
    for (const QByteArray& bytes : damaged) {
        SCOPED_TRACE(bytes.toStdString());
        QDir(folder()).removeRecursively();
        write(bytes);
        output.str({});
        {
            auto defaults = QtDefaults::openFile(path(), output);
            EXPECT_FALSE(defaults->object("trackingEnabled"));
            defaults->setBool("trackingEnabled", true);
            defaults->synchronize();
        }
        EXPECT_EQ(mode(path()), 0600u) << "the new file replacing the copy is private too";
        ASSERT_EQ(copies().size(), 1);
        QFile copy(folder() + "/" + copies().front());
        ASSERT_TRUE(copy.open(QIODevice::ReadOnly));
        EXPECT_EQ(copy.readAll(), bytes);
        EXPECT_NE(output.str().find("the settings file could not be read"), std::string::npos) << output.str();
        EXPECT_NE(output.str().find(copies().front().toStdString()), std::string::npos);
        EXPECT_EQ(QtDefaults::openFile(path(), output)->boolValue("trackingEnabled"), true);
    }
}

TEST_F(SettingsFile, WritesAreGatheredAndAValueSetAgainUnchangedWritesNothing) {
    auto defaults = QtDefaults::openFile(path(), output, 3600);
    defaults->setBool("trackingEnabled", false);
    defaults->setDouble("idleThresholdSeconds", 600);
    defaults->remove("absent");
    EXPECT_EQ(defaults->fileWrites(), 0) << "held back for the delay";
    defaults->synchronize();
    defaults->setDouble("idleThresholdSeconds", 600);
    defaults->remove("absent");
    defaults->synchronize();
    EXPECT_EQ(defaults->fileWrites(), 1);
    defaults->setBool("trackingEnabled", true);
    defaults.reset();
    EXPECT_EQ(QtDefaults::openFile(path(), output)->boolValue("trackingEnabled"), true) << "written at the end";
}

TEST(QtDefaultsVariants, ConvertBothWays) {
    EXPECT_EQ(fromVariant(QVariant(42)), DefaultsValue(42.0));
    EXPECT_EQ(fromVariant(QVariant(QStringList{"a", "b"})), DefaultsValue(DefaultsValue::Array{"a", "b"}));
    EXPECT_FALSE(fromVariant(QVariant()));
}

}  // namespace
}  // namespace plenda
