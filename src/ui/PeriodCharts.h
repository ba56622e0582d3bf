#pragma once

#include "views/PeriodOverview.h"

#include <QWidget>

#include <functional>

namespace plenda {

// What the week and the month views draw from: the overview, today, and
// what a click on a day does (opens it).
class PeriodChart : public QWidget {
public:
    explicit PeriodChart(std::function<void(Date)> openDay, QWidget* parent = nullptr);
    // `firstWeekday` as the calendar numbers it (1 = Sunday).
    void setOverview(const PeriodOverview& overview, Date now, int firstWeekday);
    const PeriodOverview& overview() const { return overview_; }
    // The day under a point, if any.
    virtual std::optional<std::size_t> dayAt(QPointF point) const = 0;

protected:
    bool event(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    bool isToday(const DayTotal& day) const { return day.range.contains(now_); }
    double busiestDay() const;

    PeriodOverview overview_;
    Date now_;
    int firstWeekday_ = 2;

private:
    std::function<void(Date)> openDay_;
};

// The week: a column a day, its bar stacked by category in the categories'
// colours, the day's total above it and its name below.
class WeekChart final : public PeriodChart {
public:
    using PeriodChart::PeriodChart;
    std::optional<std::size_t> dayAt(QPointF point) const override;
    // The bar of day i, in widget coordinates (empty for a day without time).
    QRectF barRect(std::size_t i) const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QRectF column(std::size_t i) const;
};

// The month as a calendar: a cell a day, tinted more the more time it holds,
// its total written in it.
class MonthGrid final : public PeriodChart {
public:
    using PeriodChart::PeriodChart;
    std::optional<std::size_t> dayAt(QPointF point) const override;
    QRectF cellRect(std::size_t i) const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int leadingBlanks() const;
    int weekdayHeaderHeight() const { return 22; }
};

}  // namespace plenda
