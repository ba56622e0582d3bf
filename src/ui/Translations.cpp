#include "ui/Translations.h"

#include <QCoreApplication>
#include <QTranslator>

namespace plenda {

bool installTranslations(QCoreApplication& application) {
    auto* translator = new QTranslator(&application);
    if (!translator->load(QStringLiteral("plenda_en"), QStringLiteral(":/i18n")) ||
        !QCoreApplication::installTranslator(translator)) {
        delete translator;
        return false;
    }
    return true;
}

}  // namespace plenda
