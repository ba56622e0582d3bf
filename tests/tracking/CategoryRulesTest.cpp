#include "fakes/MemoryDefaults.h"
#include "tracking/CategoryRules.h"

#include <gtest/gtest.h>

namespace plenda {
namespace {

using C = MacBlockCategory;

TEST(KeywordTable, RowsHoldTheirKeywordsInOrder) {
    const auto& table = categoryKeywordTable();
    ASSERT_EQ(table.size(), 7u);
    const std::pair<C, std::size_t> expected[] = {{C::work, 35}, {C::social, 13}, {C::entertainment, 13},
                                                  {C::mind, 12},  {C::selfCare, 3}, {C::body, 2},
                                                  {C::chores, 6}};
    for (std::size_t i = 0; i < table.size(); ++i) {
        EXPECT_EQ(table[i].category, expected[i].first) << i;
        EXPECT_EQ(table[i].keywords.size(), expected[i].second) << i;
        for (std::string_view keyword : table[i].keywords) {
            EXPECT_EQ(std::string(keyword), [&] {
                std::string lower(keyword);
                for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
                return lower;
            }()) << keyword;
        }
    }
}

struct ClassifyCase {
    const char* text;
    bool hasHost;
    C expected;
};

class Classification : public ::testing::TestWithParam<ClassifyCase> {};

TEST_P(Classification, FirstKeywordInTableOrderWins) {
    EXPECT_EQ(classifyCategory(GetParam().text, GetParam().hasHost), GetParam().expected) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(
    KeyTexts, Classification,
    ::testing::Values(
        ClassifyCase{"Notes  com.example.notes", false, C::entertainment},
        ClassifyCase{"Notes  com.example.notes", true, C::mind},
        ClassifyCase{"Safari youtube.com com.apple.Safari", true, C::entertainment},
        ClassifyCase{"Safari example.org com.apple.Safari", true, C::mind},
        ClassifyCase{"iTerm2  com.googlecode.iterm2", false, C::work},
        ClassifyCase{"Ghostty  com.mitchellh.ghostty", false, C::entertainment},
        ClassifyCase{"Terminal  com.apple.Terminal", false, C::work},
        ClassifyCase{"XCODE  ", false, C::work},
        ClassifyCase{"Google Chrome docs.google.com com.google.Chrome", true, C::work},
        ClassifyCase{"Google Chrome x.com com.google.Chrome", true, C::social},
        ClassifyCase{"Google Chrome netflix.com com.google.Chrome", true, C::entertainment},
        ClassifyCase{"Google Chrome dropbox.com com.google.Chrome", true, C::mind},
        ClassifyCase{"Google Chrome bbc.co.uk com.google.Chrome", true, C::mind},
        ClassifyCase{"Firefox medium.com org.mozilla.firefox", true, C::mind},
        ClassifyCase{"Headspace  com.getsomeheadspace", false, C::selfCare},
        ClassifyCase{"Day One  com.bloombuilt.dayone", false, C::selfCare},
        ClassifyCase{"Strava  com.strava", false, C::body},
        ClassifyCase{"Amazon  com.amazon.app", false, C::chores},
        ClassifyCase{"Apple TV  com.apple.TV", false, C::entertainment},
        ClassifyCase{"Messages  com.apple.MobileSMS", false, C::social},
        ClassifyCase{"Mail  com.apple.mail", false, C::work},
        ClassifyCase{"\xC3\x9C" "BERSICHT  ", false, C::entertainment}));

class Overrides : public ::testing::Test {
protected:
    MemoryDefaults defaults;
};

TEST_F(Overrides, LookupLowerCasesTheTitle) {
    defaults.set("categoryOverrides", DefaultsValue::Dictionary{{"youtube", "work"}});
    EXPECT_EQ(categoryOverride(defaults, "YouTube"), C::work);
    EXPECT_EQ(categoryOverride(defaults, "Vimeo"), std::nullopt);
}

TEST_F(Overrides, WrittenForATitleAppliesToItsOtherCasings) {
    setCategoryOverride(defaults, "Code \xC2\xB7 api", C::work);
    EXPECT_EQ(categoryOverride(defaults, "CODE \xC2\xB7 API"), C::work);
    EXPECT_EQ(categoryOverride(defaults, "Code \xC2\xB7 web"), std::nullopt);
    setCategoryOverride(defaults, "code \xC2\xB7 API", C::selfCare);
    EXPECT_EQ(categoryOverride(defaults, "Code \xC2\xB7 api"), C::selfCare);
    EXPECT_EQ(defaults.dictionary("categoryOverrides")->at("code \xC2\xB7 api"), DefaultsValue("self"));
}

TEST_F(Overrides, ANonTextValueEmptiesTheWholeDictionaryUntilTheNextWrite) {
    defaults.set("categoryOverrides", DefaultsValue::Dictionary{{"youtube", "work"}, {"mail", 3.0}});
    EXPECT_EQ(categoryOverride(defaults, "YouTube"), std::nullopt);
    setCategoryOverride(defaults, "Slack", C::social);
    EXPECT_EQ(categoryOverride(defaults, "slack"), C::social);
    EXPECT_EQ(defaults.dictionary("categoryOverrides")->size(), 1u);
}

TEST_F(Overrides, UnknownRawValueOrWrongTypeGivesNoOverride) {
    defaults.set("categoryOverrides", DefaultsValue::Dictionary{{"youtube", "Work"}});
    EXPECT_EQ(categoryOverride(defaults, "YouTube"), std::nullopt);
    defaults.set("categoryOverrides", DefaultsValue::Array{"youtube"});
    EXPECT_EQ(categoryOverride(defaults, "YouTube"), std::nullopt);
}

TEST_F(Overrides, ComposedAndDecomposedTitlesShareAnOverride) {
    setCategoryOverride(defaults, "Cafe\xCC\x81", C::meals);
    EXPECT_EQ(categoryOverride(defaults, "CAF\xC3\x89"), C::meals);
}

}  // namespace
}  // namespace plenda
