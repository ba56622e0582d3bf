#pragma once

#include "ui/SummaryContextMenu.h"
#include "views/MacActivitySummary.h"

#include <QWidget>

namespace plenda {

class Calendar;
class MacActivityStore;

// One summary of the day as a card: colour bar, title, category and sessions,
// duration and the span of the day it covers.
class ActivityRow final : public QWidget {
public:
    static constexpr int rowHeight = 58;  // card 50 (34 bar + 2 × 8) plus 4 above and below
    static constexpr int horizontalInset = 24;
    static constexpr int verticalInset = 4;

    ActivityRow(MacActivityStore& store, const Calendar& calendar, QWidget* parent = nullptr);
    void setApplicationCategoryChooser(ApplicationCategoryChooser chooser) { chooseForApplication_ = std::move(chooser); }

    void setSummary(MacActivitySummary summary);
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

private:
    MacActivityStore& store_;
    ApplicationCategoryChooser chooseForApplication_;
    const Calendar& calendar_;
    MacActivitySummary summary_;
    bool isHovering_ = false;
};

}  // namespace plenda
