#pragma once

#include "fakes/StoreFixture.h"
#include "platform/qt/QtStringTable.h"
#include "ui/BundledIconProvider.h"
#include "ui/Translations.h"
#include "ui/ViewStyle.h"
#include "sync/MacCloudSync.h"
#include "tracking/CategoryRules.h"

#include <QApplication>
#include <QLocale>

namespace plenda {

// A store on virtual time plus a widget application with the English string
// table, a US English locale and the bundled symbols.
class ViewFixture : public StoreFixture {
protected:
    int argc = 1;
    char name[8] = "views";
    char* argv[1] = {name};
    std::unique_ptr<QApplication> app;
    BundledIconProvider icons;
    QtStringTable texts;

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
};

}  // namespace plenda
