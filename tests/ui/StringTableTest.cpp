#include "model/MacBlockCategory.h"
#include "ui/Translations.h"

#include <QApplication>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QTranslator>
#include <gtest/gtest.h>

#include <set>

namespace plenda {
namespace {

// Every key the program looks up, including those whose text is the key.
const std::set<QString> systemKeys = {
    "Plenda", "Allowed",
    "Site addresses and editor project names become block titles and sync to your private iCloud database. "
    "Nothing is sent anywhere else. Pause tracking from the menu to stop recording entirely.",
    "mac.browser.access", "mac.category", "mac.delete", "mac.empty.body", "mac.empty.title",
    "mac.grant.browser", "mac.grant.projects", "mac.minutes.1", "mac.minutes.10", "mac.minutes.15",
    "mac.minutes.2", "mac.minutes.3", "mac.minutes.5", "mac.open", "mac.other", "mac.pause", "mac.paused",
    "mac.project.names", "mac.quit", "mac.resume", "mac.seconds.15", "mac.seconds.30", "mac.seconds.5",
    "mac.sessions", "mac.settings", "mac.settings.add", "mac.settings.browser", "mac.settings.general",
    "mac.settings.grant.accessibility", "mac.settings.grant.automation", "mac.settings.idle",
    "mac.settings.ignored", "mac.settings.launch", "mac.settings.launch.note", "mac.settings.merge",
    "mac.settings.minimum", "mac.settings.privacy", "mac.settings.projects", "mac.settings.remove",
    "mac.settings.tracking", "mac.sync.incomplete", "mac.sync.local", "mac.sync.now", "mac.sync.pending",
    "mac.sync.synced", "mac.sync.syncing", "mac.sync.testmode", "mac.sync.unavailable", "mac.today",
    "mac.today.lower", "mac.tracked",
};

// Keys written as string literals anywhere in the sources.
std::set<QString> keysInSources() {
    std::set<QString> keys;
    static const QRegularExpression literal(QStringLiteral("\"((?:mac|category)\\.[a-z0-9.]*[a-z0-9])\""));
    QDirIterator it(QStringLiteral(PLENDA_SOURCE_DIR "/src"), {"*.cpp", "*.h", "*.mm"}, QDir::Files,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        QFile file(it.next());
        if (!file.open(QIODevice::ReadOnly)) continue;
        const QString text = QString::fromUtf8(file.readAll());
        for (auto match = literal.globalMatch(text); match.hasNext();) keys.insert(match.next().captured(1));
    }
    return keys;
}

class StringTableTest : public ::testing::Test {
protected:
    int argc = 1;
    char name[8] = "strings";
    char* argv[1] = {name};
    QCoreApplication app{argc, argv};
    QTranslator translator;

    void SetUp() override { ASSERT_TRUE(translator.load(QStringLiteral("plenda_en"), QStringLiteral(":/i18n"))); }
    bool hasText(const QString& key, int n = -1) const {
        return !translator.translate(nullptr, key.toUtf8().constData(), nullptr, n).isEmpty();
    }
};

TEST_F(StringTableTest, EveryKeyHasAText) {
    std::set<QString> keys = systemKeys;
    for (MacBlockCategory category : allCategories) {
        keys.insert(QString::fromUtf8(labelKey(category).data(), qsizetype(labelKey(category).size())));
    }
    const auto used = keysInSources();
    EXPECT_TRUE(used.count("mac.today")) << "the source scan found nothing";
    keys.insert(used.begin(), used.end());
    for (const QString& key : keys) EXPECT_TRUE(hasText(key)) << key.toStdString();
    EXPECT_EQ(keys.size(), 64u) << "a key was added without being listed here";
}

TEST_F(StringTableTest, FormatsTakeTheirArguments) {
    ASSERT_TRUE(installTranslations(app));
    EXPECT_EQ(qtTrId("mac.tracked").arg("1h 5m"), "1h 5m tracked");
    EXPECT_EQ(qtTrId("mac.tracked").arg("").trimmed(), "tracked");
    EXPECT_EQ(qtTrId("mac.sessions", 1), "1 session");
    EXPECT_EQ(qtTrId("mac.sessions", 3), "3 sessions");
    EXPECT_EQ(qtTrId("Plenda"), "Plenda");
    EXPECT_EQ(qtTrId("category.selfcare"), "Self-care");
    EXPECT_EQ(qtTrId("no.such.key"), "no.such.key");
}

}  // namespace
}  // namespace plenda
