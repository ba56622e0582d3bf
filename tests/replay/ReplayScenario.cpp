// Runs a JSON Lines timeline through the real tracker and store on virtual
// time (the format is described in PlendaReplay.cpp).
#include "ReplayScenario.h"

#include "fakes/KeyStringTable.h"
#include "fakes/MemoryDefaults.h"
#include "fakes/MemoryFiles.h"
#include "fakes/ScriptedAccessibility.h"
#include "fakes/ScriptedIdleClock.h"
#include "fakes/ScriptedScriptRunner.h"
#include "fakes/ScriptedWorkspace.h"
#include "fakes/VirtualScheduler.h"
#include "model/MacActivityStore.h"
#include "model/MacDayBlockJson.h"
#include "platform/IcuCalendar.h"
#include "tracking/BrowserTabs.h"
#include "tracking/MacAppTracker.h"
#include "tracking/WindowTitles.h"

#include <simdjson.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <map>
#include <sstream>

namespace plenda {
namespace {

using simdjson::dom::element;
using simdjson::dom::element_type;

// Virtual time runs every timer tick on the way, so a scenario spans two days at most.
constexpr double longestScenario = 2 * 86400.0;
// 1970 to 2100.
constexpr double latestStartUnix = 4102444800.0;

// The fields of one JSON object; a value of the wrong kind is refused, naming the field.
class Fields {
public:
    explicit Fields(element object) : object_(object) {}

    bool has(std::string_view name) const {
        element value;
        return object_[name].get(value) == simdjson::SUCCESS;
    }
    // The value, unless absent or null.
    std::optional<element> field(std::string_view name) const {
        element value;
        if (object_[name].get(value) != simdjson::SUCCESS || value.is_null()) return std::nullopt;
        return value;
    }
    // A number from `lowest` to `highest`.
    double number(std::string_view name, double lowest, double highest) const {
        const auto value = field(name);
        if (!value || !value->is_number()) refuse(name, "must be a number");
        const double number = double(*value);
        if (!(number >= lowest && number <= highest)) refuse(name, "is out of range");
        return number;
    }
    // A whole number that fits a process id or an error code.
    int integer(std::string_view name) const {
        const double value = number(name, -2147483648.0, 2147483647.0);
        if (value != std::floor(value)) refuse(name, "must be a whole number");
        return static_cast<int>(value);
    }
    std::optional<std::string> optionalText(std::string_view name) const {
        const auto value = field(name);
        if (!value) return std::nullopt;
        if (!value->is_string()) refuse(name, "must be text or null");
        return std::string(std::string_view(*value));
    }
    std::string text(std::string_view name) const {
        if (auto value = optionalText(name)) return *value;
        refuse(name, "is missing");
    }
    bool flag(std::string_view name, bool fallback) const {
        const auto value = field(name);
        if (value && !value->is_bool()) refuse(name, "must be true or false");
        return value ? bool(*value) : fallback;
    }
    RunningApplication application() const {
        return {optionalText("bundleId"), optionalText("name"), field("pid") ? integer("pid") : 0};
    }

private:
    [[noreturn]] static void refuse(std::string_view name, const std::string& why) {
        throw ScenarioError("\"" + std::string(name) + "\" " + why);
    }
    element object_;
};

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

class Replay {
public:
    // The user works (input all the time) until told otherwise.
    Replay() { idleClock.keepWorking(); }

    void line(const Fields& event, bool first) {
        const std::string kind = event.text("event");
        if (kind == "setup") {
            if (!first) throw ScenarioError("\"setup\" must be the first line");
            if (auto zone = event.optionalText("zone")) calendar = IcuCalendar(*zone);
            if (event.field("startUnix")) start = Date::fromUnixSeconds(event.number("startUnix", 0, latestStartUnix));
            scheduler.advanceTo(start);
            return;
        }
        const Date when = start + event.number("at", 0, longestScenario);
        if (when < scheduler.now()) throw ScenarioError("\"at\" goes back in time");
        scheduler.advanceTo(when);
        const auto handler = handlers.find(kind);
        if (handler == handlers.end()) throw ScenarioError("unknown event \"" + kind + "\"");
        handler->second(event);
        scheduler.runUntilIdle();
    }

