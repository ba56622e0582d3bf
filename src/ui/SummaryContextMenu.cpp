#include "ui/SummaryContextMenu.h"

#include "model/MacActivityStore.h"
#include "views/ActivitySummaries.h"
#include "views/DurationText.h"
#include "ui/ViewStyle.h"

#include <QActionGroup>

namespace plenda {

SummaryContextMenu::SummaryContextMenu(MacActivitySummary summary, MacActivityStore& store, QWidget* parent)
    : QMenu(parent) {
    addAction(shownTitle(summary.title))->setEnabled(false);
    addAction(localized(labelKey(summary.category)) + QStringLiteral(" · ") +
              QString::fromStdString(formatDuration(summary.minutes)))
        ->setEnabled(false);
    addSeparator();

    categoryMenu_ = addMenu(localized("mac.category"));
    // One category at a time: radio items, not check boxes.
    auto* choice = new QActionGroup(categoryMenu_);
    choice->setExclusive(true);
    for (MacBlockCategory category : allCategories) {
        QAction* action = categoryMenu_->addAction(localized(labelKey(category)));
        action->setCheckable(true);
        action->setActionGroup(choice);
        action->setChecked(category == summary.category);
        connect(action, &QAction::triggered, this,
                [&store, summary, category] { changeCategory(store, summary, category); });
    }
    addSeparator();

    deleteAction_ = addAction(localized("mac.delete"));
    connect(deleteAction_, &QAction::triggered, this, [&store, summary] { deleteSummary(store, summary); });
}

}  // namespace plenda
