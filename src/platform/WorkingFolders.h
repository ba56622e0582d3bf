#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace plenda {

// Where the program in a terminal window works: what names a terminal's
// project where the window title does not. Only Linux has it; elsewhere the
// tracker has none and terminals get their project from their titles.
class WorkingFolders {
public:
    virtual ~WorkingFolders() = default;
    // For the terminal emulator with this process identifier, whose front
    // window has `title`: the working folder of the program in the
    // foreground there, or the top folder of the repository holding it.
    // Nothing when it cannot be told, or for the home folder and the root.
    virtual std::optional<std::string> projectFolder(int processIdentifier, std::string_view title) = 0;
};

}  // namespace plenda
