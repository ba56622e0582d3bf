// Runs a JSON Lines timeline through the real tracker and store on virtual
// time (the format is described in PlendaReplay.cpp).
#include "ReplayScenario.h"

#include "fakes/KeyStringTable.h"
#include "fakes/MemoryDefaults.h"
#include "fakes/MemoryFiles.h"
#include "fakes/ScriptedAccessibility.h"
#include "fakes/ScriptedScriptRunner.h"
#include "fakes/ScriptedWorkspace.h"
#include "fakes/VirtualScheduler.h"
#include "model/MacActivityStore.h"
#include "model/MacDayBlockJson.h"
#include "platform/IcuCalendar.h"
#include "platform/IdleClock.h"
#include "tracking/BrowserTabs.h"
#include "tracking/MacAppTracker.h"
#include "tracking/WindowTitles.h"

#include <simdjson.h>

#include <cmath>
#include <iomanip>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>

namespace plenda {
namespace {

using simdjson::dom::element;
using simdjson::dom::element_type;

// The user works (input all the time) until told otherwise.
class ReplayIdleClock final : public IdleClock {
public:
    explicit ReplayIdleClock(const Clock& clock) : clock_(clock) {}
    double secondsSinceLastInput() const override { return lastInput_ ? clock_.now() - *lastInput_ : 0; }
    void away(Date lastInput) { lastInput_ = lastInput; }
    void back() { lastInput_.reset(); }

private:
    const Clock& clock_;
    std::optional<Date> lastInput_;
};

std::optional<element> field(const element& object, std::string_view name) {
    element value;
    if (object[name].get(value) != simdjson::SUCCESS || value.is_null()) return std::nullopt;
    return value;
}

double number(const element& object, std::string_view name) {
    const auto value = field(object, name);
    if (!value || !value->is_number()) throw ScenarioError("\"" + std::string(name) + "\" must be a number");
    return double(*value);
}

// A number from `lowest` to `highest`.
double numberWithin(const element& object, std::string_view name, double lowest, double highest) {
    const double value = number(object, name);
    if (!(value >= lowest && value <= highest)) {
        std::ostringstream message;
        message << std::setprecision(12) << '"' << name << "\" must lie between " << lowest << " and " << highest;
        throw ScenarioError(message.str());
    }
    return value;
}

// A whole number that fits a process id or an error code.
int integer(const element& object, std::string_view name) {
    const double value = numberWithin(object, name, -2147483648.0, 2147483647.0);
    if (value != std::floor(value)) throw ScenarioError("\"" + std::string(name) + "\" must be a whole number");
    return static_cast<int>(value);
}

// Virtual time runs every timer tick on the way, so a scenario spans two days at most.
constexpr double longestScenario = 2 * 86400.0;
// 1970 to 2100.
constexpr double latestStartUnix = 4102444800.0;

std::optional<std::string> optionalText(const element& object, std::string_view name) {
    const auto value = field(object, name);
    if (!value) return std::nullopt;
    if (!value->is_string()) throw ScenarioError("\"" + std::string(name) + "\" must be text or null");
    return std::string(std::string_view(*value));
}

std::string text(const element& object, std::string_view name) {
    auto value = optionalText(object, name);
    if (!value) throw ScenarioError("\"" + std::string(name) + "\" is missing");
    return *value;
}

bool flag(const element& object, std::string_view name, bool fallback) {
    const auto value = field(object, name);
    if (!value) return fallback;
    if (!value->is_bool()) throw ScenarioError("\"" + std::string(name) + "\" must be true or false");
    return bool(*value);
}

DefaultsValue defaultsValue(const element& value) {
    switch (value.type()) {
    case element_type::BOOL: return bool(value);
    case element_type::STRING: return std::string(std::string_view(value));
    case element_type::ARRAY: {
        DefaultsValue::Array array;
        for (element item : value.get_array()) array.push_back(defaultsValue(item));
        return array;
    }
    case element_type::OBJECT: {
        DefaultsValue::Dictionary dictionary;
        for (auto [key, item] : value.get_object()) dictionary.emplace(std::string(key), defaultsValue(item));
        return dictionary;
    }
    case element_type::NULL_VALUE: throw ScenarioError("null is not allowed inside a settings value");
    default: return double(value);
    }
}

RunningApplication application(const element& object) {
    return {optionalText(object, "bundleId"), optionalText(object, "name"),
            field(object, "pid") ? integer(object, "pid") : 0};
}

class Replay {
public:
    void line(const element& event, bool first) {
        const std::string kind = text(event, "event");
        if (kind == "setup") {
            if (!first) throw ScenarioError("\"setup\" must be the first line");
            if (auto zone = optionalText(event, "zone")) calendar = IcuCalendar(*zone);
            if (field(event, "startUnix")) start = Date::fromUnixSeconds(numberWithin(event, "startUnix", 0, latestStartUnix));
            scheduler.advanceTo(start);
            return;
        }
        if (first) scheduler.advanceTo(start);
        const Date when = start + numberWithin(event, "at", 0, longestScenario);
        if (when < scheduler.now()) throw ScenarioError("\"at\" goes back in time");
        scheduler.advanceTo(when);
        apply(kind, event);
        scheduler.runUntilIdle();
    }

