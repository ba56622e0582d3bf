#include "platform/qt/QtFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

#include <sys/stat.h>

namespace plenda {

namespace {

QString qpath(const std::string& path) { return QString::fromStdString(path); }

constexpr QFileDevice::Permissions userOnlyFile = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
constexpr QFileDevice::Permissions userOnlyFolder =
    QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner;

}  // namespace

std::optional<std::string> QtFiles::applicationSupportDirectory() const {
    if (applicationSupport_) return applicationSupport_;
    // ~/Library/Application Support on macOS, $XDG_DATA_HOME or ~/.local/share on Linux.
    const QString location = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (location.isEmpty()) return std::nullopt;
    return location.toStdString();
}

bool QtFiles::createDirectories(const std::string& path) {
    const QString folder = qpath(path);
    if (QFileInfo(folder).isDir()) return true;
    if (!QDir().mkpath(folder)) return false;
    QFile::setPermissions(folder, userOnlyFolder);
    return true;
}

FileRead QtFiles::readFile(const std::string& path) const {
    QFile file(qpath(path));
    if (!file.exists()) return {FileRead::Status::missing, {}, {}};
    // Opening a FIFO would wait for a writer, and a device never ends.
    if (!QFileInfo(file).isFile()) return {FileRead::Status::failed, {}, "not a regular file"};
    if (!file.open(QIODevice::ReadOnly))
        return {FileRead::Status::failed, {}, file.errorString().toStdString()};
    // Read straight into the result, with spare room after the end so a
    // JSON parser can work on the bytes in place.
    FileRead result{FileRead::Status::ok, {}, {}};
    const qint64 size = file.size();
    result.bytes.reserve(static_cast<std::size_t>(size) + FileRead::spareCapacity);
    result.bytes.resize(static_cast<std::size_t>(size));
    qint64 done = 0;
    while (done < size) {
        const qint64 read = file.read(result.bytes.data() + done, size - done);
        if (read <= 0) break;
        done += read;
    }
    if (done != size || file.error() != QFileDevice::NoError)
        return {FileRead::Status::failed, {}, file.errorString().toStdString()};
    return result;
}

std::optional<FileStamp> QtFiles::stamp(const std::string& path) const {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return std::nullopt;
#ifdef __APPLE__
    const timespec modified = status.st_mtimespec;
#else
    const timespec modified = status.st_mtim;
#endif
    // An atomic replace gives the file a new inode even when size and time match.
    return FileStamp{
        .size = static_cast<std::uint64_t>(status.st_size),
        .modifiedNanoseconds = std::int64_t(modified.tv_sec) * 1'000'000'000 + modified.tv_nsec,
        .fileId = static_cast<std::uint64_t>(status.st_ino) ^ (static_cast<std::uint64_t>(status.st_dev) << 40),
    };
}

std::optional<std::string> QtFiles::writeFileAtomically(const std::string& path, std::string_view bytes) {
    QSaveFile file(qpath(path));
    // Unbuffered: a buffered write that fails while the buffer is flushed on
    // commit is not seen by QSaveFile, which would then put the cut-off
    // temporary file in place of the old one (a full disk did exactly that).
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) return file.errorString().toStdString();
    file.setPermissions(userOnlyFile);
    const qint64 size = static_cast<qint64>(bytes.size());
    if (file.write(bytes.data(), size) != size) {
        const std::string error = file.errorString().toStdString();
        file.cancelWriting();
        return error;
    }
    if (!file.commit()) return file.errorString().toStdString();
    return std::nullopt;
}

bool QtFiles::moveFile(const std::string& from, const std::string& to) {
    return QFile::rename(qpath(from), qpath(to));
}

}  // namespace plenda
