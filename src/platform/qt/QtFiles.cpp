#include "platform/qt/QtFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace plenda {

namespace {

QString qpath(const std::string& path) { return QString::fromStdString(path); }

constexpr QFileDevice::Permissions userOnlyFile = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
constexpr QFileDevice::Permissions userOnlyFolder =
    QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner;

// An atomic replace gives the file a new inode even when size and time match.
FileStamp stampOf(const struct stat& status) {
#ifdef __APPLE__
    const timespec modified = status.st_mtimespec;
#else
    const timespec modified = status.st_mtim;
#endif
    return FileStamp{
        .size = static_cast<std::uint64_t>(status.st_size),
        .modifiedNanoseconds = std::int64_t(modified.tv_sec) * 1'000'000'000 + modified.tv_nsec,
        .fileId = static_cast<std::uint64_t>(status.st_ino) ^ (static_cast<std::uint64_t>(status.st_dev) << 40),
    };
}

class DescriptorReader final : public FileReader {
public:
    explicit DescriptorReader(int descriptor) : descriptor_(descriptor) {}
    ~DescriptorReader() override { ::close(descriptor_); }
    std::optional<FileStamp> stamp() const override {
        struct stat status {};
        if (::fstat(descriptor_, &status) != 0) return std::nullopt;
        return stampOf(status);
    }
    bool read(std::uint64_t offset, char* into, std::size_t length) override {
        while (length > 0) {
            const ssize_t got = ::pread(descriptor_, into, length, off_t(offset));
            if (got <= 0) return false;
            into += got;
            offset += std::uint64_t(got);
            length -= std::size_t(got);
        }
        return true;
    }

private:
    int descriptor_;
};

class SaveFileWriter final : public FileWriter {
public:
    explicit SaveFileWriter(QSaveFile& file) : file_(file) {}
    bool write(std::string_view bytes) override {
        return file_.write(bytes.data(), qint64(bytes.size())) == qint64(bytes.size());
    }
    // The renaming keeps the inode, the size and the time of the last write.
    std::optional<FileStamp> stamp() const override {
        struct stat status {};
        if (::fstat(file_.handle(), &status) != 0) return std::nullopt;
        return stampOf(status);
    }

private:
    QSaveFile& file_;
};

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
    return stampOf(status);
}

std::unique_ptr<FileReader> QtFiles::openForReading(const std::string& path) const {
    // Without waiting for a FIFO's writer; only a regular file is read.
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) return nullptr;
    struct stat status {};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(descriptor);
        return nullptr;
    }
    return std::make_unique<DescriptorReader>(descriptor);
}

std::optional<std::string> QtFiles::writeAtomically(const std::string& path,
                                                    const std::function<bool(FileWriter&)>& produce) {
    QSaveFile file(qpath(path));
    // Unbuffered: a buffered write that fails while the buffer is flushed on
    // commit is not seen by QSaveFile, which would then put the cut-off
    // temporary file in place of the old one (a full disk did exactly that).
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) return file.errorString().toStdString();
    file.setPermissions(userOnlyFile);
    SaveFileWriter writer(file);
    if (!produce(writer)) {
        const std::string error = file.error() != QFileDevice::NoError ? file.errorString().toStdString()
                                                                         : "the text could not be made";
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
