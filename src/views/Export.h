#pragma once

#include "base/Date.h"
#include "model/MacDayBlock.h"
#include "platform/Calendar.h"
#include "views/MacActivitySummary.h"

#include <string>
#include <vector>

namespace plenda {

class MacActivityStore;

// One day of an export: its blocks (earliest first) and its activities.
struct ExportDay {
    LocalTime date;
    std::vector<MacDayBlock> blocks;
    std::vector<MacActivitySummary> activities;
    double minutes = 0;
};

// The days from the one holding `from` to the one holding `to`, both
// included, each read with one day query.
std::vector<ExportDay> exportDays(const MacActivityStore& store, const Calendar& calendar, Date from, Date to);

// An instant as ISO 8601 local time with its offset, to the second:
// "2024-03-05T09:00:00+01:00".
std::string isoLocalText(const Calendar& calendar, Date date);
// "2024-03-05".
std::string isoDateText(const LocalTime& date);

// CSV as spreadsheets read it (RFC 4180: CRLF between records, fields with a
// comma, quote or line break quoted, quotes doubled; UTF-8 with a byte-order
// mark, which tells spreadsheets the encoding). One row per block: id, title,
// category, start, end, minutes, type, note.
std::string blocksCsv(const std::vector<ExportDay>& days, const Calendar& calendar);
// One row per activity of each day: date, title, category, minutes,
// sessions, first start, last end.
std::string activitiesCsv(const std::vector<ExportDay>& days, const Calendar& calendar);
// Both in one JSON document: {"from", "to", "blocks": [...], "days": [...]}.
std::string exportJson(const std::vector<ExportDay>& days, const Calendar& calendar);

}  // namespace plenda
