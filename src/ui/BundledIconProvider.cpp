#include "ui/BundledIconProvider.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>

namespace plenda {

namespace {

// Stroke width in points for a symbol of `points` size.
double strokeFor(int points, QFont::Weight weight) {
    const double base = points * (weight >= QFont::DemiBold ? 0.13 : weight <= QFont::Light ? 0.055 : 0.09);
    return std::max(base, 1.2);
}

}  // namespace

QPixmap BundledIconProvider::symbol(std::string_view name, int points, QFont::Weight weight, const QColor& color,
                                    qreal scale) const {
    const QString file = QStringLiteral(":/icons/%1.svg").arg(QString::fromUtf8(name.data(), qsizetype(name.size())));
    const QString key = QStringLiteral("%1|%2|%3|%4|%5")
                            .arg(file)
                            .arg(points)
                            .arg(int(weight))
                            .arg(color.name(QColor::HexArgb))
                            .arg(scale);
    if (const auto it = cache_.constFind(key); it != cache_.constEnd()) return *it;

    QFile source(file);
    if (!source.open(QIODevice::ReadOnly)) return {};
    QByteArray svg = source.readAll();
    // The drawings use a 24-unit grid with stroke-width="2" and currentColor.
    const double stroke = strokeFor(points, weight) * 24.0 / points;
    svg.replace("stroke-width=\"2\"", QByteArray("stroke-width=\"") + QByteArray::number(stroke, 'f', 3) + "\"");
    svg.replace("currentColor", color.name(QColor::HexRgb).toLatin1());

    QSvgRenderer renderer(svg);
    const int pixels = qRound(points * scale);
    QPixmap pixmap(pixels, pixels);
    pixmap.fill(Qt::transparent);
    {
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setOpacity(color.alphaF());
        renderer.render(&painter, QRectF(0, 0, pixels, pixels));
    }
    pixmap.setDevicePixelRatio(scale);
    cache_.insert(key, pixmap);
    return pixmap;
}

}  // namespace plenda
