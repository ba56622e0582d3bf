#pragma once

#include "model/MacBlockCategory.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace plenda {

class Defaults;

struct CategoryKeywordRow {
    MacBlockCategory category;
    std::vector<std::string_view> keywords;
};

// Seven rows, consulted in order; the first keyword found in the text wins.
const std::vector<CategoryKeywordRow>& categoryKeywordTable();

inline constexpr std::string_view categoryOverridesKey = "categoryOverrides";

// The category the user chose for sessions with this title, if any.
std::optional<MacBlockCategory> categoryOverride(const Defaults& defaults, std::string_view title);
// Remembers the user's choice for every later session with this title (case-insensitive).
void setCategoryOverride(Defaults& defaults, std::string_view title, MacBlockCategory category);
// Chosen "always for this application": sessions of an application (by its
// name, the part of a title before " · ") whose title has no override of its
// own. Kept apart from the per-title overrides, which keep their meaning.
inline constexpr std::string_view applicationCategoryOverridesKey = "applicationCategoryOverrides";
std::optional<MacBlockCategory> applicationCategoryOverride(const Defaults& defaults, std::string_view application);
void setApplicationCategoryOverride(Defaults& defaults, std::string_view application, MacBlockCategory category);
// The application a title names before its project, if it names one.
std::optional<std::string_view> applicationOfTitle(std::string_view title);

// What the store calls when a category is chosen: setCategoryOverride on `defaults`.
std::function<void(std::string_view title, MacBlockCategory category)> categoryOverrideWriter(Defaults& defaults);

// Rows for the programs a Linux desktop runs (IDEs, editors, terminals,
// office, mail, browsers), consulted after the seven.
const std::vector<CategoryKeywordRow>& linuxCategoryKeywordTable();

// Where the build runs: Linux adds its rows; macOS keeps the seven alone.
#ifdef __APPLE__
inline constexpr bool linuxKeywordRows = false;
#else
inline constexpr bool linuxKeywordRows = true;
#endif

// Keyword classification of "label host bundleId"; without a keyword hit a
// session with a web host is reading (mind), anything else entertainment.
MacBlockCategory classifyCategory(std::string_view text, bool hasHost, bool withLinuxRows = linuxKeywordRows);

}  // namespace plenda
