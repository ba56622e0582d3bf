#pragma once

#include <compare>
#include <cstdint>
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
    // Writes into a temporary file that then replaces `path`, so a reader
    // never sees half a file. Returns the reason on failure.
    virtual std::optional<std::string> writeFileAtomically(const std::string& path,
                                                           std::string_view bytes) = 0;
    // Renames a file; false on failure.
    virtual bool moveFile(const std::string& from, const std::string& to) = 0;
};

}  // namespace plenda
