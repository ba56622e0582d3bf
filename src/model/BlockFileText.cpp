#include "model/BlockFileText.h"

#include "model/MacDayBlockJson.h"

#include <algorithm>

namespace plenda {

namespace {

// Bytes gathered before they go to the file, and read from the old file at a time.
constexpr std::size_t bufferBytes = 1 << 20;

// The new file's text, gathered and handed on a megabyte at a time, counting
// where each byte lands.
class Output {
public:
    explicit Output(FileWriter& file) : file_(file) { buffer_.reserve(bufferBytes + 4096); }
    std::uint64_t offset() const { return written_ + buffer_.size(); }
    bool append(std::string_view bytes) {
        buffer_.append(bytes);
        return buffer_.size() < bufferBytes || flush();
    }
    bool flush() {
        if (!file_.write(buffer_)) return false;
        written_ += buffer_.size();
        buffer_.clear();
        return true;
    }
    // The bytes of `range` in `source`, copied without holding more than the buffer.
    bool copy(FileReader& source, ByteRange range) {
        while (range.length > 0) {
            if (buffer_.size() >= bufferBytes && !flush()) return false;
            const std::size_t take = std::min<std::uint64_t>(range.length, bufferBytes + 4096 - buffer_.size());
            const std::size_t had = buffer_.size();
            buffer_.resize(had + take);
            if (!source.read(range.offset, buffer_.data() + had, take)) return false;
            range.offset += take;
            range.length -= take;
        }
        return true;
    }

private:
    FileWriter& file_;
    std::string buffer_;
    std::uint64_t written_ = 0;
};

}  // namespace

BlockFileText::Written BlockFileText::Snapshot::write(Files& files, const std::string& path,
                                                      const std::optional<FileStamp>& expected) const {
    Written result;
    const bool copies = std::any_of(pieces.begin(), pieces.end(), [](const Piece& piece) { return piece.inFile; });
    const auto source = copies ? files.openForReading(path) : nullptr;
    // Checked again right before the write: another program may have written
    // since the main thread looked, and the copied ranges are of the file as it was.
    if ((source ? source->stamp() : files.stamp(path)) != expected) {
        result.outsideWrite = true;
        return result;
    }
    // The same file, yet it cannot be opened: its text is written anew next time.
    if (copies && !source) {
        result.failure = "the block file could not be opened to copy from";
        return result;
    }
    std::vector<std::pair<std::uint64_t, ByteRange>> ranges;
    result.failure = files.writeAtomically(path, [&](FileWriter& file) {
        Output out(file);
        out.append("[");
        JsonWriter writer;
        for (const Piece& piece : pieces) {
            if (piece.ids->empty()) continue;
            if (out.offset() > 1) out.append(",");
            const std::uint64_t begin = out.offset();
            if (piece.inFile) {
                if (!out.copy(*source, *piece.inFile)) return false;
            } else {
                for (std::size_t i = 0; i < piece.blocks.size(); ++i) {
                    writer = JsonWriter();
                    writeBlock(writer, piece.blocks[i]);
                    // A number JSON cannot hold: nothing is written.
                    if (!writer.ok()) return false;
                    if ((i > 0 && !out.append(",")) || !out.append(writer.text())) return false;
                }
            }
            ranges.emplace_back(piece.version, ByteRange{begin, out.offset() - begin});
        }
        // Rewritten in place while it was copied (what was copied may be
        // torn), or replaced meanwhile: the other program's file stays.
        if ((copies && source->stamp() != expected) || files.stamp(path) != expected) {
            result.outsideWrite = true;
            return false;
        }
        if (!out.append("]") || !out.flush()) return false;
        result.stamp = file.stamp();
        return true;
    });
    if (!result.failure) result.ranges = std::move(ranges);
    return result;
}

BlockFileText::IdChunks BlockFileText::Snapshot::ids() const {
    IdChunks ids;
    for (const Piece& piece : pieces) ids.push_back(piece.ids);
    return ids;
}

BlockFileText::IdChunks BlockFileText::ids() const {
    IdChunks ids;
    for (const Chunk& chunk : chunks_) ids.push_back(chunk.ids);
    return ids;
}

std::vector<Uuid> BlockFileText::sortedIds(const IdChunks& chunks) {
    std::vector<Uuid> ids;
    for (const auto& chunk : chunks) ids.insert(ids.end(), chunk->begin(), chunk->end());
    std::sort(ids.begin(), ids.end());
    return ids;
}

void BlockFileText::reindex() {
    std::erase_if(chunks_, [](const Chunk& chunk) { return chunk.ids->empty(); });
    firsts_.clear();
    size_ = 0;
    for (const Chunk& chunk : chunks_) {
        firsts_.push_back(size_);
        size_ += chunk.ids->size();
    }
}

std::pair<std::size_t, std::size_t> BlockFileText::locate(std::size_t i) const {
    const std::size_t chunk = std::size_t(std::upper_bound(firsts_.begin(), firsts_.end(), i) - firsts_.begin() - 1);
    return {chunk, i - firsts_[chunk]};
}

std::vector<Uuid>& BlockFileText::changing(Chunk& chunk) {
    if (chunk.ids.use_count() > 1) chunk.ids = std::make_shared<std::vector<Uuid>>(*chunk.ids);
    chunk.version = ++versions_;
    chunk.inFile.reset();
    return *chunk.ids;
}

void BlockFileText::reset(const BlockList& list) { resetFromFile(list, {}); }

void BlockFileText::resetFromFile(const BlockList& list, const std::vector<std::optional<ByteRange>>& ranges) {
    chunks_.clear();
    for (std::size_t first = 0; first < list.size(); first += chunkSize) {
        const std::size_t last = std::min(list.size(), first + chunkSize);
        std::vector<Uuid> ids;
        ids.reserve(last - first);
        for (std::size_t i = first; i < last; ++i) ids.push_back(list.at(i).id());
        Chunk chunk = fresh(std::move(ids));
        // Copied from the file only when every block's text is known there.
        if (ranges.size() == list.size() &&
            std::all_of(ranges.begin() + std::ptrdiff_t(first), ranges.begin() + std::ptrdiff_t(last),
                        [](const auto& range) { return range.has_value(); })) {
            const std::uint64_t begin = ranges[first]->offset;
            chunk.inFile = ByteRange{begin, ranges[last - 1]->offset + ranges[last - 1]->length - begin};
        }
        chunks_.push_back(std::move(chunk));
    }
    reindex();
}

void BlockFileText::appended(const Uuid& id) {
    if (chunks_.empty() || chunks_.back().ids->size() >= chunkSize) {
        chunks_.push_back(fresh({id}));
        firsts_.push_back(size_);
    } else {
        changing(chunks_.back()).push_back(id);
    }
    ++size_;
}

void BlockFileText::updated(const BlockList& list, std::size_t i) {
    const auto [chunk, at] = locate(i);
    changing(chunks_[chunk])[at] = list.at(i).id();
}

void BlockFileText::erased(const std::vector<std::size_t>& positions) {
    // From the back, so the positions not yet removed stay where they were.
    for (auto i = positions.rbegin(); i != positions.rend(); ++i) {
        const auto [chunk, at] = locate(*i);
        auto& ids = changing(chunks_[chunk]);
        ids.erase(ids.begin() + std::ptrdiff_t(at));
    }
    reindex();
}

void BlockFileText::forgetFile() {
    for (Chunk& chunk : chunks_) chunk.inFile.reset();
}

BlockFileText::Snapshot BlockFileText::snapshot(const BlockList& list) {
    Snapshot snapshot;
    snapshot.pieces.reserve(chunks_.size());
    for (std::size_t k = 0; k < chunks_.size(); ++k) {
        const Chunk& chunk = chunks_[k];
        Piece piece{chunk.version, chunk.ids, chunk.inFile, {}};
        if (!chunk.inFile) {
            piece.blocks.reserve(chunk.ids->size());
            for (std::size_t i = 0; i < chunk.ids->size(); ++i) piece.blocks.push_back(list[firsts_[k] + i]);
        }
        snapshot.pieces.push_back(std::move(piece));
    }
    return snapshot;
}

void BlockFileText::written(std::vector<std::pair<std::uint64_t, ByteRange>> ranges) {
    // A chunk that kept its version since the snapshot is exactly what was written.
    std::sort(ranges.begin(), ranges.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    for (Chunk& chunk : chunks_) {
        const auto found = std::lower_bound(ranges.begin(), ranges.end(), chunk.version,
                                            [](const auto& entry, std::uint64_t version) { return entry.first < version; });
        if (found != ranges.end() && found->first == chunk.version) chunk.inFile = found->second;
    }
}

void FileBlockList::replace(const std::vector<MacDayBlock>& blocks) {
    list_.replace(blocks);
    text_.reset(list_);
}

bool FileBlockList::readInPieces(const std::function<std::size_t(char*, std::size_t)>& read,
                                 std::uint64_t fileSize) {
    // About 290 bytes a block: room for what the file holds, so the list
    // does not grow by copying itself while it is read.
    list_.clear(std::size_t(fileSize / 256));
    std::vector<std::optional<ByteRange>> ranges;
    bool whole = false;
    try {
        whole = readBlocksInPieces(read, [&](MacDayBlock&& block, std::optional<ByteRange> range) {
            list_.add(block);
            ranges.push_back(range);
        });
    } catch (...) {
        list_.clear(0);
        list_.index();
        text_.reset(list_);
        throw;
    }
    if (!whole) list_.clear(0);
    list_.index();
    text_.resetFromFile(list_, ranges);
    return whole;
}

void FileBlockList::append(const MacDayBlock& block) {
    list_.append(block);
    text_.appended(block.id);
}

void FileBlockList::appendAll(const std::vector<MacDayBlock>& blocks) {
    list_.appendAll(blocks);
    for (const MacDayBlock& block : blocks) text_.appended(block.id);
}

void FileBlockList::update(std::size_t i, const std::function<void(MacDayBlock&)>& change) {
    list_.update(i, change);
    text_.updated(list_, i);
}

std::size_t FileBlockList::erase(std::vector<std::size_t> positions) {
    list_.eraseAt(positions);
    text_.erased(positions);
    return positions.size();
}

std::size_t FileBlockList::eraseIf(const std::function<bool(const BlockList::Stored&)>& matches) {
    return erase(list_.positionsWhere(matches));
}

std::size_t FileBlockList::eraseId(const Uuid& id) { return erase(list_.positionsOf(id)); }

}  // namespace plenda
