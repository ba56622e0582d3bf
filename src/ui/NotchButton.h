#pragma once

#include "views/ViewColors.h"

#include <QAbstractButton>

#include <functional>
#include <optional>
#include <string>

namespace plenda {

// A small capsule button: its title's text over a faint capsule that
// brightens under the pointer. White on the notch card; the menu-bar panel
// tints it with its text colour.
class NotchButton final : public QAbstractButton {
public:
    NotchButton(std::string title, std::function<void()> action, QWidget* parent = nullptr);

    // Text and capsule colour; white unless set.
    void setTint(std::optional<ColorPair> tint);
    void setPoints(int points) { points_ = points; updateGeometry(); }
    // Space left and right of the title (9 unless set).
    void setHorizontalPadding(int points) { padding_ = points; updateGeometry(); }
    // Plain: the capsule shows only under the pointer, as in a menu.
    void setPlain(bool plain) { plain_ = plain; update(); }
    bool isHovering() const { return isHovering_; }
    const std::string& title() const { return title_; }
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    std::string title_;
    std::optional<ColorPair> tint_;
    int points_ = 10;
    int padding_ = 9;
    bool plain_ = false;
    bool isHovering_ = false;
};

}  // namespace plenda
