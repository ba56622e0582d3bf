#include "tracking/WindowTitles.h"

#include "base/Text.h"
#include "platform/Accessibility.h"
#include "platform/Defaults.h"

#include <algorithm>
#include <cctype>

namespace plenda {

const std::vector<std::string_view>& lastSegmentEditors() {
    static const std::vector<std::string_view> editors{
        "com.microsoft.VSCode",         "com.visualstudio.code.oss", "com.todesktop.230313mzl4w4u92",
        "com.google.antigravity",       "dev.zed.Zed",               "com.exafunction.windsurf",
    };
    return editors;
}

namespace {

constexpr std::string_view blackCircle = "\u25CF";
constexpr std::string_view emDash = "\u2014";
constexpr std::string_view enDash = "\u2013";

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    const auto last = text.find_last_not_of(" \t");
    return text.substr(first, last - first + 1);
}

std::vector<std::string> segmentsOf(std::string_view title) {
    std::string text;
    for (std::size_t at = 0;;) {
        const auto found = title.find(blackCircle, at);
        text.append(title.substr(at, found == std::string_view::npos ? std::string_view::npos : found - at));
        if (found == std::string_view::npos) break;
        at = found + blackCircle.size();
    }
    const std::string_view whole = trimmed(text);

    std::vector<std::string> segments;
    std::size_t start = 0;
    for (std::size_t i = 0; i <= whole.size();) {
        std::size_t dash = 0;
        if (i < whole.size()) {
            const std::string_view rest = whole.substr(i);
            if (rest.starts_with(emDash)) dash = emDash.size();
            else if (rest.starts_with(enDash)) dash = enDash.size();
        }
        if (i == whole.size() || dash > 0) {
            const std::string_view piece = trimmed(whole.substr(start, i - start));
            if (!piece.empty()) segments.emplace_back(piece);
            if (i == whole.size()) break;
            i += dash;
            start = i;
        } else {
            ++i;
        }
    }
    return segments;
}

// VS Code and its builds as Linux names them (desktop entry or window class):
// their titles separate with a plain hyphen and end with the editor's own
// name, "main.rs - engine - Visual Studio Code".
bool isHyphenatedCodeEditor(std::string_view id) {
    static const std::vector<std::string_view> editors{"code", "code-oss", "code-insiders", "codium",
                                                       "Code", "Code - OSS", "VSCodium"};
    return std::find(editors.begin(), editors.end(), id) != editors.end();
}

std::optional<std::string> hyphenatedProject(std::string_view title) {
    std::vector<std::string_view> parts;
    const std::string_view whole = trimmed(title);
    for (std::size_t at = 0;;) {
        const auto found = whole.find(" - ", at);
        parts.push_back(trimmed(whole.substr(at, found == std::string_view::npos ? found : found - at)));
        if (found == std::string_view::npos) break;
        at = found + 3;
    }
    // "file - folder - editor": with fewer parts the one left could be a file.
    if (parts.size() < 3 || parts[parts.size() - 2].empty()) return std::nullopt;
    return std::string(parts[parts.size() - 2]);
}

bool isLastSegmentEditor(std::string_view id) {
    const auto& editors = lastSegmentEditors();
    return std::find(editors.begin(), editors.end(), id) != editors.end();
}

}  // namespace

bool isLinuxTerminal(std::string_view id) {
    static const std::vector<std::string_view> terminals{
        "xterm", "uxterm", "debian-xterm", "debian-uxterm", "urxvt", "rxvt", "rxvt-unicode", "urxvt-tabbed",
        "org.gnome.terminal", "gnome-terminal", "gnome-terminal-server", "org.gnome.console", "kgx",
        "org.kde.konsole", "konsole", "xfce4-terminal", "lxterminal", "terminator", "kitty", "alacritty",
        "com.gexperts.tilix", "tilix", "qterminal", "mate-terminal", "st", "st-256color", "stterm", "foot",
        "org.wezfurlong.wezterm", "sakura", "terminology", "eterm"};
    std::string lower(id);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
    return std::find(terminals.begin(), terminals.end(), lower) != terminals.end();
}

std::string folderProject(std::string_view folder) {
    while (folder.size() > 1 && folder.back() == '/') folder.remove_suffix(1);
    return std::string(folder.substr(folder.rfind('/') + 1));
}

std::optional<std::string> projectName(const std::optional<std::string>& bundleIdentifier, std::string_view title) {
    const std::vector<std::string> segments = segmentsOf(title);
    if (!bundleIdentifier) return std::nullopt;
    const std::string_view id = *bundleIdentifier;

    if (isHyphenatedCodeEditor(id)) return hyphenatedProject(title);
    if (isLastSegmentEditor(id)) {
        if (segments.size() < 2) return std::nullopt;
        return segments.back();
    }
    if (id == "com.apple.dt.Xcode") {
        if (segments.empty() || segments.front() == "Xcode") return std::nullopt;
        return segments.front();
    }
    // JetBrains IDEs call themselves "jetbrains-<ide>" on Linux.
    if (id.starts_with("com.jetbrains.") || id.starts_with("com.google.android.studio") ||
        id.starts_with("jetbrains-")) {
        if (segments.empty()) return std::nullopt;
        const std::string& first = segments.front();
        return std::string(trimmed(std::string_view(first).substr(0, first.find(" ["))));
    }
    if (id == "com.apple.Terminal" || id == "com.googlecode.iterm2") {
        if (segments.empty()) return std::nullopt;
        return segments.front();
    }
    return std::nullopt;
}

WindowTitles::WindowTitles(Accessibility& accessibility, Defaults& defaults)
    : accessibility_(accessibility), defaults_(defaults) {}

std::optional<std::string> WindowTitles::frontWindowTitle(int processIdentifier) {
    if (!accessibility_.isTrusted()) {
        defaults_.setString(outcomeKey, "denied");
        return std::nullopt;
    }
    const FocusedWindowTitle read = accessibility_.focusedWindowTitle(processIdentifier);
    switch (read.status) {
    case FocusedWindowTitle::Status::windowError:
        defaults_.setString(outcomeKey, "no-window " + std::to_string(read.code));
        return std::nullopt;
    case FocusedWindowTitle::Status::notAnElement:
        defaults_.setString(outcomeKey, "bad-window-type");
        return std::nullopt;
    case FocusedWindowTitle::Status::titleError:
        defaults_.setString(outcomeKey, "no-title " + std::to_string(read.code));
        return std::nullopt;
    case FocusedWindowTitle::Status::title:
        break;
    }
    if (read.title.empty()) {
        defaults_.setString(outcomeKey, "no-title 0");
        return std::nullopt;
    }
    defaults_.setString(outcomeKey, "ok " + prefixCharacters(read.title, storedTitleCharacters));
    return read.title;
}

void WindowTitles::requestAccessibility() {
    accessibility_.requestTrust();
    defaults_.setString(outcomeKey, "asked");
}

}  // namespace plenda
