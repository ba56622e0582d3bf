#include "fakes/MemoryDefaults.h"
#include "fakes/ScriptedAccessibility.h"
#include "tracking/WindowTitles.h"

#include <gtest/gtest.h>

namespace plenda {
namespace {

struct ProjectCase {
    std::optional<std::string> id;
    std::string title;
    std::optional<std::string> project;
};

class ProjectNames : public ::testing::TestWithParam<ProjectCase> {};

TEST_P(ProjectNames, EachGroupCutsItsOwnSegment) {
    EXPECT_EQ(projectName(GetParam().id, GetParam().title), GetParam().project)
        << GetParam().id.value_or("(none)") << " / " << GetParam().title;
}

INSTANTIATE_TEST_SUITE_P(
    Titles, ProjectNames,
    ::testing::Values(
        ProjectCase{"com.microsoft.VSCode", "● main.rs — engine", "engine"},
        ProjectCase{"com.microsoft.VSCode", "main.rs ● — engine ●", "engine"},
        ProjectCase{"com.microsoft.VSCode", "Welcome", std::nullopt},
        ProjectCase{"com.microsoft.VSCode", "main.rs - engine - Visual Studio Code", std::nullopt},
        ProjectCase{"com.microsoft.VSCode", "a.rs — — engine", "engine"},
        ProjectCase{"com.microsoft.VSCode", "a.rs —\tengine\t", "engine"},
        ProjectCase{"dev.zed.Zed", "plenda – src/main.cpp – x", "x"},
        ProjectCase{"com.todesktop.230313mzl4w4u92", "app.ts — web", "web"},
        ProjectCase{"com.microsoft.vscode", "main.rs — engine", std::nullopt},
        ProjectCase{"com.apple.dt.Xcode", "engine — README.md", "engine"},
        ProjectCase{"com.apple.dt.Xcode", "Xcode", std::nullopt},
        ProjectCase{"com.apple.dt.Xcode", "Xcode — Welcome", std::nullopt},
        ProjectCase{"com.apple.dt.Xcode", "●", std::nullopt},
        ProjectCase{"com.jetbrains.intellij", "webapp [~/src/webapp] – App.kt", "webapp"},
        ProjectCase{"com.jetbrains.pycharm", "tool [a] [b] – x.py", "tool"},
        ProjectCase{"com.jetbrains.pycharm", "plain", "plain"},
        ProjectCase{"com.jetbrains.pycharm", "tool   [~/src/tool] – x.py", "tool"},
        ProjectCase{"com.google.android.studio-EAP", "myapp [~/a] – Main.kt", "myapp"},
        ProjectCase{"jetbrains-idea", "webapp [~/src/webapp] – App.kt", "webapp"},
        ProjectCase{"com.apple.Terminal", "src — -zsh — 80×24", "src"},
        ProjectCase{"com.googlecode.iterm2", "  ", std::nullopt},
        ProjectCase{"com.apple.mail", "Inbox — 12 messages", std::nullopt},
        ProjectCase{std::nullopt, "main.rs — engine", std::nullopt}));

class WindowTitleRead : public ::testing::Test {
protected:
    ScriptedAccessibility accessibility;
    MemoryDefaults defaults;
    WindowTitles titles{accessibility, defaults};

    std::optional<std::string> outcome() const { return defaults.string(WindowTitles::outcomeKey); }
};

struct OutcomeCase {
    FocusedWindowTitle answer;
    std::optional<std::string> title;
    std::string outcome;
};

class TitleOutcomes : public WindowTitleRead, public ::testing::WithParamInterface<OutcomeCase> {};

TEST_P(TitleOutcomes, EveryReadRecordsWhatHappened) {
    accessibility.windows[42] = GetParam().answer;
    EXPECT_EQ(titles.frontWindowTitle(42), GetParam().title);
    EXPECT_EQ(outcome(), GetParam().outcome);
}

using S = FocusedWindowTitle::Status;
INSTANTIATE_TEST_SUITE_P(Answers, TitleOutcomes,
                         ::testing::Values(OutcomeCase{{S::title, 0, "main.rs — engine"}, "main.rs — engine",
                                                       "ok main.rs — engine"},
                                           OutcomeCase{{S::title, 0, ""}, std::nullopt, "no-title 0"},
                                           OutcomeCase{{S::titleError, -25212, ""}, std::nullopt, "no-title -25212"},
                                           OutcomeCase{{S::titleError, 0, ""}, std::nullopt, "no-title 0"},
                                           OutcomeCase{{S::windowError, -25204, ""}, std::nullopt, "no-window -25204"},
                                           OutcomeCase{{S::windowError, 0, ""}, std::nullopt, "no-window 0"},
                                           OutcomeCase{{S::notAnElement, 0, ""}, std::nullopt, "bad-window-type"}));

TEST_F(WindowTitleRead, UntrustedReadsNothing) {
    accessibility.trusted = false;
    accessibility.setTitle(42, "x");
    EXPECT_EQ(titles.frontWindowTitle(42), std::nullopt);
    EXPECT_EQ(outcome(), "denied");
    EXPECT_EQ(accessibility.titleQueries, 0);
}

TEST_F(WindowTitleRead, LongTitleIsReturnedWholeAndStoredCutToSixtyCharacters) {
    std::string title;
    for (int i = 0; i < 200; ++i) title += (i % 3 == 0) ? "é" : "a";  // two bytes, one character
    std::string flag = "🇩🇪";                                          // one character of eight bytes
    accessibility.setTitle(42, flag + title);
    EXPECT_EQ(titles.frontWindowTitle(42), flag + title);
    const std::string stored = *outcome();
    ASSERT_TRUE(stored.starts_with("ok " + flag));
    std::string expected = "ok " + flag;
    for (int i = 0; i < 59; ++i) expected += (i % 3 == 0) ? "é" : "a";
    EXPECT_EQ(stored, expected);
}

TEST_F(WindowTitleRead, RequestAsksWithPromptAndWritesAsked) {
    accessibility.trusted = false;
    titles.requestAccessibility();
    EXPECT_EQ(accessibility.trustRequests, 1);
    EXPECT_EQ(outcome(), "asked");
}

}  // namespace
}  // namespace plenda
