#include "fakes/StoreFixture.h"
#include "views/ActivitySummaries.h"
#include "views/DurationText.h"
#include "views/ViewColors.h"

#include <gtest/gtest.h>

namespace plenda {
namespace {

using C = MacBlockCategory;

MacDayBlock block(std::string title, C category, double start, std::optional<double> end, double weight) {
    MacDayBlock b = makeBlock(std::move(title), category, Date(start), Date(end.value_or(start)), weight);
    if (!end) b.endDate.reset();
    return b;
}

MacActivitySummary summary(std::string id, double minutes, std::int64_t sessions, double first, double last) {
    return {.id = id, .title = id, .category = C::work, .minutes = minutes, .sessions = sessions,
            .firstStart = Date(first), .lastEnd = Date(last), .isAggregate = false};
}

TEST(MakeSummaries, FoldsByTitleAndCategoryLargestFirst) {
    MacDayBlock noStart = block("Notes", C::mind, 0, 700, 3);
    noStart.startDate.reset();
    noStart.createdAt = Date(100);
    const auto summaries = makeSummaries({
        noStart,
        block("Notes", C::mind, 50, std::nullopt, 2),
        block("Mail", C::chores, 400, std::nullopt, 1),
        block("Xcode", C::work, 1000, 1600, 10),
        block("Xcode", C::mind, 2000, 2300, 5),
        block("Xcode", C::work, 500, 900, 6.5),
        block("Safari", C::social, 3000, 6000, 50),
        block(" Journal ", C::selfCare, 0, 60, 1),
    });
    ASSERT_EQ(summaries.size(), 6u);
    EXPECT_EQ(summaries[0].id, "social|Safari");
    EXPECT_EQ(summaries[1].id, "work|Xcode");
    EXPECT_DOUBLE_EQ(summaries[1].minutes, 16.5);
    EXPECT_EQ(summaries[1].sessions, 2);
    EXPECT_EQ(summaries[1].firstStart, Date(500));
    EXPECT_EQ(summaries[1].lastEnd, Date(1600));
    // A block without start counts from its creation; one without end leaves lastEnd alone.
    EXPECT_EQ(summaries[2].id, "mind|Notes");
    EXPECT_EQ(summaries[2].firstStart, Date(50));
    EXPECT_EQ(summaries[2].lastEnd, Date(700));
    EXPECT_EQ(summaries[3].id, "mind|Xcode");
    EXPECT_EQ(summaries[4].lastEnd, Date(400)) << "a new summary without end ends at its start";
    // The key uses the stored raw value and leaves the title untouched.
    EXPECT_EQ(summaries[5].id, "self| Journal ");
    EXPECT_EQ(summaries[5].title, " Journal ");
}

TEST(MakeSummaries, EqualMinutesComeOutInIdOrderWhateverTheInputOrder) {
    std::vector<MacDayBlock> blocks = {block("b", C::work, 0, 60, 5), block("a", C::work, 0, 60, 5),
                                       block("c", C::mind, 0, 60, 5), block("z", C::body, 0, 60, 9)};
    const auto forward = makeSummaries(blocks);
    std::reverse(blocks.begin(), blocks.end());
    const auto backward = makeSummaries(blocks);
    ASSERT_EQ(forward, backward);
    std::vector<std::string> ids;
    for (const auto& s : forward) ids.push_back(s.id);
    EXPECT_EQ(ids, (std::vector<std::string>{"body|z", "mind|c", "work|a", "work|b"}));
    EXPECT_TRUE(makeSummaries({}).empty());
}

TEST(TreemapSummaries, EightStayNineBecomeSevenAndOther) {
    for (std::size_t count : {0u, 1u, 8u, 9u, 12u}) {
        std::vector<MacActivitySummary> all;
        for (std::size_t i = 0; i < count; ++i) {
            all.push_back(summary("s" + std::to_string(i), 100.0 - double(i) * 5, std::int64_t(i) + 1,
                                  1000.0 - double(i), 2000.0 + double(i)));
        }
        const auto result = treemapSummaries(all, "Other");
        SCOPED_TRACE(count);
        if (count <= 8) {
            EXPECT_EQ(result, all);
            continue;
        }
        ASSERT_EQ(result.size(), 8u);
        EXPECT_TRUE(std::equal(result.begin(), result.begin() + 7, all.begin()));
        const MacActivitySummary& other = result.back();
        EXPECT_EQ(other.id, "__other");
        EXPECT_EQ(other.category, C::chores);
        EXPECT_TRUE(other.isAggregate);
        // Items 7 on: 65, 60, ... minutes and 8, 9, ... sessions; more than the first, yet last.
        EXPECT_DOUBLE_EQ(other.minutes, count == 9 ? 125 : 275);
        EXPECT_EQ(other.sessions, count == 9 ? 17 : 50);
        EXPECT_EQ(other.firstStart, Date(1000.0 - double(count - 1)));
        EXPECT_EQ(other.lastEnd, Date(2000.0 + double(count - 1)));
    }
}

class StoreSummariesTest : public StoreFixture {};

TEST_F(StoreSummariesTest, TreemapFollowsSelectedDayNotchFollowsToday) {
    cloudSyncDisabled = true;
    scheduler.advanceTo(at(2023, 3, 15, 18));
    auto& s = makeStore();
    for (int i = 0; i < 9; ++i) {
        s.upsert(makeBlock("Yesterday " + std::to_string(i), C::work, at(2023, 3, 14, 8, i),
                           at(2023, 3, 14, 8, i + 1)));
    }
    for (int i = 0; i < 7; ++i) {
        s.upsert(makeBlock("Today " + std::to_string(i), C::mind, at(2023, 3, 15, 9, i),
                           at(2023, 3, 15, 9, i + 1)));
    }
    s.shiftSelectedDate(-1);

    const auto treemap = treemapSummaries(s, strings);
    ASSERT_EQ(treemap.size(), 8u) << "the nine of the selected day";
    EXPECT_EQ(treemap.back().title, "mac.other");

    const auto notch = notchSummaries(s, scheduler.now());
    ASSERT_EQ(notch.size(), 6u);
    for (const auto& n : notch) EXPECT_EQ(n.title.rfind("Today", 0), 0u);
}

TEST(FormatDuration, Table) {
    const std::vector<std::pair<double, std::string>> cases = {
        {0, "<1m"},   {0.99, "<1m"}, {-3, "<1m"},   {1, "1m"},      {1.4, "1m"},       {1.5, "2m"},
        {45, "45m"},  {59.4, "59m"}, {59.5, "1h"},  {60, "1h"},     {65, "1h 5m"},     {119.6, "2h"},
        {120, "2h"},  {1500, "25h"}, {1501, "25h 1m"}, {100000, "1666h 40m"},
        {std::numeric_limits<double>::quiet_NaN(), "—"}, {std::numeric_limits<double>::infinity(), "—"},
    };
    for (const auto& [minutes, text] : cases) EXPECT_EQ(formatDuration(minutes), text) << minutes;
}

TEST(Colors, CategoryPairsAndAggregateNeutral) {
    EXPECT_EQ(categoryColor(C::work).resolved(Appearance::dark), categoryColor(C::work).dark);
    // Every category has its own colour in both appearances.
    for (std::size_t i = 0; i < allCategories.size(); ++i) {
        for (std::size_t j = i + 1; j < allCategories.size(); ++j) {
            EXPECT_NE(categoryColor(allCategories[i]).light, categoryColor(allCategories[j]).light);
            EXPECT_NE(categoryColor(allCategories[i]).dark, categoryColor(allCategories[j]).dark);
        }
    }
    MacActivitySummary other = summary("__other", 1, 1, 0, 0);
    other.category = C::chores;
    other.isAggregate = true;
    EXPECT_EQ(summaryColor(other).light, Palette::textSecondary.light);
    other.isAggregate = false;
    EXPECT_EQ(summaryColor(other).dark, categoryColor(C::chores).dark);
}

}  // namespace
}  // namespace plenda
