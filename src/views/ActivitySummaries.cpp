#include "views/ActivitySummaries.h"

#include "model/MacActivityStore.h"
#include "platform/StringTable.h"

#include <algorithm>
#include <unordered_map>

namespace plenda {

namespace {

constexpr std::size_t treemapLimit = 8;
constexpr std::size_t notchLimit = 6;

}  // namespace

std::string summaryKey(const MacDayBlock& block) {
    std::string key(rawValue(block.category));
    key += '|';
    key += block.title;
    return key;
}

std::vector<MacActivitySummary> makeSummaries(const std::vector<MacDayBlock>& blocks) {
    std::unordered_map<std::string, MacActivitySummary> table;
    table.reserve(blocks.size());
    for (const MacDayBlock& block : blocks) {
        const Date start = block.effectiveStart();
        auto [it, inserted] = table.try_emplace(summaryKey(block));
        MacActivitySummary& summary = it->second;
        if (inserted) {
            summary.id = it->first;
            summary.title = block.title;
            summary.category = block.category;
            summary.minutes = block.weight;
            summary.sessions = 1;
            summary.firstStart = start;
            summary.lastEnd = block.endDate.value_or(start);
            continue;
        }
        summary.minutes = addMinutes(summary.minutes, block.weight);
        summary.sessions += 1;
        if (start < summary.firstStart) summary.firstStart = start;
        if (block.endDate && !(*block.endDate < summary.lastEnd)) summary.lastEnd = *block.endDate;
    }

    std::vector<MacActivitySummary> result;
    result.reserve(table.size());
    for (auto& entry : table) result.push_back(std::move(entry.second));
    std::sort(result.begin(), result.end(), [](const MacActivitySummary& a, const MacActivitySummary& b) {
        if (a.minutes != b.minutes) return a.minutes > b.minutes;
        return a.id < b.id;
    });
    return result;
}

std::vector<MacActivitySummary> treemapSummaries(std::vector<MacActivitySummary> summaries,
                                                 const std::string& otherTitle) {
    if (summaries.size() <= treemapLimit) return summaries;

    const auto rest = summaries.begin() + (treemapLimit - 1);
    MacActivitySummary other{
        .id = std::string(otherSummaryId),
        .title = otherTitle,
        .category = MacBlockCategory::chores,
        .minutes = 0,
        .sessions = 0,
        .firstStart = rest->firstStart,
        .lastEnd = rest->lastEnd,
        .isAggregate = true,
    };
    for (auto it = rest; it != summaries.end(); ++it) {
        other.minutes = addMinutes(other.minutes, it->minutes);
        other.sessions += it->sessions;
        other.firstStart = std::min(other.firstStart, it->firstStart);
        other.lastEnd = std::max(other.lastEnd, it->lastEnd);
    }
    summaries.erase(rest, summaries.end());
    summaries.push_back(std::move(other));
    return summaries;
}

std::vector<MacActivitySummary> treemapSummaries(const MacActivityStore& store, const StringTable& strings) {
    return treemapSummaries(makeSummaries(store.blocksOnDay(store.selectedDate())), strings.text("mac.other"));
}

std::vector<MacActivitySummary> notchSummaries(const MacActivityStore& store, Date now) {
    auto summaries = makeSummaries(store.blocksOnDay(now));
    if (summaries.size() > notchLimit) summaries.resize(notchLimit);
    return summaries;
}

void changeCategory(MacActivityStore& store, const MacActivitySummary& summary, MacBlockCategory category,
                    std::optional<DayRange> within) {
    if (summary.isAggregate) return;
    store.changeCategory(summary.title, summary.category, category, within);
}

void deleteSummary(MacActivityStore& store, const MacActivitySummary& summary, std::optional<DayRange> within) {
    store.deleteSummary(summary.title, summary.category, within);
}

}  // namespace plenda
