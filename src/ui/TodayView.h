#pragma once

#include "base/Observers.h"
#include "ui/SummaryContextMenu.h"
#include "views/MacActivitySummary.h"
#include "views/ViewColors.h"

#include <QWidget>

#include <functional>
#include <optional>
#include <vector>

class QScrollArea;
class QScrollBar;
class QVBoxLayout;

namespace plenda {

class ActivityRow;
class Calendar;
class Clock;
class IconProvider;
class MacActivityStore;
class SymbolButton;
class TreemapView;

// The day window's content: header with day, total, day stepping and sync
// status; the day's treemap above its list, or an empty state.
class TodayView final : public QWidget {
public:
    struct Actions {
        std::function<void()> syncNow;        // started in a later turn of the loop
        std::function<void()> openSettings;
        // "Always for this application" in a summary's menu; none: not offered.
        ApplicationCategoryChooser chooseCategoryForApplication;
    };

    TodayView(MacActivityStore& store, const Clock& clock, const Calendar& calendar, const IconProvider& icons,
              Actions actions, QWidget* parent = nullptr);
    ~TodayView() override;

    // Re-reads the store; called on every change it publishes.
    void reload();

    QString titleText() const { return title_; }
    QString subtitleText() const { return subtitle_; }
    bool isShowingEmptyState() const { return summaries_.empty(); }
    SymbolButton* previousDayButton() const { return previous_; }
    SymbolButton* nextDayButton() const { return next_; }
    SymbolButton* syncButton() const { return sync_; }
    SymbolButton* settingsButton() const { return settings_; }
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
    SymbolButton* sync_;
    SymbolButton* settings_;
    TreemapView* treemap_;
    QScrollArea* list_;
    QWidget* listContent_;
    QVBoxLayout* listLayout_;
    QScrollBar* scroller_;
    std::vector<ActivityRow*> rowPool_;

    std::vector<MacActivitySummary> summaries_;
    QString title_;
    QString subtitle_;
    QString syncMessage_;
    std::optional<Appearance> styledAppearance_;
    Subscription subscription_;
};

}  // namespace plenda
