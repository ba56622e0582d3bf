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

std::vector<MacDayBlock> MacActivityStore::blocksStartingWithin(Date from, Date to) const {
    std::vector<MacDayBlock> result;
    const auto positions = blocks_.startingWithin(from, to, BlockList::Order::start);
    result.reserve(positions.size());
    for (std::size_t i : positions) result.push_back(blocks_[i]);
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

void MacActivityStore::selectDate(Date date) {
    selectedDate_ = std::min(date, clock_.now());
    publish();
}

void MacActivityStore::changeCategory(std::string_view title, MacBlockCategory from, MacBlockCategory to,
                                      std::optional<DayRange> within) {
    if (from == to) return;
    rememberCategory(title, to);

    const DayRange day = within.value_or(dayRange(calendar_, selectedDate_));
    const Date now = clock_.now();
    std::vector<MacDayBlock> changed;
    Edit edit;
    for (std::size_t i : blocks_.startingWithin(day.start, day.end)) {
        if (blocks_.at(i).title() != title || blocks_.at(i).category() != from) continue;
        const MacDayBlock before = blocks_[i];
        blocks_.update(i, [&](MacDayBlock& block) {
            block.category = to;
            block.modifiedAt = now;
        });
        changed.push_back(blocks_[i]);
        edit.changes.push_back({before.id, before, changed.back()});
    }
    if (changed.empty()) return;
    edit.choice = CategoryChoice{std::string(title), from, to};
    remember(std::move(edit));
    scheduleSave();
    publish();
    markDirtyAndUpload(changed);
}

void MacActivityStore::deleteSummary(std::string_view title, MacBlockCategory category, std::optional<DayRange> within) {
    const DayRange day = within.value_or(dayRange(calendar_, selectedDate_));
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
    Edit edit;
    for (const MacDayBlock& block : removed) edit.changes.push_back({block.id, block, std::nullopt});
    remember(std::move(edit));
    scheduleSave();
    publish();
    if (cloudSyncDisabled_) return;
    sync_->markDeleted(removed);
    startUpload({});
}

bool MacActivityStore::isValidSpan(Date start, Date end) const {
    return end > start && end - start <= maximumSplitSpan && calendar_.isSameDay(start, end);
}

std::optional<MacDayBlock> MacActivityStore::addManualBlock(const std::string& title, MacBlockCategory category,
                                                            Date start, Date end, std::optional<std::string> note) {
    if (title.find_first_not_of(" \t\n") == std::string::npos || !isValidSpan(start, end)) return std::nullopt;
    const MacDayBlock block{
        .id = makeUuid_(),
        .title = title,
        .category = category,
        .weight = (end - start) / 60.0,
        .note = std::move(note),
        .createdAt = start,
        .startDate = start,
        .endDate = end,
        .blockType = std::string(manualBlockType),
        .modifiedAt = clock_.now(),
    };
    remember({{{block.id, std::nullopt, block}}});
    upsert(block);
    return block;
}

bool MacActivityStore::editBlock(const Uuid& id, const BlockEdit& edit) {
    const auto found = blocks_.find(id);
    if (!found) return false;
    const MacDayBlock before = blocks_[*found];
    MacDayBlock after = before;
    if (edit.title) after.title = *edit.title;
    if (edit.category) after.category = *edit.category;
    if (edit.start) after.startDate = *edit.start;
    if (edit.end) after.endDate = *edit.end;
    if (after.title.find_first_not_of(" \t\n") == std::string::npos) return false;
    if (edit.start || edit.end) {
        if (!isValidSpan(after.effectiveStart(), after.effectiveEnd())) return false;
        const double span = after.effectiveEnd() - after.effectiveStart();
        const double was = before.effectiveEnd() - before.effectiveStart();
        after.weight = after.blockType == manualBlockType || !(was > 0) ? span / 60.0 : before.weight * (span / was);
    }
    if (after == before) return true;
    after.modifiedAt = clock_.now();
    blocks_.update(*found, [&](MacDayBlock& block) { block = after; });
    remember({{{id, before, after}}});
    scheduleSave();
    publish();
    markDirtyAndUpload({after});
    return true;
}

bool MacActivityStore::splitBlock(const Uuid& id, Date at) {
    const auto found = blocks_.find(id);
    if (!found) return false;
    const MacDayBlock before = blocks_[*found];
    const Date start = before.effectiveStart(), end = before.effectiveEnd();
    if (!(at > start && at < end)) return false;
    const Date now = clock_.now();
    MacDayBlock first = before, second = before;
    const double share = (at - start) / (end - start);
    first.endDate = at;
    first.weight = before.weight * share;
    first.modifiedAt = now;
    second.id = makeUuid_();
    second.createdAt = second.startDate.emplace(at);
    second.weight = before.weight - first.weight;
    second.modifiedAt = now;
    blocks_.update(*found, [&](MacDayBlock& block) { block = first; });
    blocks_.append(second);
    remember({{{id, before, first}, {second.id, std::nullopt, second}}});
    scheduleSave();
    publish();
    markDirtyAndUpload({first, second});
    return true;
}

void MacActivityStore::remember(Edit edit) {
    undoable_.push_back(std::move(edit));
    redoable_.clear();
}

MacActivityStore::Edit MacActivityStore::bringBack(const Edit& edit, bool toBefore) {
    const Date now = clock_.now();
    Edit done;
    std::vector<MacDayBlock> put, removed;
    for (const BlockChange& change : edit.changes) {
        const auto found = blocks_.find(change.id);
        std::optional<MacDayBlock> current;
        if (found) current = blocks_[*found];
        // A block changed since (a session merged into it, another device's
        // edit) keeps that change: taking the edit back would lose it.
        if (current != (toBefore ? change.after : change.before)) continue;
        std::optional<MacDayBlock> target = toBefore ? change.before : change.after;
        // As of now, so that it wins over every version synced so far.
        if (target) target->modifiedAt = now;
        if (target) put.push_back(*target);
        else if (current) removed.push_back(*current);
        done.changes.push_back({change.id, current, target});
    }
    if (edit.choice) {
        rememberCategory(edit.choice->title, toBefore ? edit.choice->before : edit.choice->after);
        done.choice = edit.choice;
    }
    std::vector<Uuid> gone;
    for (const MacDayBlock& block : removed) gone.push_back(block.id);
    putBlocks(put, gone);
    if (!cloudSyncDisabled_) {
        if (!removed.empty()) sync_->markDeleted(removed);
        if (!put.empty()) sync_->markBlocksDirty(put);
        startUpload(put);
    }
    return done;
}

void MacActivityStore::undo() {
    if (undoable_.empty()) return;
    const Edit edit = std::move(undoable_.back());
    undoable_.pop_back();
    Edit done = bringBack(edit, true);
    // Done again from what it undid, with the versions as they are now.
    for (BlockChange& change : done.changes) std::swap(change.before, change.after);
    redoable_.push_back(std::move(done));
}

void MacActivityStore::redo() {
    if (redoable_.empty()) return;
    const Edit edit = std::move(redoable_.back());
    redoable_.pop_back();
    undoable_.push_back(bringBack(edit, false));
}

}  // namespace plenda
