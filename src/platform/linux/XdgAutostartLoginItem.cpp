#include "platform/linux/XdgAutostartLoginItem.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QStandardPaths>

namespace plenda {

namespace {

// Desktop-entry Exec values quote arguments that hold blanks or specials.
QString execValue(const QString& executable) {
    static const QString specials = QStringLiteral(" \t\n\"'\\><~|&;$*?#()`");
    bool needsQuotes = false;
    for (QChar c : executable) needsQuotes |= specials.contains(c);
    if (!needsQuotes) return executable;
    QString quoted = executable;
    quoted.replace(u'\\', QStringLiteral("\\\\")).replace(u'"', QStringLiteral("\\\"")).replace(u'`', QStringLiteral("\\`")).replace(u'$', QStringLiteral("\\$"));
    return u'"' + quoted + u'"';
}

}  // namespace

XdgAutostartLoginItem::XdgAutostartLoginItem(std::string autostartFolder, std::string executable)
    : folder_(std::move(autostartFolder)), executable_(std::move(executable)) {}

XdgAutostartLoginItem XdgAutostartLoginItem::forCurrentUser() {
    const QString config = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    return XdgAutostartLoginItem((config + "/autostart").toStdString(),
                                 QCoreApplication::applicationFilePath().toStdString());
}

bool XdgAutostartLoginItem::isEnabled() const {
    QFile file(QString::fromStdString(entryPath()));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) return false;
    bool hidden = false, exec = false;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (line.startsWith(u'[') && line != QLatin1String("[Desktop Entry]")) break;
        if (line.startsWith(QLatin1String("Hidden="))) hidden = line.mid(7).trimmed() == QLatin1String("true");
        if (line.startsWith(QLatin1String("Exec="))) exec = !line.mid(5).trimmed().isEmpty();
    }
    return exec && !hidden;
}

std::optional<std::string> XdgAutostartLoginItem::registerItem() {
    const QString folder = QString::fromStdString(folder_);
    if (!QDir(folder).exists()) {
        if (!QDir().mkpath(folder)) return "cannot create " + folder_;
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    QSaveFile file(QString::fromStdString(entryPath()));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text)) return file.errorString().toStdString();
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    const QString entry = QStringLiteral(
                              "[Desktop Entry]\n"
                              "Type=Application\n"
                              "Name=Plenda\n"
                              "Comment=Keeps an automatic diary of your day\n"
                              "Exec=%1\n"
                              "Terminal=false\n"
                              "X-GNOME-Autostart-enabled=true\n")
                              .arg(execValue(QString::fromStdString(executable_)));
    file.write(entry.toUtf8());
    if (!file.commit()) return file.errorString().toStdString();
    return std::nullopt;
}

std::optional<std::string> XdgAutostartLoginItem::unregisterItem() {
    QFile file(QString::fromStdString(entryPath()));
    if (!file.exists()) return std::nullopt;
    if (!file.remove()) return file.errorString().toStdString();
    return std::nullopt;
}

}  // namespace plenda
