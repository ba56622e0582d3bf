#include "tracking/CategoryRules.h"

#include "base/Text.h"
#include "platform/Defaults.h"

#include <map>

namespace plenda {

namespace {

// The overrides as a title -> raw value map; a value that is not text makes
// the whole dictionary count as empty.
std::map<std::string, std::string> readOverrides(const Defaults& defaults,
                                                std::string_view key = categoryOverridesKey) {
    std::map<std::string, std::string> overrides;
    const auto stored = defaults.dictionary(key);
    if (!stored) return overrides;
    for (const auto& [key, value] : *stored) {
        const auto* text = std::get_if<std::string>(&value.value);
        if (!text) return {};
        overrides.emplace(key, *text);
    }
    return overrides;
}

std::optional<MacBlockCategory> overrideIn(const Defaults& defaults, std::string_view key, std::string_view name) {
    const auto overrides = readOverrides(defaults, key);
    const auto found = overrides.find(lowercased(name));
    if (found == overrides.end()) return std::nullopt;
    return categoryFromRawValue(found->second);
}

void setOverrideIn(Defaults& defaults, std::string_view key, std::string_view name, MacBlockCategory category) {
    DefaultsValue::Dictionary dictionary;
    for (auto& [stored, value] : readOverrides(defaults, key)) dictionary.emplace(stored, value);
    dictionary.insert_or_assign(lowercased(name), std::string(rawValue(category)));
    defaults.set(key, std::move(dictionary));
}

}  // namespace

const std::vector<CategoryKeywordRow>& categoryKeywordTable() {
    using C = MacBlockCategory;
    static const std::vector<CategoryKeywordRow> table = {
        {C::work,
         {"xcode", "cursor", "terminal", "code", "figma", "slack", "notion", "mail", "calendar",
          "github", "zoom", "teams", "udemy", "coursera", "edx", "pluralsight", "stackoverflow",
          "stackexchange", "gitlab", "bitbucket", "atlassian", "jira", "confluence",
          "appstoreconnect", "asana", "trello", "vercel", "chatgpt",
          // Hosts: issue tracker, office-suite documents, drive and sheets,
          // the platform maker's developer portal, the design tool, an AI assistant.
          "linear.app", "docs.google", "drive.google", "sheets.google", "developer.apple",
          "figma.com", "claude.ai"}},
        {C::social,
         {"messages", "whatsapp", "telegram", "discord", "facetime", "instagram", "facebook",
          "twitter", "linkedin", "reddit", "bsky", "mastodon",
          // The host follows a blank in the key text; the blank keeps hosts
          // that merely end in these letters (netflix.com, dropbox.com) out.
          " x.com"}},
        {C::entertainment,
         {"youtube", "netflix", "spotify", "music", "tv", "steam", "game", "twitch", "disneyplus",
          "primevideo", "hulu", "9gag", "tiktok"}},
        {C::mind,
         {"books", "kindle", "safari", "wikipedia", "readwise", "substack", "goodreads", "arxiv",
          "nytimes", "theguardian",
          // Hosts: a blogging platform, a public broadcaster.
          "medium.com", "bbc."}},
        {C::selfCare, {"headspace", "calm", "day one"}},
        {C::body, {"fitness", "strava"}},
        {C::chores, {"amazon", "shopping", "trendyol", "hepsiburada", "getir", "yemeksepeti"}},
    };
    return table;
}

const std::vector<CategoryKeywordRow>& linuxCategoryKeywordTable() {
    using C = MacBlockCategory;
    // Desktop-entry ids and window classes as Debian's packages name them.
    static const std::vector<CategoryKeywordRow> table = {
        {C::work,
         {"jetbrains", "intellij", "pycharm", "clion", "goland", "webstorm", "rider", "android-studio",
          "kdevelop", "qtcreator", "eclipse", "gedit", "gnome.texteditor", "kde.kate", "kwrite", "mousepad",
          "geany", "sublime", "emacs", "vim", "konsole", "xterm", "alacritty", "kitty", "tilix", "terminator",
          "urxvt", "wezterm", "libreoffice", "soffice", "onlyoffice", "thunderbird", "evolution", "geary",
          "kmail", "gimp", "inkscape", "krita", "dbeaver", "postman"}},
        {C::mind,
         {"firefox", "chromium", "chrome", "brave", "epiphany", "vivaldi", "opera", "falkon", "evince",
          "okular", "zathura", "foliate", "calibre"}},
        {C::entertainment, {"vlc", "mpv", "totem", "rhythmbox", "lutris"}},
    };
    return table;
}

std::optional<MacBlockCategory> categoryOverride(const Defaults& defaults, std::string_view title) {
    return overrideIn(defaults, categoryOverridesKey, title);
}

void setCategoryOverride(Defaults& defaults, std::string_view title, MacBlockCategory category) {
    setOverrideIn(defaults, categoryOverridesKey, title, category);
}

std::optional<MacBlockCategory> applicationCategoryOverride(const Defaults& defaults, std::string_view application) {
    return overrideIn(defaults, applicationCategoryOverridesKey, application);
}

void setApplicationCategoryOverride(Defaults& defaults, std::string_view application, MacBlockCategory category) {
    setOverrideIn(defaults, applicationCategoryOverridesKey, application, category);
}

std::optional<std::string_view> applicationOfTitle(std::string_view title) {
    constexpr std::string_view separator = " \u00B7 ";
    const auto at = title.find(separator);
    if (at == std::string_view::npos || at == 0) return std::nullopt;
    return title.substr(0, at);
}

MacBlockCategory classifyCategory(std::string_view text, bool hasHost, bool withLinuxRows) {
    const std::string lower = lowercased(text);
    for (const auto* table : {&categoryKeywordTable(), withLinuxRows ? &linuxCategoryKeywordTable() : nullptr}) {
        if (!table) continue;
        for (const CategoryKeywordRow& row : *table) {
            for (std::string_view keyword : row.keywords) {
                if (lower.find(keyword) != std::string::npos) return row.category;
            }
        }
    }
    return hasHost ? MacBlockCategory::mind : MacBlockCategory::entertainment;
}

std::function<void(std::string_view, MacBlockCategory)> categoryOverrideWriter(Defaults& defaults) {
    return [&defaults](std::string_view title, MacBlockCategory category) {
        setCategoryOverride(defaults, title, category);
    };
}

}  // namespace plenda
