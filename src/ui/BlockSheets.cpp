#include "ui/BlockSheets.h"

#include "model/MacActivityStore.h"
#include "ui/DateTexts.h"
#include "ui/ViewStyle.h"
#include "views/DayNavigation.h"
#include "views/DurationText.h"

#include <QComboBox>
#include <QDateEdit>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSpinBox>
#include <QTimeEdit>
#include <QVBoxLayout>

namespace plenda {

namespace {

QComboBox* categoryPicker(MacBlockCategory current, QWidget* parent) {
    auto* picker = new QComboBox(parent);
    for (MacBlockCategory category : allCategories) picker->addItem(localized(labelKey(category)), int(category));
    picker->setCurrentIndex(int(current));
    return picker;
}

QTimeEdit* timePicker(QWidget* parent) {
    auto* picker = new QTimeEdit(parent);
    picker->setDisplayFormat(QStringLiteral("HH:mm"));
    return picker;
}

QTime wallTime(const Calendar& calendar, Date date) {
    const LocalTime local = calendar.localTime(date);
    return QTime(local.hour, local.minute);
}

Date onDay(const Calendar& calendar, Date day, QTime time) { return atLocalTime(calendar, day, time.hour(), time.minute()); }

QLabel* problemLabel(QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setWordWrap(true);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, QColor(0xd7, 0x3a, 0x2f));
    label->setPalette(palette);
    return label;
}

}  // namespace

AddBlockSheet::AddBlockSheet(MacActivityStore& store, const Calendar& calendar, Date day, Date now, QWidget* parent)
    : QDialog(parent), store_(store), calendar_(calendar), day_(calendar.startOfDay(day)) {
    setWindowTitle(localized("mac.add.title"));
    auto* form = new QFormLayout;
    title_ = new QLineEdit(this);
    title_->setPlaceholderText(localized("mac.add.placeholder"));
    category_ = categoryPicker(MacBlockCategory::body, this);
    const LocalTime local = calendar.localTime(day);
    const LocalTime today = calendar.localTime(now);
    date_ = new QDateEdit(QDate(local.year, local.month, local.day), this);
    date_->setMaximumDate(QDate(today.year, today.month, today.day));
    date_->setCalendarPopup(true);
    start_ = timePicker(this);
    end_ = timePicker(this);
    start_->setTime(QTime(12, 0));
    end_->setTime(QTime(12, 30));
    minutes_ = new QSpinBox(this);
    minutes_->setRange(1, 24 * 60 - 1);
    minutes_->setSuffix(QStringLiteral(" min"));
    minutes_->setValue(30);
    note_ = new QLineEdit(this);
    form->addRow(localized("mac.field.title"), title_);
    form->addRow(localized("mac.category"), category_);
    form->addRow(localized("mac.field.day"), date_);
    form->addRow(localized("mac.field.start"), start_);
    form->addRow(localized("mac.field.end"), end_);
    form->addRow(localized("mac.field.duration"), minutes_);
    form->addRow(localized("mac.field.note"), note_);
    problem_ = problemLabel(this);
    buttons_ = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
    buttons_->addButton(localized("mac.add"), QDialogButtonBox::AcceptRole);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(problem_);
    layout->addWidget(buttons_);
    connect(buttons_, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons_, &QDialogButtonBox::rejected, this, &QDialog::reject);
    // The duration and the end follow each other from the start.
    connect(minutes_, &QSpinBox::valueChanged, this, [this](int minutes) {
        const QSignalBlocker blocker(end_);
        end_->setTime(start_->time().addSecs(minutes * 60));
        refresh();
    });
    const auto followEnd = [this] {
        const QSignalBlocker blocker(minutes_);
        minutes_->setValue(std::max(1, start_->time().secsTo(end_->time()) / 60));
        refresh();
    };
    connect(end_, &QTimeEdit::timeChanged, this, followEnd);
    connect(start_, &QTimeEdit::timeChanged, this, [this] {
        const QSignalBlocker blocker(end_);
        end_->setTime(start_->time().addSecs(minutes_->value() * 60));
        refresh();
    });
    connect(title_, &QLineEdit::textChanged, this, [this] { refresh(); });
    refresh();
    setMinimumWidth(380);
}

void AddBlockSheet::refresh() {
    const bool crosses = end_->time() <= start_->time();
    problem_->setText(crosses ? localized("mac.add.midnight") : QString());
    for (QAbstractButton* button : buttons_->buttons()) {
        if (buttons_->buttonRole(button) == QDialogButtonBox::AcceptRole) {
            button->setEnabled(!crosses && !title_->text().trimmed().isEmpty());
        }
    }
}

void AddBlockSheet::accept() {
    const QDate chosen = date_->date();
    const LocalTime local = calendar_.localTime(day_);
    const auto day = calendar_.addingDays(int(QDate(local.year, local.month, local.day).daysTo(chosen)), day_ + 12 * 3600.0);
    if (!day) return;
    const QString note = note_->text().trimmed();
    const auto added = store_.addManualBlock(title_->text().trimmed().toStdString(),
                                             MacBlockCategory(category_->currentData().toInt()),
                                             onDay(calendar_, *day, start_->time()), onDay(calendar_, *day, end_->time()),
                                             note.isEmpty() ? std::nullopt : std::optional(note.toStdString()));
    if (!added) {
        problem_->setText(localized("mac.add.midnight"));
        return;
    }
    QDialog::accept();
}

