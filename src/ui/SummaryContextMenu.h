#pragma once

#include "views/MacActivitySummary.h"

#include <QMenu>

namespace plenda {

class MacActivityStore;

// The secondary-click menu of a tile or a row: what the summary is, a
// category submenu (its own category checked) and delete, without asking.
class SummaryContextMenu final : public QMenu {
public:
    SummaryContextMenu(MacActivitySummary summary, MacActivityStore& store, QWidget* parent = nullptr);

    QMenu* categoryMenu() const { return categoryMenu_; }
    QAction* deleteAction() const { return deleteAction_; }

private:
    QMenu* categoryMenu_ = nullptr;
    QAction* deleteAction_ = nullptr;
};

}  // namespace plenda
