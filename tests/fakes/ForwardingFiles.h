#pragma once

#include "platform/Files.h"

namespace plenda {

// Passes everything to another Files; doubles override what they watch.
class ForwardingFiles : public Files {
public:
    explicit ForwardingFiles(Files& files) : files_(files) {}
    std::optional<std::string> applicationSupportDirectory() const override {
        return files_.applicationSupportDirectory();
    }
    bool createDirectories(const std::string& path) override { return files_.createDirectories(path); }
    FileRead readFile(const std::string& path) const override { return files_.readFile(path); }
    std::optional<FileStamp> stamp(const std::string& path) const override { return files_.stamp(path); }
    bool moveFile(const std::string& from, const std::string& to) override { return files_.moveFile(from, to); }
    std::unique_ptr<FileReader> openForReading(const std::string& path) const override {
        return files_.openForReading(path);
    }
    std::optional<std::string> writeAtomically(const std::string& path,
                                               const std::function<bool(FileWriter&)>& produce) override {
        return files_.writeAtomically(path, produce);
    }

private:
    Files& files_;
};

}  // namespace plenda
