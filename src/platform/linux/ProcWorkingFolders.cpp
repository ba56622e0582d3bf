#include "platform/linux/ProcWorkingFolders.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <tuple>
#include <vector>

namespace plenda {

namespace {

struct ProcessStat {
    int parent = 0;
    int terminal = 0;            // tty_nr; 0: none
    int foregroundGroup = -1;    // tpgid of that terminal
};

// The fields after the command (which may hold blanks and parentheses).
std::optional<ProcessStat> readStat(const std::string& proc, int pid) {
    std::ifstream file(proc + "/" + std::to_string(pid) + "/stat");
    std::string text;
    if (!std::getline(file, text)) return std::nullopt;
    const auto close = text.rfind(')');
    if (close == std::string::npos) return std::nullopt;
    std::istringstream fields(text.substr(close + 1));
    std::string state;
    int group = 0, session = 0;
    ProcessStat stat;
    if (!(fields >> state >> stat.parent >> group >> session >> stat.terminal >> stat.foregroundGroup)) return std::nullopt;
    return stat;
}

std::optional<std::string> readLink(const std::string& path) {
    std::string target(4096, '\0');
    const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
    if (length <= 0 || std::size_t(length) >= target.size()) return std::nullopt;
    target.resize(std::size_t(length));
    return target;
}

bool exists(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0;
}

// When the terminal last took input or gave output, to the second.
double lastUsed(const std::string& device) {
    struct stat status {};
    if (::stat(device.c_str(), &status) != 0) return 0;
    return double(std::max(status.st_atim.tv_sec, status.st_mtim.tv_sec));
}

struct Shell {
    int pid;
    std::string folder;
    double used;
};

// How the title would show the folder: whole, or under the home folder as "~".
bool titleShows(std::string_view title, const std::string& folder, const std::string& home) {
    if (title.find(folder) != std::string_view::npos) return true;
    if (home.empty() || folder.rfind(home + "/", 0) != 0) return false;
    return title.find("~" + folder.substr(home.size())) != std::string_view::npos;
}

}  // namespace

std::optional<std::string> ProcWorkingFolders::projectFolder(int processIdentifier, std::string_view title) {
    if (processIdentifier <= 0) return std::nullopt;
    std::vector<Shell> shells;
    DIR* directory = ::opendir(proc_.c_str());
    if (!directory) return std::nullopt;
    while (const dirent* entry = ::readdir(directory)) {
        const int pid = std::atoi(entry->d_name);
        if (pid <= 0) continue;
        const auto stat = readStat(proc_, pid);
        if (!stat || stat->parent != processIdentifier || stat->terminal == 0) continue;
        // What runs in front on that terminal, or the shell itself.
        const int front = stat->foregroundGroup > 0 ? stat->foregroundGroup : pid;
        auto folder = readLink(proc_ + "/" + std::to_string(front) + "/cwd");
        if (!folder) folder = readLink(proc_ + "/" + std::to_string(pid) + "/cwd");
        const auto device = readLink(proc_ + "/" + std::to_string(pid) + "/fd/0");
        if (folder) shells.push_back({pid, *folder, device ? lastUsed(*device) : 0});
    }
    ::closedir(directory);
    if (shells.empty()) return std::nullopt;

    const auto shown = [&](const Shell& shell) { return titleShows(title, shell.folder, home_); };
    const auto chosen = std::max_element(shells.begin(), shells.end(), [&](const Shell& a, const Shell& b) {
        return std::tuple(shown(a), a.used, a.pid) < std::tuple(shown(b), b.used, b.pid);
    });
    std::string folder = chosen->folder;
    // Up to the repository's top folder, stopping short of the home folder.
    for (std::string at = folder; at.size() > 1 && at != home_; at = at.substr(0, std::max<std::size_t>(1, at.rfind('/')))) {
        if (exists(at + "/.git")) {
            folder = at;
            break;
        }
    }
    if (folder == "/" || folder == home_) return std::nullopt;
    return folder;
}

}  // namespace plenda
