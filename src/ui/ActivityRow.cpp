#include "ui/ActivityRow.h"

#include "platform/Calendar.h"
#include "ui/DateTexts.h"
#include "views/DurationText.h"
#include "ui/SummaryContextMenu.h"
#include "ui/ViewStyle.h"

#include <QContextMenuEvent>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScrollArea>

#include <climits>
#include <utility>

namespace plenda {

namespace {

constexpr double cornerRadius = 12;
constexpr double contentInsetX = 12;
constexpr double barWidth = 4;
constexpr double barHeight = 34;
constexpr double spacing = 12;

}  // namespace

ActivityRow::ActivityRow(MacActivityStore& store, const Calendar& calendar, QWidget* parent)
    : QWidget(parent), store_(store), calendar_(calendar) {
    setFixedHeight(rowHeight);
    setAttribute(Qt::WA_TranslucentBackground);
    setFocusPolicy(Qt::TabFocus);
}

void ActivityRow::setSummary(MacActivitySummary summary) {
    if (summary == summary_) return;
    summary_ = std::move(summary);
    // What the card shows, for screen readers.
    setAccessibleName(shownTitle(summary_.title));
    QString description = categoryText() + QStringLiteral(", ") + QString::fromStdString(formatDuration(summary_.minutes));
    if (!sessionsText().isEmpty()) description += QLatin1Char(' ') + sessionsText();
    setAccessibleDescription(description + QStringLiteral(", ") + spanText());
    update();
}

QRectF ActivityRow::cardRect() const {
    return QRectF(rect()).adjusted(horizontalInset, verticalInset, -horizontalInset, -verticalInset);
}

QString ActivityRow::categoryText() const { return localized(labelKey(summary_.category)); }

QString ActivityRow::sessionsText() const {
    if (summary_.sessions < 2) return {};
    return QStringLiteral("· ") + qtTrId("mac.sessions", int(std::min<std::int64_t>(summary_.sessions, INT_MAX)));
}

QString ActivityRow::spanText() const {
    const LocalTime from = calendar_.localTime(summary_.firstStart), to = calendar_.localTime(summary_.lastEnd);
    return spansDays_ ? daysSpan(from, to) : timeSpan(from, to);
}

void ActivityRow::setSpansDays(bool spansDays) {
    if (spansDays == spansDays_) return;
    spansDays_ = spansDays;
    MacActivitySummary summary = std::exchange(summary_, {});
    setSummary(std::move(summary));
}

void ActivityRow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Appearance appearance = appearanceOf(*this);
    const QRectF card = cardRect();

    paintSoftShadow(painter, card, cornerRadius, 0.08, 12, 4);
    QPainterPath shape;
    shape.addRoundedRect(card, cornerRadius, cornerRadius);
    painter.fillPath(shape, toQColor(Palette::card, appearance));
    // A one-point border inside the edge.
    QPainterPath border;
    border.addRoundedRect(card.adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius - 0.5, cornerRadius - 0.5);
    painter.setPen(QPen(isHovering_ ? toQColor(Palette::accent, appearance, 0.4)
                                    : toQColor(Palette::hairline, appearance),
                        1));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(border);
    // Reached with Tab only (see the focus policy), so the ring means the keyboard.
    if (hasFocus()) paintFocusRing(painter, card, cornerRadius, appearance);

    const QRectF content = card.adjusted(contentInsetX, 0, -contentInsetX, 0);
    const QRectF bar(content.left(), card.center().y() - barHeight / 2, barWidth, barHeight);
    painter.setPen(Qt::NoPen);
    painter.setBrush(toQColor(categoryColor(summary_.category), appearance));
    painter.drawRoundedRect(bar, barWidth / 2, barWidth / 2);

    const QFont primaryFont = roundedFont(14, QFont::DemiBold);
    const QFont secondaryFont = systemFont(11);
    const QFontMetricsF primary(primaryFont);
    const QFontMetricsF secondary(secondaryFont);
    // The duration and the time span keep their width as their digits change.
    const QFont durationFont = tabularDigits(primaryFont);
    const QFont spanFont = tabularDigits(secondaryFont);
    const QFontMetricsF durationMetrics(durationFont);
    const QFontMetricsF spanMetrics(spanFont);
    // Two lines, two points apart, centred on the card.
    const double blockHeight = primary.height() + 2 + secondary.height();
    const double top = card.center().y() - blockHeight / 2;
    const double firstBaseline = top + primary.ascent();
    const double secondBaseline = top + primary.height() + 2 + secondary.ascent();

    const QString duration = QString::fromStdString(formatDuration(summary_.minutes));
    const QString span = spanText();
    const double trailingWidth =
        std::max(durationMetrics.horizontalAdvance(duration), spanMetrics.horizontalAdvance(span));
    const double right = content.right();
    const double left = bar.right() + spacing;
    const double available = std::max(right - trailingWidth - spacing - left, 0.0);

    painter.setPen(toQColor(Palette::textPrimary, appearance));
    painter.setFont(primaryFont);
    painter.drawText(QPointF(left, firstBaseline),
                     primary.elidedText(shownTitle(summary_.title), Qt::ElideRight, available));
    painter.setFont(durationFont);
    painter.drawText(QPointF(right - durationMetrics.horizontalAdvance(duration), firstBaseline), duration);

    painter.setPen(toQColor(Palette::textSecondary, appearance));
    painter.setFont(secondaryFont);
    const QString category = secondary.elidedText(categoryText(), Qt::ElideRight, available);
    painter.drawText(QPointF(left, secondBaseline), category);
    // The session count stands 6 pt after the category.
    const double sessionsLeft = left + secondary.horizontalAdvance(category) + 6;
    painter.drawText(QPointF(sessionsLeft, secondBaseline),
                     secondary.elidedText(sessionsText(), Qt::ElideRight, std::max(left + available - sessionsLeft, 0.0)));
    painter.setFont(spanFont);
    painter.drawText(QPointF(right - spanMetrics.horizontalAdvance(span), secondBaseline), span);
}

void ActivityRow::enterEvent(QEnterEvent* event) {
    isHovering_ = true;
    update();
    QWidget::enterEvent(event);
}

void ActivityRow::leaveEvent(QEvent* event) {
    isHovering_ = false;
    update();
    QWidget::leaveEvent(event);
}

void ActivityRow::contextMenuEvent(QContextMenuEvent* event) {
    showMenu(event->reason() == QContextMenuEvent::Mouse ? event->globalPos()
                                                         : mapToGlobal(cardRect().bottomLeft().toPoint()));
}

void ActivityRow::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Menu || (event->key() == Qt::Key_F10 && event->modifiers() == Qt::ShiftModifier)) {
        showMenu(mapToGlobal(cardRect().bottomLeft().toPoint()));
        return;
    }
    QWidget::keyPressEvent(event);
}

void ActivityRow::focusInEvent(QFocusEvent* event) {
    // A row reached with Tab scrolls into sight.
    for (QWidget* above = parentWidget(); above; above = above->parentWidget()) {
        if (auto* list = qobject_cast<QScrollArea*>(above)) {
            list->ensureWidgetVisible(this, 0, 0);
            break;
        }
    }
    update();
    QWidget::focusInEvent(event);
}

void ActivityRow::focusOutEvent(QFocusEvent* event) {
    update();
    QWidget::focusOutEvent(event);
}

void ActivityRow::showMenu(QPoint globalPosition) {
    SummaryContextMenu menu(summary_, store_, this, menuActions_);
    menu.exec(globalPosition);
}

}  // namespace plenda
