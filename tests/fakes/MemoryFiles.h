#pragma once

#include "platform/Files.h"

#include <map>
#include <set>

namespace plenda {

// A file system in memory with switchable failures.
class MemoryFiles final : public Files {
public:
    std::optional<std::string> supportDirectory = "/home/user/.local/share";
    std::map<std::string, std::string> files;
    std::set<std::string> folders;
    std::set<std::string> unreadable;            // reads fail
    std::optional<std::string> writeFailure;     // every write fails with this reason
    int writeCount = 0;
    mutable int readCount = 0;
    std::map<std::string, std::int64_t> versions;  // bumped by every write, the stamp's time

    // Another program replacing a file.
    void writeFromOutside(const std::string& path, std::string bytes) {
        files[path] = std::move(bytes);
        ++versions[path];
    }

    std::optional<std::string> applicationSupportDirectory() const override { return supportDirectory; }
    bool createDirectories(const std::string& path) override {
        folders.insert(path);
        return true;
    }
    FileRead readFile(const std::string& path) const override {
        ++readCount;
        if (unreadable.contains(path)) return {FileRead::Status::failed, {}, "Permission denied"};
        const auto found = files.find(path);
        if (found == files.end()) return {FileRead::Status::missing, {}, {}};
        return {FileRead::Status::ok, found->second, {}};
    }
    std::optional<FileStamp> stamp(const std::string& path) const override {
        const auto found = files.find(path);
        if (found == files.end()) return std::nullopt;
        const auto version = versions.find(path);
        return FileStamp{found->second.size(), version == versions.end() ? 0 : version->second, 0};
    }
    std::unique_ptr<FileReader> openForReading(const std::string& path) const override {
        class Reader final : public FileReader {
        public:
            Reader(std::string bytes, FileStamp stamp) : bytes_(std::move(bytes)), stamp_(stamp) {}
            std::optional<FileStamp> stamp() const override { return stamp_; }
            bool read(std::uint64_t offset, char* into, std::size_t length) override {
                if (offset > bytes_.size() || length > bytes_.size() - offset) return false;
                bytes_.copy(into, length, offset);
                return true;
            }

        private:
            std::string bytes_;
            FileStamp stamp_;
        };
        const auto found = files.find(path);
        if (found == files.end() || unreadable.contains(path)) return nullptr;
        return std::make_unique<Reader>(found->second, *stamp(path));
    }
    std::optional<std::string> writeAtomically(const std::string& path,
                                               const std::function<bool(FileWriter&)>& produce) override {
        struct Text final : FileWriter {
            std::string bytes;
            std::int64_t version = 0;
            bool write(std::string_view more) override {
                bytes.append(more);
                return true;
            }
            std::optional<FileStamp> stamp() const override { return FileStamp{bytes.size(), version, 0}; }
        } text;
        text.version = versions[path] + 1;
        ++writeCount;
        if (writeFailure) return writeFailure;
        if (!produce(text)) return "the text could not be made";
        writeFromOutside(path, std::move(text.bytes));
        return std::nullopt;
    }
    bool moveFile(const std::string& from, const std::string& to) override {
        const auto found = files.find(from);
        if (found == files.end()) return false;
        writeFromOutside(to, found->second);
        files.erase(from);
        unreadable.erase(from);
        return true;
    }
};

}  // namespace plenda