    std::string finish() {
        scheduler.runUntilIdle();
        store().saveNow();
        std::ostringstream out;
        out << "[\n";
        const auto& blocks = store().blocks();
        for (std::size_t i = 0; i < blocks.size(); ++i) {
            out << *encodeBlock(blocks[i]) << (i + 1 < blocks.size() ? ",\n" : "\n");
        }
        out << "]\n";
        for (std::string_view key : {BrowserTabs::outcomeKey, WindowTitles::outcomeKey}) {
            out << key << ": " << defaults.string(key).value_or("(absent)") << "\n";
        }
        if (tracker) {
            out << "currentAppName: " << tracker->currentAppName().value_or("(none)") << "\n";
            out << "isTracking: " << tracker->isTracking() << " isIdle: " << tracker->isIdle() << "\n";
        }
        std::istringstream log(output.str());
        for (std::string entry; std::getline(log, entry);) out << "log: " << entry << "\n";
        return out.str();
    }

private:
    void apply(const std::string& kind, const element& event) {
        if (kind == "start") {
            tracker_().start(sharedStore());
        } else if (kind == "activate") {
            const RunningApplication app = application(event);
            if (flag(event, "input", true)) idleClock.back();
            if (std::find(workspace.running.begin(), workspace.running.end(), app) == workspace.running.end()) {
                workspace.running.push_back(app);
            }
            workspace.activate(app);
        } else if (kind == "away") {
            idleClock.away(scheduler.now());
        } else if (kind == "back") {
            idleClock.back();
        } else if (kind == "idle") {
            idleClock.away(scheduler.now() - numberWithin(event, "seconds", 0, longestScenario));
        } else if (kind == "sleep") {
            workspace.sleep();
        } else if (kind == "wake") {
            workspace.wake();
        } else if (kind == "browser") {
            browserAnswer(event);
        } else if (kind == "window") {
            windowAnswer(event);
        } else if (kind == "trust") {
            accessibility.trusted = flag(event, "trusted", true);
        } else if (kind == "running") {
            element apps;
            if (event["apps"].get(apps) || !apps.is_array()) throw ScenarioError("\"apps\" must be a list");
            workspace.running.clear();
            for (element app : apps.get_array()) workspace.running.push_back(application(app));
        } else if (kind == "settings") {
            const std::string key = text(event, "key");
            if (const auto value = field(event, "value")) defaults.set(key, defaultsValue(*value));
            else defaults.remove(key);
        } else if (kind == "pause" || kind == "resume") {
            tracker_().setTracking(kind == "resume");
        } else if (kind == "probe") {
            tracker_().browserTabs().requestBrowserAutomation();
        } else if (kind == "requestAccessibility") {
            tracker_().windowTitles().requestAccessibility();
        } else if (kind == "quit") {
            tracker_().commitSession(scheduler.now());
            tracker_().clearCurrentAppName();
            store().saveNow();
        } else {
            throw ScenarioError("unknown event \"" + kind + "\"");
        }
    }

