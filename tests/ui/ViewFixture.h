#pragma once

#include "fakes/ScriptedAccessibility.h"
#include "fakes/ScriptedIdleClock.h"
#include "fakes/ScriptedScriptRunner.h"
#include "fakes/ScriptedWorkspace.h"
#include "fakes/StoreFixture.h"
#include "platform/qt/QtStringTable.h"
#include "tracking/MacAppTracker.h"
#include "ui/BundledIconProvider.h"
#include "ui/Translations.h"
#include "ui/ViewStyle.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QLineEdit>
#include <QImage>
#include <QLocale>
#include <QWidget>

#include <set>

namespace plenda {

// A store on virtual time, a tracker that is never started, and a widget
// application with the English string table, a US English locale and the
// bundled symbols.
class ViewFixture : public StoreFixture {
protected:
    int argc = 1;
    char name[8] = "views";
    char* argv[1] = {name};
    std::unique_ptr<QApplication> app;
    BundledIconProvider icons;
    QtStringTable texts;
    ScriptedWorkspace workspace;
    ScriptedScriptRunner scripts;
    ScriptedAccessibility accessibility;
    ScriptedIdleClock idleClock{scheduler};
    MacAppTracker tracker{{scheduler, scheduler, defaults, workspace, scripts, accessibility, idleClock, output}};

    void SetUp() override {
        cloudSyncDisabled = true;
        app = std::make_unique<QApplication>(argc, argv);
        ASSERT_TRUE(installTranslations(*app));
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        setForcedAppearance(std::nullopt);
    }
    void TearDown() override {
        setForcedAppearance(std::nullopt);
        store.reset();
        app.reset();
    }

    // A store whose messages come from the real string table.
    MacActivityStore& makeViewStore() {
        store.reset();
        store = std::make_unique<MacActivityStore>(MacActivityStore::Dependencies{
            scheduler, scheduler, calendar, defaults, files, texts, cloudSyncDisabled, &Uuid::random, output,
            MacCloudSync::factory({defaults, scheduler, nullptr, nullptr, nullptr, output}),
            categoryOverrideWriter(defaults)});
        return *store;
    }

    void add(const std::string& title, MacBlockCategory category, Date start, double minutes) {
        store->upsert(makeBlock(title, category, start, start + minutes * 60));
    }

    // The controls under `root` (buttons, fields, pickers, whatever Tab
    // reaches) that a screen reader could not name.
    static std::string unnamedControls(QWidget& root) {
        QStringList unnamed;
        for (QWidget* w : root.findChildren<QWidget*>()) {
            const bool control = qobject_cast<QAbstractButton*>(w) || qobject_cast<QComboBox*>(w) ||
                                 qobject_cast<QLineEdit*>(w) || (w->focusPolicy() & Qt::TabFocus);
            if (!control || !w->isVisibleTo(&root)) continue;
            const QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(w);
            if (!accessible || accessible->text(QAccessible::Name).trimmed().isEmpty()) {
                unnamed << QString::fromLatin1(w->metaObject()->className());
            }
        }
        return unnamed.join(QStringLiteral(", ")).toStdString();
    }

    // Saves the widget's picture under build/…/renders for people to look at.
    // A picture of a few flat colours, or mostly transparent, shows nothing.
    static void saveRender(QWidget& widget, const QString& file, bool drawn = true) {
        const QImage picture = widget.grab().toImage();
        QDir().mkpath(QStringLiteral(PLENDA_RENDER_DIR));
        EXPECT_TRUE(picture.save(QStringLiteral(PLENDA_RENDER_DIR "/") + file)) << file.toStdString();
        std::set<QRgb> colours;
        int samples = 0, opaque = 0;
        for (int y = 0; y < picture.height(); y += 2) {
            for (int x = 0; x < picture.width(); x += 2, ++samples) {
                colours.insert(picture.pixel(x, y));
                opaque += qAlpha(picture.pixel(x, y)) == 255;
            }
        }
        if (drawn) {
            EXPECT_GT(colours.size(), 8u) << file.toStdString() << " is blank";
            EXPECT_GT(opaque, samples * 3 / 4) << file.toStdString() << " is mostly transparent";
        }
    }
};

}  // namespace plenda
