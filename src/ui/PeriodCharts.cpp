#include "ui/PeriodCharts.h"

#include "ui/DateTexts.h"
#include "ui/ViewStyle.h"
#include "views/DurationText.h"

#include <QHelpEvent>
#include <QLocale>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>

#include <algorithm>
#include <cmath>

namespace plenda {

namespace {

constexpr double gap = 6;

QString totalText(double minutes) { return QString::fromStdString(formatDuration(minutes)); }

// The short name of a weekday numbered as the calendar does (1 = Sunday).
QString shortDayName(int weekday) { return QLocale().dayName((weekday + 5) % 7 + 1, QLocale::ShortFormat); }

QString dayDescription(const DayTotal& day) {
    return fullWeekdayName(day.date) + QStringLiteral(", ") + abbreviatedDate(day.date) + QStringLiteral(" · ") +
           totalText(day.minutes);
}

}  // namespace

PeriodChart::PeriodChart(std::function<void(Date)> openDay, QWidget* parent)
    : QWidget(parent), openDay_(std::move(openDay)) {
    setMouseTracking(true);
    setAttribute(Qt::WA_TranslucentBackground);
}

void PeriodChart::setOverview(const PeriodOverview& overview, Date now, int firstWeekday) {
    overview_ = overview;
    now_ = now;
    firstWeekday_ = firstWeekday;
    QStringList days;
    for (const DayTotal& day : overview_.days) days << dayDescription(day);
    setAccessibleDescription(days.join(QStringLiteral("; ")));
    update();
}

double PeriodChart::busiestDay() const {
    double most = 0;
    for (const DayTotal& day : overview_.days) most = std::max(most, day.minutes);
    return most;
}

bool PeriodChart::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip) {
        auto* help = static_cast<QHelpEvent*>(event);
        if (const auto day = dayAt(help->pos())) {
            QToolTip::showText(help->globalPos(), dayDescription(overview_.days[*day]), this);
        } else {
            QToolTip::hideText();
            event->ignore();
        }
        return true;
    }
    return QWidget::event(event);
}

void PeriodChart::mousePressEvent(QMouseEvent* event) {
    const auto day = dayAt(event->position());
    // An instant well inside the day, whatever daylight saving does to it.
    if (day && openDay_) openDay_(overview_.days[*day].range.start + 12 * 3600.0);
}

QRectF WeekChart::column(std::size_t i) const {
    const double width = double(this->width()) / double(std::max<std::size_t>(overview_.days.size(), 1));
    return QRectF(double(i) * width, 0, width, height());
}

std::optional<std::size_t> WeekChart::dayAt(QPointF point) const {
    for (std::size_t i = 0; i < overview_.days.size(); ++i) {
        if (column(i).contains(point)) return i;
    }
    return std::nullopt;
}

QRectF WeekChart::barRect(std::size_t i) const {
    const QRectF area = column(i);
    const QFontMetricsF label(systemFont(11));
    const double top = label.height() + gap, bottom = area.bottom() - 2 * label.height() - gap;
    const double most = busiestDay();
    if (!(most > 0) || !(overview_.days[i].minutes > 0)) return {};
    const double height = std::max(2.0, (bottom - top) * overview_.days[i].minutes / most);
    const double width = std::min(area.width() * 0.5, 44.0);
    return QRectF(area.center().x() - width / 2, bottom - height, width, height);
}

