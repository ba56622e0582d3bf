#include "app/DayReport.h"

#include "app/ReportStore.h"
#include "base/JsonWriter.h"
#include "base/NumberText.h"
#include "model/BlockFilePieces.h"
#include "model/MacActivityStore.h"
#include "model/MacDayBlockJson.h"
#include "platform/IcuCalendar.h"
#include "platform/qt/QtFiles.h"
#include "platform/qt/QtStringTable.h"
#include "platform/qt/SystemClock.h"
#include "platform/qt/QtScheduler.h"
#include "views/ActivitySummaries.h"
#include "views/DurationText.h"
#include "views/Export.h"
#include "views/PeriodOverview.h"
#include "ui/IconProvider.h"
#include "ui/TodayView.h"
#include "ui/Translations.h"
#include "views/TreemapLayout.h"

#include <QApplication>
#include <QDate>
#include <QPixmap>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iomanip>
#include <iostream>
#include <sstream>

namespace plenda {

namespace {

enum class BlockRead { ok, missing, failed, undecodable };

// Every block of the file to `take`, holding a piece of the file at a time;
// `error` says why not.
BlockRead readBlocks(const std::string& path, const std::function<void(MacDayBlock&&)>& take,
                     const std::function<void()>& restart, std::string& error) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) {
        error = std::strerror(errno);
        return errno == ENOENT ? BlockRead::missing : BlockRead::failed;
    }
    const bool inPieces =
        readBlocksInPieces([file](char* into, std::size_t room) { return std::fread(into, 1, room, file); },
                           [&take](MacDayBlock&& block, std::optional<ByteRange>) { take(std::move(block)); });
    const bool failed = std::ferror(file);
    std::fclose(file);
    if (failed) {
        error = "read error";
        return BlockRead::failed;
    }
    if (inPieces) return BlockRead::ok;
    // Only the whole file can tell a broken one from a cut that fell inside a text.
    restart();
    const FileRead whole = QtFiles().readFile(path);
    if (whole.status != FileRead::Status::ok) {
        error = whole.error;
        return BlockRead::failed;
    }
    auto blocks = decodeBlocks(whole.bytes, &error);
    if (!blocks) return BlockRead::undecodable;
    for (MacDayBlock& block : *blocks) take(std::move(block));
    return BlockRead::ok;
}

std::optional<double> positive(std::string_view text) {
    const auto value = parseDecimal(text);
    if (!value || *value <= 0) return std::nullopt;
    return value;
}

std::string clockText(Date date) {
    const QDateTime time = QDateTime::fromSecsSinceEpoch(qint64(date.unixSeconds()));
    return time.toString(QStringLiteral("HH:mm")).toStdString();
}

std::string categoryName(MacBlockCategory category) {
    return qtTrId(std::string(labelKey(category)).c_str()).toStdString();
}

// Left-aligned in `width` characters (not bytes).
std::string padded(const std::string& text, std::size_t width) {
    const std::size_t shown = std::size_t(QString::fromStdString(text).size());
    return text + std::string(width > shown ? width - shown : 0, ' ');
}

// The week: each day's total (and its categories, in JSON), the week's
// total and its average per tracked day, and its activities.
void printWeek(const PeriodOverview& week, bool json) {
    const std::string from = isoDateText(week.days.front().date), to = isoDateText(week.days.back().date);
    if (json) {
        JsonWriter out;
        out.beginObject();
        out.key("from"); out.string(from);
        out.key("to"); out.string(to);
        out.key("totalMinutes"); out.number(week.minutes);
        out.key("averagePerTrackedDay"); out.number(week.averagePerTrackedDay());
        out.key("days"); out.beginArray();
        for (const DayTotal& day : week.days) {
            out.beginObject();
            out.key("date"); out.string(isoDateText(day.date));
            out.key("minutes"); out.number(day.minutes);
            out.key("categories"); out.beginObject();
            for (std::size_t i = 0; i < allCategories.size(); ++i) {
                if (day.byCategory[i] <= 0) continue;
                out.key(rawValue(allCategories[i]));
                out.number(day.byCategory[i]);
            }
            out.endObject();
            out.endObject();
        }
        out.endArray();
        out.key("activities"); out.beginArray();
        for (const MacActivitySummary& activity : week.activities) {
            out.beginObject();
            out.key("title"); out.string(activity.title);
            out.key("category"); out.string(rawValue(activity.category));
            out.key("minutes"); out.number(activity.minutes);
            out.key("sessions"); out.number(double(activity.sessions));
            out.endObject();
        }
        out.endArray();
        out.endObject();
        std::cout << out.text() << "\n";
        return;
    }
    std::cout << from << " – " << to << "  " << formatDuration(week.minutes) << " tracked, "
              << formatDuration(week.averagePerTrackedDay()) << " a tracked day\n";
    for (const DayTotal& day : week.days) {
        const QDate date(day.date.year, day.date.month, day.date.day);
        std::cout << date.toString(QStringLiteral("ddd yyyy-MM-dd")).toStdString() << "  " << std::setw(8)
                  << formatDuration(day.minutes) << "\n";
    }
    std::size_t titleWidth = 8;
    for (const auto& a : week.activities) titleWidth = std::max<std::size_t>(titleWidth, QString::fromStdString(a.title).size());
    std::cout << "\n" << padded("Activity", titleWidth) << "  " << padded("Category", 13) << "  " << std::setw(8)
              << "Time" << "  " << std::setw(8) << "Sessions\n";
    for (const auto& a : week.activities) {
        std::cout << padded(a.title, titleWidth) << "  " << padded(categoryName(a.category), 13) << "  " << std::setw(8)
                  << formatDuration(a.minutes) << "  " << std::setw(8) << a.sessions << "\n";
    }
    if (week.activities.empty()) std::cout << "(nothing tracked)\n";
}

}  // namespace

