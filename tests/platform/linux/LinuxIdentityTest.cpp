#include "platform/linux/DesktopEntries.h"
#include "platform/linux/X11Accessibility.h"

#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <fstream>

namespace plenda {
namespace {

class Entries : public ::testing::Test {
protected:
    QTemporaryDir user, system;

    void write(const QTemporaryDir& folder, const QString& relative, const std::string& text) {
        const QString path = folder.filePath(relative);
        QDir().mkpath(QFileInfo(path).path());
        std::ofstream(path.toStdString()) << text;
    }
    DesktopEntries entries(const std::string& locale = "de_DE") {
        return DesktopEntries({user.path().toStdString(), system.path().toStdString()}, locale);
    }
    static std::string found(const std::optional<DesktopApplication>& app) {
        return app ? app->id + " / " + app->name : "(none)";
    }
};

TEST_F(Entries, WindowsAreMatchedInOrderOfReliabilityUserEntriesFirstNamedInTheUsersLanguage) {
    write(system, "org.gnome.TextEditor.desktop", "[Desktop Entry]\nName=Text Editor\nName[de]=Texteditor\n");
    write(system, "code.desktop",
          "[Desktop Entry]\nName=Visual Studio Code\nStartupWMClass=Code\n[Desktop Action new]\nName=New Window\n");
    write(system, "jetbrains/idea.desktop", "[Desktop Entry]\nName = IntelliJ IDEA\nStartupWMClass=jetbrains-idea\n");
    write(system, "xterm.desktop", "[Desktop Entry]\nName=XTerm\n");
    write(system, "notes.desktop", "[Desktop Entry]\nName=Notes\n");
    write(user, "notes.desktop", "[Desktop Entry]\nName=My Notes\n");
    write(system, "gone.desktop", "[Desktop Entry]\nName=Gone\n");
    write(user, "gone.desktop", "[Desktop Entry]\nName=Gone\nHidden=true\n");
    const DesktopEntries all = entries();

    EXPECT_EQ(found(all.find("org.gnome.TextEditor", "gnome-text-editor", "Gnome-text-editor")),
              "org.gnome.TextEditor / Texteditor");
    EXPECT_EQ(found(all.find("org.gnome.TextEditor.desktop", "x", "y")), "org.gnome.TextEditor / Texteditor");
    EXPECT_EQ(found(all.find(std::nullopt, "code", "Code")), "code / Visual Studio Code");
    EXPECT_EQ(found(all.find(std::nullopt, "jetbrains-idea", "jetbrains-idea")), "jetbrains-idea / IntelliJ IDEA");
    EXPECT_EQ(found(all.find(std::nullopt, "xterm", "EditorA")), "xterm / XTerm");  // by instance
    EXPECT_EQ(found(all.find("unknown.App", "foo", "Foo")), "(none)");
    EXPECT_EQ(found(all.find(std::nullopt, "notes", "Notes")), "notes / My Notes") << "the user's entry wins";
    EXPECT_EQ(found(all.find(std::nullopt, "gone", "Gone")), "(none)") << "hidden by the user";

    // The name follows the locale, then the language, then the plain name.
    write(system, "a.desktop", "[Desktop Entry]\nName=Plain\nName[pt]=Simples\nName[pt_BR]=Simples BR\n");
    EXPECT_EQ(found(entries("pt_BR").find("a", "", "")), "a / Simples BR");
    EXPECT_EQ(found(entries("pt_PT").find("a", "", "")), "a / Simples");
    EXPECT_EQ(found(entries("fr_FR").find("a", "", "")), "a / Plain");
}

TEST(WindowText, BecomesUtf8) {
    EXPECT_EQ(windowTextAsUtf8("main.rs \xE2\x80\x94 engine", true, false), "main.rs — engine");
    EXPECT_EQ(windowTextAsUtf8("caf\xE9", false, false), "café");  // Latin-1
    // Compound text switches to UTF-8 and back, and to ISO 8859-1's upper half.
    EXPECT_EQ(windowTextAsUtf8("a \x1b%G\xC3\xBC\x1b%@ b\xE9", false, true), "a ü bé");
    EXPECT_EQ(windowTextAsUtf8("\x1b-A\xE9t\xE9", false, true), "été");
}

}  // namespace
}  // namespace plenda
