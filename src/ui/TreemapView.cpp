#include "ui/TreemapView.h"

#include "views/DurationText.h"
#include "ui/SummaryContextMenu.h"
#include "ui/ViewStyle.h"

#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>

namespace plenda {

namespace {

constexpr double cornerRadius = 12;
constexpr double labelInset = 8;

QRectF toQRect(const LayoutRect& rect) { return {rect.x, rect.y, rect.width, rect.height}; }

}  // namespace

TreemapView::TreemapView(MacActivityStore& store, QWidget* parent) : QWidget(parent), store_(store) {
    setAttribute(Qt::WA_TranslucentBackground);
    setMouseTracking(true);
    setAccessibleName(localized("mac.day.treemap"));
}

void TreemapView::setSummaries(std::vector<MacActivitySummary> summaries) {
    summaries_ = std::move(summaries);
    // The tiles as a screen reader says them, largest first.
    QStringList tiles;
    for (const MacActivitySummary& summary : summaries_) tiles << tooltipText(summary);
    setAccessibleDescription(tiles.join(QStringLiteral("; ")));
    relayout();
    update();
}

void TreemapView::setSpacing(double spacing) {
    spacing_ = spacing;
    relayout();
    update();
}

QRectF TreemapView::contentRect() const {
    return QRectF(rect()).adjusted(shadowMargin, shadowMargin, -shadowMargin, -shadowMargin);
}

void TreemapView::resizeEvent(QResizeEvent* event) {
    relayout();
    QWidget::resizeEvent(event);
}

void TreemapView::relayout() {
    const QRectF area = contentRect();
    tiles_ = treemapTiles(summaries_, std::max(area.width(), 0.0), std::max(area.height(), 0.0), spacing_);
}

const TreemapTile* TreemapView::tileAt(QPointF point) const {
    const QPointF local = point - contentRect().topLeft();
    for (const TreemapTile& tile : tiles_) {
        if (toQRect(tile.frame).contains(local)) return &tile;
    }
    return nullptr;
}

QString TreemapView::tooltipText(const MacActivitySummary& summary) {
    return shownTitle(summary.title) + QStringLiteral(" · ") +
           QString::fromStdString(formatDuration(summary.minutes));
}

bool TreemapView::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip) {
        auto* help = static_cast<QHelpEvent*>(event);
        if (const TreemapTile* tile = tileAt(help->pos())) {
            QToolTip::showText(help->globalPos(), tooltipText(tile->summary), this,
                               toQRect(tile->frame).translated(contentRect().topLeft()).toAlignedRect());
        } else {
            QToolTip::hideText();
            event->ignore();
        }
        return true;
    }
    return QWidget::event(event);
}

void TreemapView::contextMenuEvent(QContextMenuEvent* event) {
    const TreemapTile* tile = tileAt(event->pos());
    if (!tile) return;
    SummaryContextMenu menu(tile->summary, store_, this, menuActions_);
    menu.exec(event->globalPos());
}

void TreemapView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    painter.translate(contentRect().topLeft());
    const Appearance appearance = appearanceOf(*this);

    for (const TreemapTile& tile : tiles_) {
        paintSoftShadow(painter, toQRect(tile.frame), cornerRadius, 0.08, 12, 4);
    }

    const QFont titleFont = roundedFont(12, QFont::DemiBold);
    const QFont durationFont = systemFont(11, QFont::Medium);
    const QFontMetricsF titleMetrics(titleFont);
    const QFontMetricsF durationMetrics(durationFont);

    for (const TreemapTile& tile : tiles_) {
        const QRectF frame = toQRect(tile.frame);
        QPainterPath shape;
        shape.addRoundedRect(frame, cornerRadius, cornerRadius);

        const ColorPair color = summaryColor(tile.summary);
        QLinearGradient base(frame.topLeft(), frame.bottomRight());
        base.setColorAt(0, toQColor(color, appearance));
        base.setColorAt(1, toQColor(color, appearance, 0.85));
        painter.fillPath(shape, base);

        QLinearGradient highlight(frame.topLeft(), frame.center());
        highlight.setColorAt(0, QColor::fromRgbF(1, 1, 1, 0.15f));
        highlight.setColorAt(1, QColor::fromRgbF(1, 1, 1, 0));
        painter.fillPath(shape, highlight);

        if (!tile.showsTitle()) continue;
        // A bottom-anchored column, 8 points in from every edge.
        const QRectF inner = frame.adjusted(labelInset, labelInset, -labelInset, -labelInset);
        double baseline = inner.bottom();
        painter.setPen(Qt::white);
        if (tile.showsDuration()) {
            baseline -= durationMetrics.descent();
            painter.setFont(durationFont);
            painter.setOpacity(0.85);
            painter.drawText(QPointF(inner.left(), baseline),
                             QString::fromStdString(formatDuration(tile.summary.minutes)));
            painter.setOpacity(1);
            baseline -= durationMetrics.ascent();
            baseline -= 1;
        }
        baseline -= titleMetrics.descent();
        painter.setFont(titleFont);
        const QString title =
            titleMetrics.elidedText(shownTitle(tile.summary.title), Qt::ElideRight, inner.width());
        painter.drawText(QPointF(inner.left(), baseline), title);
    }
}

}  // namespace plenda
