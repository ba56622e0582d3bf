#pragma once

#include "base/Observers.h"
#include "ui/SummaryContextMenu.h"
#include "views/MacActivitySummary.h"
#include "views/PeriodOverview.h"
#include "views/ViewColors.h"

#include <QWidget>

#include <functional>
#include <optional>
#include <vector>

class QDialog;
class QScrollArea;
class QScrollBar;
class QVBoxLayout;

namespace plenda {

class ActivityRow;
class Calendar;
class Clock;
class IconProvider;
class MacActivityStore;
class MonthGrid;
class PeriodPicker;
class SymbolButton;
class TreemapView;
class WeekChart;

// The day window's content: header with the day (or week, or month), its
// total, stepping, adding, exporting and sync status; the day's treemap
// above its list, or an empty state; the week's bars above its activities;
// the month's calendar. Undo and redo take edits back and do them again.
class TodayView final : public QWidget {
public:
    struct Actions {
        std::function<void()> syncNow;        // started in a later turn of the loop
        std::function<void()> openSettings;
        // "Always for this application" in a summary's menu; none: not offered.
        ApplicationCategoryChooser chooseCategoryForApplication;
        // Where to export to, given a suggested file name; empty: cancelled.
        // None: a save dialog asks.
        std::function<QString(const QString& suggested)> chooseExportFile = {};
        // Opens a sheet (add, edit) and returns when it is closed. None: modally, over this window.
        std::function<void(QDialog&)> showSheet = {};
    };

    TodayView(MacActivityStore& store, const Clock& clock, const Calendar& calendar, const IconProvider& icons,
              Actions actions, QWidget* parent = nullptr);
    ~TodayView() override;

    // Re-reads the store; called on every change it publishes.
    void reload();

    QString titleText() const { return title_; }
    QString subtitleText() const { return subtitle_; }
    bool isShowingEmptyState() const { return period_ == Period::day && summaries_.empty(); }
    SymbolButton* previousDayButton() const { return previous_; }
    SymbolButton* nextDayButton() const { return next_; }
    SymbolButton* syncButton() const { return sync_; }
    SymbolButton* settingsButton() const { return settings_; }
    SymbolButton* addButton() const { return add_; }
    SymbolButton* exportButton() const { return export_; }
    PeriodPicker* periodPicker() const { return picker_; }
    Period period() const { return period_; }
    void showPeriod(Period period);
    WeekChart* weekChart() const { return week_; }
    MonthGrid* monthGrid() const { return month_; }
    // The shown days written where the user chose; false when cancelled or not written.
    bool exportShownDays();
    void addBlock();
    void editActivity(const MacActivitySummary& summary);
    TreemapView* treemap() const { return treemap_; }
    QScrollArea* list() const { return list_; }
    // Floats over the list's right margin, so rows stay centred.
    QScrollBar* scroller() const { return scroller_; }
    std::vector<ActivityRow*> rows() const;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void layoutChildren();
    void step(int periods);
    void openDay(Date day);
    DayRange shownRange() const;
    void showSheet(QDialog& sheet);
    void styleScroller();
    double titleBaseline() const;
    void paintHeader(QPainter& painter);
    void paintEmptyState(QPainter& painter);

    MacActivityStore& store_;
    const Clock& clock_;
    const Calendar& calendar_;
    const IconProvider& icons_;
    Actions actions_;

    SymbolButton* previous_;
    SymbolButton* next_;
    SymbolButton* add_;
    SymbolButton* export_;
    SymbolButton* sync_;
    SymbolButton* settings_;
    PeriodPicker* picker_;
    TreemapView* treemap_;
    WeekChart* week_;
    MonthGrid* month_;
    QScrollArea* list_;
    QWidget* listContent_;
    QVBoxLayout* listLayout_;
    QScrollBar* scroller_;
    std::vector<ActivityRow*> rowPool_;

    Period period_ = Period::day;
    PeriodOverview overview_;  // of the week or month shown
    std::vector<MacActivitySummary> summaries_;
    QString title_;
    QString subtitle_;
    QString syncMessage_;
    std::optional<Appearance> styledAppearance_;
    Subscription subscription_;
};

}  // namespace plenda
