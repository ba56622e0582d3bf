#include "ViewFixture.h"
#include "ui/ActivityRow.h"
#include "views/DayWindowLayout.h"
#include "ui/SummaryContextMenu.h"
#include "ui/SymbolButton.h"
#include "ui/TodayView.h"
#include "ui/TreemapView.h"

#include <QScrollArea>

namespace plenda {
namespace {

using C = MacBlockCategory;

class TodayViewTest : public ViewFixture {
protected:
    int syncCalls = 0;
    int settingsCalls = 0;
    std::unique_ptr<TodayView> view;

    // 2023-03-13 is a Monday; "now" is mostly Wednesday evening.
    void begin(Date now) {
        scheduler.advanceTo(now);
        makeViewStore();  // selects the moment of creation
    }
    void TearDown() override {
        view.reset();
        ViewFixture::TearDown();
    }
    TodayView& show() {
        view = std::make_unique<TodayView>(
            *store, scheduler, calendar, icons,
            TodayView::Actions{[this] { ++syncCalls; }, [this] { ++settingsCalls; }});
        view->setAttribute(Qt::WA_DontShowOnScreen);
        view->show();
        return *view;
    }
};

TEST_F(TodayViewTest, TodayHeaderTreemapAndList) {
    begin(at(2023, 3, 15, 18));
    add("Xcode", C::work, at(2023, 3, 15, 9, 5), 65);
    add("Xcode", C::work, at(2023, 3, 15, 11), 20);
    add("Safari", C::social, at(2023, 3, 15, 10), 30);
    auto& v = show();

    EXPECT_EQ(v.windowTitle(), "Plenda");
    EXPECT_GE(v.minimumWidth(), 720);
    EXPECT_GE(v.minimumHeight(), 560);
    EXPECT_EQ(v.titleText(), "Today");
    EXPECT_EQ(v.subtitleText(), "Mar 15, 2023 · 1h 55m tracked");
    EXPECT_FALSE(v.nextDayButton()->isEnabled());
    EXPECT_TRUE(v.previousDayButton()->isEnabled());
    EXPECT_FALSE(v.isShowingEmptyState());

    ASSERT_EQ(v.rows().size(), 2u);
    EXPECT_EQ(v.rows()[0]->summary().title, "Xcode");
    EXPECT_EQ(v.rows()[0]->sessionsText(), "· 2 sessions");
    EXPECT_EQ(v.rows()[1]->sessionsText(), "");
    EXPECT_EQ(v.rows()[1]->categoryText(), "Social");
    EXPECT_EQ(v.treemap()->tiles().size(), 2u);
    EXPECT_EQ(TreemapView::tooltipText(v.treemap()->tiles()[0].summary), "Xcode · 1h 25m");
}

TEST_F(TodayViewTest, ChildGeometryFollowsTheDayWindowLayout) {
    begin(at(2023, 3, 15, 18));
    add("Xcode", C::work, at(2023, 3, 15, 9), 60);
    auto& v = show();
    for (const QSize size : {QSize(720, 560), QSize(1200, 900), QSize(900, 1300)}) {
        v.resize(size);
        const DayWindowLayout layout = dayWindowLayout(size.height());
        const QRectF content = v.treemap()->contentRect().translated(v.treemap()->pos());
        EXPECT_NEAR(content.x(), 24, 0.5);
        EXPECT_NEAR(content.y(), 92, 0.5);
        EXPECT_NEAR(content.width(), size.width() - 48, 1);
        EXPECT_NEAR(content.height(), layout.treemapHeight, 1);
        EXPECT_NEAR(v.list()->y(), 92 + layout.treemapHeight + 8, 1);
        EXPECT_NEAR(v.list()->geometry().bottom() + 1, size.height(), 1);
        // The header's controls stay inside the header band, right-aligned.
        for (SymbolButton* b : {v.previousDayButton(), v.nextDayButton(), v.syncButton(), v.settingsButton()}) {
            EXPECT_GE(b->y(), 16);
            EXPECT_LE(b->geometry().bottom(), 92 - 8);
        }
        EXPECT_EQ(v.settingsButton()->geometry().right() + 1, size.width() - 24);
        EXPECT_LT(v.previousDayButton()->x(), v.nextDayButton()->x());
        EXPECT_LT(v.nextDayButton()->geometry().right(), v.syncButton()->x());
        const auto rows = v.rows();
        ASSERT_EQ(rows.size(), 1u);
        EXPECT_EQ(rows[0]->height(), ActivityRow::rowHeight);
        EXPECT_NEAR(rows[0]->cardRect().width(), v.list()->viewport()->width() - 48, 1);
    }
}

TEST_F(TodayViewTest, EmptyDayShowsTheEmptyState) {
    begin(at(2023, 3, 15, 18));
    auto& v = show();
    EXPECT_TRUE(v.isShowingEmptyState());
    EXPECT_TRUE(v.treemap()->isHidden());
    EXPECT_TRUE(v.list()->isHidden());
    EXPECT_FALSE(v.previousDayButton()->isEnabled()) << "no blocks at all";
    EXPECT_FALSE(v.nextDayButton()->isEnabled());
    EXPECT_EQ(v.subtitleText(), "Mar 15, 2023 · <1m tracked");
}

TEST_F(TodayViewTest, SteppingDaysFollowsEarliestBlockInstant) {
    begin(at(2023, 3, 14, 9));  // selects Tuesday 09:00
    add("Mail", C::chores, at(2023, 3, 13, 14), 10);
    scheduler.advanceTo(at(2023, 3, 15, 18));
    auto& v = show();

    EXPECT_EQ(v.titleText(), "Tuesday");
    EXPECT_TRUE(v.isShowingEmptyState());
    EXPECT_TRUE(v.nextDayButton()->isEnabled());
    ASSERT_TRUE(v.previousDayButton()->isEnabled());
    v.previousDayButton()->click();
    EXPECT_EQ(v.titleText(), "Monday");
    EXPECT_FALSE(v.isShowingEmptyState());
    EXPECT_EQ(v.rows().size(), 1u);
    EXPECT_FALSE(v.previousDayButton()->isEnabled()) << "Monday 09:00 is before the 14:00 block";
    v.nextDayButton()->click();
    v.nextDayButton()->click();
    EXPECT_EQ(v.titleText(), "Today");
    EXPECT_FALSE(v.nextDayButton()->isEnabled());
}

TEST_F(TodayViewTest, SyncStartsLaterSettingsAtOnce) {
    begin(at(2023, 3, 15, 18));
    auto& v = show();
    v.syncButton()->click();
    v.syncButton()->click();
    EXPECT_EQ(syncCalls, 0) << "the press returns before the sync starts";
    QCoreApplication::processEvents();
    EXPECT_EQ(syncCalls, 2);
    EXPECT_TRUE(v.syncButton()->isEnabled());
    v.settingsButton()->click();
    EXPECT_EQ(settingsCalls, 1);
    EXPECT_EQ(v.syncButton()->toolTip(), "Sync now");
    EXPECT_EQ(v.settingsButton()->toolTip(), "Settings");
}

TEST_F(TodayViewTest, ContextMenuRecategorisesAndDeletes) {
    begin(at(2023, 3, 15, 18));
    add("Xcode", C::work, at(2023, 3, 15, 9), 65);
    add("Mail", C::chores, at(2023, 3, 15, 10), 5);
    auto& v = show();
    const MacActivitySummary xcode = v.rows()[0]->summary();

    SummaryContextMenu menu(xcode, *store);
    const auto actions = menu.actions();
    ASSERT_EQ(actions.size(), 6);
    EXPECT_EQ(actions[0]->text(), "Xcode");
    EXPECT_FALSE(actions[0]->isEnabled());
    EXPECT_EQ(actions[1]->text(), "Work · 1h 5m");
    EXPECT_TRUE(actions[2]->isSeparator());
    EXPECT_EQ(actions[3]->text(), "Category");
    EXPECT_TRUE(actions[4]->isSeparator());
    EXPECT_EQ(actions[5]->text(), "Delete");

    const auto categories = menu.categoryMenu()->actions();
    ASSERT_EQ(categories.size(), 10);
    QStringList names;
    for (QAction* a : categories) {
        names << a->text();
        EXPECT_EQ(a->isChecked(), a->text() == "Work") << a->text().toStdString();
    }
    EXPECT_EQ(names, (QStringList{"Mind", "Body", "Work", "Social", "Self-care", "Meals", "Entertainment", "Chores",
                                  "Commute", "Sleep"}));

    categories[0]->trigger();  // Mind
    ASSERT_EQ(v.rows().size(), 2u);
    EXPECT_EQ(v.rows()[0]->summary().category, C::mind) << "the view redraws from the store";
    EXPECT_EQ(v.rows()[0]->categoryText(), "Mind");

    SummaryContextMenu second(v.rows()[1]->summary(), *store);
    second.deleteAction()->trigger();
    EXPECT_EQ(v.rows().size(), 1u);
    EXPECT_EQ(v.treemap()->tiles().size(), 1u);
}

TEST_F(TodayViewTest, AppearanceFollowsThePaletteUnlessForced) {
    begin(at(2023, 3, 15, 18));
    auto& v = show();
    QPalette dark = v.palette();
    dark.setColor(QPalette::Window, QColor(30, 30, 34));
    v.setPalette(dark);
    EXPECT_EQ(appearanceOf(v), Appearance::dark);
    QPalette light = v.palette();
    light.setColor(QPalette::Window, QColor(236, 236, 236));
    v.setPalette(light);
    EXPECT_EQ(appearanceOf(v), Appearance::light);
    setForcedAppearance(Appearance::dark);
    EXPECT_EQ(appearanceOf(v), Appearance::dark);
}

}  // namespace
}  // namespace plenda