    void browserAnswer(const element& event) {
        const std::string id = text(event, "bundleId");
        const auto script = browserScripts().find(id);
        if (script == browserScripts().end()) throw ScenarioError("\"" + id + "\" is not a supported browser");
        ScriptResult result;
        if (field(event, "error")) result = ScriptedScriptRunner::error(integer(event, "error"));
        else if (flag(event, "unavailable", false)) result = {};
        else if (element url; event["url"].get(url) == simdjson::SUCCESS) result = ScriptedScriptRunner::text(optionalText(event, "url"));
        else throw ScenarioError("a browser answer needs \"url\", \"error\" or \"unavailable\"");
        scripts.answers[script->second] = result;
    }

    void windowAnswer(const element& event) {
        const int pid = integer(event, "pid");
        using S = FocusedWindowTitle::Status;
        if (field(event, "windowError")) {
            accessibility.windows[pid] = {S::windowError, integer(event, "windowError"), {}};
        } else if (field(event, "titleError")) {
            accessibility.windows[pid] = {S::titleError, integer(event, "titleError"), {}};
        } else if (flag(event, "notAnElement", false)) {
            accessibility.windows[pid] = {S::notAnElement, 0, {}};
        } else {
            accessibility.setTitle(pid, text(event, "title"));
        }
    }

    MacActivityStore& store() { return *sharedStore(); }
    const std::shared_ptr<MacActivityStore>& sharedStore() {
        if (!store_) {
            store_ = std::make_shared<MacActivityStore>(MacActivityStore::Dependencies{
                scheduler, scheduler, calendar, defaults, files, strings, true, [this] { return nextUuid(); },
                output});
        }
        return store_;
    }
    MacAppTracker& tracker_() {
        sharedStore();
        if (!tracker) {
            tracker = std::make_unique<MacAppTracker>(MacAppTracker::Dependencies{
                scheduler, scheduler, defaults, workspace, scripts, accessibility, idleClock, output});
        }
        return *tracker;
    }
    Uuid nextUuid() {
        std::array<std::uint8_t, 16> bytes{};
        bytes[6] = 0x40;
        bytes[8] = 0x80;
        const std::uint32_t n = ++uuidCount;
        for (int i = 0; i < 4; ++i) bytes[15 - i] = static_cast<std::uint8_t>(n >> (8 * i));
        return Uuid(bytes);
    }

    Date start = Date::fromUnixSeconds(1709629200);  // 2024-03-05 09:00:00 UTC
    VirtualScheduler scheduler{start};
    IcuCalendar calendar{"UTC"};
    MemoryDefaults defaults;
    MemoryFiles files;
    KeyStringTable strings;
    ScriptedWorkspace workspace;
    ScriptedScriptRunner scripts;
    ScriptedAccessibility accessibility;
    ReplayIdleClock idleClock{scheduler};
    std::ostringstream output;
    std::shared_ptr<MacActivityStore> store_;
    std::unique_ptr<MacAppTracker> tracker;
    std::uint32_t uuidCount = 0;
};

}  // namespace

std::string runScenario(std::istream& input, const std::string& name) {
    Replay replay;
    simdjson::dom::parser parser;
    std::string text;
    int number = 0;
    bool first = true;
    while (std::getline(input, text)) {
        ++number;
        if (text.find_first_not_of(" \t\r") == std::string::npos) continue;
        try {
            element event;
            if (const auto error = parser.parse(text).get(event)) throw ScenarioError(simdjson::error_message(error));
            if (!event.is_object()) throw ScenarioError("a line must be one JSON object");
            replay.line(event, first);
            first = false;
        } catch (const ScenarioError& error) {
            throw ScenarioError(name + ": line " + std::to_string(number) + ": " + error.what());
        }
    }
    return replay.finish();
}

}  // namespace plenda

