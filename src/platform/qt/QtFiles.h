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
    std::optional<std::string> writeFileAtomically(const std::string& path, std::string_view bytes) override;
    bool moveFile(const std::string& from, const std::string& to) override;

private:
    std::optional<std::string> applicationSupport_;
};

}  // namespace plenda
