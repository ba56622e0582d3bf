#include "ui/NotchButton.h"

#include "ui/ViewStyle.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>

#include <cmath>

namespace plenda {

NotchButton::NotchButton(std::string title, std::function<void()> action, QWidget* parent)
    : QAbstractButton(parent), title_(std::move(title)) {
    setText(localized(title_));
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::NoFocus);
    setAttribute(Qt::WA_Hover);
    connect(this, &QAbstractButton::clicked, this, [action = std::move(action)] {
        if (action) action();
    });
}

void NotchButton::setTint(std::optional<ColorPair> tint) {
    tint_ = tint;
    update();
}

QSize NotchButton::sizeHint() const {
    const QFontMetricsF metrics(systemFont(points_, QFont::Medium));
    return {int(std::ceil(metrics.horizontalAdvance(text()) + 2 * padding_)), int(std::ceil(metrics.height() + 8))};
}

void NotchButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Appearance appearance = appearanceOf(*this);
    const QColor base = tint_ ? toQColor(*tint_, appearance) : QColor(Qt::white);
    const bool lit = isHovering_ || isDown();
    QColor fill = base;
    fill.setAlphaF(lit ? 0.22f : 0.12f);
    const QRectF r = QRectF(rect());
    if (!plain_ || lit) {
        QPainterPath capsule;
        capsule.addRoundedRect(r, r.height() / 2, r.height() / 2);
        painter.fillPath(capsule, fill);
    }
    QColor ink = base;
    ink.setAlphaF(lit ? 1.0f : 0.75f);
    if (!isEnabled()) ink.setAlphaF(0.35f);
    painter.setPen(ink);
    const QFont font = systemFont(points_, QFont::Medium);
    painter.setFont(font);
    // A crowded row gives a button less than it asked for: end its title with "…".
    const QString shown = QFontMetricsF(font).elidedText(text(), Qt::ElideRight, r.width() - 2 * padding_ + 1);
    painter.drawText(r, Qt::AlignCenter, shown);
}

void NotchButton::enterEvent(QEnterEvent* event) {
    isHovering_ = true;
    update();
    QAbstractButton::enterEvent(event);
}

void NotchButton::leaveEvent(QEvent* event) {
    isHovering_ = false;
    update();
    QAbstractButton::leaveEvent(event);
}

}  // namespace plenda
