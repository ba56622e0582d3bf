#pragma once

#include "platform/Calendar.h"
#include "views/MacActivitySummary.h"

#include <QMenu>

#include <functional>
#include <optional>
#include <string_view>

namespace plenda {

class MacActivityStore;

// Remembers a category for every later session of an application.
using ApplicationCategoryChooser = std::function<void(std::string_view application, MacBlockCategory category)>;

// What a summary's menu may do beyond its own edits.
struct SummaryMenuActions {
    // "Always for this application"; none: not offered.
    ApplicationCategoryChooser chooseForApplication = {};
    // The days the summary stands for; none: the selected day.
    std::optional<DayRange> within = {};
    // "Edit…": its blocks one by one; none: not offered.
    std::function<void(const MacActivitySummary&)> edit = {};
};

// The secondary-click menu of a tile or a row: what the summary is, a
// category submenu (its own category checked), one that also keeps the
// choice for the application the title names (with a chooser), edit, and
// delete, without asking (undo brings it back).
class SummaryContextMenu final : public QMenu {
public:
    SummaryContextMenu(MacActivitySummary summary, MacActivityStore& store, QWidget* parent = nullptr,
                       const SummaryMenuActions& actions = {});

    QMenu* categoryMenu() const { return categoryMenu_; }
    // Null when the title names no application or there is no chooser.
    QMenu* applicationCategoryMenu() const { return applicationCategoryMenu_; }
    QAction* deleteAction() const { return deleteAction_; }
    // Null when not offered.
    QAction* editAction() const { return editAction_; }

private:
    QMenu* categoryMenu_ = nullptr;
    QMenu* applicationCategoryMenu_ = nullptr;
    QAction* editAction_ = nullptr;
    QAction* deleteAction_ = nullptr;
};

}  // namespace plenda
