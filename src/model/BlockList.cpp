#include "model/BlockList.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace plenda {

namespace {

enum Present : std::uint8_t { hasStart = 1, hasEnd = 2, hasModified = 4 };

std::optional<Date> dateIf(bool present, double seconds) {
    return present ? std::optional(Date(seconds)) : std::nullopt;
}

}  // namespace

static_assert(sizeof(BlockList::Stored) <= 16);

const Uuid& BlockList::Stored::id() const { return packed_.id; }
std::string_view BlockList::Stored::title() const { return list_.texts_.text(packed_.title); }
MacBlockCategory BlockList::Stored::category() const { return MacBlockCategory(packed_.category); }
double BlockList::Stored::weight() const { return packed_.weight; }
Date BlockList::Stored::effectiveStart() const {
    return Date(packed_.present & hasStart ? packed_.startDate : packed_.createdAt);
}
Date BlockList::Stored::effectiveEnd() const {
    return Date(packed_.present & hasEnd ? packed_.endDate : packed_.createdAt);
}
std::optional<Date> BlockList::Stored::startDate() const {
    return dateIf(packed_.present & hasStart, packed_.startDate);
}
std::optional<Date> BlockList::Stored::endDate() const { return dateIf(packed_.present & hasEnd, packed_.endDate); }
Date BlockList::Stored::lastModified() const {
    return Date(packed_.present & hasModified ? packed_.modifiedAt : packed_.createdAt);
}
MacDayBlock BlockList::Stored::value() const { return list_.unpack(packed_); }

BlockList::Packed BlockList::pack(const MacDayBlock& block) {
    return Packed{
        .id = block.id,
        .weight = block.weight,
        .createdAt = block.createdAt.seconds,
        .startDate = block.startDate.value_or(Date()).seconds,
        .endDate = block.endDate.value_or(Date()).seconds,
        .modifiedAt = block.modifiedAt.value_or(Date()).seconds,
        .title = texts_.intern(block.title),
        .note = block.note ? texts_.intern(*block.note) : 0,
        .blockType = texts_.intern(block.blockType),
        .category = std::uint8_t(block.category),
        .present = std::uint8_t((block.startDate ? hasStart : 0) | (block.endDate ? hasEnd : 0) |
                                (block.modifiedAt ? hasModified : 0)),
    };
}

MacDayBlock BlockList::unpack(const Packed& packed) const {
    return MacDayBlock{
        .id = packed.id,
        .title = std::string(texts_.text(packed.title)),
        .category = MacBlockCategory(packed.category),
        .weight = packed.weight,
        .note = packed.note ? std::optional(std::string(texts_.text(packed.note))) : std::nullopt,
        .createdAt = Date(packed.createdAt),
        .startDate = dateIf(packed.present & hasStart, packed.startDate),
        .endDate = dateIf(packed.present & hasEnd, packed.endDate),
        .blockType = std::string(texts_.text(packed.blockType)),
        .modifiedAt = dateIf(packed.present & hasModified, packed.modifiedAt),
    };
}

void BlockList::trimTexts() {
    if (texts_.size() < 2 * textsKept_ + 1024) return;
    std::vector<bool> used(texts_.size() + 1);
    for (const Packed& packed : blocks_) used[packed.title] = used[packed.note] = used[packed.blockType] = true;
    const auto renamed = texts_.keepOnly(used);
    for (Packed& packed : blocks_) {
        packed.title = renamed[packed.title];
        packed.note = renamed[packed.note];
        packed.blockType = renamed[packed.blockType];
    }
    textsKept_ = texts_.size();
}

std::vector<MacDayBlock> BlockList::all() const {
    std::vector<MacDayBlock> blocks;
    blocks.reserve(blocks_.size());
    for (const Packed& packed : blocks_) blocks.push_back(unpack(packed));
    return blocks;
}

std::optional<std::size_t> BlockList::find(const Uuid& id) const {
    std::optional<std::size_t> first;
    for (std::size_t i = home(id); idSlots_[i] != 0; i = (i + 1) & (idSlots_.size() - 1)) {
        const std::size_t at = position(idSlots_[i] - 1);
        if (blocks_[at].id == id && (!first || at < *first)) first = at;
    }
    return first;
}

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

std::vector<std::size_t> BlockList::positions(Index::const_iterator first, Index::const_iterator last, Order order) const {
    std::vector<std::size_t> found;
    if (last <= first) return found;  // an empty range, or one that ends before it starts
    found.reserve(std::size_t(last - first));
    for (auto it = first; it < last; ++it) found.push_back(position(it->second));
    // The index orders by date, then by key, which grows along the list.
    if (order == Order::list) std::sort(found.begin(), found.end());
    return found;
}

void BlockList::replace(const std::vector<MacDayBlock>& blocks) {
    clear(blocks.size());
    for (const MacDayBlock& block : blocks) add(block);
    index();
}

void BlockList::clear(std::size_t expected) {
    blocks_.clear();
    blocks_.shrink_to_fit();
    blocks_.reserve(roomFor(expected));
    texts_ = TextPool();
    textsKept_ = 0;
}

void BlockList::add(const MacDayBlock& block) { blocks_.push_back(pack(block)); }

