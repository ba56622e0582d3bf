#pragma once

#include "base/Observers.h"
#include "ui/PanelCommands.h"

#include <QWidget>

class QLabel;
class QVBoxLayout;

namespace plenda {

class Clock;
class IconProvider;
class MacActivityStore;
class MacAppTracker;
class NotchButton;

// The panel under the menu-bar item: today's total, what is tracked now, the
// three largest activities, permission hints, the commands and the sync
// status. Rebuilt whenever the store or the tracker changes.
class MenuBarContent final : public QWidget {
public:
    static constexpr int panelWidth = 260;

    MenuBarContent(MacActivityStore& store, MacAppTracker& tracker, const Clock& clock, const IconProvider& icons,
                   PanelCommands commands, QWidget* parent = nullptr);

    void reload();

    // What is shown, for tests.
    QString totalText() const;
    QString currentActivityText() const;  // empty when the row is hidden
    QStringList summaryTitles() const;
    QStringList buttonTitles() const;  // the string-table keys, in order
    NotchButton* button(const char* key) const;
    bool liveDotLit() const { return liveDotLit_; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    QLabel* label(const QString& text, int points, QFont::Weight weight, bool secondary, bool tabular = false);
    NotchButton* addButton(const char* key, std::function<void()> action);

    MacActivityStore& store_;
    MacAppTracker& tracker_;
    const Clock& clock_;
    const IconProvider& icons_;
    PanelCommands commands_;
    QVBoxLayout* layout_;
    QWidget* content_ = nullptr;
    QLabel* total_ = nullptr;
    QLabel* current_ = nullptr;
    QStringList summaryTitles_;
    std::vector<NotchButton*> buttons_;
    bool liveDotLit_ = false;
    Subscription storeWatch_;
    Subscription trackerWatch_;
};

}  // namespace plenda
