#include "ui/TodayView.h"

#include "model/MacActivityStore.h"
#include "platform/Calendar.h"
#include "platform/Clock.h"
#include "views/ActivitySummaries.h"
#include "ui/ActivityRow.h"
#include "ui/BlockSheets.h"
#include "ui/DateTexts.h"
#include "ui/PeriodCharts.h"
#include "ui/PeriodPicker.h"
#include "platform/qt/QtFiles.h"
#include "views/Export.h"
#include "views/DayNavigation.h"
#include "views/DayWindowLayout.h"
#include "views/DurationText.h"
#include "ui/IconProvider.h"
#include "ui/SymbolButton.h"
#include "ui/TreemapView.h"
#include "ui/ViewStyle.h"

#include <QEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QStandardPaths>
#include <QKeyEvent>
#include <QShortcut>
#include <QPainter>
#include <QScrollArea>
#include <QScrollBar>
#include <QTimer>
#include <QVBoxLayout>

namespace plenda {

namespace {

constexpr double headerBottomInset = 12;
constexpr double subtitleGap = 2;
constexpr int navigationSpacing = 2;
constexpr int groupSpacing = 8;
constexpr int emptySymbolPoints = 44;  // a 40-point light symbol

QFont titleFont() { return roundedFont(34, QFont::Bold); }
QFont subtitleFont() { return systemFont(14, QFont::Medium); }
QFont syncFont() { return systemFont(11); }

}  // namespace

TodayView::TodayView(MacActivityStore& store, const Clock& clock, const Calendar& calendar,
                     const IconProvider& icons, Actions actions, QWidget* parent)
    : QWidget(parent),
      store_(store),
      clock_(clock),
      calendar_(calendar),
      icons_(icons),
      actions_(std::move(actions)),
      previous_(new SymbolButton(icons, "chevron.left", Palette::textSecondary, this)),
      next_(new SymbolButton(icons, "chevron.right", Palette::textSecondary, this)),
      add_(new SymbolButton(icons, "plus", Palette::textSecondary, this)),
      export_(new SymbolButton(icons, "square.and.arrow.up", Palette::textSecondary, this)),
      sync_(new SymbolButton(icons, "arrow.triangle.2.circlepath", Palette::accent, this)),
      settings_(new SymbolButton(icons, "gearshape", Palette::textSecondary, this)),
      picker_(new PeriodPicker([this](Period period) { showPeriod(period); }, this)),
      treemap_(new TreemapView(store, this)),
      week_(new WeekChart([this](Date day) { openDay(day); }, this)),
      month_(new MonthGrid([this](Date day) { openDay(day); }, this)),
      list_(new QScrollArea(this)),
      listContent_(new QWidget),
      listLayout_(new QVBoxLayout(listContent_)),
      scroller_(new QScrollBar(Qt::Vertical, this)) {
    setWindowTitle(localized("Plenda"));
    setMinimumSize(int(DayWindowLayout::minimumWidth), int(DayWindowLayout::minimumHeight));
    resize(minimumSize());

    previous_->setHelp(localized("mac.day.previous"));
    next_->setHelp(localized("mac.day.next"));
    add_->setHelp(localized("mac.add.help"));
    export_->setHelp(localized("mac.export"));
    sync_->setHelp(localized("mac.sync.now"));
    settings_->setHelp(localized("mac.settings"));
    week_->setAccessibleName(localized("mac.week.chart"));
    month_->setAccessibleName(localized("mac.month.chart"));
    setFocusPolicy(Qt::StrongFocus);
    // The picker and the arrows first, then adding and exporting, then sync and settings.
    const QWidget* const order[] = {picker_, previous_, next_, add_, export_, sync_, settings_};
    for (std::size_t i = 1; i < std::size(order); ++i) {
        QWidget::setTabOrder(const_cast<QWidget*>(order[i - 1]), const_cast<QWidget*>(order[i]));
    }
    connect(previous_, &QAbstractButton::clicked, this, [this] { step(-1); });
    connect(next_, &QAbstractButton::clicked, this, [this] { step(1); });
    connect(add_, &QAbstractButton::clicked, this, [this] { addBlock(); });
    connect(export_, &QAbstractButton::clicked, this, [this] { exportShownDays(); });
    // ⌘Z and ⇧⌘Z on the Mac, Ctrl+Z and Ctrl+Shift+Z (or Ctrl+Y) elsewhere.
    connect(new QShortcut(QKeySequence::Undo, this), &QShortcut::activated, this, [this] { store_.undo(); });
    connect(new QShortcut(QKeySequence::Redo, this), &QShortcut::activated, this, [this] { store_.redo(); });
    connect(sync_, &QAbstractButton::clicked, this, [this] {
        if (actions_.syncNow) QTimer::singleShot(0, this, actions_.syncNow);
    });
    connect(settings_, &QAbstractButton::clicked, this, [this] {
        if (actions_.openSettings) actions_.openSettings();
    });

    treemap_->setSpacing(4);

    listLayout_->setContentsMargins(0, 0, 0, 0);
    listLayout_->setSpacing(0);
    listLayout_->addStretch(1);
    listContent_->setAutoFillBackground(false);
    list_->setWidget(listContent_);
    list_->setWidgetResizable(true);
    list_->setFrameShape(QFrame::NoFrame);
    list_->setFocusPolicy(Qt::NoFocus);  // Tab goes to its rows
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    QScrollBar* inner = list_->verticalScrollBar();
    connect(inner, &QScrollBar::rangeChanged, scroller_, [this, inner](int minimum, int maximum) {
        scroller_->setRange(minimum, maximum);
        scroller_->setPageStep(inner->pageStep());
        scroller_->setVisible(maximum > minimum && !summaries_.empty());
    });
    connect(inner, &QScrollBar::valueChanged, scroller_, &QScrollBar::setValue);
    connect(scroller_, &QScrollBar::valueChanged, inner, &QScrollBar::setValue);
    scroller_->setRange(0, 0);  // until the list reports its own range
    scroller_->hide();
    styleScroller();
    // The rows sit on the window's own background, in either appearance.
    list_->viewport()->setAutoFillBackground(false);
    listContent_->setObjectName(QStringLiteral("listContent"));
    list_->setStyleSheet(QStringLiteral(
        "QScrollArea, QScrollArea > QWidget, QWidget#listContent { background: transparent; }"));

    subscription_ = store_.observe([this] { reload(); });
    reload();
}

TodayView::~TodayView() = default;

void TodayView::showPeriod(Period period) {
    period_ = period;
    picker_->setPeriod(period);
    reload();
}

void TodayView::openDay(Date day) {
    store_.selectDate(day);
    showPeriod(Period::day);
}

void TodayView::step(int periods) {
    if (period_ == Period::day) return store_.shiftSelectedDate(periods);
    if (const auto target = movingByPeriods(calendar_, period_, periods, store_.selectedDate())) store_.selectDate(*target);
}

DayRange TodayView::shownRange() const {
    return period_ == Period::day ? dayRange(calendar_, store_.selectedDate()) : overview_.range;
}

void TodayView::showSheet(QDialog& sheet) {
    if (actions_.showSheet) return actions_.showSheet(sheet);
    sheet.exec();
}

void TodayView::addBlock() {
    AddBlockSheet sheet(store_, calendar_, store_.selectedDate(), clock_.now(), this);
    showSheet(sheet);
}

void TodayView::editActivity(const MacActivitySummary& summary) {
    EditBlocksSheet sheet(store_, calendar_, summary, shownRange(), this);
    showSheet(sheet);
}

bool TodayView::exportShownDays() {
    const DayRange range = shownRange();
    const Date last = range.end - 1;
    const QString suggested = QStringLiteral("Plenda %1 to %2.csv")
                                  .arg(QString::fromStdString(isoDateText(calendar_.localTime(range.start))),
                                       QString::fromStdString(isoDateText(calendar_.localTime(last))));
    QString path;
    if (actions_.chooseExportFile) {
        path = actions_.chooseExportFile(suggested);
    } else {
        const QString csv = QStringLiteral("CSV (*.csv)"), json = QStringLiteral("JSON (*.json)");
        QString filter = csv;
        path = QFileDialog::getSaveFileName(
            this, localized("mac.export"),
            QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation) + QLatin1Char('/') + suggested,
            csv + QStringLiteral(";;") + json, &filter);
        // A name typed without its ending gets the one of the kind chosen.
        if (!path.isEmpty() && QFileInfo(path).suffix().isEmpty()) path += filter == json ? QStringLiteral(".json") : QStringLiteral(".csv");
    }
    if (path.isEmpty()) return false;
    const auto days = exportDays(store_, calendar_, range.start, last);
    QtFiles files;
    if (path.endsWith(QStringLiteral(".json"), Qt::CaseInsensitive)) {
        return !files.writeFileAtomically(path.toStdString(), exportJson(days, calendar_));
    }
    // Blocks in the file chosen, each day's activities beside it.
    QString activities = path;
    activities.insert(path.endsWith(QStringLiteral(".csv"), Qt::CaseInsensitive) ? path.size() - 4 : path.size(),
                      QStringLiteral(" activities"));
    return !files.writeFileAtomically(path.toStdString(), blocksCsv(days, calendar_)) &&
           !files.writeFileAtomically(activities.toStdString(), activitiesCsv(days, calendar_));
}

