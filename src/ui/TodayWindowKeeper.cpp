#include "ui/TodayWindowKeeper.h"

#include "ui/WindowPlacement.h"

#include "platform/Defaults.h"

#include <QApplication>
#include <QCloseEvent>

namespace plenda {

TodayWindowKeeper::TodayWindowKeeper(Defaults& defaults, std::function<void()> activate)
    : defaults_(defaults), activate_(std::move(activate)) {}

bool TodayWindowKeeper::isRaisedLevel(const QWidget& window) {
    const Qt::WindowFlags flags = window.windowFlags();
    const Qt::WindowType type = window.windowType();
    return flags.testFlag(Qt::WindowStaysOnTopHint) || type == Qt::Tool || type == Qt::Popup ||
           type == Qt::ToolTip || type == Qt::SplashScreen;
}

void TodayWindowKeeper::attach() {
    if (window_) return;
    for (QWidget* candidate : QApplication::topLevelWidgets()) {
        if (candidate->windowTitle() != QLatin1String("Plenda")) continue;
        if (isRaisedLevel(*candidate)) continue;
        candidate->setAttribute(Qt::WA_DeleteOnClose, false);
        candidate->installEventFilter(this);
        window_ = candidate;
        return;
    }
}

void TodayWindowKeeper::applyStoredVisibility(bool canBeReopened) {
    attach();
    if (!canBeReopened || !defaults_.object(visibilityKey)) return;
    if (!defaults_.boolValue(visibilityKey) && window_) window_->hide();
}

void TodayWindowKeeper::show() {
    attach();
    if (activate_) activate_();
    if (window_) {
        placeWhollyOnPointerScreen(*window_);
        window_->show();
        window_->raise();
        window_->activateWindow();
    }
    defaults_.setBool(visibilityKey, true);
}

bool TodayWindowKeeper::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Close && watched == window_) {
        event->ignore();
        window_->hide();
        defaults_.setBool(visibilityKey, false);
        return true;
    }
    return QObject::eventFilter(watched, event);
}

}  // namespace plenda
