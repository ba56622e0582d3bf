#pragma once

#include "base/Observers.h"
#include "ui/PanelCommands.h"

#include <QElapsedTimer>
#include <QSizeF>
#include <QTimer>
#include <QWidget>

#include <functional>

namespace plenda {

class Clock;
class MacActivityStore;
class MacAppTracker;
class NotchButton;

// The notch panel's content. Collapsed it is invisible over the hardware
// notch; under the pointer it asks for the expanded size and unfolds a black
// card with today's total, what is tracked now, the day bar, the three
// largest activities and the commands.
class NotchView final : public QWidget {
public:
    static constexpr double cornerRadius = 20;
    static constexpr double springResponse = 0.32;
    static constexpr double springDamping = 0.78;

    NotchView(QSizeF collapsedSize, QSizeF expandedSize, MacActivityStore& store, MacAppTracker& tracker,
              const Clock& clock, PanelCommands commands, std::function<void(QSizeF)> onSizeChange,
              QWidget* parent = nullptr);

    bool isExpanded() const { return isExpanded_; }
    QSizeF collapsedSize() const { return collapsedSize_; }
    QSizeF expandedSize() const { return expandedSize_; }
    // The pointer entered (true) or left (false) the card's area.
    void setHovering(bool hovering);
    // Jumps to the end of the running animation (for pictures and tests).
    void finishAnimation();
    std::vector<NotchButton*> buttons() const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    void rebuildButtons();
    void layoutButtons();
    double progress() const;
    QRectF column() const;
    // Where the day bar starts and where the chip row ends, in the card.
    double barTop() const;
    double chipRowBottom() const;

    QSizeF collapsedSize_;
    QSizeF expandedSize_;
    MacActivityStore& store_;
    MacAppTracker& tracker_;
    const Clock& clock_;
    PanelCommands commands_;
    std::function<void(QSizeF)> onSizeChange_;
    bool isExpanded_ = false;
    QElapsedTimer animationClock_;
    bool animating_ = false;
    QTimer frameTimer_;
    std::vector<NotchButton*> buttons_;
    Subscription storeWatch_;
    Subscription trackerWatch_;
};

}  // namespace plenda
