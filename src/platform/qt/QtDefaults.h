#pragma once

#include "platform/Defaults.h"

#include <QSettings>

#include <iostream>
#include <map>
#include <memory>
#include <mutex>

namespace plenda {

// The user defaults: on macOS the native store through QSettings (the app's
// standard user defaults); elsewhere a typed JSON file under ~/.config, so
// that booleans, numbers, text, data, arrays and dictionaries come back as
// the types they were stored as. The file is held in memory and written
// whole by a background writer, at most once per `writeDelay` and only
// after a change; synchronize and destruction write what is pending.
class QtDefaults final : public Defaults {
public:
    explicit QtDefaults(std::unique_ptr<QSettings> settings);
    ~QtDefaults() override;
    // The current user's defaults for this application; a settings file that
    // cannot be read is moved aside first and a line on `output` says so.
    static std::unique_ptr<QtDefaults> forUser(std::ostream& output = std::cout);
    // The typed JSON file at `path`, private to the user (0600 in a 0700
    // folder). A file that exists but cannot be read or parsed is never
    // written over: it becomes `path.unreadable-<UTC time>`.
    static std::unique_ptr<QtDefaults> openFile(const QString& path, std::ostream& output, double writeDelay = 1.0);

    std::optional<DefaultsValue> object(std::string_view key) const override;
    void set(std::string_view key, DefaultsValue value) override;
    void remove(std::string_view key) override;
    void synchronize() override;
    // Times the settings file was written.
    int fileWrites() const;

    // The typed JSON text of the settings file.
    static std::string typedJsonText(const std::map<std::string, std::shared_ptr<const DefaultsValue>>& values);

private:
    struct File;
    QtDefaults(std::unique_ptr<File> file);

    mutable std::mutex mutex_;
    std::unique_ptr<QSettings> settings_;
    std::unique_ptr<File> file_;
};

QVariant toVariant(const DefaultsValue& value);
std::optional<DefaultsValue> fromVariant(const QVariant& variant);

}  // namespace plenda
