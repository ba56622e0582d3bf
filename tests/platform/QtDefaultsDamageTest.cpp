#include "platform/qt/QtDefaults.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <sstream>

#include <sys/stat.h>

namespace plenda {
namespace {

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
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    QStringList copies() const { return QDir(folder()).entryList({"Plenda.json.unreadable-*"}, QDir::Files); }
};

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
        ASSERT_EQ(copies().size(), 1);
        QFile copy(folder() + "/" + copies().front());
        ASSERT_TRUE(copy.open(QIODevice::ReadOnly));
        EXPECT_EQ(copy.readAll(), bytes);
        EXPECT_NE(output.str().find("the settings file could not be read"), std::string::npos) << output.str();
        EXPECT_NE(output.str().find(copies().front().toStdString()), std::string::npos);
        EXPECT_EQ(QtDefaults::openFile(path(), output)->boolValue("trackingEnabled"), true);
    }
}

TEST_F(SettingsFile, AGoodFileIsReadAsItIsAndEveryWriteStaysPrivate) {
    write("{\"trackingEnabled\": false}");
    ::chmod(QFile::encodeName(path()).constData(), 0644);
    {
        auto defaults = QtDefaults::openFile(path(), output);
        EXPECT_EQ(defaults->object("trackingEnabled"), DefaultsValue(false));
        defaults->setDouble("idleThresholdSeconds", 600);
        defaults->synchronize();
    }
    EXPECT_TRUE(copies().isEmpty());
    EXPECT_TRUE(output.str().empty()) << output.str();
    EXPECT_EQ(mode(path()), 0600u);
    EXPECT_EQ(mode(folder()), 0700u);

    QDir(folder()).removeRecursively();
    {
        auto fresh = QtDefaults::openFile(path(), output);
        fresh->setBool("trackingEnabled", true);
        fresh->synchronize();
    }
    EXPECT_EQ(mode(path()), 0600u);
}

}  // namespace
}  // namespace plenda
