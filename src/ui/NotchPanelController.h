#pragma once

#include "base/Observers.h"
#include "views/NotchGeometry.h"
#include "ui/PanelCommands.h"

#include <QSizeF>

#include <functional>
#include <memory>
#include <optional>

class QWidget;

namespace plenda {

class Clock;
class MacActivityStore;
class MacAppTracker;
class NotchView;
class Screens;

// Puts a borderless panel over the camera notch of a notched screen and keeps
// it there when the screens change. Without a notch at launch there is no panel.
class NotchPanelController {
public:
    // `configurePanel` gives the platform's window the properties of a
    // non-activating panel above everything (a hook on macOS; may be empty).
    NotchPanelController(Screens& screens, const Clock& clock, PanelCommands commands,
                         std::function<void(QWidget&)> configurePanel = {});
    ~NotchPanelController();

    static constexpr QSizeF expandedSize{480, 186};

    void show(MacActivityStore& store, MacAppTracker& tracker);
    NotchView* panel() const { return panel_.get(); }
    // The panel's frame in global coordinates, y up.
    Frame panelFrame() const;
    void reposition();

private:
    void resize(QSizeF size);
    void setFrame(const Frame& frame);

    Screens& screens_;
    const Clock& clock_;
    PanelCommands commands_;
    std::function<void(QWidget&)> configurePanel_;
    std::optional<NotchGeometry> notch_;  // as found when the panel was made
    std::unique_ptr<NotchView> panel_;
    Subscription screenObserver_;
    std::shared_ptr<char> alive_ = std::make_shared<char>(0);
};

}  // namespace plenda
