#include "ui/MenuBarContent.h"

#include "model/MacActivityStore.h"
#include "platform/Clock.h"
#include "tracking/MacAppTracker.h"
#include "views/ActivitySummaries.h"
#include "views/DurationText.h"
#include "ui/IconProvider.h"
#include "ui/NotchButton.h"
#include "ui/ViewStyle.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

namespace plenda {

namespace {

// A filled circle of 7 x 7 points.
class Dot final : public QWidget {
public:
    Dot(QColor color, QWidget* parent) : QWidget(parent), color_(color) { setFixedSize(7, 7); }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(color_);
        painter.drawEllipse(QRectF(0, 0, 7, 7));
    }

private:
    QColor color_;
};

}  // namespace

MenuBarContent::MenuBarContent(MacActivityStore& store, MacAppTracker& tracker, const Clock& clock,
                               const IconProvider& icons, PanelCommands commands, QWidget* parent)
    : QWidget(parent), store_(store), tracker_(tracker), clock_(clock), icons_(icons), commands_(std::move(commands)) {
    setFixedWidth(panelWidth);
    layout_ = new QVBoxLayout(this);
    layout_->setContentsMargins(0, 0, 0, 0);
    layout_->setSizeConstraint(QLayout::SetFixedSize);
    storeWatch_ = store_.observe([this] { reload(); });
    trackerWatch_ = tracker_.observe([this] { reload(); });
    reload();
}

QLabel* MenuBarContent::label(const QString& text, int points, QFont::Weight weight, bool secondary, bool tabular) {
    auto* label = new QLabel(text, content_);
    QFont font = points >= 13 ? roundedFont(points, weight) : systemFont(points, weight);
    label->setFont(tabular ? tabularDigits(font) : font);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText,
                     toQColor(secondary ? Palette::textSecondary : Palette::textPrimary, appearanceOf(*this)));
    label->setPalette(palette);
    return label;
}

NotchButton* MenuBarContent::addButton(const char* key, std::function<void()> action) {
    auto* button = new NotchButton(key, std::move(action), content_);
    button->setPoints(11);
    button->setTint(Palette::textPrimary);
    // Borderless as in a menu: the four commands fit the panel's width.
    button->setPlain(true);
    button->setHorizontalPadding(5);
    buttons_.push_back(button);
    return button;
}