    std::string finish() {
        scheduler.runUntilIdle();
        store().saveNow();
        std::ostringstream out;
        out << "[\n";
        const auto& blocks = store().blocks();
        for (std::size_t i = 0; i < blocks.size(); ++i)
            out << *encodeBlock(blocks[i]) << (i + 1 < blocks.size() ? ",\n" : "\n");
        out << "]\n";
        for (std::string_view key : {BrowserTabs::outcomeKey, WindowTitles::outcomeKey})
            out << key << ": " << defaults.string(key).value_or("(absent)") << "\n";
        if (tracker_) {
            out << "currentAppName: " << tracker_->currentAppName().value_or("(none)") << "\n";
            out << "isTracking: " << tracker_->isTracking() << " isIdle: " << tracker_->isIdle() << "\n";
        }
        std::istringstream log(output.str());
        for (std::string entry; std::getline(log, entry);) out << "log: " << entry << "\n";
        return out.str();
    }

private:
    using Handler = std::function<void(const Fields&)>;
    const std::map<std::string, Handler> handlers = {
        {"start", [this](const Fields&) { tracker().start(sharedStore()); }},
        {"activate", [this](const Fields& event) { activate(event); }},
        {"away", [this](const Fields&) { idleClock.touch(); }},
        {"back", [this](const Fields&) { idleClock.keepWorking(); }},
        {"idle",
         [this](const Fields& event) { idleClock.setIdleSeconds(event.number("seconds", 0, longestScenario)); }},
        {"sleep", [this](const Fields&) { workspace.sleep(); }},
        {"wake", [this](const Fields&) { workspace.wake(); }},
        {"browser", [this](const Fields& event) { browserAnswer(event); }},
        {"window", [this](const Fields& event) { windowAnswer(event); }},
        {"trust", [this](const Fields& event) { accessibility.trusted = event.flag("trusted", true); }},
        {"settings",
         [this](const Fields& event) {
             const std::string key = event.text("key");
             if (const auto value = event.field("value")) defaults.set(key, defaultsValue(*value));
             else defaults.remove(key);
         }},
        {"pause", [this](const Fields&) { tracker().setTracking(false); }},
        {"resume", [this](const Fields&) { tracker().setTracking(true); }},
        {"probe", [this](const Fields&) { tracker().browserTabs().requestBrowserAutomation(); }},
        {"quit",
         [this](const Fields&) {
             tracker().commitSession(scheduler.now());
             tracker().clearCurrentAppName();
             store().saveNow();
         }},
    };

    void activate(const Fields& event) {
        const RunningApplication app = event.application();
        if (event.flag("input", true)) idleClock.keepWorking();
        if (std::find(workspace.running.begin(), workspace.running.end(), app) == workspace.running.end())
            workspace.running.push_back(app);
        workspace.activate(app);
    }

    void browserAnswer(const Fields& event) {
        const std::string id = event.text("bundleId");
        const auto script = browserScripts().find(id);
        if (script == browserScripts().end()) throw ScenarioError("\"" + id + "\" is not a supported browser");
        ScriptResult result;
        if (event.field("error")) result = ScriptedScriptRunner::error(event.integer("error"));
        else if (event.flag("unavailable", false)) result = {};
        else if (event.has("url")) result = ScriptedScriptRunner::text(event.optionalText("url"));
        else throw ScenarioError("a browser answer needs \"url\", \"error\" or \"unavailable\"");
        scripts.answers[script->second] = result;
    }

    void windowAnswer(const Fields& event) {
        using S = FocusedWindowTitle::Status;
        FocusedWindowTitle& window = accessibility.windows[event.integer("pid")];
        if (event.field("windowError")) window = {S::windowError, event.integer("windowError"), {}};
        else if (event.field("titleError")) window = {S::titleError, event.integer("titleError"), {}};
        else if (event.flag("notAnElement", false)) window = {S::notAnElement, 0, {}};
        else window = {S::title, 0, event.text("title")};
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
    MacAppTracker& tracker() {
        sharedStore();
        if (!tracker_) {
            tracker_ = std::make_unique<MacAppTracker>(MacAppTracker::Dependencies{
                scheduler, scheduler, defaults, workspace, scripts, accessibility, idleClock, output, nullptr,
                false});  // the scenarios are a Mac's days
        }
        return *tracker_;
    }
    // 00000000-0000-4000-8000-000000000001 and on, so the output is the same on every run.
    Uuid nextUuid() {
        char text[40];
        std::snprintf(text, sizeof text, "00000000-0000-4000-8000-%012x", ++uuidCount);
        return *Uuid::parse(text);
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
    ScriptedIdleClock idleClock{scheduler};
    std::ostringstream output;
    std::shared_ptr<MacActivityStore> store_;
    std::unique_ptr<MacAppTracker> tracker_;
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
            replay.line(Fields(event), first);
            first = false;
        } catch (const ScenarioError& error) {
            throw ScenarioError(name + ": line " + std::to_string(number) + ": " + error.what());
        }
    }
    return replay.finish();
}

}  // namespace plenda
