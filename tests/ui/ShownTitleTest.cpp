#include "ui/ViewStyle.h"

#include <gtest/gtest.h>

namespace plenda {
namespace {

TEST(ShownTitle, LongTitlesAreCutWholeCharactersFirst) {
    const std::string emoji = "\xF0\x9F\x8F\x83";  // U+1F3C3, two UTF-16 units
    const struct {
        std::string title;
        qsizetype length;
    } cases[] = {
        {"Xcode \xC2\xB7 engine", 14},
        {std::string(20'000'000, 'a'), shownTitleLength},
        {"\xC3\xA9" + std::string(2000, 'x'), shownTitleLength},
        {[&] { std::string s; for (int i = 0; i < 300; ++i) s += emoji; return s; }(), shownTitleLength},
        {"a" + [&] { std::string s; for (int i = 0; i < 300; ++i) s += emoji; return s; }(), shownTitleLength - 1},
    };
    for (const auto& c : cases) {
        const QString shown = shownTitle(c.title);
        EXPECT_EQ(shown.size(), c.length) << c.title.substr(0, 20);
        EXPECT_FALSE(shown.contains(QChar::ReplacementCharacter));
        EXPECT_FALSE(shown.back().isHighSurrogate());
        EXPECT_TRUE(QString::fromStdString(c.title).startsWith(shown));
    }
}

}  // namespace
}  // namespace plenda
