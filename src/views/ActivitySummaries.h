#pragma once

#include "base/Date.h"
#include "model/MacDayBlock.h"
#include "platform/Calendar.h"
#include "views/MacActivitySummary.h"

#include <string>
#include <vector>

namespace plenda {

class MacActivityStore;
class StringTable;

// The id of the treemap's aggregate entry.
inline constexpr std::string_view otherSummaryId = "__other";

// Category raw value, "|", title: what folds blocks into one activity.
std::string summaryKey(const MacDayBlock& block);

// One summary per title and category, largest first; equal minutes are
// ordered by id so a day always comes out the same way.
std::vector<MacActivitySummary> makeSummaries(const std::vector<MacDayBlock>& blocks);

// At most eight: with more, the seven largest and one aggregate of the rest,
// always last.
std::vector<MacActivitySummary> treemapSummaries(std::vector<MacActivitySummary> summaries,
                                                 const std::string& otherTitle);
// The selected day's treemap list; the aggregate is titled by "mac.other".
std::vector<MacActivitySummary> treemapSummaries(const MacActivityStore& store, const StringTable& strings);

// The store's edits of the activity a summary shows (its blocks of the
// selected day, or of the days `within`); the aggregate's category cannot be changed.
void changeCategory(MacActivityStore& store, const MacActivitySummary& summary, MacBlockCategory category,
                    std::optional<DayRange> within = std::nullopt);
void deleteSummary(MacActivityStore& store, const MacActivitySummary& summary, std::optional<DayRange> within = std::nullopt);

// The first six of the day that contains `now`, whatever day is selected.
std::vector<MacActivitySummary> notchSummaries(const MacActivityStore& store, Date now);

}  // namespace plenda
