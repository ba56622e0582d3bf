#include "fakes/MemoryDefaults.h"
#include "fakes/ScriptedAccessibility.h"
#include "tracking/WindowTitles.h"

#include <gtest/gtest.h>

#include <tuple>

namespace plenda {
namespace {

TEST(ProjectNames, EachGroupCutsItsOwnSegment) {
    const std::tuple<std::optional<std::string>, std::string, std::optional<std::string>> cases[] = {
        {"com.microsoft.VSCode", "main.rs ● — engine ●", "engine"},
        {"com.microsoft.VSCode", "Welcome", std::nullopt},
        {"com.microsoft.VSCode", "main.rs - engine - Visual Studio Code", std::nullopt},
        {"com.microsoft.VSCode", "a.rs — — engine", "engine"},
        {"com.microsoft.VSCode", "a.rs —\tengine\t", "engine"},
        {"dev.zed.Zed", "plenda – src/main.cpp – x", "x"},
        {"com.microsoft.vscode", "main.rs — engine", std::nullopt},
        {"com.apple.dt.Xcode", "engine — README.md", "engine"},
        {"com.apple.dt.Xcode", "Xcode — Welcome", std::nullopt},
        {"com.apple.dt.Xcode", "●", std::nullopt},
        {"com.jetbrains.intellij", "webapp [~/src/webapp] – App.kt", "webapp"},
        {"com.jetbrains.pycharm", "tool [a] [b] – x.py", "tool"},
        {"com.jetbrains.pycharm", "plain", "plain"},
        {"com.jetbrains.pycharm", "tool   [~/src/tool] – x.py", "tool"},
        {"com.google.android.studio-EAP", "myapp [~/a] – Main.kt", "myapp"},
        {"jetbrains-idea", "webapp [~/src/webapp] – App.kt", "webapp"},
        {"code", "main.rs - engine - Visual Studio Code", "engine"},
        {"code", "● main.rs - engine - Visual Studio Code", "engine"},
        {"codium", "a - b - engine - VSCodium", "engine"},
        {"Code", "main.rs - Visual Studio Code", std::nullopt},
        {"code", "Visual Studio Code", std::nullopt},
        {"com.apple.Terminal", "src — -zsh — 80×24", "src"},
        {"com.googlecode.iterm2", "  ", std::nullopt},
        {"com.apple.mail", "Inbox — 12 messages", std::nullopt},
        {std::nullopt, "main.rs — engine", std::nullopt}};
    for (const auto& [id, title, project] : cases) {
        EXPECT_EQ(projectName(id, title), project) << id.value_or("(none)") << " / " << title;
    }
}

class WindowTitleRead : public ::testing::Test {
protected:
    ScriptedAccessibility accessibility;
    MemoryDefaults defaults;
    WindowTitles titles{accessibility, defaults};

    std::optional<std::string> outcome() const { return defaults.string(WindowTitles::outcomeKey); }
};

TEST_F(WindowTitleRead, EveryReadRecordsWhatHappened) {
    using S = FocusedWindowTitle::Status;
    const std::tuple<FocusedWindowTitle, std::optional<std::string>, std::string> cases[] = {
        {{S::title, 0, "main.rs — engine"}, "main.rs — engine", "ok main.rs — engine"},
        {{S::title, 0, ""}, std::nullopt, "no-title 0"},
        {{S::titleError, -25212, ""}, std::nullopt, "no-title -25212"},
        {{S::windowError, -25204, ""}, std::nullopt, "no-window -25204"},
        {{S::notAnElement, 0, ""}, std::nullopt, "bad-window-type"}};
    for (const auto& [answer, title, recorded] : cases) {
        SCOPED_TRACE(recorded);
        accessibility.windows[42] = answer;
        EXPECT_EQ(titles.frontWindowTitle(42), title);
        EXPECT_EQ(outcome(), recorded);
    }
}

TEST_F(WindowTitleRead, UntrustedReadsNothingAndTheRequestPrompts) {
    accessibility.trusted = false;
    accessibility.setTitle(42, "x");
    EXPECT_EQ(titles.frontWindowTitle(42), std::nullopt);
    EXPECT_EQ(outcome(), "denied");
    EXPECT_EQ(accessibility.titleQueries, 0);
    titles.requestAccessibility();
    EXPECT_EQ(accessibility.trustRequests, 1);
    EXPECT_EQ(outcome(), "asked");
}

TEST_F(WindowTitleRead, LongTitleIsReturnedWholeAndStoredCutToSixtyCharacters) {
    std::string title;
    for (int i = 0; i < 200; ++i) title += (i % 3 == 0) ? "é" : "a";  // two bytes, one character
    std::string flag = "🇩🇪";                                          // one character of eight bytes
    accessibility.setTitle(42, flag + title);
    EXPECT_EQ(titles.frontWindowTitle(42), flag + title);
    std::string expected = "ok " + flag;
    for (int i = 0; i < 59; ++i) expected += (i % 3 == 0) ? "é" : "a";
    EXPECT_EQ(outcome(), expected);
}

}  // namespace
}  // namespace plenda
