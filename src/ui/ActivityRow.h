#pragma once

#include "ui/SummaryContextMenu.h"
#include "views/MacActivitySummary.h"

#include <QWidget>

namespace plenda {

class Calendar;
class MacActivityStore;

// One summary of the day as a card: colour bar, title, category and sessions,
// duration and the span of the day it covers. Reached with Tab; the menu key
// or Shift+F10 opens its menu as a right click does.
class ActivityRow final : public QWidget {
public:
    static constexpr int rowHeight = 58;  // card 50 (34 bar + 2 × 8) plus 4 above and below
    static constexpr int horizontalInset = 24;
    static constexpr int verticalInset = 4;

    ActivityRow(MacActivityStore& store, const Calendar& calendar, QWidget* parent = nullptr);
    void setMenuActions(SummaryMenuActions actions) { menuActions_ = std::move(actions); }

    void setSummary(MacActivitySummary summary);
    // For a week's activity: the span names its days.
    void setSpansDays(bool spansDays);
    const MacActivitySummary& summary() const { return summary_; }
    bool isHovering() const { return isHovering_; }
    QRectF cardRect() const;

    QString categoryText() const;
    // "· 3 sessions", or empty for a single session.
    QString sessionsText() const;
    QString spanText() const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    void showMenu(QPoint globalPosition);

    MacActivityStore& store_;
    SummaryMenuActions menuActions_;
    const Calendar& calendar_;
    MacActivitySummary summary_;
    bool isHovering_ = false;
    bool spansDays_ = false;
};

}  // namespace plenda
