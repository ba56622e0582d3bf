#include "model/BlockList.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace plenda {

bool BlockList::before(const Entry& a, const Entry& b) {
    const bool aNaN = std::isnan(a.first);
    const bool bNaN = std::isnan(b.first);
    if (aNaN != bNaN) return bNaN;
    if (!aNaN && a.first != b.first) return a.first < b.first;
    return a.second < b.second;
}

void BlockList::insert(Index& index, Entry entry) {
    index.insert(std::lower_bound(index.begin(), index.end(), entry, before), entry);
}

void BlockList::erase(Index& index, Entry entry) {
    index.erase(std::lower_bound(index.begin(), index.end(), entry, before));
}

// Shifts only the entries between the old place and the new.
void BlockList::move(Index& index, Entry from, Entry to) {
    const auto old = std::lower_bound(index.begin(), index.end(), from, before);
    const auto place = std::lower_bound(index.begin(), index.end(), to, before);
    if (place > old) {
        std::rotate(old, old + 1, place);
        *(place - 1) = to;
    } else {
        std::rotate(place, old, old + 1);
        *place = to;
    }
}

std::size_t BlockList::position(std::uint64_t key) const {
    return std::size_t(std::lower_bound(keys_.begin(), keys_.end(), key) - keys_.begin());
}

void BlockList::rebuildIds(std::size_t room) {
    idSlots_.assign(std::bit_ceil(std::max<std::size_t>(16, room / 3 * 4 + 4)), 0);
    ids_ = 0;
    for (std::size_t i = 0; i < blocks_.size(); ++i) placeId(blocks_[i].id, keys_[i]);
}

void BlockList::placeId(const Uuid& id, std::uint64_t key) {
    std::size_t i = home(id);
    while (idSlots_[i] != 0) i = (i + 1) & (idSlots_.size() - 1);
    idSlots_[i] = std::uint32_t(key + 1);
    ++ids_;
}

// Later entries of the run move back into the hole where their probe would
// pass it, so no lookup ever stops short at an emptied slot.
void BlockList::eraseIdSlot(const Uuid& id, std::uint64_t key) {
    const std::size_t mask = idSlots_.size() - 1;
    std::size_t hole = home(id);
    while (idSlots_[hole] != key + 1) hole = (hole + 1) & mask;
    for (std::size_t j = (hole + 1) & mask; idSlots_[j] != 0; j = (j + 1) & mask) {
        const std::size_t wanted = home(blocks_[position(idSlots_[j] - 1)].id);
        if (((j - wanted) & mask) >= ((j - hole) & mask)) {
            idSlots_[hole] = idSlots_[j];
            hole = j;
        }
    }
    idSlots_[hole] = 0;
    --ids_;
}

std::vector<std::size_t> BlockList::positions(Index::const_iterator first, Index::const_iterator last) const {
    std::vector<std::size_t> found;
    for (auto it = first; it < last; ++it) found.push_back(position(it->second));
    std::sort(found.begin(), found.end());
    return found;
}

void BlockList::replace(std::vector<MacDayBlock> blocks) {
    blocks_ = std::move(blocks);
    const std::size_t n = blocks_.size();
    for (auto* index : {&byStart_, &byEnd_}) {
        index->clear();
        index->reserve(roomFor(n));
        index->resize(n);
    }
    keys_.clear();
    keys_.reserve(roomFor(n));
    keys_.resize(n);
    blocks_.reserve(roomFor(n));
    for (std::size_t i = 0; i < n; ++i) {
        keys_[i] = i;
        byStart_[i] = {blocks_[i].effectiveStart().seconds, i};
        byEnd_[i] = {blocks_[i].effectiveEnd().seconds, i};
    }
    nextKey_ = n;
    rebuildIds(roomFor(n));
    std::sort(byStart_.begin(), byStart_.end(), before);
    std::sort(byEnd_.begin(), byEnd_.end(), before);
}