void MenuBarContent::reload() {
    // Rebuilt from scratch: the panel is small and nothing survives a redraw.
    if (content_) {
        layout_->removeWidget(content_);
        content_->hide();
        content_->deleteLater();
    }
    buttons_.clear();
    summaryTitles_.clear();
    content_ = new QWidget(this);
    content_->setFixedWidth(panelWidth);
    auto* column = new QVBoxLayout(content_);
    column->setContentsMargins(16, 16, 16, 16);
    column->setSpacing(12);
    const Appearance appearance = appearanceOf(*this);

    auto* header = new QHBoxLayout;
    header->setSpacing(6);
    header->addWidget(label(localized("Plenda"), 13, QFont::DemiBold, false));
    liveDotLit_ = tracker_.isTracking();
    header->addWidget(new Dot(toQColor(liveDotLit_ ? Palette::live : Palette::textSecondary, appearance), content_));
    header->addStretch();
    column->addLayout(header);

    total_ = label(QString::fromStdString(formatDuration(store_.todayMinutes())), 30, QFont::Bold, false, true);
    column->addWidget(total_);
    column->addWidget(label(localized("mac.tracked").arg(QString()).trimmed(), 11, QFont::Normal, true));

    current_ = nullptr;
    if (tracker_.currentAppName() && tracker_.isTracking()) {
        current_ = label(shownTitle(*tracker_.currentAppName()), 11, QFont::Normal, false);
        auto* row = new QHBoxLayout;
        row->setSpacing(5);
        auto* symbol = new QLabel(content_);
        symbol->setPixmap(icons_.symbol("record.circle", 12, QFont::Normal, toQColor(Palette::live, appearance),
                                        devicePixelRatioF()));
        row->addWidget(symbol);
        row->addWidget(current_, 1);
        current_->setText(current_->fontMetrics().elidedText(current_->text(), Qt::ElideRight, panelWidth - 50));
        column->addLayout(row);
    }

    const auto summaries = makeSummaries(store_.blocksOnDay(clock_.now()));
    if (!summaries.empty()) {
        // Centred as a block; each row keeps its parts together.
        auto* listHolder = new QWidget(content_);
        auto* list = new QVBoxLayout(listHolder);
        list->setContentsMargins(0, 0, 0, 0);
        list->setSpacing(4);
        for (std::size_t i = 0; i < std::min<std::size_t>(3, summaries.size()); ++i) {
            const auto& summary = summaries[i];
            auto* row = new QHBoxLayout;
            row->setSpacing(8);
            row->addWidget(new Dot(toQColor(categoryColor(summary.category), appearance), content_));
            auto* title = label(shownTitle(summary.title), 11, QFont::Normal, false);
            title->setText(title->fontMetrics().elidedText(title->text(), Qt::ElideRight, 150));
            row->addWidget(title);
            row->addWidget(
                label(QString::fromStdString(formatDuration(summary.minutes)), 11, QFont::Medium, true, true));
            row->addStretch();
            list->addLayout(row);
            summaryTitles_ << shownTitle(summary.title);
        }
        column->addWidget(listHolder, 0, Qt::AlignHCenter);
    }

    const auto leftAligned = [column](QWidget* widget) { column->addWidget(widget, 0, Qt::AlignLeft); };
    if (commands_.browserAutomationDenied && commands_.browserAutomationDenied()) {
        leftAligned(addButton("mac.grant.browser", commands_.grantBrowserAutomation));
    }
    if (commands_.accessibilityTrusted && !commands_.accessibilityTrusted()) {
        leftAligned(addButton("mac.grant.projects", commands_.grantAccessibility));
    }

    auto* divider = new QWidget(content_);
    divider->setFixedHeight(1);
    divider->setAutoFillBackground(true);
    QPalette dividerPalette = divider->palette();
    dividerPalette.setColor(QPalette::Window, toQColor(Palette::hairline, appearance));
    divider->setPalette(dividerPalette);
    column->addWidget(divider);

    const std::vector<NotchButton*> commands{
        addButton("mac.open", commands_.openDayWindow),
        addButton(tracker_.isTracking() ? "mac.pause" : "mac.resume",
                  [this] { tracker_.setTracking(!tracker_.isTracking()); }),
        addButton("mac.settings", commands_.openSettings), addButton("mac.quit", commands_.quit)};
    // One row 8 points apart; where the texts are too wide for the panel
    // (longer words, wider fonts), two rows rather than a cut-off command.
    constexpr int commandSpacing = 8;
    int rowWidth = commandSpacing * int(commands.size() - 1);
    for (const NotchButton* button : commands) rowWidth += button->sizeHint().width();
    const std::size_t perRow = rowWidth <= panelWidth - 32 ? commands.size() : (commands.size() + 1) / 2;
    for (std::size_t first = 0; first < commands.size(); first += perRow) {
        auto* commandsRow = new QHBoxLayout;
        commandsRow->setSpacing(commandSpacing);
        for (std::size_t i = first; i < std::min(commands.size(), first + perRow); ++i) {
            commandsRow->addWidget(commands[i]);
        }
        commandsRow->addStretch();
        column->addLayout(commandsRow);
    }

    column->addWidget(label(QString::fromStdString(store_.syncMessage()), 10, QFont::Normal, true));

    layout_->addWidget(content_);
    content_->show();
    adjustSize();
    update();
}

QString MenuBarContent::totalText() const { return total_ ? total_->text() : QString(); }
QString MenuBarContent::currentActivityText() const { return current_ ? current_->text() : QString(); }
QStringList MenuBarContent::summaryTitles() const { return summaryTitles_; }

QStringList MenuBarContent::buttonTitles() const {
    QStringList titles;
    for (const NotchButton* button : buttons_) titles << QString::fromStdString(button->title());
    return titles;
}

NotchButton* MenuBarContent::button(const char* key) const {
    for (NotchButton* button : buttons_) {
        if (button->title() == key) return button;
    }
    return nullptr;
}

void MenuBarContent::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), toQColor(Palette::background, appearanceOf(*this)));
}

void MenuBarContent::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange) reload();
    QWidget::changeEvent(event);
}

}  // namespace plenda
