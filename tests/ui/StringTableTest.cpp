#include "model/MacBlockCategory.h"
#include "platform/qt/QtStringTable.h"
#include "ui/ViewFixture.h"

#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QTranslator>
#include <gtest/gtest.h>

#include <set>

namespace plenda {
namespace {

// Keys the program looks up by their text, which the scan below cannot tell from other strings.
const std::set<QString> textKeys = {
    "Plenda", "Allowed",
    "Site addresses and editor project names become block titles and sync to your private iCloud database. "
    "Nothing is sent anywhere else. Pause tracking from the menu to stop recording entirely.",
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

using StringTableTest = ViewFixture;

TEST_F(StringTableTest, EveryKeyHasAText) {
    QTranslator english;
    ASSERT_TRUE(english.load(QStringLiteral("plenda_en"), QStringLiteral(":/i18n")));
    std::set<QString> keys = keysInSources();
    EXPECT_TRUE(keys.count("mac.today") && keys.count("mac.settings.grant.automation")) << "the source scan failed";
    keys.insert(textKeys.begin(), textKeys.end());
    for (MacBlockCategory category : allCategories)
        keys.insert(QString::fromUtf8(labelKey(category).data(), qsizetype(labelKey(category).size())));
    for (const QString& key : keys)
        EXPECT_FALSE(english.translate(nullptr, key.toUtf8().constData()).isEmpty()) << key.toStdString();
}

// What Linux shows never speaks of the Mac's services; macOS keeps its texts.
TEST_F(StringTableTest, NoTextShownOffTheMacNamesMacServices) {
    QFile table(QStringLiteral(PLENDA_SOURCE_DIR "/resources/i18n/plenda_en.ts"));
    ASSERT_TRUE(table.open(QIODevice::ReadOnly));
    static const QRegularExpression id(QStringLiteral("<message id=\"([^\"@]*)\""));
    static const QRegularExpression macWords(QStringLiteral("iCloud|this Mac|menu bar"));
    int checked = 0;
    for (auto match = id.globalMatch(QString::fromUtf8(table.readAll())); match.hasNext(); ++checked) {
        const QString key = match.next().captured(1).replace(QStringLiteral("&amp;"), QStringLiteral("&"));
        const QString shown = QtStringTable::lookup(key.toStdString());
#ifdef __APPLE__
        EXPECT_EQ(shown, qtTrId(key.toUtf8().constData()));
#else
        EXPECT_FALSE(shown.contains(macWords)) << key.toStdString() << ": " << shown.toStdString();
#endif
    }
    EXPECT_GT(checked, 50);
}

}  // namespace
}  // namespace plenda
