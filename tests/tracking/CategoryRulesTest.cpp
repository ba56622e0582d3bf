#include "fakes/MemoryDefaults.h"
#include "tracking/CategoryRules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>

namespace plenda {
namespace {

using C = MacBlockCategory;

// Titles are lower-cased before matching: a keyword with a capital never matches.
TEST(KeywordTable, KeywordsAreLowerCase) {
    std::vector<CategoryKeywordRow> rows = categoryKeywordTable();
    rows.insert(rows.end(), linuxCategoryKeywordTable().begin(), linuxCategoryKeywordTable().end());
    for (const auto& row : rows) {
        for (std::string_view keyword : row.keywords) {
            EXPECT_FALSE(std::ranges::any_of(keyword, [](unsigned char c) { return std::isupper(c); })) << keyword;
        }
    }
}

TEST(Classification, FirstKeywordInTableOrderWins) {
    const std::tuple<const char*, bool, C> cases[] = {
        {"Notes  com.example.notes", false, C::entertainment},
        {"Notes  com.example.notes", true, C::mind},
        {"Safari youtube.com com.apple.Safari", true, C::entertainment},
        {"Safari example.org com.apple.Safari", true, C::mind},
        {"iTerm2  com.googlecode.iterm2", false, C::work},
        {"XCODE  ", false, C::work},
        {"Google Chrome docs.google.com com.google.Chrome", true, C::work},
        {"Google Chrome x.com com.google.Chrome", true, C::social},
        {"Google Chrome netflix.com com.google.Chrome", true, C::entertainment},
        {"Google Chrome dropbox.com com.google.Chrome", true, C::mind},
        {"Google Chrome bbc.co.uk com.google.Chrome", true, C::mind},
        {"Day One  com.bloombuilt.dayone", false, C::selfCare},
        {"Strava  com.strava", false, C::body},
        {"Amazon  com.amazon.app", false, C::chores},
        {"Messages  com.apple.MobileSMS", false, C::social},
        {"Mail  com.apple.mail", false, C::work}};
    for (const auto& [text, hasHost, expected] : cases) {
        EXPECT_EQ(classifyCategory(text, hasHost, false), expected) << text << " " << hasHost;
        EXPECT_EQ(classifyCategory(text, hasHost, true), expected) << "the Linux rows come after: " << text;
    }
}

// What a Linux user runs, by its desktop-entry id or window class; macOS
// keeps its seven rows alone.
TEST(Classification, LinuxProgramsFindTheirCategoryOnLinuxOnly) {
    const std::tuple<const char*, bool, C> cases[] = {
        {"IntelliJ IDEA · webapp  jetbrains-idea", false, C::work},
        {"Kate  org.kde.kate", false, C::work},
        {"Firefox  firefox-esr", false, C::mind},
        {"VLC  vlc", false, C::entertainment},
        {"Skate Videos  org.example.skate", false, C::entertainment},
    };
    for (const auto& [text, hasHost, expected] : cases) {
        EXPECT_EQ(classifyCategory(text, hasHost, true), expected) << text;
        EXPECT_EQ(classifyCategory(text, hasHost, false), C::entertainment) << "not on macOS: " << text;
    }
}

TEST(Overrides, AnApplicationIsTheTitleBeforeItsProjectAndKeepsItsOwnTable) {
    for (const auto& [title, application] : std::vector<std::pair<const char*, std::optional<std::string_view>>>{
             {"IntelliJ IDEA \u00B7 webapp", "IntelliJ IDEA"}, {"Xcode", std::nullopt},
             {"github.com", std::nullopt}, {" \u00B7 x", std::nullopt}}) {
        EXPECT_EQ(applicationOfTitle(title), application) << title;
    }
    MemoryDefaults defaults;
    setApplicationCategoryOverride(defaults, "IntelliJ IDEA", C::work);
    EXPECT_EQ(applicationCategoryOverride(defaults, "intellij idea"), C::work);
    EXPECT_EQ(categoryOverride(defaults, "IntelliJ IDEA"), std::nullopt) << "the per-title table keeps its meaning";
    EXPECT_FALSE(defaults.contains("categoryOverrides"));
}

TEST(Overrides, MatchAnyCasingOrCompositionAndBadValuesGiveNone) {
    MemoryDefaults defaults;
    defaults.set("categoryOverrides", DefaultsValue::Dictionary{{"youtube", "work"}});
    EXPECT_EQ(categoryOverride(defaults, "YouTube"), C::work);
    EXPECT_EQ(categoryOverride(defaults, "Vimeo"), std::nullopt);
    setCategoryOverride(defaults, "Code \xC2\xB7 api", C::work);
    EXPECT_EQ(categoryOverride(defaults, "CODE \xC2\xB7 API"), C::work);
    EXPECT_EQ(categoryOverride(defaults, "Code \xC2\xB7 web"), std::nullopt);
    setCategoryOverride(defaults, "code \xC2\xB7 API", C::selfCare);
    EXPECT_EQ(categoryOverride(defaults, "Code \xC2\xB7 api"), C::selfCare);
    EXPECT_EQ(defaults.dictionary("categoryOverrides")->at("code \xC2\xB7 api"), DefaultsValue("self"));
    setCategoryOverride(defaults, "Cafe\xCC\x81", C::meals);
    EXPECT_EQ(categoryOverride(defaults, "CAF\xC3\x89"), C::meals);

    defaults.set("categoryOverrides", DefaultsValue::Dictionary{{"youtube", "Work"}});  // unknown raw value
    EXPECT_EQ(categoryOverride(defaults, "YouTube"), std::nullopt);
    defaults.set("categoryOverrides", DefaultsValue::Array{"youtube"});
    EXPECT_EQ(categoryOverride(defaults, "YouTube"), std::nullopt);
    // One value that is not text empties the whole dictionary until the next write.
    defaults.set("categoryOverrides", DefaultsValue::Dictionary{{"youtube", "work"}, {"mail", 3.0}});
    EXPECT_EQ(categoryOverride(defaults, "YouTube"), std::nullopt);
    setCategoryOverride(defaults, "Slack", C::social);
    EXPECT_EQ(categoryOverride(defaults, "slack"), C::social);
    EXPECT_EQ(defaults.dictionary("categoryOverrides")->size(), 1u);
}

}  // namespace
}  // namespace plenda