std::variant<DayReportOptions, std::string> parseDayReportArguments(const std::vector<std::string_view>& arguments) {
    DayReportOptions options;
    const auto isDate = [](std::string_view text) {
        return text.size() == 10 && QDate::fromString(QString::fromUtf8(text.data(), int(text.size())), Qt::ISODate).isValid();
    };
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string_view argument = arguments[i];
        const auto value = [&]() -> std::optional<std::string_view> {
            if (i + 1 >= arguments.size()) return std::nullopt;
            return arguments[++i];
        };
        if (argument == "--json" || argument == "--csv" || argument == "--week" || argument == "--activities") {
            (argument == "--json" ? options.json : argument == "--csv" ? options.csv
                                                  : argument == "--week" ? options.week
                                                                         : options.activities) = true;
        } else if (argument == "--date" || argument == "--from" || argument == "--to" || argument == "--png" ||
                   argument == "--size" || argument == "--blocks") {
            const auto given = value();
            if (!given) return std::string(argument) + " needs a value";
            if (argument == "--date" || argument == "--from" || argument == "--to") {
                if (!isDate(*given)) return "not a date (YYYY-MM-DD): " + std::string(*given);
                (argument == "--date" ? options.date : argument == "--from" ? options.from : options.to) = std::string(*given);
            } else if (argument == "--png") {
                options.pngPath = std::string(*given);
            } else if (argument == "--blocks") {
                options.blocksPath = std::string(*given);
            } else {
                const auto by = given->find('x');
                const auto w = by == std::string_view::npos ? std::nullopt : positive(given->substr(0, by));
                const auto h = by == std::string_view::npos ? std::nullopt : positive(given->substr(by + 1));
                if (!w || !h || *w > 10000 || *h > 10000) return "not a size (WxH): " + std::string(*given);
                options.width = *w;
                options.height = *h;
            }
        } else {
            return "unknown argument: " + std::string(argument) +
                   " (usage: plenda report [--date YYYY-MM-DD] [--week] [--json] [--png FILE] [--size WxH], or "
                   "plenda report [--from YYYY-MM-DD --to YYYY-MM-DD] --csv [--activities] | --json)";
        }
    }
    if (options.from.has_value() != options.to.has_value()) return "--from and --to go together";
    if (options.from && *options.from > *options.to) return "--from is after --to";
    if (options.from && options.date) return "--date or --from and --to, not both";
    if (options.exports() && (options.csv == options.json)) return "an export is --csv or --json";
    if (options.exports() && (options.week || options.pngPath)) return "an export takes no --week or --png";
    if (options.activities && !options.csv) return "--activities goes with --csv";
    return options;
}