void BlockList::index() {
    const std::size_t n = blocks_.size();
    if (blocks_.capacity() < n + n / 16) blocks_.reserve(roomFor(n));
    for (auto* index : {&byStart_, &byEnd_}) {
        *index = Index();
        index->reserve(roomFor(n));
        index->resize(n);
    }
    keys_ = std::vector<std::uint64_t>();
    keys_.reserve(roomFor(n));
    keys_.resize(n);
    for (std::size_t i = 0; i < n; ++i) {
        const Stored block = at(i);
        keys_[i] = i;
        byStart_[i] = {block.effectiveStart().seconds, i};
        byEnd_[i] = {block.effectiveEnd().seconds, i};
    }
    nextKey_ = n;
    rebuildIds(roomFor(n));
    std::sort(byStart_.begin(), byStart_.end(), before);
    std::sort(byEnd_.begin(), byEnd_.end(), before);
    textsKept_ = texts_.size();
}

void BlockList::append(const MacDayBlock& block) {
    // Keys fit the id slots: after four billion appends they start again from 0.
    if (nextKey_ >= std::numeric_limits<std::uint32_t>::max() - 1) index();
    if ((ids_ + 1) * 4 > idSlots_.size() * 3) rebuildIds(roomFor(blocks_.size() + 1));
    const std::uint64_t key = nextKey_++;
    insert(byStart_, {block.effectiveStart().seconds, key});
    insert(byEnd_, {block.effectiveEnd().seconds, key});
    placeId(block.id, key);
    blocks_.push_back(pack(block));
    keys_.push_back(key);
    trimTexts();
}

void BlockList::appendAll(const std::vector<MacDayBlock>& blocks) {
    for (const MacDayBlock& block : blocks) add(block);
    index();
}

void BlockList::update(std::size_t i, const std::function<void(MacDayBlock&)>& change) {
    MacDayBlock block = unpack(blocks_[i]);
    const std::uint64_t key = keys_[i];
    const Entry start{block.effectiveStart().seconds, key};
    const Entry end{block.effectiveEnd().seconds, key};
    const Uuid id = block.id;
    change(block);
    blocks_[i] = pack(block);
    const Entry newStart{block.effectiveStart().seconds, key};
    const Entry newEnd{block.effectiveEnd().seconds, key};
    if (before(start, newStart) || before(newStart, start)) move(byStart_, start, newStart);
    if (before(end, newEnd) || before(newEnd, end)) move(byEnd_, end, newEnd);
    if (block.id != id) {
        eraseIdSlot(id, key);
        placeId(block.id, key);
    }
    trimTexts();
}

void BlockList::removeAt(std::size_t i) {
    const std::uint64_t key = keys_[i];
    const Stored block = at(i);
    erase(byStart_, {block.effectiveStart().seconds, key});
    erase(byEnd_, {block.effectiveEnd().seconds, key});
    eraseIdSlot(block.id(), key);
    blocks_.erase(blocks_.begin() + std::ptrdiff_t(i));
    keys_.erase(keys_.begin() + std::ptrdiff_t(i));
}

std::vector<std::size_t> BlockList::positionsOf(const Uuid& id) const {
    std::vector<std::size_t> found;
    for (std::size_t i = home(id); idSlots_[i] != 0; i = (i + 1) & (idSlots_.size() - 1)) {
        const std::size_t at = position(idSlots_[i] - 1);
        if (blocks_[at].id == id) found.push_back(at);
    }
    std::sort(found.begin(), found.end());
    return found;
}

std::size_t BlockList::eraseId(const Uuid& id) {
    const auto found = positionsOf(id);
    eraseAt(found);
    return found.size();
}

std::vector<std::size_t> BlockList::positionsWhere(const std::function<bool(const Stored&)>& matches) const {
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < blocks_.size(); ++i) {
        if (matches(at(i))) found.push_back(i);
    }
    return found;
}

std::size_t BlockList::eraseIf(const std::function<bool(const Stored&)>& matches) {
    const auto found = positionsWhere(matches);
    eraseAt(found);
    return found.size();
}

void BlockList::eraseAt(const std::vector<std::size_t>& positions) {
    // A few go one by one, each shifting only the indexes' entries after it.
    if (positions.size() <= 2) {
        for (auto i = positions.rbegin(); i != positions.rend(); ++i) removeAt(*i);
        return;
    }
    std::vector<std::uint64_t> removed;  // ascending, as the keys along the list
    std::size_t kept = 0;
    auto next = positions.begin();
    for (std::size_t i = 0; i < blocks_.size(); ++i) {
        if (next != positions.end() && *next == i) {
            removed.push_back(keys_[i]);
            ++next;
            continue;
        }
        if (kept != i) {
            blocks_[kept] = blocks_[i];
            keys_[kept] = keys_[i];
        }
        ++kept;
    }
    blocks_.resize(kept);
    keys_.resize(kept);
    const auto gone = [&](const Entry& entry) {
        return std::binary_search(removed.begin(), removed.end(), entry.second);
    };
    std::erase_if(byStart_, gone);
    std::erase_if(byEnd_, gone);
    rebuildIds(roomFor(kept));
}

std::vector<std::size_t> BlockList::startingWithin(Date from, Date to, Order order) const {
    if (std::isnan(from.seconds) || std::isnan(to.seconds)) return {};
    const auto first = std::lower_bound(byStart_.begin(), byStart_.end(), Entry{from.seconds, 0}, before);
    const auto last = std::lower_bound(byStart_.begin(), byStart_.end(), Entry{to.seconds, 0}, before);
    return positions(first, last, order);
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
