#include "model/BlockList.h"

#include <algorithm>
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
    byId_.clear();
    byId_.reserve(roomFor(n));
    for (std::size_t i = 0; i < n; ++i) {
        keys_[i] = i;
        byStart_[i] = {blocks_[i].effectiveStart().seconds, i};
        byEnd_[i] = {blocks_[i].effectiveEnd().seconds, i};
        byId_.emplace(blocks_[i].id, i);
    }
    nextKey_ = n;
    std::sort(byStart_.begin(), byStart_.end(), before);
    std::sort(byEnd_.begin(), byEnd_.end(), before);
}

void BlockList::append(MacDayBlock block) {
    const std::uint64_t key = nextKey_++;
    insert(byStart_, {block.effectiveStart().seconds, key});
    insert(byEnd_, {block.effectiveEnd().seconds, key});
    byId_.emplace(block.id, key);
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
        auto [first, last] = byId_.equal_range(id);
        byId_.erase(std::find_if(first, last, [key](const auto& entry) { return entry.second == key; }));
        byId_.emplace(block.id, key);
    }
}

void BlockList::removeAt(std::size_t i) {
    const std::uint64_t key = keys_[i];
    erase(byStart_, {blocks_[i].effectiveStart().seconds, key});
    erase(byEnd_, {blocks_[i].effectiveEnd().seconds, key});
    auto [first, last] = byId_.equal_range(blocks_[i].id);
    byId_.erase(std::find_if(first, last, [key](const auto& entry) { return entry.second == key; }));
    blocks_.erase(blocks_.begin() + std::ptrdiff_t(i));
    keys_.erase(keys_.begin() + std::ptrdiff_t(i));
}

std::size_t BlockList::eraseId(const Uuid& id) {
    std::vector<std::size_t> found;
    auto [first, last] = byId_.equal_range(id);
    for (auto it = first; it != last; ++it) found.push_back(position(it->second));
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
            auto [first, last] = byId_.equal_range(blocks_[i].id);
            byId_.erase(std::find_if(first, last, [&](const auto& entry) { return entry.second == keys_[i]; }));
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
