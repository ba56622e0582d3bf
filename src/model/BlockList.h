#pragma once

#include "model/MacDayBlock.h"
#include "model/TextPool.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace plenda {

// The store's blocks in their order, indexed by id and by effective start and
// end, so that a session, an upsert or a day query costs the same at a
// million blocks as at a hundred. Blocks are kept packed (72 bytes, their
// texts in a pool), so ten years of them take tens of megabytes rather than
// hundreds. Each block carries a key that never changes and grows along the
// list; the indexes hold keys, so removing a block from the middle leaves
// every other entry valid. Changes near the end of the list and of time
// (what tracking makes) are O(log n); one further back also shifts what lies
// after it, as the list itself must.
class BlockList {
    // A block in 72 bytes: its texts by number, its optional dates present or not by bit, no note as text 0.
    struct Packed {
        Uuid id;
        double weight, createdAt, startDate, endDate, modifiedAt;
        TextPool::Ref title, note, blockType;
        std::uint8_t category;
        std::uint8_t present;  // startDate, endDate, modifiedAt: bits 0 to 2
    };

public:
    // One block as it lies in the list, read without copying its texts;
    // valid until the list changes.
    class Stored {
    public:
        const Uuid& id() const;
        std::string_view title() const;
        MacBlockCategory category() const;
        double weight() const;
        Date effectiveStart() const;
        Date effectiveEnd() const;
        std::optional<Date> startDate() const;
        std::optional<Date> endDate() const;
        Date lastModified() const;
        MacDayBlock value() const;

    private:
        friend class BlockList;
        Stored(const BlockList& list, const Packed& packed) : list_(list), packed_(packed) {}
        const BlockList& list_;
        const Packed& packed_;
    };

    BlockList() = default;
    BlockList(const BlockList&) = delete;
    BlockList& operator=(const BlockList&) = delete;

    std::size_t size() const { return blocks_.size(); }
    Stored at(std::size_t i) const { return Stored(*this, blocks_[i]); }
    MacDayBlock operator[](std::size_t i) const { return at(i).value(); }
    // Every block, copied: O(n), for tools and tests.
    std::vector<MacDayBlock> all() const;
    // The first position holding this id.
    std::optional<std::size_t> find(const Uuid& id) const;

    // Room for n blocks and the sessions of months after them: growing a
    // list of a million blocks moves all of them, which a session must not wait for.
    static std::size_t roomFor(std::size_t n) { return n + n / 8 + 1024; }

    void replace(const std::vector<MacDayBlock>& blocks);
    // Building a long list without its indexes, then indexing it once.
    void clear(std::size_t expected);
    void add(const MacDayBlock& block);
    void index();

    void append(const MacDayBlock& block);
    // Many at once, anywhere in time: indexed once rather than each shifting the indexes.
    void appendAll(const std::vector<MacDayBlock>& blocks);
    // Changes one block; its dates and id may change.
    void update(std::size_t i, const std::function<void(MacDayBlock&)>& change);
    // Positions, ascending, of the blocks with this id; of those that match.
    std::vector<std::size_t> positionsOf(const Uuid& id) const;
    std::vector<std::size_t> positionsWhere(const std::function<bool(const Stored&)>& matches) const;
    // Removes the blocks at these positions (ascending), keeping the order of the others.
    void eraseAt(const std::vector<std::size_t>& positions);
    // Removes matching blocks, or every block with this id; returns how many went.
    std::size_t eraseIf(const std::function<bool(const Stored&)>& matches);
    std::size_t eraseId(const Uuid& id);

    // Positions of the blocks whose effective start lies in [from, to), in
    // list order, or in order of their starts (equal starts in list order).
    enum class Order { list, start };
    std::vector<std::size_t> startingWithin(Date from, Date to, Order order = Order::list) const;
    // Positions of the blocks whose effective end lies in [from, to], in list order.
    std::vector<std::size_t> endingWithin(Date from, Date to) const;
    // The earliest effective start, if any.
    std::optional<Date> earliestStart() const;

private:
    Packed pack(const MacDayBlock& block);
    MacDayBlock unpack(const Packed& packed) const;
    // Drops the pool's texts no block uses once they are as many again as those in use.
    void trimTexts();

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
    std::vector<std::size_t> positions(Index::const_iterator first, Index::const_iterator last,
                                       Order order = Order::list) const;
    void removeAt(std::size_t i);

    TextPool texts_;
    std::size_t textsKept_ = 0;  // texts in use at the last trim
    std::vector<Packed> blocks_;
    std::vector<std::uint64_t> keys_;  // beside blocks_, strictly increasing
    std::uint64_t nextKey_ = 0;
    Index byStart_;
    Index byEnd_;
    std::vector<std::uint32_t> idSlots_ = std::vector<std::uint32_t>(16);
    std::size_t ids_ = 0;
};

}  // namespace plenda
