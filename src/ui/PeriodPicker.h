#pragma once

#include "views/PeriodOverview.h"

#include <QWidget>

#include <functional>

namespace plenda {

// Day, Week, Month as one segmented control: a click or, with the focus, the
// left and right arrows choose.
class PeriodPicker final : public QWidget {
public:
    explicit PeriodPicker(std::function<void(Period)> chosen, QWidget* parent = nullptr);
    Period period() const { return period_; }
    void setPeriod(Period period);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    void choose(Period period);
    QRectF segment(int index) const;

    std::function<void(Period)> chosen_;
    Period period_ = Period::day;
};

}  // namespace plenda
