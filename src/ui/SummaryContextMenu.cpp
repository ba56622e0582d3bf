#include "ui/SummaryContextMenu.h"

#include "model/MacActivityStore.h"
#include "views/ActivitySummaries.h"
#include "tracking/CategoryRules.h"
#include "views/DurationText.h"
#include "ui/ViewStyle.h"

#include <QActionGroup>

namespace plenda {

namespace {

// Radio items for the ten categories, the current one checked.
void addCategoryItems(QMenu& menu, MacBlockCategory current,
                      const std::function<void(MacBlockCategory)>& choose) {
    auto* choice = new QActionGroup(&menu);
    choice->setExclusive(true);
    for (MacBlockCategory category : allCategories) {
        QAction* action = menu.addAction(localized(labelKey(category)));
        action->setCheckable(true);
        action->setActionGroup(choice);
        action->setChecked(category == current);
        QObject::connect(action, &QAction::triggered, &menu, [choose, category] { choose(category); });
    }
}

}  // namespace

SummaryContextMenu::SummaryContextMenu(MacActivitySummary summary, MacActivityStore& store, QWidget* parent,
                                       const SummaryMenuActions& actions)
    : QMenu(parent) {
    const auto within = actions.within;
    const auto& chooseForApplication = actions.chooseForApplication;
    addAction(shownTitle(summary.title))->setEnabled(false);
    addAction(localized(labelKey(summary.category)) + QStringLiteral(" · ") +
              QString::fromStdString(formatDuration(summary.minutes)))
        ->setEnabled(false);
    addSeparator();

    // One category at a time: radio items, not check boxes.
    categoryMenu_ = addMenu(localized("mac.category"));
    addCategoryItems(*categoryMenu_, summary.category,
                     [&store, summary, within](MacBlockCategory category) { changeCategory(store, summary, category, within); });
    if (const auto application = applicationOfTitle(summary.title); application && chooseForApplication) {
        applicationCategoryMenu_ =
            addMenu(localized("mac.category.application").arg(QString::fromUtf8(application->data(),
                                                                                  qsizetype(application->size()))));
        addCategoryItems(*applicationCategoryMenu_, summary.category,
                         [&store, summary, within, chooseForApplication, name = std::string(*application)](MacBlockCategory category) {
                             changeCategory(store, summary, category, within);
                             chooseForApplication(name, category);
                         });
    }
    addSeparator();

    if (actions.edit && !summary.isAggregate) {
        editAction_ = addAction(localized("mac.edit"));
        connect(editAction_, &QAction::triggered, this, [edit = actions.edit, summary] { edit(summary); });
    }
    deleteAction_ = addAction(localized("mac.delete"));
    connect(deleteAction_, &QAction::triggered, this, [&store, summary, within] { deleteSummary(store, summary, within); });
}

}  // namespace plenda
