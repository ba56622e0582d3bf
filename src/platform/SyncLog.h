#pragma once

#include <iosfwd>
#include <string_view>

namespace plenda {

class SystemLog;

inline constexpr std::string_view syncLinePrefix = "\u2601\uFE0F [SYNC] ";
inline constexpr std::string_view syncLogSubsystem = "app.plenda.Plenda.sync";
inline constexpr std::string_view syncLogCategory = "CloudSync";

// The program's diagnostic log: each line to standard output after the sync
// prefix and, when there is one, to the system log.
class SyncLog {
public:
    SyncLog(std::ostream& output, SystemLog* systemLog) : output_(output), systemLog_(systemLog) {}

    void operator()(std::string_view message) const;
    // Standard output only, for the lines the system log does not take.
    void toOutput(std::string_view message) const;

private:
    std::ostream& output_;
    SystemLog* systemLog_;
};

}  // namespace plenda
