#pragma once

#include "platform/Files.h"

namespace plenda {

// Files through QFile and QSaveFile. The Application Support folder can be
// given (tests, a second profile); by default it is the platform's.
class QtFiles final : public Files {
public:
    QtFiles() = default;
    explicit QtFiles(std::string applicationSupportDirectory)
        : applicationSupport_(std::move(applicationSupportDirectory)) {}

    std::optional<std::string> applicationSupportDirectory() const override;
    bool createDirectories(const std::string& path) override;
    FileRead readFile(const std::string& path) const override;
    std::optional<FileStamp> stamp(const std::string& path) const override;
    std::unique_ptr<FileReader> openForReading(const std::string& path) const override;
    std::optional<std::string> writeAtomically(const std::string& path,
                                               const std::function<bool(FileWriter&)>& produce) override;
    bool moveFile(const std::string& from, const std::string& to) override;

private:
    std::optional<std::string> applicationSupport_;
};

}  // namespace plenda
