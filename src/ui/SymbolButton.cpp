#include "ui/SymbolButton.h"

#include "ui/IconProvider.h"
#include "ui/ViewStyle.h"

#include <QPainter>

namespace plenda {

SymbolButton::SymbolButton(const IconProvider& icons, std::string symbol, ColorPair color, QWidget* parent)
    : QAbstractButton(parent), icons_(icons), symbol_(std::move(symbol)), color_(color) {
    setFixedSize(side, side);
    setCursor(Qt::ArrowCursor);
    setFocusPolicy(Qt::TabFocus);
}

void SymbolButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Appearance appearance = appearanceOf(*this);
    if (isEnabled() && (hovering_ || isDown())) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(toQColor(Palette::textSecondary, appearance, isDown() ? 0.22 : 0.12));
        painter.drawRoundedRect(QRectF(rect()), 6, 6);
    }
    const double opacity = !isEnabled() ? 0.35 : 1.0;
    const QPixmap pixmap = icons_.symbol(symbol_, symbolPoints, QFont::DemiBold,
                                         toQColor(color_, appearance, opacity), devicePixelRatioF());
    const QPointF origin((width() - symbolPoints) / 2.0, (height() - symbolPoints) / 2.0);
    painter.drawPixmap(origin, pixmap);
    // Reached with Tab only (see the focus policy), so the ring means the keyboard.
    if (hasFocus()) paintFocusRing(painter, QRectF(rect()).adjusted(1, 1, -1, -1), 6, appearance);
}

void SymbolButton::setHelp(const QString& text) {
    setToolTip(text);
    setAccessibleName(text);
}

void SymbolButton::enterEvent(QEnterEvent* event) {
    hovering_ = true;
    update();
    QAbstractButton::enterEvent(event);
}

void SymbolButton::leaveEvent(QEvent* event) {
    hovering_ = false;
    update();
    QAbstractButton::leaveEvent(event);
}

}  // namespace plenda
