#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace plenda {

class Accessibility;
class Defaults;

// Editors whose windows end in the project: "file — project".
const std::vector<std::string_view>& lastSegmentEditors();

// The project shown in the title of an editor or terminal window; nothing for
// every other application and for titles without one.
std::optional<std::string> projectName(const std::optional<std::string>& bundleIdentifier, std::string_view title);

// Terminal emulators as Linux names them (desktop entry or window class): their
// titles are the shell's to set, so their project comes from the folder the
// program in front works in; the project is that folder's name.
bool isLinuxTerminal(std::string_view bundleIdentifier);
std::string folderProject(std::string_view folder);

// The title of other applications' front windows, through the accessibility
// interface. Every read leaves its outcome under `outcomeKey`. Main thread only.
class WindowTitles {
public:
    static constexpr std::string_view outcomeKey = "windowTitle.lastOutcome";
    static constexpr std::size_t storedTitleCharacters = 60;

    WindowTitles(Accessibility& accessibility, Defaults& defaults);

    // The focused window's whole title, or nothing.
    std::optional<std::string> frontWindowTitle(int processIdentifier);
    // The first-launch request: the system's prompt, then "asked".
    void requestAccessibility();

private:
    Accessibility& accessibility_;
    Defaults& defaults_;
};

}  // namespace plenda