void TodayView::keyPressEvent(QKeyEvent* event) {
    // Left and right step through the days as the header's arrows do, and
    // stop where they are disabled.
    if (event->key() == Qt::Key_Left || event->key() == Qt::Key_Right) {
        (event->key() == Qt::Key_Left ? previous_ : next_)->click();
        return;
    }
    QWidget::keyPressEvent(event);
}

std::vector<ActivityRow*> TodayView::rows() const {
    return {rowPool_.begin(), rowPool_.begin() + std::ptrdiff_t(std::min(rowPool_.size(), summaries_.size()))};
}

void TodayView::reload() {
    const Date selected = store_.selectedDate();
    const Date now = clock_.now();
    const LocalTime local = calendar_.localTime(selected);
    syncMessage_ = QString::fromStdString(store_.syncMessage());
    const QString other = localized("mac.other");
    if (period_ == Period::day) {
        summaries_ = makeSummaries(store_.blocksOnDay(selected));
        // The day's total from what was just folded: one pass over the store less.
        double dayMinutes = 0;
        for (const MacActivitySummary& summary : summaries_) dayMinutes += summary.minutes;
        title_ = calendar_.isSameDay(selected, now) ? localized("mac.today") : fullWeekdayName(local);
        subtitle_ = abbreviatedDate(local) + QStringLiteral(" · ") +
                    localized("mac.tracked").arg(QString::fromStdString(formatDuration(dayMinutes)));
        previous_->setEnabled(canShowPreviousDay(selected, store_.earliestBlockDate()));
        next_->setEnabled(canShowNextDay(calendar_, selected, now));
        treemap_->setSummaries(treemapSummaries(summaries_, other.toStdString()));
    } else {
        overview_ = periodOverview(store_, calendar_, period_, selected);
        const bool current = overview_.range.contains(now);
        const LocalTime first = overview_.days.front().date;
        const QString month = QLocale().standaloneMonthName(first.month) + QLatin1Char(' ') + QString::number(first.year);
        // The days themselves are under the bars and in the calendar.
        if (period_ == Period::week) {
            title_ = current ? localized("mac.thisweek") : localized("mac.weekof").arg(abbreviatedDate(first));
            subtitle_.clear();
            // The week's activities as a day's treemap lists them: seven and the rest.
            summaries_ = treemapSummaries(overview_.activities, other.toStdString());
        } else {
            title_ = current ? localized("mac.thismonth") : month;
            subtitle_ = month + QStringLiteral(" · ");
            summaries_.clear();
        }
        subtitle_ += localized("mac.tracked").arg(QString::fromStdString(formatDuration(overview_.minutes))) +
                     QStringLiteral(" · ") +
                     localized("mac.average").arg(QString::fromStdString(formatDuration(overview_.averagePerTrackedDay())));
        const auto earliest = store_.earliestBlockDate();
        previous_->setEnabled(earliest && *earliest < overview_.range.start);
        next_->setEnabled(!current && overview_.range.start < now);
        (period_ == Period::week ? static_cast<PeriodChart*>(week_) : month_)
            ->setOverview(overview_, now, calendar_.firstWeekday());
    }
    const SummaryMenuActions menu{actions_.chooseCategoryForApplication,
                                  period_ == Period::day ? std::nullopt : std::optional(overview_.range),
                                  [this](const MacActivitySummary& summary) { editActivity(summary); }};
    treemap_->setMenuActions(menu);
    // Rows are kept and reused, so a redraw does not rebuild widgets.
    while (rowPool_.size() < summaries_.size()) {
        auto* row = new ActivityRow(store_, calendar_, listContent_);
        listLayout_->insertWidget(int(rowPool_.size()), row);
        rowPool_.push_back(row);
    }
    for (std::size_t i = 0; i < rowPool_.size(); ++i) {
        if (i < summaries_.size()) {
            rowPool_[i]->setSpansDays(period_ != Period::day);
            rowPool_[i]->setSummary(summaries_[i]);
            rowPool_[i]->setMenuActions(menu);
        }
        rowPool_[i]->setVisible(i < summaries_.size());
    }

    const bool empty = summaries_.empty();
    treemap_->setVisible(period_ == Period::day && !empty);
    week_->setVisible(period_ == Period::week);
    month_->setVisible(period_ == Period::month);
    list_->setVisible(!empty);
    scroller_->setVisible(!empty && scroller_->maximum() > scroller_->minimum());
    layoutChildren();
    update();
}

