#include "ui/NotchPanelController.h"

#include "platform/Screens.h"
#include "ui/NotchView.h"

#include <QGuiApplication>
#include <QScreen>
#include <QTimer>

#include <cmath>

namespace plenda {

namespace {

// Frames are y-up from the primary screen's bottom; Qt is y-down from its top.
double primaryHeight() {
    const QScreen* primary = QGuiApplication::primaryScreen();
    return primary ? primary->geometry().height() : 0;
}

}  // namespace

NotchPanelController::NotchPanelController(Screens& screens, const Clock& clock, PanelCommands commands,
                                           std::function<void(QWidget&)> configurePanel)
    : screens_(screens), clock_(clock), commands_(std::move(commands)), configurePanel_(std::move(configurePanel)) {}

NotchPanelController::~NotchPanelController() = default;

void NotchPanelController::show(MacActivityStore& store, MacAppTracker& tracker) {
    if (panel_) return;
    notch_ = findNotch(screens_.screens());
    if (!notch_) return;
    const QSizeF collapsed(notch_->notch.width, notch_->notch.height);
    std::weak_ptr<char> alive = alive_;
    panel_ = std::make_unique<NotchView>(collapsed, expandedSize, store, tracker, clock_, commands_,
                                         [this, alive](QSizeF size) {
                                             if (!alive.expired()) resize(size);
                                         });
    panel_->setWindowFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                           Qt::WindowDoesNotAcceptFocus | Qt::NoDropShadowWindowHint |
                           Qt::X11BypassWindowManagerHint);
    panel_->setAttribute(Qt::WA_ShowWithoutActivating);
    panel_->setWindowTitle(QStringLiteral("Plenda"));
    setFrame(notch_->notch);
    if (configurePanel_) configurePanel_(*panel_);
    panel_->show();
    screenObserver_ = screens_.onChange([this, alive] {
        QTimer::singleShot(0, [this, alive] {
            if (!alive.expired()) reposition();
        });
    });
}

Frame NotchPanelController::panelFrame() const {
    if (!panel_) return {};
    const QRect g = panel_->geometry();
    return Frame{double(g.x()), primaryHeight() - g.y() - g.height(), double(g.width()), double(g.height())};
}

void NotchPanelController::resize(QSizeF size) {
    if (!panel_ || !notch_) return;
    setFrame(notchPanelFrame(*notch_, size.width(), size.height()));
}

void NotchPanelController::reposition() {
    if (!panel_) return;
    const auto notch = findNotch(screens_.screens());
    if (!notch) return;
    const Frame current = panelFrame();
    setFrame(notchPanelFrame(*notch, current.width, current.height));
}

void NotchPanelController::setFrame(const Frame& frame) {
    const QRect rect(int(std::lround(frame.x)), int(std::lround(primaryHeight() - frame.maxY())),
                     int(std::lround(frame.width)), int(std::lround(frame.height)));
    panel_->setGeometry(rect);
    panel_->repaint();
}

}  // namespace plenda
