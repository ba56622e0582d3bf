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
    std::optional<std::string> writeFileAtomically(const std::string& path, std::string_view bytes) override {
        ++writeCount;
        if (writeFailure) return writeFailure;
        writeFromOutside(path, std::string(bytes));
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
