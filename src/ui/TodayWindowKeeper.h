#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>

#include <functional>
#include <string_view>

namespace plenda {

class Defaults;

// Keeps the day window: closing it only hides it, and whether it was visible
// survives a restart. Finds the window by its title "Plenda" among the
// application's normal-level windows.
class TodayWindowKeeper final : public QObject {
public:
    static constexpr std::string_view visibilityKey = "todayWindowVisible";

    // `activate` brings the application to the front.
    TodayWindowKeeper(Defaults& defaults, std::function<void()> activate);

    void attach();
    // Hides the window if it was closed at the last run, unless nothing else
    // on screen (a menu-bar or tray item, the notch) could bring it back.
    void applyStoredVisibility(bool canBeReopened);
    void show();
    QWidget* window() const { return window_; }

    // A window above the normal level (floating, tool, the notch panel).
    static bool isRaisedLevel(const QWidget& window);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    Defaults& defaults_;
    std::function<void()> activate_;
    QPointer<QWidget> window_;
};

}  // namespace plenda