void TodayView::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange) styleScroller();
    QWidget::changeEvent(event);
}

void TodayView::styleScroller() {
    styledAppearance_ = appearanceOf(*this);
    const QColor thumb = toQColor(Palette::textSecondary, *styledAppearance_, 0.5);
    scroller_->setStyleSheet(
        QStringLiteral("QScrollBar:vertical { background: transparent; width: 7px; margin: 0; border: none; }"
                       "QScrollBar::handle:vertical { background: %1; border-radius: 3px; min-height: 28px; }"
                       "QScrollBar::add-line:vertical, QScrollBar::sub-line:vertical { height: 0; border: none; }"
                       "QScrollBar::add-page:vertical, QScrollBar::sub-page:vertical { background: transparent; }")
            .arg(QStringLiteral("rgba(%1, %2, %3, %4)")
                     .arg(thumb.red())
                     .arg(thumb.green())
                     .arg(thumb.blue())
                     .arg(thumb.alphaF())));
}

void TodayView::resizeEvent(QResizeEvent* event) {
    layoutChildren();
    QWidget::resizeEvent(event);
}

double TodayView::titleBaseline() const {
    const QFontMetricsF title(titleFont());
    const QFontMetricsF subtitle(subtitleFont());
    const double bottom = DayWindowLayout::headerHeight - headerBottomInset;
    return bottom - subtitle.height() - subtitleGap - title.descent();
}

