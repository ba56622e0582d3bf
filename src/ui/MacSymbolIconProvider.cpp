// Built on macOS only: SF Symbols through the AppKit hook, with the bundled
// drawings for names the system does not know.
#include "platform/macos/SystemSymbolImage.h"
#include "ui/BundledIconProvider.h"

#include <QHash>
#include <string>

namespace plenda {

namespace {

double appKitWeight(QFont::Weight weight) {
    if (weight <= QFont::Light) return -0.4;
    if (weight >= QFont::Bold) return 0.4;
    if (weight >= QFont::DemiBold) return 0.3;
    if (weight >= QFont::Medium) return 0.23;
    return 0.0;
}

class MacSymbolIconProvider final : public IconProvider {
public:
    QPixmap symbol(std::string_view name, int points, QFont::Weight weight, const QColor& color,
                   qreal scale) const override {
        const QString key = QStringLiteral("%1|%2|%3|%4|%5")
                                .arg(QString::fromUtf8(name.data(), qsizetype(name.size())))
                                .arg(points)
                                .arg(int(weight))
                                .arg(color.name(QColor::HexArgb))
                                .arg(scale);
        if (const auto it = cache_.constFind(key); it != cache_.constEnd()) return *it;
        const std::string symbolName(name);
        const auto png = macos::systemSymbolPNG(symbolName.c_str(), points, appKitWeight(weight), color.redF(),
                                                color.greenF(), color.blueF(), color.alphaF(), scale);
        QPixmap pixmap;
        if (png.empty() || !pixmap.loadFromData(png.data(), uint(png.size()), "PNG")) {
            return fallback_.symbol(name, points, weight, color, scale);
        }
        pixmap.setDevicePixelRatio(scale);
        cache_.insert(key, pixmap);
        return pixmap;
    }

private:
    BundledIconProvider fallback_;
    mutable QHash<QString, QPixmap> cache_;
};

}  // namespace

std::unique_ptr<IconProvider> makeSystemIconProvider() { return std::make_unique<MacSymbolIconProvider>(); }

}  // namespace plenda
