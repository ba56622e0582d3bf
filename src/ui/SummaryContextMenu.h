#pragma once

#include "views/MacActivitySummary.h"

#include <QMenu>

#include <functional>
#include <string_view>

namespace plenda {

class MacActivityStore;

// Remembers a category for every later session of an application.
using ApplicationCategoryChooser = std::function<void(std::string_view application, MacBlockCategory category)>;

// The secondary-click menu of a tile or a row: what the summary is, a
// category submenu (its own category checked), one that also keeps the
// choice for the application the title names (with a chooser), and delete,
// without asking.
class SummaryContextMenu final : public QMenu {
public:
    SummaryContextMenu(MacActivitySummary summary, MacActivityStore& store, QWidget* parent = nullptr,
                       const ApplicationCategoryChooser& chooseForApplication = {});

    QMenu* categoryMenu() const { return categoryMenu_; }
    // Null when the title names no application or there is no chooser.
    QMenu* applicationCategoryMenu() const { return applicationCategoryMenu_; }
    QAction* deleteAction() const { return deleteAction_; }

private:
    QMenu* categoryMenu_ = nullptr;
    QMenu* applicationCategoryMenu_ = nullptr;
    QAction* deleteAction_ = nullptr;
};

}  // namespace plenda
