#pragma once

#include "model/BlockList.h"
#include "model/MacDayBlock.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace plenda {

// The block file's text in pieces, one per block in list order, so that a
// save encodes only the blocks that changed since the last one. The pieces
// live in chunks that snapshots share with the writer: a chunk a snapshot
// holds is copied before it changes, so the writer joins a snapshot on its
// own thread while the main thread goes on editing.
class BlockFileText {
public:
    struct Chunk {
        std::string text;                 // the pieces, separated by commas
        std::vector<std::uint32_t> ends;  // where each piece ends in `text`
        std::vector<Uuid> ids;
        std::size_t size() const { return ids.size(); }
        // Empty for a block with a number JSON cannot hold.
        std::string_view piece(std::size_t i) const;
        void add(const Uuid& id, std::string_view piece);
    };
    // The text at one moment; never changes.
    struct Snapshot {
        std::vector<std::shared_ptr<const Chunk>> chunks;
        // The whole file; nothing when some block cannot be encoded.
        std::optional<std::string> join() const;
        std::vector<Uuid> sortedIds() const;
    };

    // `before` is the list the text stands for now; pieces of blocks that
    // stay as they were are kept, whole chunks where they can be.
    void replace(const std::vector<MacDayBlock>& before, const std::vector<MacDayBlock>& after);
    // Takes each block's piece from the file it was decoded from, in the
    // file's order; encodes them when the text cannot be cut into exactly
    // one piece per block.
    void replaceFromFile(const std::vector<MacDayBlock>& blocks, std::string_view fileText);
    void append(const MacDayBlock& block);
    void update(std::size_t i, const MacDayBlock& block);
    void erase(const std::unordered_set<Uuid>& ids);
    Snapshot snapshot();
    std::size_t size() const { return size_; }

    static constexpr std::size_t chunkSize = 512;

private:
    struct Slot {
        std::shared_ptr<Chunk> chunk;
        bool shared = false;  // a snapshot holds it
    };
    void reindex();

    std::vector<Slot> slots_;
    std::vector<std::size_t> firsts_;  // list position of each chunk's first piece
    std::size_t size_ = 0;
};

// The store's blocks with the block file's text kept beside them: every
// change goes through here, so the text always stands for the list.
class FileBlockList {
public:
    const std::vector<MacDayBlock>& all() const { return list_.all(); }
    std::size_t size() const { return list_.size(); }
    const MacDayBlock& operator[](std::size_t i) const { return list_[i]; }
    std::vector<std::size_t> startingWithin(Date from, Date to) const { return list_.startingWithin(from, to); }
    std::vector<std::size_t> endingWithin(Date from, Date to) const { return list_.endingWithin(from, to); }
    std::optional<Date> earliestStart() const { return list_.earliestStart(); }

    void replace(std::vector<MacDayBlock> blocks);
    void replaceFromFile(std::vector<MacDayBlock> blocks, std::string_view fileText);
    void append(MacDayBlock block);
    void update(std::size_t i, const std::function<void(MacDayBlock&)>& change);
    std::size_t eraseIf(const std::function<bool(const MacDayBlock&)>& matches);
    std::size_t eraseId(const Uuid& id);

    BlockFileText::Snapshot snapshot() { return text_.snapshot(); }

private:
    BlockList list_;
    BlockFileText text_;
};

}  // namespace plenda
