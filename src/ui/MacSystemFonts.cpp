// Built on macOS only: the rounded design through AppKit's system-design font
// descriptor, loaded into Qt from its file.
#include "platform/macos/SystemFontFiles.h"
#include "ui/SystemFonts.h"

#include <QFontDatabase>
#include <QStringList>

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

}  // namespace plenda
