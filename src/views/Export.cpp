#include "views/Export.h"

#include "base/JsonWriter.h"
#include "base/NumberText.h"
#include "model/MacActivityStore.h"
#include "views/ActivitySummaries.h"
#include "views/DayNavigation.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

namespace plenda {

namespace {

// Days since 1970-01-01 of a civil date (proleptic Gregorian).
std::int64_t daysFromCivil(std::int64_t year, unsigned month, unsigned day) {
    year -= month <= 2;
    const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
    const auto yoe = unsigned(year - era * 400);
    const unsigned doy = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + std::int64_t(doe) - 719468;
}

std::string number(double value) { return std::isfinite(value) ? shortestText(value) : std::string(); }

// A field as RFC 4180 wants it.
std::string field(std::string_view text) {
    if (text.find_first_of(",\"\r\n") == std::string_view::npos) return std::string(text);
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"') quoted += '"';
        quoted += c;
    }
    return quoted + "\"";
}

std::string record(std::initializer_list<std::string_view> fields) {
    std::string line;
    bool first = true;
    for (const std::string_view value : fields) {
        if (!std::exchange(first, false)) line += ',';
        line += field(value);
    }
    return line + "\r\n";
}

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

}  // namespace

std::vector<ExportDay> exportDays(const MacActivityStore& store, const Calendar& calendar, Date from, Date to) {
    std::vector<ExportDay> days;
    const Date last = calendar.startOfDay(to);
    for (Date day = calendar.startOfDay(from); day <= last; day = dayRange(calendar, day).end) {
        ExportDay exported{calendar.localTime(day), store.blocksOnDay(day), {}, 0};
        std::reverse(exported.blocks.begin(), exported.blocks.end());  // the store gives the latest first
        exported.activities = makeSummaries(exported.blocks);
        for (const MacDayBlock& block : exported.blocks) exported.minutes = addMinutes(exported.minutes, block.weight);
        days.push_back(std::move(exported));
    }
    return days;
}

std::string isoDateText(const LocalTime& date) {
    char text[16];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d", date.year, date.month, date.day);
    return text;
}

std::string isoLocalText(const Calendar& calendar, Date date) {
    const Date whole(std::round(date.seconds));
    const LocalTime local = calendar.localTime(whole);
    const std::int64_t wall = daysFromCivil(local.year, unsigned(local.month), unsigned(local.day)) * 86400 +
                              local.hour * 3600 + local.minute * 60 + std::int64_t(std::lround(local.second));
    const auto offset = std::int64_t(std::lround(double(wall) - whole.unixSeconds()));
    const auto minutes = std::abs(offset) / 60;
    char text[40];
    std::snprintf(text, sizeof text, "%sT%02d:%02d:%02d%c%02lld:%02lld", isoDateText(local).c_str(), local.hour,
                  local.minute, int(std::lround(local.second)), offset < 0 ? '-' : '+', static_cast<long long>(minutes / 60),
                  static_cast<long long>(minutes % 60));
    return text;
}

std::string blocksCsv(const std::vector<ExportDay>& days, const Calendar& calendar) {
    std::string csv(byteOrderMark);
    csv += record({"id", "title", "category", "start", "end", "minutes", "type", "note"});
    for (const ExportDay& day : days) {
        for (const MacDayBlock& block : day.blocks) {
            csv += record({block.id.string(), block.title, rawValue(block.category),
                           isoLocalText(calendar, block.effectiveStart()),
                           block.endDate ? isoLocalText(calendar, *block.endDate) : std::string(),
                           number(block.weight), block.blockType, block.note.value_or("")});
        }
    }
    return csv;
}

std::string activitiesCsv(const std::vector<ExportDay>& days, const Calendar& calendar) {
    std::string csv(byteOrderMark);
    csv += record({"date", "title", "category", "minutes", "sessions", "first start", "last end"});
    for (const ExportDay& day : days) {
        for (const MacActivitySummary& activity : day.activities) {
            csv += record({isoDateText(day.date), activity.title, rawValue(activity.category), number(activity.minutes),
                           std::to_string(activity.sessions), isoLocalText(calendar, activity.firstStart),
                           isoLocalText(calendar, activity.lastEnd)});
        }
    }
    return csv;
}

std::string exportJson(const std::vector<ExportDay>& days, const Calendar& calendar) {
    JsonWriter json;
    const auto text = [&](std::string_view key, std::string_view value) {
        json.key(key);
        json.string(value);
    };
    const auto amount = [&](std::string_view key, double value) {
        json.key(key);
        if (std::isfinite(value)) json.number(value);
        else json.null();
    };
    json.beginObject();
    if (!days.empty()) {
        text("from", isoDateText(days.front().date));
        text("to", isoDateText(days.back().date));
    }
    json.key("blocks");
    json.beginArray();
    for (const ExportDay& day : days) {
        for (const MacDayBlock& block : day.blocks) {
            json.beginObject();
            text("id", block.id.string());
            text("title", block.title);
            text("category", rawValue(block.category));
            text("start", isoLocalText(calendar, block.effectiveStart()));
            if (block.endDate) text("end", isoLocalText(calendar, *block.endDate));
            amount("minutes", block.weight);
            text("type", block.blockType);
            text("note", block.note.value_or(""));
            json.endObject();
        }
    }
    json.endArray();
    json.key("days");
    json.beginArray();
    for (const ExportDay& day : days) {
        json.beginObject();
        text("date", isoDateText(day.date));
        amount("minutes", day.minutes);
        json.key("activities");
        json.beginArray();
        for (const MacActivitySummary& activity : day.activities) {
            json.beginObject();
            text("title", activity.title);
            text("category", rawValue(activity.category));
            amount("minutes", activity.minutes);
            amount("sessions", double(activity.sessions));
            text("firstStart", isoLocalText(calendar, activity.firstStart));
            text("lastEnd", isoLocalText(calendar, activity.lastEnd));
            json.endObject();
        }
        json.endArray();
        json.endObject();
    }
    json.endArray();
    json.endObject();
    return json.take();
}

}  // namespace plenda
