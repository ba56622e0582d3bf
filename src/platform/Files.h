#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace plenda {

struct FileRead {
    enum class Status { ok, missing, failed };
    // Readers leave this much unused capacity after the bytes when they can.
    static constexpr std::size_t spareCapacity = 64;
    Status status = Status::missing;
    std::string bytes;
    std::string error;  // why it failed, for diagnostics
};

// Enough of a file's metadata to tell that something replaced or rewrote it.
struct FileStamp {
    std::uint64_t size = 0;
    std::int64_t modifiedNanoseconds = 0;
    std::uint64_t fileId = 0;  // inode (with its device) where there is one
    bool operator==(const FileStamp&) const = default;
};

// A file opened for reading: it stays the file it was when opened, whatever
// replaces it at its path meanwhile.
class FileReader {
public:
    virtual ~FileReader() = default;
    virtual std::optional<FileStamp> stamp() const = 0;
    // Fills `length` bytes from `offset`; false on failure or a short read.
    virtual bool read(std::uint64_t offset, char* into, std::size_t length) = 0;
};

// The new text of a file being written; false when a write failed.
class FileWriter {
public:
    virtual ~FileWriter() = default;
    virtual bool write(std::string_view bytes) = 0;
    // The stamp the file will have once it replaces the old one (what is
    // written so far): known here, where no other program can change it.
    virtual std::optional<FileStamp> stamp() const = 0;
};

// The file system as the program uses it. Everything it creates is readable
// by the user alone (0700 folders, 0600 files).
class Files {
public:
    virtual ~Files() = default;
    // ~/Library/Application Support on macOS, ~/.local/share on Linux;
    // nothing when the platform reports none.
    virtual std::optional<std::string> applicationSupportDirectory() const = 0;
    // Creates the folder and any missing parents; false on failure.
    virtual bool createDirectories(const std::string& path) = 0;
    virtual FileRead readFile(const std::string& path) const = 0;
    // Without reading the file; nothing when it is missing or cannot be looked at.
    virtual std::optional<FileStamp> stamp(const std::string& path) const = 0;
    // Nothing when the file is missing or cannot be opened.
    virtual std::unique_ptr<FileReader> openForReading(const std::string& path) const = 0;
    // Writes what `produce` writes into a temporary file that then replaces
    // `path`, so a reader never sees half a file; nothing replaces it when
    // `produce` returns false. Returns the reason on failure.
    virtual std::optional<std::string> writeAtomically(const std::string& path,
                                                       const std::function<bool(FileWriter&)>& produce) = 0;
    std::optional<std::string> writeFileAtomically(const std::string& path, std::string_view bytes) {
        return writeAtomically(path, [bytes](FileWriter& file) { return file.write(bytes); });
    }
    // Renames a file; false on failure.
    virtual bool moveFile(const std::string& from, const std::string& to) = 0;
};

}  // namespace plenda
