#include "ViewFixture.h"
#include "ui/ActivityRow.h"
#include "ui/BlockSheets.h"
#include "ui/PeriodCharts.h"
#include "ui/DateTexts.h"
#include "ui/PeriodPicker.h"
#include "views/DayWindowLayout.h"
#include "ui/SummaryContextMenu.h"
#include "ui/SymbolButton.h"
#include "ui/TodayView.h"
#include "ui/TreemapView.h"

#include <QAccessible>
#include <QDialog>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMouseEvent>
#include <QShortcut>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTimeEdit>
#include <QActionGroup>
#include <QApplication>
#include <QMenu>
#include <QTimer>

#include <numeric>
#include <QFontMetricsF>
#include <QKeyEvent>
#include <QScrollArea>
#include <QScrollBar>

namespace plenda {
namespace {

using C = MacBlockCategory;

class TodayViewTest : public ViewFixture {
protected:
    int syncCalls = 0;
    int settingsCalls = 0;
    std::vector<std::pair<std::string, MacBlockCategory>> chosenForApplication;
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
    // Shown (offscreen) and laid out, as the user sees it after the first turn of the loop.
    TodayView& show(QSize size = {}) {
        view = std::make_unique<TodayView>(*store, scheduler, calendar, icons,
                                           TodayView::Actions{[this] { ++syncCalls; }, [this] { ++settingsCalls; },
                                                              [this](std::string_view app, MacBlockCategory c) {
                                                                  chosenForApplication.emplace_back(app, c);
                                                              }});
        if (size.isValid()) view->resize(size);
        view->setAttribute(Qt::WA_DontShowOnScreen);
        view->show();
        QCoreApplication::processEvents();
        return *view;
    }
};

// One day window through a user's session: stepping days, the header actions,
// the context menu and the appearance.
TEST_F(TodayViewTest, DayButtonsHeaderActionsContextMenuAndAppearance) {
    begin(at(2023, 3, 14, 9));  // selects Tuesday 09:00
    add("Mail", C::chores, at(2023, 3, 13, 14), 10);
    scheduler.advanceTo(at(2023, 3, 15, 18));
    add("Xcode", C::work, at(2023, 3, 15, 9), 65);
    add("Mail", C::chores, at(2023, 3, 15, 10), 5);
    auto& v = show();

    EXPECT_EQ(v.titleText(), "Tuesday");
    EXPECT_TRUE(v.isShowingEmptyState());
    EXPECT_TRUE(v.nextDayButton()->isEnabled());
    ASSERT_TRUE(v.previousDayButton()->isEnabled());
    const auto press = [&](Qt::Key key) {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
        QCoreApplication::sendEvent(&v, &event);
    };
    for (const auto& [key, title] : {std::pair{Qt::Key_Right, "Today"}, {Qt::Key_Right, "Today"}, {Qt::Key_Left, "Tuesday"}}) {
        press(key);
        EXPECT_EQ(v.titleText(), title) << "the arrow keys step as the header's arrows, no further";
    }
    v.previousDayButton()->click();
    EXPECT_EQ(v.titleText(), "Monday");
    EXPECT_FALSE(v.isShowingEmptyState());
    EXPECT_EQ(v.rows().size(), 1u);
    EXPECT_FALSE(v.previousDayButton()->isEnabled()) << "Monday 09:00 is before the 14:00 block";
    v.nextDayButton()->click();
    v.nextDayButton()->click();
    EXPECT_EQ(v.titleText(), "Today");
    EXPECT_FALSE(v.nextDayButton()->isEnabled());

    v.syncButton()->click();
    v.syncButton()->click();
    EXPECT_EQ(syncCalls, 0) << "the press returns before the sync starts";
    QCoreApplication::processEvents();
    EXPECT_EQ(syncCalls, 2);
    EXPECT_TRUE(v.syncButton()->isEnabled());
    v.settingsButton()->click();
    EXPECT_EQ(settingsCalls, 1);
    for (const auto& [button, help] : {std::pair{v.previousDayButton(), "Previous day"}, {v.nextDayButton(), "Next day"},
                                       {v.syncButton(), "Sync now"}, {v.settingsButton(), "Settings"}}) {
        EXPECT_EQ(button->toolTip(), help);
        EXPECT_EQ(button->accessibleName(), help) << "screen readers name every control";
    }

    SummaryContextMenu menu(v.rows()[0]->summary(), *store, nullptr, {[](std::string_view, MacBlockCategory) {}});
    EXPECT_FALSE(menu.applicationCategoryMenu()) << "\"Xcode\" names no project, so the activity is the application";
    QStringList texts;
    for (QAction* a : menu.actions()) texts << (a->isSeparator() ? "-" : a->text());
    EXPECT_EQ(texts, (QStringList{"Xcode", "Work · 1h 5m", "-", "Category", "-", "Delete"}));
    EXPECT_FALSE(menu.actions()[0]->isEnabled());
    const auto categories = menu.categoryMenu()->actions();
    QStringList names;  // the checked one marked
    for (QAction* a : categories) {
        names << a->text() + (a->isChecked() ? " ✓" : "");
        EXPECT_TRUE(a->actionGroup() && a->actionGroup()->isExclusive()) << "one category, shown as radio items";
    }
    ASSERT_EQ(names, (QStringList{"Mind", "Body", "Work ✓", "Social", "Self-care", "Meals", "Entertainment", "Chores",
                                  "Commute", "Sleep"}));
    categories[0]->trigger();  // Mind
    ASSERT_EQ(v.rows().size(), 2u);
    EXPECT_EQ(v.rows()[0]->summary().category, C::mind) << "the view redraws from the store";
    SummaryContextMenu second(v.rows()[1]->summary(), *store);
    second.deleteAction()->trigger();
    EXPECT_EQ(v.rows().size(), 1u);
    EXPECT_EQ(v.treemap()->tiles().size(), 1u);

    // An IDE's project: the menu offers the choice for the whole IDE too.
    add("IntelliJ IDEA \u00B7 webapp", C::entertainment, at(2023, 3, 15, 11), 30);
    ASSERT_EQ(v.rows().size(), 2u);
    const auto rows = v.rows();
    const auto ide = std::ranges::find_if(rows, [](ActivityRow* r) { return r->summary().category == C::entertainment; });
    SummaryContextMenu third((*ide)->summary(), *store, &v, {[this](std::string_view app, MacBlockCategory c) {
        chosenForApplication.emplace_back(app, c);
    }});
    ASSERT_TRUE(third.applicationCategoryMenu());
    EXPECT_EQ(third.applicationCategoryMenu()->title(), "Always for IntelliJ IDEA");
    third.applicationCategoryMenu()->actions()[2]->trigger();  // Work
    EXPECT_EQ(chosenForApplication, (std::vector<std::pair<std::string, MacBlockCategory>>{{"IntelliJ IDEA", C::work}}));
    const auto after = v.rows();
    EXPECT_TRUE(std::ranges::none_of(after, [](ActivityRow* r) { return r->summary().category == C::entertainment; }))
        << "this activity changes too";

    for (const auto& [window, appearance] : {std::pair{QColor(30, 30, 34), Appearance::dark},
                                             std::pair{QColor(236, 236, 236), Appearance::light}}) {
        QPalette palette = v.palette();
        palette.setColor(QPalette::Window, window);
        v.setPalette(palette);
        EXPECT_EQ(appearanceOf(v), appearance);
    }
    setForcedAppearance(Appearance::dark);
    EXPECT_EQ(appearanceOf(v), Appearance::dark);
}

// Without a mouse: Tab goes through the header's buttons and then the rows in
// their order, a row shows it has the focus, and the menu key or Shift+F10
// opens its menu; every control has a name a screen reader can say.
TEST_F(TodayViewTest, KeyboardReachesEveryControlAndScreenReadersCanNameThem) {
    begin(at(2023, 3, 15, 18));
    add("Xcode", C::work, at(2023, 3, 15, 9), 65);
    add("Mail", C::chores, at(2023, 3, 15, 10), 5);
    auto& v = show(QSize(720, 560));
    std::vector<QWidget*> tabOrder;
    for (QWidget* w = v.nextInFocusChain(); w != &v; w = w->nextInFocusChain()) {
        if ((w->focusPolicy() & Qt::TabFocus) && w->isVisibleTo(&v) && w->isEnabled()) tabOrder.push_back(w);
    }
    const auto rows = v.rows();
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(tabOrder, (std::vector<QWidget*>{v.periodPicker(), v.previousDayButton(), v.addButton(), v.exportButton(),
                                               v.syncButton(), v.settingsButton(), rows[0], rows[1]}))
        << "the next-day arrow is off on today";

    EXPECT_EQ(unnamedControls(v), "");
    EXPECT_EQ(rows[0]->accessibleName(), "Xcode");
    EXPECT_EQ(rows[0]->accessibleDescription(), "Work, 1h 5m, " + rows[0]->spanText());
    EXPECT_EQ(v.treemap()->accessibleDescription(), "Xcode · 1h 5m; Mail · 5m");

    const QImage unfocused = rows[0]->grab().toImage();
    QApplication::setActiveWindow(&v);
    rows[0]->setFocus(Qt::TabFocusReason);
    ASSERT_TRUE(rows[0]->hasFocus());
    const QImage focused = rows[0]->grab().toImage();
    const QPoint edge = rows[0]->cardRect().topLeft().toPoint() + QPoint(30, 0);
    EXPECT_NE(focused.pixel(edge), unfocused.pixel(edge)) << "a ring along the card's edge";
    saveRender(*rows[0], QStringLiteral("row-keyboard-focus.png"));

    for (const auto& [key, modifiers] : {std::pair{Qt::Key_Menu, Qt::NoModifier}, {Qt::Key_F10, Qt::ShiftModifier}}) {
        QStringList opened;
        QTimer::singleShot(0, [&] {
            if (auto* popup = qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
                opened << popup->actions().first()->text();
                popup->close();
            }
        });
        QKeyEvent event(QEvent::KeyPress, key, modifiers);
        QCoreApplication::sendEvent(rows[0], &event);
        EXPECT_EQ(opened, QStringList{"Xcode"}) << "the row's own menu";
    }
}

// A week and a month at a glance; the sheets that add and edit blocks; undo
// and redo; export of the days shown. Pictures of the week and month for
// people to look at.
TEST_F(TodayViewTest, WeeksMonthsSheetsUndoAndExport) {
    begin(at(2023, 3, 15, 18));  // a Wednesday
    const C categories[] = {C::work, C::social, C::mind, C::body, C::entertainment, C::chores, C::meals,
                            C::commute, C::sleep, C::selfCare};
    for (int day = 1; day <= 15; ++day) {
        for (int i = 0; i < 10; ++i) {
            if ((day + i) % 3 == 0) continue;
            add("Activity " + std::to_string(i), categories[i], at(2023, 3, day, 8 + i), 10.0 * (i + 1) * (day % 4 + 1) / 4);
        }
    }
    std::vector<QDialog*> sheets;
    std::function<void(QDialog&)> onSheet = [](QDialog&) {};
    QStringList exportedTo;
    QTemporaryDir folder;
    view = std::make_unique<TodayView>(*store, scheduler, calendar, icons,
                                       TodayView::Actions{{}, {}, {},
                                                          [&](const QString& suggested) {
                                                              exportedTo << suggested;
                                                              return folder.filePath(suggested);
                                                          },
                                                          [&](QDialog& sheet) { onSheet(sheet); }});
    TodayView& v = *view;
    v.resize(760, 620);
    v.setAttribute(Qt::WA_DontShowOnScreen);
    v.show();

    v.showPeriod(Period::week);
    EXPECT_EQ(v.titleText(), "This Week");
    const PeriodOverview& week = v.weekChart()->overview();
    ASSERT_EQ(week.days.size(), 7u);
    EXPECT_TRUE(v.subtitleText().contains("a tracked day")) << v.subtitleText().toStdString();
    // Bars are as tall as their day's time is long.
    std::size_t busiest = 0;
    for (std::size_t i = 0; i < 7; ++i) busiest = week.days[i].minutes > week.days[busiest].minutes ? i : busiest;
    for (std::size_t i = 0; i < 7; ++i) {
        EXPECT_NEAR(v.weekChart()->barRect(i).height() / v.weekChart()->barRect(busiest).height(),
                    week.days[i].minutes / week.days[busiest].minutes, 0.02);
    }
    ASSERT_EQ(v.rows().size(), 8u) << "seven activities and the rest, as a day's treemap folds them";
    EXPECT_EQ(v.rows().back()->summary().title, "Other");
    EXPECT_TRUE(v.rows().front()->spanText().contains("–")) << "a week's span names its days";
    for (const Appearance appearance : {Appearance::light, Appearance::dark}) {
        setForcedAppearance(appearance);
        saveRender(v, QStringLiteral("week-%1.png").arg(appearance == Appearance::dark ? "dark" : "light"));
    }
    v.previousDayButton()->click();
    EXPECT_TRUE(v.titleText().startsWith("Week of")) << v.titleText().toStdString();
    v.nextDayButton()->click();
    EXPECT_EQ(v.titleText(), "This Week");
    EXPECT_FALSE(v.nextDayButton()->isEnabled());

    // The days shown, exported: blocks, and each day's activities beside them.
    ASSERT_TRUE(v.exportShownDays());
    const QString blocksFile = folder.filePath(exportedTo.front());
    QString activitiesFile = blocksFile;
    activitiesFile.insert(activitiesFile.size() - 4, " activities");
    QFile exported(blocksFile), activities(activitiesFile);
    ASSERT_TRUE(exported.open(QIODevice::ReadOnly) && activities.open(QIODevice::ReadOnly));
    const auto blockRows = exported.readAll().count("\r\n") - 1;
    EXPECT_EQ(blockRows, std::accumulate(week.days.begin(), week.days.end(), 0,
                                         [&](int n, const DayTotal& d) { return n + int(store->blocksOnDay(d.range.start).size()); }));
    EXPECT_EQ(exported.permissions() & (QFileDevice::ReadGroup | QFileDevice::ReadOther), 0) << "private to the user";

    v.showPeriod(Period::month);
    EXPECT_EQ(v.titleText(), "This Month");
    EXPECT_EQ(v.monthGrid()->overview().days.size(), 31u);
    for (const Appearance appearance : {Appearance::dark, Appearance::light}) {
        setForcedAppearance(appearance);
        saveRender(v, QStringLiteral("month-%1.png").arg(appearance == Appearance::dark ? "dark" : "light"));
    }
    const QRectF tenth = v.monthGrid()->cellRect(9);
    QMouseEvent click(QEvent::MouseButtonPress, tenth.center(), v.monthGrid()->mapToGlobal(tenth.center()),
                      Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(v.monthGrid(), &click);
    EXPECT_EQ(v.period(), Period::day) << "a day of the month opens that day";
    EXPECT_EQ(v.titleText(), "Friday");

    // A block the tracker could not see, added through the sheet, then undone and redone.
    onSheet = [&](QDialog& sheet) {
        auto& add = dynamic_cast<AddBlockSheet&>(sheet);
        add.titleField()->setText("Run");
        add.startField()->setTime(QTime(7, 0));
        add.durationField()->setValue(45);
        EXPECT_EQ(add.endField()->time(), QTime(7, 45));
        add.accept();
    };
    const std::size_t before = v.rows().size();
    v.addButton()->click();
    ASSERT_EQ(v.rows().size(), before + 1);
    const auto blocks = store->blocks();
    const auto run = std::ranges::find_if(blocks, [](const MacDayBlock& b) { return b.title == "Run"; });
    ASSERT_NE(run, blocks.end());
    EXPECT_EQ(run->blockType, "manual");
    EXPECT_EQ(run->startDate, at(2023, 3, 10, 7));
    EXPECT_EQ(run->weight, 45);
    const auto shortcut = [&](QKeySequence::StandardKey key) {
        for (QShortcut* s : v.findChildren<QShortcut*>()) {
            if (s->key() == QKeySequence(key)) emit s->activated();
        }
    };
    shortcut(QKeySequence::Undo);
    EXPECT_EQ(v.rows().size(), before);
    shortcut(QKeySequence::Redo);
    EXPECT_EQ(v.rows().size(), before + 1);

    // Edit… lists the activity's blocks of the day; one is changed, then split.
    onSheet = [&](QDialog& sheet) {
        auto& edit = dynamic_cast<EditBlocksSheet&>(sheet);
        ASSERT_EQ(edit.list()->count(), 1);
        edit.endField()->setTime(QTime(8, 0));
        EXPECT_TRUE(edit.apply());
        edit.splitField()->setTime(QTime(7, 30));
        EXPECT_TRUE(edit.split());
        EXPECT_EQ(edit.list()->count(), 2);
        edit.endField()->setTime(QTime(6, 0));
        EXPECT_FALSE(edit.apply());
        EXPECT_FALSE(edit.problem()->text().isEmpty()) << "says why";
    };
    const auto rows = v.rows();
    const auto runRow = std::ranges::find_if(rows, [](ActivityRow* r) { return r->summary().title == "Run"; });
    ASSERT_NE(runRow, rows.end());
    v.editActivity((*runRow)->summary());
    const auto runs = store->blocksOnDay(at(2023, 3, 10));
    EXPECT_EQ(std::ranges::count_if(runs, [](const MacDayBlock& b) { return b.title == "Run"; }), 2);
}

TEST(DateTexts, LocaleAwareNamesDatesAndSpans) {
    const LocalTime monday{.year = 2026, .month = 11, .day = 16, .hour = 9, .minute = 5, .second = 0, .weekday = 2};
    const LocalTime later{.year = 2026, .month = 11, .day = 16, .hour = 22, .minute = 40, .second = 0, .weekday = 2};
    const QLocale us(QLocale::English, QLocale::UnitedStates);
    const QLocale german(QLocale::German, QLocale::Germany);

    EXPECT_EQ(fullWeekdayName(monday, german), "Montag");
    EXPECT_EQ(abbreviatedDate(monday, us), "Nov 16, 2026");
    const QString germanDate = abbreviatedDate(monday, german);
    EXPECT_TRUE(germanDate.startsWith("16.")) << germanDate.toStdString();
    EXPECT_TRUE(germanDate.endsWith("2026")) << germanDate.toStdString();

    const QString span = timeSpan(monday, later, us);
    EXPECT_TRUE(span.startsWith("9:05")) << span.toStdString();
    EXPECT_TRUE(span.endsWith("PM")) << span.toStdString();
    EXPECT_EQ(timeSpan(monday, later, german), QStringLiteral("09:05\u201322:40"));
    EXPECT_EQ(timeSpan(monday, later, QLocale::c()), QStringLiteral("09:05\u201322:40")) << "no seconds";
}

// The day window drawn into PNG files for people to look at (build/…/renders),
// checked for collisions and for following the day window's layout.
struct RenderCase {
    const char* day;
    Appearance appearance;
    QSize size;
};

class DayWindowRender : public TodayViewTest, public ::testing::WithParamInterface<RenderCase> {
protected:
    void fill(const std::string& day) {
        struct Activity { const char* title; C category; int hour, minute; double minutes; };
        const Activity activities[] = {
            {"Xcode · plenda", C::work, 8, 40, 95},         {"Xcode · plenda", C::work, 13, 10, 70},
            {"Xcode · plenda", C::work, 15, 30, 35},        {"github.com", C::work, 10, 20, 48},
            {"Slack", C::social, 11, 15, 31},                {"Slack", C::social, 16, 10, 21},
            {"Mail", C::chores, 8, 5, 34},                   {"Terminal · plenda", C::work, 12, 5, 41},
            {"music.apple.com", C::entertainment, 12, 50, 19}, {"Notes", C::mind, 17, 0, 18},
            {"Figma", C::work, 14, 40, 27},                  {"Calendar", C::chores, 9, 0, 9},
            {"Messages", C::social, 16, 40, 6},              {"youtube.com", C::entertainment, 17, 25, 12},
        };
        if (day == "full")
            for (const Activity& a : activities) add(a.title, a.category, at(2023, 3, 15, a.hour, a.minute), a.minutes);
        if (day == "single") add("Xcode · plenda", C::work, at(2023, 3, 15, 9, 5), 95);
    }
};

TEST_P(DayWindowRender, DrawsWithoutCollisions) {
    const RenderCase& c = GetParam();
    begin(at(2023, 3, 15, 18, 30));
    fill(c.day);
    setForcedAppearance(c.appearance);
    TodayView& v = show(c.size);
    ASSERT_EQ(v.size(), c.size);
    const char* appearance = c.appearance == Appearance::dark ? "dark" : "light";
    saveRender(v, QStringLiteral("day-%1-%2-%3x%4.png").arg(c.day, appearance).arg(c.size.width()).arg(
                      c.size.height()));

    // The title and subtitle end before the day buttons; the buttons stay in the header band,
    // right-aligned, in order.
    const QFontMetricsF title(roundedFont(34, QFont::Bold)), subtitle(systemFont(14, QFont::Medium));
    const double textRight =
        24 + std::max(title.horizontalAdvance(v.titleText()), subtitle.horizontalAdvance(v.subtitleText()));
    EXPECT_LT(textRight + 8, v.previousDayButton()->x());
    const SymbolButton* buttons[] = {v.previousDayButton(), v.nextDayButton(), v.syncButton(), v.settingsButton()};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_GE(buttons[i]->y(), 16);
        EXPECT_LE(buttons[i]->geometry().bottom(), 92 - 8);
        if (i > 0) {
            EXPECT_LT(buttons[i - 1]->geometry().right(), buttons[i]->x());
        }
    }
    EXPECT_EQ(v.settingsButton()->geometry().right() + 1, c.size.width() - 24);
    // The thin scrollbar shows exactly when the rows do not fit.
    const bool overflows = v.list()->widget()->height() > v.list()->viewport()->height();
    EXPECT_EQ(v.scroller()->isVisible(), !v.isShowingEmptyState() && overflows);

    if (std::string(c.day) == "empty") {
        EXPECT_TRUE(v.isShowingEmptyState());
        EXPECT_TRUE(v.treemap()->isHidden());
        EXPECT_TRUE(v.list()->isHidden());
        EXPECT_FALSE(v.previousDayButton()->isEnabled()) << "no blocks at all";
        EXPECT_FALSE(v.nextDayButton()->isEnabled());
        EXPECT_EQ(v.subtitleText(), "Mar 15, 2023 · <1m tracked");
        return;
    }
    // The treemap and the list take their bands.
    const DayWindowLayout layout = dayWindowLayout(c.size.height());
    const auto expectAt = [](const QRectF& actual, const LayoutRect& r) {
        EXPECT_NEAR(actual.x(), r.x, 1);
        EXPECT_NEAR(actual.y(), r.y, 1);
        EXPECT_NEAR(actual.width(), r.width, 1);
        EXPECT_NEAR(actual.height(), r.height, 1);
    };
    expectAt(v.treemap()->contentRect().translated(v.treemap()->pos()), layout.treemapRect(c.size.width()));
    expectAt(v.list()->geometry(), layout.listRect(c.size.width()));
    // Every tile label fits its tile.
    for (const TreemapTile& tile : v.treemap()->tiles()) {
        if (!tile.showsTitle()) continue;
        const double needed = 16 + QFontMetricsF(roundedFont(12, QFont::DemiBold)).height() +
                              (tile.showsDuration() ? QFontMetricsF(systemFont(11, QFont::Medium)).height() : 0);
        EXPECT_LE(needed, tile.frame.height + 0.5) << tile.summary.title;
    }
    // Rows are cards inset from the list's sides, one below the other.
    const auto rows = v.rows();
    ASSERT_FALSE(rows.empty());
    EXPECT_NEAR(rows[0]->cardRect().width(), v.list()->viewport()->width() - 48, 1);
    for (std::size_t i = 1; i < rows.size(); ++i) EXPECT_EQ(rows[i]->y(), rows[i - 1]->geometry().bottom() + 1);
    if (std::string(c.day) == "full") {
        EXPECT_EQ(v.windowTitle(), "Plenda");
        EXPECT_TRUE(v.minimumWidth() >= 720 && v.minimumHeight() >= 560) << "smaller, the header and the treemap collide";
        EXPECT_EQ(v.subtitleText(), "Mar 15, 2023 · 7h 46m tracked");
        EXPECT_FALSE(v.nextDayButton()->isEnabled());
        EXPECT_TRUE(v.previousDayButton()->isEnabled());
        EXPECT_EQ(v.treemap()->tiles().size(), 8u);
        EXPECT_EQ(TreemapView::tooltipText(v.treemap()->tiles()[0].summary), "Xcode · plenda · 3h 20m");
        EXPECT_TRUE(v.treemap()->tiles().back().summary.isAggregate);
        ASSERT_EQ(rows.size(), 11u);
        EXPECT_EQ(rows[0]->sessionsText(), "· 3 sessions");
        EXPECT_EQ(rows[1]->categoryText(), "Social");
        EXPECT_EQ(rows[2]->sessionsText(), "");
    }
}

std::vector<RenderCase> allCases() {
    std::vector<RenderCase> cases;
    for (const char* day : {"full", "single", "empty"})
        for (Appearance a : {Appearance::light, Appearance::dark})
            for (QSize size : {QSize(720, 560), QSize(1200, 900)}) cases.push_back({day, a, size});
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Days, DayWindowRender, ::testing::ValuesIn(allCases()), [](const auto& info) {
    return std::string(info.param.day) + (info.param.appearance == Appearance::dark ? "Dark" : "Light") +
           std::to_string(info.param.size.width());
});

}  // namespace
}  // namespace plenda