void TodayView::layoutChildren() {
    const double w = width();
    const DayWindowLayout layout = dayWindowLayout(height());

    // Buttons sit on the title's baseline row: their centres at the middle of
    // a 13-point capital there.
    const int buttonTop = int(std::round(titleBaseline() - 5 - SymbolButton::side / 2.0));
    const int syncTextWidth = int(std::ceil(QFontMetricsF(syncFont()).horizontalAdvance(syncMessage_)));
    int x = int(w - DayWindowLayout::horizontalInset) - SymbolButton::side;
    settings_->move(x, buttonTop);
    x -= groupSpacing + SymbolButton::side;
    sync_->move(x, buttonTop);
    x -= (syncTextWidth > 0 ? groupSpacing + syncTextWidth : 0) + groupSpacing + SymbolButton::side;
    export_->move(x, buttonTop);
    x -= navigationSpacing + SymbolButton::side;
    add_->move(x, buttonTop);
    x -= groupSpacing + SymbolButton::side;
    next_->move(x, buttonTop);
    x -= navigationSpacing + SymbolButton::side;
    previous_->move(x, buttonTop);
    // Under the buttons, on the subtitle's row.
    const QSize picker = picker_->sizeHint();
    const double subtitleBaseline = titleBaseline() + QFontMetricsF(titleFont()).descent() + subtitleGap +
                                    QFontMetricsF(subtitleFont()).ascent();
    picker_->setGeometry(int(w - DayWindowLayout::horizontalInset) - picker.width(),
                         int(std::round(subtitleBaseline - 5 - picker.height() / 2.0)), picker.width(), picker.height());

    const LayoutRect map = layout.treemapRect(w);
    const int margin = TreemapView::shadowMargin;
    treemap_->setGeometry(QRectF(map.x, map.y, map.width, map.height)
                              .adjusted(-margin, -margin, margin, margin)
                              .toAlignedRect());
    week_->setGeometry(QRectF(map.x, map.y, map.width, map.height).toAlignedRect());
    const LayoutRect listRect = layout.listRect(w);
    month_->setGeometry(QRectF(map.x, map.y, map.width, listRect.y + listRect.height - map.y - 16).toAlignedRect());
    list_->setGeometry(QRectF(listRect.x, listRect.y, listRect.width, listRect.height).toRect());
    scroller_->setGeometry(int(w) - 15, int(listRect.y) + 6, 7, std::max(int(listRect.height) - 12, 0));
    scroller_->raise();
}

