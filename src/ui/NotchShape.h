#pragma once

#include <QPainterPath>
#include <QRectF>

namespace plenda {

// The card's outline: a notch-wide stem that flares into a rounded body.
struct NotchShape {
    double notchWidth = 0;
    double bandHeight = 0;
    double cornerRadius = 0;

    QPainterPath path(const QRectF& rect) const;
};

}  // namespace plenda
