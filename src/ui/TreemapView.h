#pragma once

#include "ui/SummaryContextMenu.h"
#include "views/MacActivitySummary.h"
#include "views/TreemapLayout.h"

#include <QWidget>

#include <vector>

namespace plenda {

class MacActivityStore;

// The day's summaries as rounded, colour-filled tiles whose areas follow
// their minutes. The widget keeps a margin around the tiles so their shadows
// are not cut off; the tiles are laid out in contentRect().
class TreemapView final : public QWidget {
public:
    static constexpr int shadowMargin = 8;

    TreemapView(MacActivityStore& store, QWidget* parent = nullptr);
    void setMenuActions(SummaryMenuActions actions) { menuActions_ = std::move(actions); }

    void setSummaries(std::vector<MacActivitySummary> summaries);
    const std::vector<MacActivitySummary>& summaries() const { return summaries_; }
    double spacing() const { return spacing_; }
    void setSpacing(double spacing);

    QRectF contentRect() const;
    // Tiles in content coordinates, as last laid out.
    const std::vector<TreemapTile>& tiles() const { return tiles_; }
    // The tile under a point in widget coordinates, or null.
    const TreemapTile* tileAt(QPointF point) const;
    static QString tooltipText(const MacActivitySummary& summary);

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    void relayout();

    MacActivityStore& store_;
    SummaryMenuActions menuActions_;
    std::vector<MacActivitySummary> summaries_;
    std::vector<TreemapTile> tiles_;
    double spacing_ = 4;
};

}  // namespace plenda
