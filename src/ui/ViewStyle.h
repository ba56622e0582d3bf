#pragma once

#include "views/ViewColors.h"

#include <QColor>
#include <QFont>
#include <QString>

#include <optional>
#include <string_view>

class QWidget;

namespace plenda {

// Light or dark, from the widget's palette (which follows the system), unless
// a test or a render forces one.
Appearance appearanceOf(const QWidget& widget);
void setForcedAppearance(std::optional<Appearance> appearance);

QColor toQColor(const ColorPair& pair, Appearance appearance, double opacity = 1.0);

// Sizes are in points, as on the Mac; Qt pixels are device-independent there too.
QFont systemFont(int points, QFont::Weight weight = QFont::Normal);
// The rounded design where the system has one, else the system font.
QFont roundedFont(int points, QFont::Weight weight = QFont::Normal);
// `font` with digits of equal width, so a changing number keeps its width.
QFont tabularDigits(QFont font);

// The string-table text for a key.
QString localized(std::string_view key);

// A title as drawn: its first shownTitleLength characters at most, so that a
// title of megabytes (from a damaged file or the cloud) costs no more to
// elide than a short one.
inline constexpr qsizetype shownTitleLength = 256;
QString shownTitle(std::string_view title);

}  // namespace plenda

class QPainter;
class QRectF;

namespace plenda {

// A soft drop shadow under a rounded rectangle: black at `opacity`, spread
// over `blur` points, moved `dy` down.
void paintSoftShadow(QPainter& painter, const QRectF& rect, double radius, double opacity, double blur, double dy);
// The keyboard focus ring: two points of the accent colour along a rounded rectangle.
void paintFocusRing(QPainter& painter, const QRectF& rect, double radius, Appearance appearance);

}  // namespace plenda