int runDayReport(int argc, char** argv) {
    std::vector<std::string_view> arguments(argv + 1, argv + argc);
    const auto parsed = parseDayReportArguments(arguments);
    if (const auto* error = std::get_if<std::string>(&parsed)) {
        std::cerr << "plenda report: " << *error << "\n";
        return 2;
    }
    const DayReportOptions& options = std::get<DayReportOptions>(parsed);

    // Rendering needs no display.
    if (!qEnvironmentVariableIsSet("DISPLAY") && !qEnvironmentVariableIsSet("WAYLAND_DISPLAY") &&
        !qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    int qtArgc = 1;
    char name[] = "plenda";
    char* qtArgv[] = {name, nullptr};
    QApplication app(qtArgc, qtArgv);
    QApplication::setApplicationName(QStringLiteral("Plenda"));
    QApplication::setOrganizationName(QStringLiteral("Plenda"));
    installTranslations(app);

    std::string path;
    if (options.blocksPath) {
        path = *options.blocksPath;
    } else {
        const auto folder = QtFiles().applicationSupportDirectory();
        path = folder ? *folder + "/Plenda/blocks.json" : "";
    }
    SystemClock clock;
    IcuCalendar calendar;
    const auto noonOf = [](const std::string& text) {
        const QDate date = QDate::fromString(QString::fromStdString(text), Qt::ISODate);
        return Date::fromUnixSeconds(double(QDateTime(date, QTime(12, 0)).toSecsSinceEpoch()));
    };
    const Date day = options.date ? noonOf(*options.date) : clock.now();
    const Date from = options.from ? noonOf(*options.from) : day;
    const Date to = options.to ? noonOf(*options.to) : day;

    // Only the days' blocks are kept, and the earliest block, which decides
    // whether the day window could go back further.
    const Date first = options.week ? startOfPeriod(calendar, Period::week, day) : calendar.startOfDay(from);
    const auto last = options.week ? calendar.addingDays(6, first + 12 * 3600.0) : std::optional(to);
    const DayRange range{first, dayRange(calendar, last.value_or(to)).end};
    std::vector<MacDayBlock> kept;
    std::optional<MacDayBlock> earliest;
    std::string error;
    const BlockRead read = readBlocks(
        path,
        [&](MacDayBlock&& block) {
            const Date start = block.effectiveStart();
            if (!earliest || start < earliest->effectiveStart()) earliest = block;
            if (range.contains(start)) kept.push_back(std::move(block));
        },
        [&] {
            kept.clear();
            earliest.reset();
        },
        error);
    if (read == BlockRead::failed) {
        std::cerr << "plenda report: cannot read " << path << ": " << error << "\n";
        return 1;
    }
    if (read == BlockRead::undecodable) {
        std::cerr << "plenda report: " << path << " is not a block file: " << error << "\n";
        return 1;
    }
    if (earliest && !range.contains(earliest->effectiveStart())) kept.push_back(std::move(*earliest));

    QtScheduler scheduler;
    QtStringTable strings;
    ReportStore report(kept, clock, scheduler, calendar, strings);
    MacActivityStore& store = report.store();
    if (options.exports()) {
        const auto days = exportDays(store, calendar, from, to);
        std::cout << (options.json ? exportJson(days, calendar) + "\n"
                                   : options.activities ? activitiesCsv(days, calendar) : blocksCsv(days, calendar));
        return 0;
    }
    if (options.week) {
        printWeek(periodOverview(store, calendar, Period::week, day), options.json);
        return 0;
    }
    if (options.date) {
        const QDate date = QDate::fromString(QString::fromStdString(*options.date), Qt::ISODate);
        store.shiftSelectedDate(int(QDate::currentDate().daysTo(date)));
    }
    const auto blocks = store.blocksOnDay(day);
    const auto summaries = makeSummaries(blocks);
    double total = 0;
    for (const auto& summary : summaries) total += summary.minutes;
    const std::string dayText = options.date.value_or(QDate::currentDate().toString(Qt::ISODate).toStdString());

    if (options.json) {
        JsonWriter json;
        json.beginObject();
        json.key("date"); json.string(dayText);
        json.key("totalMinutes"); json.number(total);
        json.key("activities"); json.beginArray();
        for (const auto& s : summaries) {
            json.beginObject();
            json.key("title"); json.string(s.title);
            json.key("category"); json.string(std::string(rawValue(s.category)));
            json.key("minutes"); json.number(s.minutes);
            json.key("sessions"); json.number(double(s.sessions));
            json.key("firstStart"); json.string(isoUtcText(s.firstStart));
            json.key("lastEnd"); json.string(isoUtcText(s.lastEnd));
            json.endObject();
        }
        json.endArray();
        json.key("treemap"); json.beginObject();
        json.key("width"); json.number(options.width);
        json.key("height"); json.number(options.height);
        json.key("tiles"); json.beginArray();
        for (const auto& tile : treemapTiles(treemapSummaries(summaries, strings.text("mac.other")), options.width,
                                             options.height, 8)) {
            json.beginObject();
            json.key("title"); json.string(tile.summary.title);
            json.key("x"); json.number(tile.rect.x);
            json.key("y"); json.number(tile.rect.y);
            json.key("width"); json.number(tile.rect.width);
            json.key("height"); json.number(tile.rect.height);
            json.endObject();
        }
        json.endArray();
        json.endObject();
        json.endObject();
        std::cout << json.text() << "\n";
    } else {
        std::size_t titleWidth = 8;
        for (const auto& s : summaries) titleWidth = std::max<std::size_t>(titleWidth, QString::fromStdString(s.title).size());
        std::cout << dayText << "  " << formatDuration(total) << " tracked\n";
        std::cout << padded("Activity", titleWidth) << "  " << padded("Category", 13) << "  " << std::setw(8) << "Time"
                  << "  " << std::setw(8) << "Sessions" << "  Span\n";
        for (const auto& s : summaries) {
            std::cout << padded(s.title, titleWidth) << "  " << padded(categoryName(s.category), 13) << "  "
                      << std::setw(8) << formatDuration(s.minutes) << "  " << std::setw(8) << s.sessions << "  "
                      << clockText(s.firstStart) << "–" << clockText(s.lastEnd) << "\n";
        }
        if (summaries.empty()) std::cout << "(nothing tracked)\n";
    }

    if (options.pngPath) {
        auto icons = makeSystemIconProvider();
        TodayView view(store, clock, calendar, *icons, {});
        view.resize(int(options.width), int(options.height));
        view.reload();
        if (!view.grab().save(QString::fromStdString(*options.pngPath), "PNG")) {
            std::cerr << "plenda report: cannot write " << *options.pngPath << "\n";
            return 1;
        }
    }
    return 0;
}

}  // namespace plenda
