// Session recording, day queries and the edits of a day's activities.
#include "model/MacActivityStore.h"

#include "platform/Calendar.h"
#include "platform/Clock.h"
#include "platform/Defaults.h"
#include "platform/StringTable.h"

#include <algorithm>
#include <set>

namespace plenda {

double MacActivityStore::mergeGapLimit() const {
    const double stored = defaults_.doubleValue(mergeGapKey);
    return stored > 0 ? stored : 180.0;
}

void MacActivityStore::recordSession(const std::string& title, MacBlockCategory category, Date start,
                                     Date end, std::optional<std::string> note) {
    // The block to extend is the latest of this activity that ended by the
    // session's start (the first in the list on a tie). Only one that ended
    // within the merge gap can qualify, so only those are looked at.
    const double limit = mergeGapLimit();
    std::optional<std::size_t> best;
    for (std::size_t i : blocks_.endingWithin(start - limit, start)) {
        const auto block = blocks_.at(i);
        if (block.category() != category || block.title() != title) continue;
        if (!best || block.effectiveEnd() > blocks_.at(*best).effectiveEnd()) best = i;
    }
    const auto bestEnd = best ? blocks_.at(*best).endDate() : std::nullopt;
    if (bestEnd && start - *bestEnd <= limit && calendar_.isSameDay(*bestEnd, start)) {
        const Date now = clock_.now();
        blocks_.update(*best, [&](MacDayBlock& block) {
            block.endDate = std::max(end, *block.endDate);
            block.weight += std::max(0.0, (end - start) / 60.0);
            block.modifiedAt = now;
        });
        const MacDayBlock merged = blocks_[*best];
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
    blocks_.eraseId(block.id);
    blocks_.append(block);
    scheduleSave();
    if (cloudSyncDisabled_) {
        syncMessage_ = strings_.text("mac.sync.testmode");
        publish();
        return;
    }
    publish();
    sync_->markBlocksDirty({block});
    startUpload({block}, [this, alive = lifetime_.weak()] {
        if (alive.expired()) return;
        setSyncMessage(sync_->hasPendingChanges() ? "mac.sync.local" : "mac.sync.synced");
    });
}

std::vector<MacDayBlock> MacActivityStore::blocksOnDay(Date date) const {
    const DayRange day = dayRange(calendar_, date);
    std::vector<MacDayBlock> result;
    for (std::size_t i : blocks_.startingWithin(day.start, day.end)) result.push_back(blocks_[i]);
    std::stable_sort(result.begin(), result.end(), [](const MacDayBlock& a, const MacDayBlock& b) {
        return a.effectiveStart() > b.effectiveStart();
    });
    return result;
}

double MacActivityStore::minutesOn(Date date) const {
    const DayRange day = dayRange(calendar_, date);
    double minutes = 0;
    for (std::size_t i : blocks_.startingWithin(day.start, day.end)) minutes = addMinutes(minutes, blocks_.at(i).weight());
    return minutes;
}

double MacActivityStore::todayMinutes() const { return minutesOn(clock_.now()); }

double MacActivityStore::selectedDayMinutes() const { return minutesOn(selectedDate_); }

std::optional<Date> MacActivityStore::earliestBlockDate() const { return blocks_.earliestStart(); }

void MacActivityStore::shiftSelectedDate(int days) {
    const auto target = calendar_.addingDays(days, selectedDate_);
    if (!target) return;
    const Date now = clock_.now();
    selectedDate_ = (days >= 1 && *target > now) ? now : *target;
    publish();
}

void MacActivityStore::changeCategory(std::string_view title, MacBlockCategory from, MacBlockCategory to) {
    if (from == to) return;
    rememberCategory(title, to);

    const DayRange day = dayRange(calendar_, selectedDate_);
    const Date now = clock_.now();
    std::vector<MacDayBlock> changed;
    for (std::size_t i : blocks_.startingWithin(day.start, day.end)) {
        if (blocks_.at(i).title() != title || blocks_.at(i).category() != from) continue;
        blocks_.update(i, [&](MacDayBlock& block) {
            block.category = to;
            block.modifiedAt = now;
        });
        changed.push_back(blocks_[i]);
    }
    if (changed.empty()) return;
    scheduleSave();
    publish();
    markDirtyAndUpload(changed);
}

void MacActivityStore::deleteSummary(std::string_view title, MacBlockCategory category) {
    const DayRange day = dayRange(calendar_, selectedDate_);
    std::set<Uuid> ids;
    std::vector<MacDayBlock> removed;
    for (std::size_t i : blocks_.startingWithin(day.start, day.end)) {
        const auto block = blocks_.at(i);
        if (block.title() == title && block.category() == category && ids.insert(block.id()).second) {
            removed.push_back(block.value());
        }
    }
    if (ids.empty()) return;
    // Every block of those ids goes, on this day or not, as the ids say.
    std::vector<std::size_t> positions;
    for (const Uuid& id : ids) {
        for (std::size_t i : blocks_.positionsOf(id)) positions.push_back(i);
    }
    std::sort(positions.begin(), positions.end());
    blocks_.eraseAt(positions);
    scheduleSave();
    publish();
    if (cloudSyncDisabled_) return;
    sync_->markDeleted(removed);
    startUpload({});
}

}  // namespace plenda
