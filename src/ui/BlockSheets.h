#pragma once

#include "base/Date.h"
#include "model/MacDayBlock.h"
#include "platform/Calendar.h"
#include "views/MacActivitySummary.h"

#include <QDialog>

#include <optional>
#include <vector>

class QComboBox;
class QDateEdit;
class QDialogButtonBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QSpinBox;
class QTimeEdit;

namespace plenda {

class MacActivityStore;

// "Add…": a block the tracker cannot see (a run, lunch, the commute), on a
// day up to today, from a start and an end or a duration.
class AddBlockSheet final : public QDialog {
public:
    AddBlockSheet(MacActivityStore& store, const Calendar& calendar, Date day, Date now, QWidget* parent = nullptr);

    QLineEdit* titleField() const { return title_; }
    QComboBox* categoryField() const { return category_; }
    QTimeEdit* startField() const { return start_; }
    QTimeEdit* endField() const { return end_; }
    QSpinBox* durationField() const { return minutes_; }
    QDialogButtonBox* buttons() const { return buttons_; }
    void accept() override;

private:
    void refresh();

    MacActivityStore& store_;
    const Calendar& calendar_;
    Date day_;
    QLineEdit* title_;
    QComboBox* category_;
    QDateEdit* date_;
    QTimeEdit* start_;
    QTimeEdit* end_;
    QSpinBox* minutes_;
    QLineEdit* note_;
    QLabel* problem_;
    QDialogButtonBox* buttons_;
};

// "Edit…" of an activity: its blocks of the days shown, each with its
// times; the chosen one's title, category, start and end change, or it is
// split at a time.
class EditBlocksSheet final : public QDialog {
public:
    EditBlocksSheet(MacActivityStore& store, const Calendar& calendar, const MacActivitySummary& summary,
                    DayRange within, QWidget* parent = nullptr);

    QListWidget* list() const { return list_; }
    QLineEdit* titleField() const { return title_; }
    QComboBox* categoryField() const { return category_; }
    QTimeEdit* startField() const { return start_; }
    QTimeEdit* endField() const { return end_; }
    QTimeEdit* splitField() const { return splitAt_; }
    QLabel* problem() const { return problem_; }
    // What the buttons do.
    bool apply();
    bool split();

private:
    void fillList();
    void showChosen();
    std::optional<MacDayBlock> chosen() const;

    MacActivityStore& store_;
    const Calendar& calendar_;
    std::vector<Uuid> ids_;
    QListWidget* list_;
    QLineEdit* title_;
    QComboBox* category_;
    QTimeEdit* start_;
    QTimeEdit* end_;
    QTimeEdit* splitAt_;
    QLabel* problem_;
};

}  // namespace plenda
