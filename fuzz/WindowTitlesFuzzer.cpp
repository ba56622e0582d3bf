// Window titles and browser addresses are whatever other programs put there,
// invalid UTF-8 included. The project is a trimmed, non-empty piece of the
// title; the host a piece of the decoded address; and a block titled with
// either (as the tracker titles them) survives the block file.
#include "FuzzInput.h"
#include "model/MacDayBlockJson.h"
#include "base/Text.h"
#include "tracking/BrowserTabs.h"
#include "tracking/WindowTitles.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

namespace plenda {
namespace {

// The title written by the tracker must come back from the file as valid UTF-8
// text that equals the original whenever the original was valid.
void checkSurvivesFile(const std::string& title) {
    MacDayBlock block;
    block.id = *Uuid::parse("00000000-0000-4000-8000-000000000001");
    block.title = title;
    block.note = title;
    block.blockType = "tracked";
    const auto encoded = encodeBlocks({block});
    if (!encoded) std::abort();
    const auto decoded = decodeBlocks(*encoded);
    if (!decoded || decoded->size() != 1) std::abort();
    if (nfc(title) == title && (*decoded)[0].title != title) std::abort();
}

}  // namespace
}  // namespace plenda

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace plenda;
    FuzzInput input(data, size);
    // Mac editors separate with dashes, so a project never holds one; Linux VS Code
    // separates with " - " and a folder name may well hold a dash.
    static const char* const dashOwners[] = {
        "com.microsoft.VSCode", "dev.zed.Zed",   "com.apple.dt.Xcode",      "com.jetbrains.intellij",
        "jetbrains-clion",      "com.apple.Terminal", "com.googlecode.iterm2", "com.google.android.studio",
        "com.apple.Safari"};
    static const char* const hyphenOwners[] = {"code", "code-oss", "code-insiders", "codium", "Code", "Code - OSS",
                                               "VSCodium"};
    const std::uint8_t kind = input.byte() % 16;
    const std::optional<std::string> owner =
        kind == 0   ? std::nullopt
        : kind == 1 ? std::optional<std::string>(input.oneOf(hyphenOwners))
                    : std::optional<std::string>(input.oneOf(dashOwners));
    const std::string title = input.rest();

    if (const auto project = projectName(owner, title)) {
        if (project->empty()) std::abort();
        if (project->front() == ' ' || project->back() == ' ') std::abort();
        const bool hyphenated =
            owner && std::find(std::begin(hyphenOwners), std::end(hyphenOwners), *owner) != std::end(hyphenOwners);
        if (hyphenated ? project->find(" - ") != std::string::npos
                       : project->find("\u2014") != std::string::npos || project->find("\u2013") != std::string::npos)
            std::abort();
        checkSurvivesFile("Code \u00B7 " + *project);
    }
    if (auto host = hostOfAddress(title)) {
        if (host->empty()) std::abort();
        if (host->starts_with("www.")) host->erase(0, 4);
        checkSurvivesFile(*host);
    }
    checkSurvivesFile(title);
    const std::string stored = prefixCharacters(title, WindowTitles::storedTitleCharacters);
    if (stored.size() > title.size() * 3 + 3) std::abort();
    return 0;
}
