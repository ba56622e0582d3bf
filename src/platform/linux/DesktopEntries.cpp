#include "platform/linux/DesktopEntries.h"

#include "base/Text.h"

#include <QDirIterator>
#include <QFile>
#include <QLocale>
#include <QStandardPaths>

namespace plenda {

DesktopEntries::DesktopEntries(const std::vector<std::string>& folders, const std::string& locale) {
    for (const std::string& folder : folders) {
        const QString base = QString::fromStdString(folder);
        QDirIterator files(base, {"*.desktop"}, QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString path = files.next();
            QString id = path.mid(base.size() + 1);
            id.chop(static_cast<int>(std::string_view(".desktop").size()));
            id.replace('/', '-');
            if (!entries_.contains(id.toStdString()) && !hidden_.contains(id.toStdString())) read(path.toStdString(), id.toStdString(), locale);
        }
    }
}

DesktopEntries DesktopEntries::forUser() {
    std::vector<std::string> folders;
    for (const QString& folder : QStandardPaths::standardLocations(QStandardPaths::ApplicationsLocation)) {
        folders.push_back(folder.toStdString());
    }
    return DesktopEntries(folders, QLocale::system().name().toStdString());
}

void DesktopEntries::read(const std::string& path, const std::string& id, const std::string& locale) {
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::ReadOnly)) return;
    const std::string language = locale.substr(0, locale.find('_'));
    std::string name, nameForLocale, nameForLanguage, startupWMClass;
    bool inMainGroup = false;
    bool hidden = false;
    while (!file.atEnd()) {
        const std::string line = file.readLine().trimmed().toStdString();
        if (line.empty() || line[0] == '#') continue;
        if (line[0] == '[') {
            inMainGroup = line == "[Desktop Entry]";
            continue;
        }
        if (!inMainGroup) continue;
        const auto equals = line.find('=');
        if (equals == std::string::npos) continue;
        std::string key = line.substr(0, equals);
        while (!key.empty() && key.back() == ' ') key.pop_back();
        std::string value = line.substr(equals + 1);
        value.erase(0, value.find_first_not_of(' '));
        if (key == "Name") name = value;
        else if (key == "Name[" + locale + "]") nameForLocale = value;
        else if (key == "Name[" + language + "]") nameForLanguage = value;
        else if (key == "StartupWMClass") startupWMClass = value;
        else if (key == "Hidden") hidden = value == "true";
    }
    if (hidden) {
        hidden_.insert(id);  // also hides the same id in later folders
        return;
    }
    std::string chosen = !nameForLocale.empty() ? nameForLocale : !nameForLanguage.empty() ? nameForLanguage : name;
    if (chosen.empty()) chosen = id;
    entries_.emplace(id, Entry{nfc(chosen), startupWMClass});
}

std::optional<DesktopApplication> DesktopEntries::byId(const std::string& id, bool ignoreCase) const {
    if (id.empty()) return std::nullopt;
    if (const auto found = entries_.find(id); found != entries_.end()) {
        return DesktopApplication{found->first, found->second.name};
    }
    if (!ignoreCase) return std::nullopt;
    const std::string wanted = lowercased(id);
    for (const auto& [key, entry] : entries_) {
        if (lowercased(key) == wanted) return DesktopApplication{key, entry.name};
    }
    return std::nullopt;
}

std::optional<DesktopApplication> DesktopEntries::find(const std::optional<std::string>& announcedId,
                                                       const std::string& instance,
                                                       const std::string& windowClass) const {
    if (announcedId) {
        std::string id = *announcedId;
        if (id.ends_with(".desktop")) id.resize(id.size() - std::string_view(".desktop").size());
        if (auto found = byId(id, false)) return found;
    }
    for (const std::string* wmClass : {&windowClass, &instance}) {
        if (wmClass->empty()) continue;
        for (const auto& [key, entry] : entries_) {
            if (entry.startupWMClass == *wmClass) return DesktopApplication{key, entry.name};
        }
    }
    if (auto found = byId(windowClass, true)) return found;
    return byId(instance, true);
}

}  // namespace plenda
