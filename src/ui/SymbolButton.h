#pragma once

#include "views/ViewColors.h"

#include <QAbstractButton>

#include <string>

namespace plenda {

class IconProvider;

// A borderless button showing one symbol in a colour token; dims while
// pressed and when disabled.
class SymbolButton final : public QAbstractButton {
public:
    SymbolButton(const IconProvider& icons, std::string symbol, ColorPair color, QWidget* parent = nullptr);

    static constexpr int side = 26;
    static constexpr int symbolPoints = 15;  // 13-point symbols draw about this tall
    const std::string& symbolName() const { return symbol_; }
    // What the button does, for the pointer (tooltip) and for screen readers.
    void setHelp(const QString& text);
    QSize sizeHint() const override { return {side, side}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    const IconProvider& icons_;
    std::string symbol_;
    ColorPair color_;
    bool hovering_ = false;
};

}  // namespace plenda
