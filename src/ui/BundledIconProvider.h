#pragma once

#include "ui/IconProvider.h"

#include <QHash>

namespace plenda {

// The SVG drawings under :/icons, stroked in the asked colour with a stroke
// that follows the asked weight.
class BundledIconProvider final : public IconProvider {
public:
    QPixmap symbol(std::string_view name, int points, QFont::Weight weight, const QColor& color,
                   qreal scale) const override;

private:
    mutable QHash<QString, QPixmap> cache_;
};

}  // namespace plenda
