#include "views/ViewStyle.h"

#include <QApplication>
#include <QFontDatabase>
#include <QPalette>
#include <QWidget>

#include <string>

namespace plenda {

namespace {

std::optional<Appearance> forcedAppearance;

}  // namespace

Appearance appearanceOf(const QWidget& widget) {
    if (forcedAppearance) return *forcedAppearance;
    return widget.palette().color(QPalette::Window).lightnessF() < 0.5 ? Appearance::dark : Appearance::light;
}

void setForcedAppearance(std::optional<Appearance> appearance) { forcedAppearance = appearance; }

QColor toQColor(const ColorPair& pair, Appearance appearance, double opacity) {
    const Rgb rgb = pair.resolved(appearance);
    return QColor::fromRgbF(float(rgb.r), float(rgb.g), float(rgb.b), float(opacity));
}

QFont systemFont(int points, QFont::Weight weight) {
    QFont font = QApplication::font();
    font.setPixelSize(points);
    font.setWeight(weight);
    return font;
}

QFont roundedFont(int points, QFont::Weight weight) {
    QFont font = systemFont(points, weight);
    static const bool hasRounded = QFontDatabase::families().contains(QStringLiteral("SF Pro Rounded"));
    if (hasRounded) font.setFamilies({QStringLiteral("SF Pro Rounded"), font.family()});
    return font;
}

QString localized(std::string_view key) {
    const std::string id(key);
    return qtTrId(id.c_str());
}

}  // namespace plenda

#include <QPainter>
#include <QPainterPath>

namespace plenda {

void paintSoftShadow(QPainter& painter, const QRectF& rect, double radius, double opacity, double blur, double dy) {
    // Stacked translucent outlines approximate a blur without an offscreen pass.
    constexpr int layers = 6;
    painter.save();
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromRgbF(0, 0, 0, float(opacity / layers * 1.6)));
    for (int i = layers; i >= 1; --i) {
        const double grow = blur * 0.5 * i / layers - blur * 0.15;
        QPainterPath path;
        path.addRoundedRect(rect.adjusted(-grow, -grow, grow, grow).translated(0, dy), radius + grow, radius + grow);
        painter.drawPath(path);
    }
    painter.restore();
}

}  // namespace plenda
