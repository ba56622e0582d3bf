// Session recording, day queries and the edits of a day's activities.
#include "model/MacActivityStore.h"

#include "platform/Calendar.h"
#include "platform/Clock.h"
#include "platform/Defaults.h"
#include "platform/StringTable.h"
#include "tracking/CategoryRules.h"
#include "views/MacActivitySummary.h"

#include <algorithm>
#include <set>

namespace plenda {

double MacActivityStore::mergeGapLimit() const {
    const double stored = defaults_.doubleValue(mergeGapKey);
    return stored > 0 ? stored : 180.0;
}

void MacActivityStore::recordSession(const std::string& title, MacBlockCategory category, Date start,
                                     Date end, std::optional<std::string> note) {
    // The latest block of this activity that ended by the session's start;
    // on a tie the first in the list.
    MacDayBlock* best = nullptr;
    for (MacDayBlock& block : blocks_) {
        // Cheapest test first: the store scans every block of every day here.
        if (block.category != category || block.effectiveEnd() > start || block.title != title)
            continue;
        if (!best || block.effectiveEnd() > best->effectiveEnd()) best = &block;
    }

    if (best && best->endDate && start - *best->endDate <= mergeGapLimit() &&
        calendar_.isSameDay(*best->endDate, start)) {
        best->endDate = std::max(end, *best->endDate);
        best->weight += std::max(0.0, (end - start) / 60.0);
        best->modifiedAt = clock_.now();
        const MacDayBlock merged = *best;
        scheduleSave();
        publish();
        markDirtyAndUpload({merged});
        return;
    }

    upsert(MacDayBlock{
        .id = makeUuid_(),
        .title = title,
        .category = category,
        .weight = std::max(0.0, (end - start) / 60.0),
        .note = std::move(note),
        .createdAt = start,
        .startDate = start,
        .endDate = end,
        .blockType = std::string(trackedBlockType),
        .modifiedAt = clock_.now(),
    });
}

void MacActivityStore::upsert(MacDayBlock block) {
    std::erase_if(blocks_, [&](const MacDayBlock& existing) { return existing.id == block.id; });
    blocks_.push_back(block);
    scheduleSave();
    if (cloudSyncDisabled_) {
        syncMessage_ = strings_.text("mac.sync.testmode");
        publish();
        return;
    }
    publish();
    cloud_.markBlocksDirty({block});
    startUpload({block}, [this, alive = lifetime_.weak()] {
        if (alive.expired()) return;
        syncMessage_ = strings_.text(cloud_.hasPendingChanges() ? "mac.sync.local" : "mac.sync.synced");
        publish();
    });
}

std::vector<MacDayBlock> MacActivityStore::blocksOnDay(Date date) const {
    const DayRange day = dayRange(calendar_, date);
    std::vector<MacDayBlock> result;
    for (const MacDayBlock& block : blocks_) {
        if (day.contains(block.effectiveStart())) result.push_back(block);
    }
    std::stable_sort(result.begin(), result.end(), [](const MacDayBlock& a, const MacDayBlock& b) {
        return a.effectiveStart() > b.effectiveStart();
    });
    return result;
}

namespace {

double sumOfWeights(const std::vector<MacDayBlock>& blocks, const DayRange& day) {
    double minutes = 0;
    for (const MacDayBlock& block : blocks) {
        if (day.contains(block.effectiveStart())) minutes += block.weight;
    }
    return minutes;
}

}  // namespace

double MacActivityStore::todayMinutes() const {
    return sumOfWeights(blocks_, dayRange(calendar_, clock_.now()));
}

double MacActivityStore::selectedDayMinutes() const {
    return sumOfWeights(blocks_, dayRange(calendar_, selectedDate_));
}

std::optional<Date> MacActivityStore::earliestBlockDate() const {
    std::optional<Date> earliest;
    for (const MacDayBlock& block : blocks_) {
        if (!earliest || block.effectiveStart() < *earliest) earliest = block.effectiveStart();
    }
    return earliest;
}

void MacActivityStore::shiftSelectedDate(int days) {
    const auto target = calendar_.addingDays(days, selectedDate_);
    if (!target) return;
    const Date now = clock_.now();
    selectedDate_ = (days >= 1 && *target > now) ? now : *target;
    publish();
}

void MacActivityStore::changeCategory(const MacActivitySummary& summary, MacBlockCategory category) {
    if (summary.isAggregate || summary.category == category) return;
    setCategoryOverride(defaults_, summary.title, category);

    const DayRange day = dayRange(calendar_, selectedDate_);
    const Date now = clock_.now();
    std::vector<MacDayBlock> changed;
    for (MacDayBlock& block : blocks_) {
        if (block.title == summary.title && block.category == summary.category &&
            day.contains(block.effectiveStart())) {
            block.category = category;
            block.modifiedAt = now;
            changed.push_back(block);
        }
    }
    if (changed.empty()) return;
    scheduleSave();
    publish();
    markDirtyAndUpload(changed);
}

void MacActivityStore::deleteSummary(const MacActivitySummary& summary) {
    std::set<Uuid> ids;
    for (const MacDayBlock& block : blocksOnDay(selectedDate_)) {
        if (block.title == summary.title && block.category == summary.category) ids.insert(block.id);
    }
    if (ids.empty()) return;
    std::erase_if(blocks_, [&](const MacDayBlock& block) { return ids.contains(block.id); });
    scheduleSave();
    publish();
    if (cloudSyncDisabled_) return;
    cloud_.state().markDeleted(std::vector<Uuid>(ids.begin(), ids.end()));
    startUpload({});
}

}  // namespace plenda
