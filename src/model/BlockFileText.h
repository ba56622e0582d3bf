#pragma once

#include "model/BlockFilePieces.h"
#include "model/BlockList.h"
#include "model/MacDayBlock.h"
#include "platform/Files.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace plenda {

// Where each run of up to `chunkSize` blocks will find its text at the next
// save: unchanged in the block file as last read or written (a range of it,
// copied from there), or nowhere yet (encoded again). Keeping ranges rather
// than the text keeps the file's size out of memory, and a save encodes only
// the runs that changed since the last one.
class BlockFileText {
public:
    static constexpr std::size_t chunkSize = 512;
    // The blocks' ids run by run, shared and never changed.
    using IdChunks = std::vector<std::shared_ptr<const std::vector<Uuid>>>;
    static std::vector<Uuid> sortedIds(const IdChunks& chunks);

    // One run of blocks as it was when a snapshot was taken.
    struct Piece {
        std::uint64_t version = 0;
        std::shared_ptr<const std::vector<Uuid>> ids;
        std::optional<ByteRange> inFile;
        std::vector<MacDayBlock> blocks;  // when not in the file
    };
    // What a write of a snapshot came to.
    struct Written {
        bool outsideWrite = false;  // the file was not the one the ranges are of
        std::optional<std::string> failure;
        std::vector<std::pair<std::uint64_t, ByteRange>> ranges;  // by piece version, in the new file
        std::optional<FileStamp> stamp;  // of the new file
    };
    // The text at one moment; never changes, and is written on any thread.
    struct Snapshot {
        std::vector<Piece> pieces;
        // Writes the file whole and atomically, copying pieces in the file
        // from the file at `path` when it is still the one `expected` stamps.
        Written write(Files& files, const std::string& path, const std::optional<FileStamp>& expected) const;
        IdChunks ids() const;
    };

    // Every run must be encoded: the list was replaced.
    void reset(const BlockList& list);
    // The list was read from the file; `ranges` has each block's text in it, when known.
    void resetFromFile(const BlockList& list, const std::vector<std::optional<ByteRange>>& ranges);
    void appended(const Uuid& id);
    void updated(const BlockList& list, std::size_t i);
    // These positions (ascending) were removed.
    void erased(const std::vector<std::size_t>& positions);
    // No run's text can be copied from the file any more.
    void forgetFile();
    Snapshot snapshot(const BlockList& list);
    IdChunks ids() const;
    // A write of a snapshot landed: the runs unchanged since lie in the new file.
    void written(std::vector<std::pair<std::uint64_t, ByteRange>> ranges);

private:
    struct Chunk {
        std::uint64_t version;
        std::shared_ptr<std::vector<Uuid>> ids;  // copied before a change while a snapshot holds them
        std::optional<ByteRange> inFile;
    };
    Chunk fresh(std::vector<Uuid> ids) { return Chunk{++versions_, std::make_shared<std::vector<Uuid>>(std::move(ids)), {}}; }
    // The chunk holding position i, and i's place in it.
    std::pair<std::size_t, std::size_t> locate(std::size_t i) const;
    std::vector<Uuid>& changing(Chunk& chunk);
    void reindex();

    std::vector<Chunk> chunks_;
    std::vector<std::size_t> firsts_;  // list position of each chunk's first block
    std::size_t size_ = 0;
    std::uint64_t versions_ = 0;
};

// The store's blocks with the block file's text kept track of beside them:
// every change goes through here, so the text always stands for the list.
class FileBlockList {
public:
    std::size_t size() const { return list_.size(); }
    BlockList::Stored at(std::size_t i) const { return list_.at(i); }
    MacDayBlock operator[](std::size_t i) const { return list_[i]; }
    std::vector<MacDayBlock> all() const { return list_.all(); }
    std::optional<std::size_t> find(const Uuid& id) const { return list_.find(id); }
    std::vector<std::size_t> startingWithin(Date from, Date to, BlockList::Order order = BlockList::Order::list) const {
        return list_.startingWithin(from, to, order);
    }
    std::vector<std::size_t> endingWithin(Date from, Date to) const { return list_.endingWithin(from, to); }
    std::optional<Date> earliestStart() const { return list_.earliestStart(); }

    void replace(const std::vector<MacDayBlock>& blocks);
    // Reads a block file through `read` a piece at a time (see
    // readBlocksInPieces), keeping where each block's text lies; false, and
    // an empty list, when it does not decode that way.
    bool readInPieces(const std::function<std::size_t(char*, std::size_t)>& read, std::uint64_t fileSize);
    void append(const MacDayBlock& block);
    void appendAll(const std::vector<MacDayBlock>& blocks);
    void update(std::size_t i, const std::function<void(MacDayBlock&)>& change);
    std::size_t eraseIf(const std::function<bool(const BlockList::Stored&)>& matches);
    std::size_t eraseId(const Uuid& id);
    std::vector<std::size_t> positionsOf(const Uuid& id) const { return list_.positionsOf(id); }
    // These positions, ascending and each once.
    void eraseAt(std::vector<std::size_t> positions) { erase(std::move(positions)); }

    BlockFileText::Snapshot snapshot() { return text_.snapshot(list_); }
    BlockFileText::IdChunks snapshotIds() const { return text_.ids(); }
    void written(std::vector<std::pair<std::uint64_t, ByteRange>> ranges) { text_.written(std::move(ranges)); }
    void forgetFile() { text_.forgetFile(); }

private:
    std::size_t erase(std::vector<std::size_t> positions);

    BlockList list_;
    BlockFileText text_;
};

}  // namespace plenda
