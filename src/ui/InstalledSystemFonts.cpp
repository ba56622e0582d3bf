// Built on systems other than macOS, which have no rounded design of their
// system font: the nearest installed family with rounded letter ends, in order
// of likeness (Apple's own when the user installed it), else nothing and the
// views keep the system font.
#include "ui/SystemFonts.h"

#include <QFontDatabase>
#include <QStringList>

namespace plenda {

std::optional<QString> roundedSystemFamily() {
    static const std::optional<QString> family = []() -> std::optional<QString> {
        const QStringList installed = QFontDatabase::families();
        for (const char* name : {"SF Pro Rounded", "Nunito", "M PLUS Rounded 1c", "Varela Round"}) {
            const QString candidate = QString::fromLatin1(name);
            if (installed.contains(candidate)) return candidate;
        }
        return std::nullopt;
    }();
    return family;
}

std::optional<float> roundedWeightAxis(QFont::Weight) { return std::nullopt; }

}  // namespace plenda
