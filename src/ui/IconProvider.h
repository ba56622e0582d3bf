#pragma once

#include <QColor>
#include <QFont>
#include <QPixmap>

#include <memory>
#include <string_view>

namespace plenda {

// Named symbols ("chevron.left", "gearshape", ...) as tinted pixmaps: the
// system's symbols on macOS, bundled drawings elsewhere.
class IconProvider {
public:
    virtual ~IconProvider() = default;
    // A square pixmap `points` wide at `scale` device pixels per point; a null
    // pixmap for an unknown name.
    virtual QPixmap symbol(std::string_view name, int points, QFont::Weight weight, const QColor& color,
                           qreal scale) const = 0;
};

// The platform's provider, chosen when the program is built.
std::unique_ptr<IconProvider> makeSystemIconProvider();

}  // namespace plenda
