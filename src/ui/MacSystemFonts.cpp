// Built on macOS only: the rounded design through AppKit's system-design font
// descriptor, loaded into Qt from its file.
#include "platform/macos/SystemFontFiles.h"
#include "ui/SystemFonts.h"

#include <QFontDatabase>
#include <QHash>
#include <QStringList>

#include <algorithm>
#include <array>

namespace plenda {

std::optional<QString> roundedSystemFamily() {
    static const std::optional<QString> family = []() -> std::optional<QString> {
        const std::string file = macos::roundedSystemFontFile();
        if (file.empty()) return std::nullopt;
        const int id = QFontDatabase::addApplicationFont(QString::fromStdString(file));
        if (id < 0) return std::nullopt;
        const QStringList families = QFontDatabase::applicationFontFamilies(id);
        if (families.isEmpty()) return std::nullopt;
        return families.front();
    }();
    return family;
}

std::optional<float> roundedWeightAxis(QFont::Weight weight) {
    // AppKit's weights for Qt's hundreds: ultralight, thin, light, regular,
    // medium, semibold, bold, heavy, black.
    static constexpr std::array<double, 9> appKitWeights{-0.8, -0.6, -0.4, 0.0, 0.23, 0.3, 0.4, 0.56, 0.62};
    static QHash<int, std::optional<float>> cache;
    const int step = std::clamp((int(weight) + 50) / 100, 1, 9);
    if (const auto it = cache.constFind(step); it != cache.constEnd()) return *it;
    std::optional<float> axis;
    if (const auto value = macos::roundedSystemFontWeightAxis(appKitWeights[std::size_t(step - 1)])) {
        axis = float(*value);
    }
    cache.insert(step, axis);
    return axis;
}

}  // namespace plenda