void BlockList::append(MacDayBlock block) {
    // Keys fit the id slots: after four billion appends they start again from 0.
    if (nextKey_ >= std::numeric_limits<std::uint32_t>::max() - 1) replace(std::move(blocks_));
    if ((ids_ + 1) * 4 > idSlots_.size() * 3) rebuildIds(roomFor(blocks_.size() + 1));
    const std::uint64_t key = nextKey_++;
    insert(byStart_, {block.effectiveStart().seconds, key});
    insert(byEnd_, {block.effectiveEnd().seconds, key});
    placeId(block.id, key);
    blocks_.push_back(std::move(block));
    keys_.push_back(key);
}

void BlockList::update(std::size_t i, const std::function<void(MacDayBlock&)>& change) {
    MacDayBlock& block = blocks_[i];
    const std::uint64_t key = keys_[i];
    const Entry start{block.effectiveStart().seconds, key};
    const Entry end{block.effectiveEnd().seconds, key};
    const Uuid id = block.id;
    change(block);
    const Entry newStart{block.effectiveStart().seconds, key};
    const Entry newEnd{block.effectiveEnd().seconds, key};
    if (before(start, newStart) || before(newStart, start)) move(byStart_, start, newStart);
    if (before(end, newEnd) || before(newEnd, end)) move(byEnd_, end, newEnd);
    if (block.id != id) {
        eraseIdSlot(id, key);
        placeId(block.id, key);
    }
}

void BlockList::removeAt(std::size_t i) {
    const std::uint64_t key = keys_[i];
    erase(byStart_, {blocks_[i].effectiveStart().seconds, key});
    erase(byEnd_, {blocks_[i].effectiveEnd().seconds, key});
    eraseIdSlot(blocks_[i].id, key);
    blocks_.erase(blocks_.begin() + std::ptrdiff_t(i));
    keys_.erase(keys_.begin() + std::ptrdiff_t(i));
}

std::size_t BlockList::eraseId(const Uuid& id) {
    std::vector<std::size_t> found;
    for (std::size_t i = home(id); idSlots_[i] != 0; i = (i + 1) & (idSlots_.size() - 1)) {
        const std::size_t at = position(idSlots_[i] - 1);
        if (blocks_[at].id == id) found.push_back(at);
    }
    // From the back, so the positions not yet removed stay right.
    std::sort(found.rbegin(), found.rend());
    for (std::size_t i : found) removeAt(i);
    return found.size();
}

std::size_t BlockList::eraseIf(const std::function<bool(const MacDayBlock&)>& matches) {
    std::vector<std::uint64_t> removed;  // ascending, as the keys along the list
    std::size_t kept = 0;
    for (std::size_t i = 0; i < blocks_.size(); ++i) {
        if (matches(blocks_[i])) {
            removed.push_back(keys_[i]);
            continue;
        }
        if (kept != i) {
            blocks_[kept] = std::move(blocks_[i]);
            keys_[kept] = keys_[i];
        }
        ++kept;
    }
    blocks_.resize(kept);
    keys_.resize(kept);
    if (!removed.empty()) {
        const auto gone = [&](const Entry& entry) {
            return std::binary_search(removed.begin(), removed.end(), entry.second);
        };
        std::erase_if(byStart_, gone);
        std::erase_if(byEnd_, gone);
        rebuildIds(roomFor(kept));
    }
    return removed.size();
}

std::vector<std::size_t> BlockList::startingWithin(Date from, Date to) const {
    if (std::isnan(from.seconds) || std::isnan(to.seconds)) return {};
    const auto first = std::lower_bound(byStart_.begin(), byStart_.end(), Entry{from.seconds, 0}, before);
    const auto last = std::lower_bound(byStart_.begin(), byStart_.end(), Entry{to.seconds, 0}, before);
    return positions(first, last);
}

std::vector<std::size_t> BlockList::endingWithin(Date from, Date to) const {
    if (std::isnan(from.seconds) || std::isnan(to.seconds)) return {};
    const auto first = std::lower_bound(byEnd_.begin(), byEnd_.end(), Entry{from.seconds, 0}, before);
    const auto last = std::upper_bound(byEnd_.begin(), byEnd_.end(),
                                       Entry{to.seconds, std::numeric_limits<std::uint64_t>::max()}, before);
    return positions(first, last);
}

std::optional<Date> BlockList::earliestStart() const {
    if (byStart_.empty()) return std::nullopt;
    return Date(byStart_.front().first);
}

}  // namespace plenda
