#pragma once

#include "model/MacDayBlock.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

namespace plenda {

// The store's blocks in their order, indexed by id and by effective start and
// end, so that a session, an upsert or a day query costs the same at a
// million blocks as at a hundred. Each block carries a key that never changes
// and grows along the list; the indexes hold keys, so removing a block from
// the middle leaves every other entry valid. Changes near the end of the
// list and of time (what tracking makes) are O(log n); one further back also
// shifts what lies after it, as the list itself must.
class BlockList {
public:
    const std::vector<MacDayBlock>& all() const { return blocks_; }
    std::size_t size() const { return blocks_.size(); }
    const MacDayBlock& operator[](std::size_t i) const { return blocks_[i]; }

    // Room for n blocks and the sessions of months after them: growing a
    // list of a million blocks moves all of them, which a session must not wait for.
    static std::size_t roomFor(std::size_t n) { return n + n / 8 + 1024; }

    void replace(std::vector<MacDayBlock> blocks);
    void append(MacDayBlock block);
    // Changes one block in place; its dates and id may change.
    void update(std::size_t i, const std::function<void(MacDayBlock&)>& change);
    // Removes matching blocks, keeping the order of the others; returns how many went.
    std::size_t eraseIf(const std::function<bool(const MacDayBlock&)>& matches);
    // Removes every block with this id, keeping the order of the others; returns how many went.
    std::size_t eraseId(const Uuid& id);

    // Positions of the blocks whose effective start lies in [from, to), in list order.
    std::vector<std::size_t> startingWithin(Date from, Date to) const;
    // Positions of the blocks whose effective end lies in [from, to], in list order.
    std::vector<std::size_t> endingWithin(Date from, Date to) const;
    // The earliest effective start, if any.
    std::optional<Date> earliestStart() const;

private:
    // A date and a block's key, ordered by date (a NaN after every number), then key.
    using Entry = std::pair<double, std::uint64_t>;
    using Index = std::vector<Entry>;
    static bool before(const Entry& a, const Entry& b);
    static void insert(Index& index, Entry entry);
    static void erase(Index& index, Entry entry);
    static void move(Index& index, Entry from, Entry to);
    std::size_t position(std::uint64_t key) const;
    // The id index: open addressing with linear probing; a slot holds a key
    // plus one (0: empty) and the id is read from the block, so ten years of
    // ids take a few megabytes.
    std::size_t home(const Uuid& id) const { return std::hash<Uuid>{}(id) & (idSlots_.size() - 1); }
    void rebuildIds(std::size_t room);
    void placeId(const Uuid& id, std::uint64_t key);
    void eraseIdSlot(const Uuid& id, std::uint64_t key);
    std::vector<std::size_t> positions(Index::const_iterator first, Index::const_iterator last) const;
    void removeAt(std::size_t i);

    std::vector<MacDayBlock> blocks_;
    std::vector<std::uint64_t> keys_;  // beside blocks_, strictly increasing
    std::uint64_t nextKey_ = 0;
    Index byStart_;
    Index byEnd_;
    std::vector<std::uint32_t> idSlots_ = std::vector<std::uint32_t>(16);
    std::size_t ids_ = 0;
};

}  // namespace plenda
