#include "ui/NotchView.h"

#include "model/MacActivityStore.h"
#include "platform/Clock.h"
#include "tracking/MacAppTracker.h"
#include "views/ActivitySummaries.h"
#include "views/DurationText.h"
#include "ui/NotchButton.h"
#include "views/NotchGeometry.h"
#include "ui/NotchShape.h"
#include "views/Spring.h"
#include "ui/ViewStyle.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace plenda {

namespace {

constexpr double sideInset = 18;
constexpr double rowSpacing = 10;
constexpr double barHeight = 26;

QColor white(double opacity) {
    QColor color(Qt::white);
    color.setAlphaF(float(opacity));
    return color;
}

}  // namespace

NotchView::NotchView(QSizeF collapsedSize, QSizeF expandedSize, MacActivityStore& store, MacAppTracker& tracker,
                     const Clock& clock, PanelCommands commands, std::function<void(QSizeF)> onSizeChange,
                     QWidget* parent)
    : QWidget(parent),
      collapsedSize_(collapsedSize),
      expandedSize_(expandedSize),
      store_(store),
      tracker_(tracker),
      clock_(clock),
      commands_(std::move(commands)),
      onSizeChange_(std::move(onSizeChange)) {
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_Hover);
    setMouseTracking(true);
    frameTimer_.setInterval(16);
    connect(&frameTimer_, &QTimer::timeout, this, [this] {
        if (springSettled(animationClock_.elapsed() / 1000.0, springResponse, springDamping)) finishAnimation();
        update();
    });
    const auto changed = [this] {
        if (isExpanded_) rebuildButtons();
        update();
    };
    storeWatch_ = store_.observe(changed);
    trackerWatch_ = tracker_.observe(changed);
}

void NotchView::setHovering(bool hovering) {
    if (hovering == isExpanded_) return;
    isExpanded_ = hovering;
    if (onSizeChange_) onSizeChange_(hovering ? expandedSize_ : collapsedSize_);
    if (hovering) {
        animationClock_.start();
        animating_ = true;
        frameTimer_.start();
        rebuildButtons();
    } else {
        finishAnimation();
        for (NotchButton* button : buttons_) button->hide();
    }
    update();
}

void NotchView::finishAnimation() {
    animating_ = false;
    frameTimer_.stop();
    update();
}

double NotchView::progress() const {
    if (!isExpanded_) return 0;
    if (!animating_) return 1;
    return springProgress(animationClock_.elapsed() / 1000.0, springResponse, springDamping);
}

double NotchView::barTop() const {
    return column().top() + QFontMetricsF(tabularDigits(roundedFont(22, QFont::Bold))).height() + rowSpacing - 4;
}

double NotchView::chipRowBottom() const {
    return barTop() + barHeight + rowSpacing + QFontMetricsF(systemFont(10)).height();
}

QRectF NotchView::column() const {
    const double top = collapsedSize_.height() + rowSpacing;
    return QRectF(sideInset, top, expandedSize_.width() - 2 * sideInset, expandedSize_.height() - top - 14);
}

std::vector<NotchButton*> NotchView::buttons() const { return buttons_; }

void NotchView::rebuildButtons() {
    // Hidden at once: until the loop deletes them they would still be drawn.
    for (NotchButton* button : buttons_) {
        button->hide();
        button->deleteLater();
    }
    buttons_.clear();
    const auto add = [this](const char* title, std::function<void()> action) {
        auto* button = new NotchButton(title, std::move(action), this);
        buttons_.push_back(button);
    };
    add("mac.open", commands_.openDayWindow);
    add(tracker_.isTracking() ? "mac.pause" : "mac.resume", [this] { tracker_.setTracking(!tracker_.isTracking()); });
    if (commands_.browserAutomationDenied && commands_.browserAutomationDenied()) {
        add("mac.browser.access", commands_.grantBrowserAutomation);
    }
    if (commands_.accessibilityTrusted && !commands_.accessibilityTrusted()) {
        add("mac.project.names", commands_.grantAccessibility);
    }
    add("mac.settings", commands_.openSettings);
    add("mac.quit", commands_.quit);
    layoutButtons();
    for (NotchButton* button : buttons_) button->setVisible(isExpanded_);
}

