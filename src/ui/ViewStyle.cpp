#include "ui/ViewStyle.h"

#include "platform/qt/QtStringTable.h"

#include "ui/SystemFonts.h"

#include <QApplication>
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
    const auto rounded = roundedSystemFamily();
    if (!rounded) return font;
    font.setFamilies({*rounded, font.family()});
#if QT_VERSION >= QT_VERSION_CHECK(6, 7, 0)
    // The rounded design comes as one variable font: its weights are points
    // on the weight axis, which Qt would otherwise only imitate.
    if (const auto axis = roundedWeightAxis(weight)) font.setVariableAxis(QFont::Tag("wght"), *axis);
#endif
    return font;
}

QFont tabularDigits(QFont font) {
#if QT_VERSION >= QT_VERSION_CHECK(6, 7, 0)
    // The font's tabular figures: the Mac's system font draws proportional
    // digits unless asked.
    font.setFeature(QFont::Tag("tnum"), 1);
#else
    // Qt before 6.7 cannot ask a font for a feature. The families it picks
    // on Linux desktops (DejaVu, Noto, Liberation, the URW fonts) draw
    // tabular figures unasked, so their digits keep their width as they are.
#endif
    return font;
}

QString shownTitle(std::string_view title) {
    // Four bytes per character at most; cut where no character continues.
    std::size_t length = std::min<std::size_t>(title.size(), 4 * shownTitleLength);
    while (length < title.size() && length > 0 && (static_cast<unsigned char>(title[length]) & 0xC0) == 0x80) --length;
    QString shown = QString::fromUtf8(title.data(), static_cast<qsizetype>(length));
    if (shown.size() > shownTitleLength) {
        shown.truncate(shownTitleLength);
        if (shown.back().isHighSurrogate()) shown.chop(1);
    }
    return shown;
}

QString localized(std::string_view key) { return QtStringTable::lookup(key); }

}  // namespace plenda

#include <QHash>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <QtMath>
#include <algorithm>

namespace plenda {

namespace {

// The shadow of a rounded square, drawn once and cut into nine pieces: the
// corners are drawn as they are, the edges and the centre stretched.
QPixmap shadowSprite(double radius, double opacity, double blur, qreal scale) {
    static QHash<QString, QPixmap> cache;
    const QString key = QStringLiteral("%1|%2|%3|%4").arg(radius).arg(opacity).arg(blur).arg(scale);
    if (const auto it = cache.constFind(key); it != cache.constEnd()) return *it;

    const double margin = blur;
    const double side = 2 * (radius + margin) + 2;
    QPixmap sprite(qCeil(side * scale), qCeil(side * scale));
    sprite.setDevicePixelRatio(scale);
    sprite.fill(Qt::transparent);
    {
        QPainter painter(&sprite);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        // Stacked translucent outlines approximate a blur.
        constexpr int layers = 6;
        painter.setBrush(QColor::fromRgbF(0, 0, 0, float(opacity / layers)));
        const QRectF shape(margin, margin, side - 2 * margin, side - 2 * margin);
        for (int i = layers; i >= 1; --i) {
            const double grow = blur * 0.5 * i / layers - blur * 0.15;
            QPainterPath path;
            path.addRoundedRect(shape.adjusted(-grow, -grow, grow, grow), radius + grow, radius + grow);
            painter.drawPath(path);
        }
    }
    cache.insert(key, sprite);
    return sprite;
}

}  // namespace

void paintFocusRing(QPainter& painter, const QRectF& rect, double radius, Appearance appearance) {
    painter.save();
    painter.setPen(QPen(toQColor(Palette::accent, appearance, 0.8), 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(rect, radius, radius);
    painter.restore();
}

void paintSoftShadow(QPainter& painter, const QRectF& rect, double radius, double opacity, double blur, double dy) {
    const qreal scale = painter.device() ? painter.device()->devicePixelRatioF() : 1.0;
    const QPixmap sprite = shadowSprite(radius, opacity, blur, scale);
    const double side = sprite.width() / scale;
    const double corner = radius + blur;  // sprite corner piece, in points
    const QRectF outer = rect.adjusted(-blur, -blur, blur, blur).translated(0, dy);
    if (outer.width() < 2 * corner || outer.height() < 2 * corner) return;

    const double mid = side - 2 * corner;
    const auto source = [&](double x, double y, double w, double h) {
        return QRectF(x * scale, y * scale, w * scale, h * scale);
    };
    const double innerW = outer.width() - 2 * corner;
    const double innerH = outer.height() - 2 * corner;
    const double l = outer.left(), t = outer.top(), r = outer.right() - corner, b = outer.bottom() - corner;
    // Corners.
    painter.drawPixmap(QRectF(l, t, corner, corner), sprite, source(0, 0, corner, corner));
    painter.drawPixmap(QRectF(r, t, corner, corner), sprite, source(side - corner, 0, corner, corner));
    painter.drawPixmap(QRectF(l, b, corner, corner), sprite, source(0, side - corner, corner, corner));
    painter.drawPixmap(QRectF(r, b, corner, corner), sprite, source(side - corner, side - corner, corner, corner));
    // Edges.
    painter.drawPixmap(QRectF(l + corner, t, innerW, corner), sprite, source(corner, 0, mid, corner));
    painter.drawPixmap(QRectF(l + corner, b, innerW, corner), sprite, source(corner, side - corner, mid, corner));
    painter.drawPixmap(QRectF(l, t + corner, corner, innerH), sprite, source(0, corner, corner, mid));
    painter.drawPixmap(QRectF(r, t + corner, corner, innerH), sprite, source(side - corner, corner, corner, mid));
    // Centre: shows through translucent shapes, so it must match the edges.
    painter.drawPixmap(QRectF(l + corner, t + corner, innerW, innerH), sprite, source(corner, corner, mid, mid));
}

}  // namespace plenda
