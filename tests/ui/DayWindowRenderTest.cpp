// Draws the day window offscreen into PNG files for people to look at, and
// checks that nothing in it collides. Pixels are never compared.
#include "ViewFixture.h"
#include "ui/ActivityRow.h"
#include "ui/SymbolButton.h"
#include "ui/TodayView.h"
#include "ui/TreemapView.h"

#include <QCoreApplication>
#include <QDir>
#include <QFontMetricsF>
#include <QPixmap>
#include <QScrollArea>
#include <QScrollBar>

namespace plenda {
namespace {

using C = MacBlockCategory;

struct RenderCase {
    const char* day;
    Appearance appearance;
    QSize size;
};

class DayWindowRender : public ViewFixture, public ::testing::WithParamInterface<RenderCase> {
protected:
    void fill(const std::string& day) {
        if (day == "full") {
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
            for (const Activity& a : activities) add(a.title, a.category, at(2023, 3, 15, a.hour, a.minute), a.minutes);
        } else if (day == "single") {
            add("Xcode · plenda", C::work, at(2023, 3, 15, 9, 5), 95);
        }
    }
};

TEST_P(DayWindowRender, DrawsWithoutCollisions) {
    const RenderCase& c = GetParam();
    scheduler.advanceTo(at(2023, 3, 15, 18, 30));
    makeViewStore();
    fill(c.day);
    setForcedAppearance(c.appearance);

    TodayView view(*store, scheduler, calendar, icons, {});
    view.resize(c.size);
    // Shown (offscreen) and laid out, as the user sees it after the first turn of the loop.
    view.setAttribute(Qt::WA_DontShowOnScreen);
    view.show();
    QCoreApplication::processEvents();
    const QPixmap picture = view.grab();
    ASSERT_EQ(picture.size(), c.size * picture.devicePixelRatio());

    QDir().mkpath(QStringLiteral(PLENDA_RENDER_DIR));
    const QString file = QStringLiteral(PLENDA_RENDER_DIR "/day-%1-%2-%3x%4.png")
                             .arg(c.day)
                             .arg(c.appearance == Appearance::dark ? "dark" : "light")
                             .arg(c.size.width())
                             .arg(c.size.height());
    ASSERT_TRUE(picture.save(file)) << file.toStdString();

    // The title and subtitle end before the day buttons begin.
    const QFontMetricsF title(roundedFont(34, QFont::Bold));
    const QFontMetricsF subtitle(systemFont(14, QFont::Medium));
    const double textRight = 24 + std::max(title.horizontalAdvance(view.titleText()),
                                           subtitle.horizontalAdvance(view.subtitleText()));
    EXPECT_LT(textRight + 8, view.previousDayButton()->x());

    // The thin scrollbar shows exactly when the rows do not fit.
    const bool overflows = view.list()->widget()->height() > view.list()->viewport()->height();
    EXPECT_EQ(view.scroller()->isVisible(), !view.isShowingEmptyState() && overflows);

    if (std::string(c.day) == "empty") {
        EXPECT_TRUE(view.isShowingEmptyState());
        return;
    }
    // Every tile label fits its tile.
    for (const TreemapTile& tile : view.treemap()->tiles()) {
        if (!tile.showsTitle()) continue;
        const QFontMetricsF label(roundedFont(12, QFont::DemiBold));
        const QFontMetricsF duration(systemFont(11, QFont::Medium));
        const double needed = 16 + label.height() + (tile.showsDuration() ? duration.height() : 0);
        EXPECT_LE(needed, tile.frame.height + 0.5) << tile.summary.title;
    }
    // Rows fill the list's width, one below the other.
    const auto rows = view.rows();
    ASSERT_FALSE(rows.empty());
    for (std::size_t i = 1; i < rows.size(); ++i) EXPECT_EQ(rows[i]->y(), rows[i - 1]->geometry().bottom() + 1);
    if (std::string(c.day) == "full") {
        EXPECT_EQ(view.treemap()->tiles().size(), 8u);
        EXPECT_TRUE(view.treemap()->tiles().back().summary.isAggregate);
        EXPECT_EQ(rows.size(), 11u);
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
