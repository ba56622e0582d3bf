#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace plenda {

// What the desktop knows about an application: its desktop-entry id (the
// file name without ".desktop", subfolders joined by "-") and its name in the
// user's language.
struct DesktopApplication {
    std::string id;
    std::string name;
};

// The installed desktop entries, read once from the applications folders.
// An id found in an earlier folder hides the same id in later ones.
class DesktopEntries {
public:
    // `folders`: the "applications" folders in order of precedence.
    // `locale`: "de_DE" and the like, for Name[de_DE] and Name[de].
    DesktopEntries(const std::vector<std::string>& folders, const std::string& locale);
    // The folders of $XDG_DATA_HOME and $XDG_DATA_DIRS, and the system locale.
    static DesktopEntries forUser();

    // The entry of a window: by the application id the toolkit announced
    // (GTK, KDE), by StartupWMClass, then by an id equal to the class or
    // instance (case ignored). Nothing when no entry fits.
    std::optional<DesktopApplication> find(const std::optional<std::string>& announcedId,
                                           const std::string& instance, const std::string& windowClass) const;

    std::size_t size() const { return entries_.size(); }

private:
    struct Entry {
        std::string name;
        std::string startupWMClass;
    };
    void read(const std::string& path, const std::string& id, const std::string& locale);
    std::optional<DesktopApplication> byId(const std::string& id, bool ignoreCase) const;

    std::map<std::string, Entry> entries_;
    std::set<std::string> hidden_;
};

}  // namespace plenda