void TodayView::paintEvent(QPaintEvent*) {
    if (styledAppearance_ != appearanceOf(*this)) styleScroller();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    painter.fillRect(rect(), toQColor(Palette::background, appearanceOf(*this)));
    paintHeader(painter);
    if (period_ == Period::day && summaries_.empty()) paintEmptyState(painter);
}

void TodayView::paintHeader(QPainter& painter) {
    const Appearance appearance = appearanceOf(*this);
    const double left = DayWindowLayout::horizontalInset;
    const double baseline = titleBaseline();
    // The title and subtitle may use what the buttons and the picker leave free.
    const double available = std::max(std::min(previous_->x(), picker_->x()) - 12 - left, 40.0);

    const QFontMetricsF title(titleFont());
    const QFontMetricsF subtitle(subtitleFont());
    painter.setPen(toQColor(Palette::textPrimary, appearance));
    painter.setFont(titleFont());
    painter.drawText(QPointF(left, baseline), title.elidedText(title_, Qt::ElideRight, available));

    painter.setPen(toQColor(Palette::textSecondary, appearance));
    painter.setFont(subtitleFont());
    const double subtitleBaseline = baseline + title.descent() + subtitleGap + subtitle.ascent();
    painter.drawText(QPointF(left, subtitleBaseline), subtitle.elidedText(subtitle_, Qt::ElideRight, available));

    if (!syncMessage_.isEmpty()) {
        painter.setFont(syncFont());
        const double right = sync_->x() - groupSpacing;
        painter.drawText(QPointF(right - QFontMetricsF(syncFont()).horizontalAdvance(syncMessage_), baseline),
                         syncMessage_);
    }
}

void TodayView::paintEmptyState(QPainter& painter) {
    const Appearance appearance = appearanceOf(*this);
    const QFont titleFont = systemFont(17, QFont::DemiBold);
    const QFont bodyFont = systemFont(13);
    const QFontMetricsF titleMetrics(titleFont);
    const QFontMetricsF bodyMetrics(bodyFont);
    const QString title = localized("mac.empty.title");
    const QString body = localized("mac.empty.body");

    const QRectF area(0, DayWindowLayout::headerHeight, width(), height() - DayWindowLayout::headerHeight);
    const double columnHeight = emptySymbolPoints + 12 + titleMetrics.height() + 12 + bodyMetrics.height();
    double y = area.center().y() - columnHeight / 2;

    const QPixmap symbol = icons_.symbol("desktopcomputer", emptySymbolPoints, QFont::Light,
                                         toQColor(Palette::textSecondary, appearance), devicePixelRatioF());
    painter.drawPixmap(QPointF(area.center().x() - emptySymbolPoints / 2.0, y), symbol);
    y += emptySymbolPoints + 12;

    painter.setPen(toQColor(Palette::textPrimary, appearance));
    painter.setFont(titleFont);
    painter.drawText(QRectF(area.left() + 24, y, area.width() - 48, titleMetrics.height()), Qt::AlignCenter, title);
    y += titleMetrics.height() + 12;

    painter.setPen(toQColor(Palette::textSecondary, appearance));
    painter.setFont(bodyFont);
    painter.drawText(QRectF(area.left() + 24, y, area.width() - 48, bodyMetrics.height()), Qt::AlignCenter, body);
}

}  // namespace plenda