EditBlocksSheet::EditBlocksSheet(MacActivityStore& store, const Calendar& calendar, const MacActivitySummary& summary,
                                 DayRange within, QWidget* parent)
    : QDialog(parent), store_(store), calendar_(calendar) {
    setWindowTitle(localized("mac.edit.title").arg(shownTitle(summary.title)));
    for (Date day = within.start; day < within.end; day = dayRange(calendar, day).end) {
        auto blocks = store.blocksOnDay(day);
        std::reverse(blocks.begin(), blocks.end());
        for (const MacDayBlock& block : blocks) {
            if (block.title == summary.title && block.category == summary.category) ids_.push_back(block.id);
        }
    }
    list_ = new QListWidget(this);
    list_->setAccessibleName(localized("mac.edit.blocks"));
    title_ = new QLineEdit(this);
    category_ = categoryPicker(summary.category, this);
    start_ = timePicker(this);
    end_ = timePicker(this);
    splitAt_ = timePicker(this);
    problem_ = problemLabel(this);
    auto* form = new QFormLayout;
    form->addRow(localized("mac.field.title"), title_);
    form->addRow(localized("mac.category"), category_);
    form->addRow(localized("mac.field.start"), start_);
    form->addRow(localized("mac.field.end"), end_);
    auto* applyButton = new QPushButton(localized("mac.edit.apply"), this);
    auto* splitRow = new QHBoxLayout;
    auto* splitButton = new QPushButton(localized("mac.edit.split"), this);
    splitAt_->setAccessibleName(localized("mac.edit.split"));
    splitRow->addWidget(splitButton);
    splitRow->addWidget(splitAt_, 1);
    form->addRow(QString(), applyButton);
    form->addRow(QString(), splitRow);
    auto* close = new QDialogButtonBox(QDialogButtonBox::Close, this);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(list_, 1);
    layout->addLayout(form);
    layout->addWidget(problem_);
    layout->addWidget(close);
    connect(close, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(list_, &QListWidget::currentRowChanged, this, [this] { showChosen(); });
    connect(applyButton, &QPushButton::clicked, this, [this] { apply(); });
    connect(splitButton, &QPushButton::clicked, this, [this] { split(); });
    fillList();
    list_->setCurrentRow(0);
    resize(420, 460);
}

std::optional<MacDayBlock> EditBlocksSheet::chosen() const {
    const int row = list_->currentRow();
    if (row < 0 || std::size_t(row) >= ids_.size()) return std::nullopt;
    return store_.block(ids_[std::size_t(row)]);
}

void EditBlocksSheet::fillList() {
    const int row = list_->currentRow();
    list_->clear();
    for (const Uuid& id : ids_) {
        const auto block = store_.block(id);
        if (!block) {
            list_->addItem(QStringLiteral("—"));
            continue;
        }
        const LocalTime start = calendar_.localTime(block->effectiveStart());
        list_->addItem(abbreviatedDate(start) + QStringLiteral("  ") +
                       timeSpan(start, calendar_.localTime(block->effectiveEnd())) + QStringLiteral("  ·  ") +
                       QString::fromStdString(formatDuration(block->weight)) + QStringLiteral("  ") +
                       shownTitle(block->title));
    }
    list_->setCurrentRow(std::min(row, list_->count() - 1));
}

void EditBlocksSheet::showChosen() {
    problem_->clear();
    const auto block = chosen();
    for (QWidget* field : std::initializer_list<QWidget*>{title_, category_, start_, end_, splitAt_}) field->setEnabled(block.has_value());
    if (!block) return;
    title_->setText(QString::fromStdString(block->title));
    category_->setCurrentIndex(int(block->category));
    start_->setTime(wallTime(calendar_, block->effectiveStart()));
    end_->setTime(wallTime(calendar_, block->effectiveEnd()));
    splitAt_->setTime(wallTime(calendar_, block->effectiveStart() + (block->effectiveEnd() - block->effectiveStart()) / 2));
}

bool EditBlocksSheet::apply() {
    const auto block = chosen();
    if (!block) return false;
    const Date day = block->effectiveStart();
    MacActivityStore::BlockEdit edit{.title = title_->text().trimmed().toStdString(),
                                     .category = MacBlockCategory(category_->currentData().toInt())};
    // Times change only when they were changed here, so unchanged seconds stay.
    if (start_->time() != wallTime(calendar_, block->effectiveStart())) edit.start = onDay(calendar_, day, start_->time());
    if (end_->time() != wallTime(calendar_, block->effectiveEnd())) edit.end = onDay(calendar_, day, end_->time());
    const bool done = store_.editBlock(block->id, edit);
    fillList();
    if (!done) problem_->setText(localized("mac.edit.refused"));
    return done;
}

bool EditBlocksSheet::split() {
    const auto block = chosen();
    if (!block) return false;
    const bool done = store_.splitBlock(block->id, onDay(calendar_, block->effectiveStart(), splitAt_->time()));
    if (done) {
        // The new piece joins the list after the one it came from.
        const auto blocks = store_.blocksOnDay(block->effectiveStart());
        for (const MacDayBlock& piece : blocks) {
            if (piece.title == block->title && piece.startDate == onDay(calendar_, block->effectiveStart(), splitAt_->time()) &&
                piece.id != block->id) {
                ids_.insert(ids_.begin() + list_->currentRow() + 1, piece.id);
            }
        }
    }
    fillList();
    if (!done) problem_->setText(localized("mac.edit.split.refused"));
    return done;
}

}  // namespace plenda