void NotchView::layoutButtons() {
    const QRectF area = column();
    if (buttons_.empty()) return;
    // With both permission shortcuts the row gets crowded: the longest
    // titles give way; capsules and gaps keep their size.
    constexpr double spacing = 8;
    const auto needed = [&] {
        double sum = spacing * double(buttons_.size() - 1) + 12;  // some flexible space stays
        for (NotchButton* button : buttons_) sum += button->sizeHint().width();
        return sum;
    };
    for (NotchButton* button : buttons_) button->setHorizontalPadding(9);
    std::vector<double> widths;
    for (NotchButton* button : buttons_) widths.push_back(button->sizeHint().width());
    double excess = needed() - area.width();
    while (excess > 0.5) {
        auto widest = std::max_element(widths.begin(), widths.end());
        const double cut = std::min(excess, 8.0);
        *widest -= cut;
        excess -= cut;
    }
    const double height = buttons_.front()->sizeHint().height();
    // The column's last row, 10 points under the chips.
    const double y = chipRowBottom() + rowSpacing;
    // Open and pause (and the grants) on the left, settings and quit on the right.
    const std::size_t trailing = std::min<std::size_t>(2, buttons_.size());
    double x = area.left();
    for (std::size_t i = 0; i + trailing < buttons_.size(); ++i) {
        buttons_[i]->setGeometry(int(x), int(y), int(widths[i]), int(height));
        x += widths[i] + spacing;
    }
    double right = area.right();
    for (std::size_t i = buttons_.size(); i-- > buttons_.size() - trailing;) {
        right -= widths[i];
        buttons_[i]->setGeometry(int(right), int(y), int(widths[i]), int(height));
        right -= spacing;
    }
}

