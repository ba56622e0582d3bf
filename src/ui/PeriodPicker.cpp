#include "ui/PeriodPicker.h"

#include "ui/ViewStyle.h"

#include <QFontMetricsF>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

#include <array>

namespace plenda {

namespace {

constexpr std::array<const char*, 3> labelKeys{"mac.period.day", "mac.period.week", "mac.period.month"};
constexpr double segmentPadding = 12;
constexpr double radius = 7;
QFont pickerFont() { return systemFont(12, QFont::Medium); }

}  // namespace

PeriodPicker::PeriodPicker(std::function<void(Period)> chosen, QWidget* parent)
    : QWidget(parent), chosen_(std::move(chosen)) {
    setFocusPolicy(Qt::TabFocus);
    setAccessibleName(localized("mac.period"));
    setAccessibleDescription(localized(labelKeys[0]));
    resize(sizeHint());
}

QSize PeriodPicker::sizeHint() const {
    const QFontMetricsF metrics(pickerFont());
    double widest = 0;
    for (const char* key : labelKeys) widest = std::max(widest, metrics.horizontalAdvance(localized(key)));
    return {int(std::ceil(3 * (widest + 2 * segmentPadding) + 4)), 24};
}

QRectF PeriodPicker::segment(int index) const {
    const double width = (this->width() - 4) / 3.0;
    return QRectF(2 + index * width, 2, width, height() - 4);
}

void PeriodPicker::setPeriod(Period period) {
    if (period == period_) return;
    period_ = period;
    setAccessibleDescription(localized(labelKeys[std::size_t(period)]));
    update();
}

void PeriodPicker::choose(Period period) {
    if (period == period_) return;
    setPeriod(period);
    if (chosen_) chosen_(period);
}

void PeriodPicker::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Appearance appearance = appearanceOf(*this);
    painter.setPen(Qt::NoPen);
    painter.setBrush(toQColor(Palette::hairline, appearance));
    painter.drawRoundedRect(QRectF(rect()), radius, radius);
    painter.setBrush(toQColor(Palette::card, appearance));
    const QRectF chosen = segment(int(period_));
    painter.drawRoundedRect(chosen, radius - 2, radius - 2);
    if (hasFocus()) paintFocusRing(painter, chosen.adjusted(1, 1, -1, -1), radius - 2, appearance);
    painter.setFont(pickerFont());
    for (int i = 0; i < 3; ++i) {
        painter.setPen(toQColor(i == int(period_) ? Palette::textPrimary : Palette::textSecondary, appearance));
        painter.drawText(segment(i), Qt::AlignCenter, localized(labelKeys[std::size_t(i)]));
    }
}

void PeriodPicker::mousePressEvent(QMouseEvent* event) {
    for (int i = 0; i < 3; ++i) {
        if (segment(i).contains(event->position())) choose(Period(i));
    }
}

void PeriodPicker::keyPressEvent(QKeyEvent* event) {
    const int step = event->key() == Qt::Key_Left ? -1 : event->key() == Qt::Key_Right ? 1 : 0;
    if (step == 0) return QWidget::keyPressEvent(event);
    choose(Period(std::clamp(int(period_) + step, 0, 2)));
}

void PeriodPicker::focusInEvent(QFocusEvent* event) {
    update();
    QWidget::focusInEvent(event);
}

void PeriodPicker::focusOutEvent(QFocusEvent* event) {
    update();
    QWidget::focusOutEvent(event);
}

}  // namespace plenda