void WeekChart::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Appearance appearance = appearanceOf(*this);
    const QFont labelFont = systemFont(11), dayFont = systemFont(12, QFont::DemiBold);
    const QFontMetricsF label(labelFont);
    for (std::size_t i = 0; i < overview_.days.size(); ++i) {
        const DayTotal& day = overview_.days[i];
        const QRectF area = column(i);
        const double bottom = area.bottom() - 2 * label.height() - gap;
        const QRectF bar = barRect(i);
        if (bar.isEmpty()) {
            painter.setPen(QPen(toQColor(Palette::hairline, appearance), 2));
            painter.drawLine(QPointF(area.center().x() - 12, bottom), QPointF(area.center().x() + 12, bottom));
        } else {
            // Stacked from the bottom in the categories' order, rounded at the top only.
            QPainterPath shape;
            shape.addRoundedRect(bar.adjusted(0, 0, 0, 6), 6, 6);
            painter.save();
            painter.setClipRect(bar);
            painter.setClipPath(shape, Qt::IntersectClip);
            double y = bar.bottom();
            for (std::size_t c = 0; c < allCategories.size(); ++c) {
                const double height = bar.height() * day.byCategory[c] / day.minutes;
                if (!(height > 0)) continue;
                painter.fillRect(QRectF(bar.left(), y - height, bar.width(), height),
                                 toQColor(categoryColor(allCategories[c]), appearance));
                y -= height;
            }
            painter.restore();
        }
        painter.setFont(labelFont);
        painter.setPen(toQColor(Palette::textSecondary, appearance));
        if (day.minutes > 0) {
            const double top = bar.isEmpty() ? bottom : bar.top();
            painter.drawText(QRectF(area.left(), top - gap - label.height(), area.width(), label.height()),
                             Qt::AlignCenter, totalText(day.minutes));
        }
        const bool today = isToday(day);
        painter.setPen(toQColor(today ? Palette::accent : Palette::textPrimary, appearance));
        painter.setFont(today ? dayFont : labelFont);
        painter.drawText(QRectF(area.left(), bottom + gap, area.width(), label.height()), Qt::AlignCenter,
                         shortDayName(day.date.weekday));
        painter.setPen(toQColor(today ? Palette::accent : Palette::textSecondary, appearance));
        painter.drawText(QRectF(area.left(), bottom + gap + label.height(), area.width(), label.height()),
                         Qt::AlignCenter, QString::number(day.date.day));
    }
}

int MonthGrid::leadingBlanks() const {
    if (overview_.days.empty()) return 0;
    // The columns follow the calendar's week; the first day sits under its weekday.
    return (overview_.days.front().date.weekday - firstWeekday_ + 7) % 7;
}

QRectF MonthGrid::cellRect(std::size_t i) const {
    const int slot = leadingBlanks() + int(i);
    const int rows = (leadingBlanks() + int(overview_.days.size()) + 6) / 7;
    const double width = (this->width() - 6 * gap) / 7.0;
    const double height = (this->height() - weekdayHeaderHeight() - (rows - 1) * gap) / std::max(rows, 1);
    return QRectF((slot % 7) * (width + gap), weekdayHeaderHeight() + (slot / 7) * (height + gap), width, height);
}

std::optional<std::size_t> MonthGrid::dayAt(QPointF point) const {
    for (std::size_t i = 0; i < overview_.days.size(); ++i) {
        if (cellRect(i).contains(point)) return i;
    }
    return std::nullopt;
}

void MonthGrid::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Appearance appearance = appearanceOf(*this);
    const QFont headerFont = systemFont(11, QFont::Medium), numberFont = systemFont(12, QFont::DemiBold),
                totalFont = tabularDigits(systemFont(11));
    const double width = (this->width() - 6 * gap) / 7.0;
    painter.setFont(headerFont);
    painter.setPen(toQColor(Palette::textSecondary, appearance));
    for (int column = 0; column < 7; ++column) {
        painter.drawText(QRectF(column * (width + gap), 0, width, weekdayHeaderHeight()), Qt::AlignCenter,
                         shortDayName((firstWeekday_ - 1 + column) % 7 + 1));
    }
    const double most = busiestDay();
    const QColor tint = toQColor(Palette::accent, appearance);
    for (std::size_t i = 0; i < overview_.days.size(); ++i) {
        const DayTotal& day = overview_.days[i];
        const QRectF cell = cellRect(i);
        QColor fill = toQColor(Palette::card, appearance);
        if (day.minutes > 0 && most > 0) {
            fill = tint;
            fill.setAlphaF(float(0.12 + 0.6 * day.minutes / most));
        }
        painter.setPen(QPen(toQColor(Palette::hairline, appearance), 1));
        painter.setBrush(fill);
        painter.drawRoundedRect(cell.adjusted(0.5, 0.5, -0.5, -0.5), 8, 8);
        if (isToday(day)) {
            painter.setPen(QPen(tint, 2));
            painter.setBrush(Qt::NoBrush);
            painter.drawRoundedRect(cell.adjusted(1, 1, -1, -1), 8, 8);
        }
        // Days still to come are drawn quieter.
        painter.setPen(toQColor(day.range.start > now_ ? Palette::textSecondary : Palette::textPrimary, appearance));
        painter.setFont(numberFont);
        painter.drawText(cell.adjusted(8, 5, -8, -5), Qt::AlignLeft | Qt::AlignTop, QString::number(day.date.day));
        if (day.minutes > 0) {
            painter.setFont(totalFont);
            painter.drawText(cell.adjusted(8, 5, -8, -5), Qt::AlignRight | Qt::AlignBottom, totalText(day.minutes));
        }
    }
}

}  // namespace plenda
