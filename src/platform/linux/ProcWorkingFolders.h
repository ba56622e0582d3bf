#pragma once

#include "platform/WorkingFolders.h"

namespace plenda {

// Working folders read from /proc: the terminal's children that have a
// terminal of their own are its shells (one per window or tab); of a shell,
// the foreground process group of its terminal is what runs in front. A
// terminal with several shells gives the one whose folder its window title
// shows, else the one whose terminal was used last.
class ProcWorkingFolders final : public WorkingFolders {
public:
    // `home` is left out as no project; the process file system can be another (tests).
    explicit ProcWorkingFolders(std::string home, std::string proc = "/proc")
        : home_(std::move(home)), proc_(std::move(proc)) {}
    std::optional<std::string> projectFolder(int processIdentifier, std::string_view title) override;

private:
    std::string home_;
    std::string proc_;
};

}  // namespace plenda