void NotchView::paintEvent(QPaintEvent*) {
    const double p = progress();
    if (p <= 0) return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);

    // The card grows downward out of the notch.
    const QRectF full(0, 0, expandedSize_.width(), expandedSize_.height());
    const double sx = 0.72 + 0.28 * p;
    const double sy = 0.35 + 0.65 * p;
    painter.save();
    painter.translate(full.center().x(), 0);
    painter.scale(sx, sy);
    painter.translate(-full.center().x(), 0);
    const NotchShape shape{collapsedSize_.width(), collapsedSize_.height(), cornerRadius};
    painter.fillPath(shape.path(full), QColor(0, 0, 0, int(255 * std::clamp(p * 1.6, 0.0, 1.0))));
    painter.restore();

    const double contentOpacity = std::clamp((p - 0.35) / 0.65, 0.0, 1.0);
    for (NotchButton* button : buttons_) button->setVisible(contentOpacity > 0.5);
    if (contentOpacity <= 0) return;
    painter.setOpacity(contentOpacity);

    const QRectF area = column();
    // Total, "today", and what is tracked now.
    const QFont totalFont = tabularDigits(roundedFont(22, QFont::Bold));
    const QFont smallFont = systemFont(11);
    const QFontMetricsF totalMetrics(totalFont);
    const double baseline = area.top() + totalMetrics.ascent();
    const QString total = QString::fromStdString(formatDuration(store_.todayMinutes()));
    painter.setFont(totalFont);
    painter.setPen(Qt::white);
    painter.drawText(QPointF(area.left(), baseline), total);
    painter.setFont(smallFont);
    painter.setPen(white(0.55));
    const double afterTotal = area.left() + totalMetrics.horizontalAdvance(total) + 6;
    painter.drawText(QPointF(afterTotal, baseline), localized("mac.today.lower"));

    const QFontMetricsF smallMetrics(smallFont);
    const auto& name = tracker_.currentAppName();
    if (name && tracker_.isTracking()) {
        const double room = area.right() - afterTotal - smallMetrics.horizontalAdvance(localized("mac.today.lower")) - 40;
        const QString text = smallMetrics.elidedText(shownTitle(*name), Qt::ElideRight, room);
        const double textWidth = smallMetrics.horizontalAdvance(text);
        painter.setPen(white(0.75));
        painter.drawText(QPointF(area.right() - textWidth, baseline), text);
        const double dotX = area.right() - textWidth - 5 - 6;
        const double dotY = baseline - smallMetrics.ascent() / 2 - 2;
        painter.setPen(Qt::NoPen);
        painter.setBrush(toQColor(Palette::live, Appearance::dark));
        painter.drawEllipse(QRectF(dotX, dotY, 6, 6));
    } else {
        const QString paused = localized("mac.paused");
        painter.setPen(white(0.45));
        painter.drawText(QPointF(area.right() - smallMetrics.horizontalAdvance(paused), baseline), paused);
    }

    // The day bar.
    const auto summaries = notchSummaries(store_, clock_.now());
    const double barTop = this->barTop();
    std::vector<double> minutes;
    for (const auto& summary : summaries) minutes.push_back(summary.minutes);
    const auto widths = dayBarWidths(minutes, area.width());
    painter.setPen(Qt::NoPen);
    if (summaries.empty()) {
        painter.setBrush(white(0.08));
        painter.drawRoundedRect(QRectF(area.left(), barTop, area.width(), barHeight), 3, 3);
    }
    double x = area.left();
    for (std::size_t i = 0; i < summaries.size(); ++i) {
        painter.setBrush(toQColor(summaryColor(summaries[i]), Appearance::dark));
        painter.drawRoundedRect(QRectF(x, barTop, widths[i], barHeight), 3, 3);
        x += widths[i] + 2;
    }

    // The first three as chips, their titles shortened to fit the row.
    const QFont chipFont = systemFont(10);
    const QFontMetricsF chipMetrics(chipFont);
    const QFontMetricsF digitMetrics(tabularDigits(chipFont));
    const double chipBaseline = barTop + barHeight + rowSpacing + chipMetrics.ascent();
    const std::size_t chips = std::min<std::size_t>(3, summaries.size());
    std::vector<double> naturalTitles;
    double fixed = chips > 0 ? rowSpacing * double(chips - 1) : 0;
    for (std::size_t i = 0; i < chips; ++i) {
        naturalTitles.push_back(chipMetrics.horizontalAdvance(shownTitle(summaries[i].title)));
        fixed += 10 + 4 + digitMetrics.horizontalAdvance(QString::fromStdString(formatDuration(summaries[i].minutes)));
    }
    const auto titleWidths = fitChipTitles(naturalTitles, fixed, area.width());
    painter.setFont(chipFont);
    x = area.left();
    for (std::size_t i = 0; i < chips; ++i) {
        const auto& summary = summaries[i];
        painter.setPen(Qt::NoPen);
        painter.setBrush(toQColor(summaryColor(summary), Appearance::dark));
        painter.drawEllipse(QRectF(x, chipBaseline - chipMetrics.ascent() / 2 - 2.5, 6, 6));
        x += 10;
        const QString title = chipMetrics.elidedText(shownTitle(summary.title), Qt::ElideRight, titleWidths[i] + 0.5);
        painter.setPen(white(0.75));
        painter.drawText(QPointF(x, chipBaseline), title);
        x += chipMetrics.horizontalAdvance(title) + 4;
        const QString duration = QString::fromStdString(formatDuration(summary.minutes));
        painter.setFont(tabularDigits(chipFont));
        painter.setPen(white(0.45));
        painter.drawText(QPointF(x, chipBaseline), duration);
        painter.setFont(chipFont);
        x += digitMetrics.horizontalAdvance(duration) + rowSpacing;
    }
}

void NotchView::enterEvent(QEnterEvent* event) {
    setHovering(true);
    QWidget::enterEvent(event);
}

void NotchView::leaveEvent(QEvent* event) {
    setHovering(false);
    QWidget::leaveEvent(event);
}

}  // namespace plenda
