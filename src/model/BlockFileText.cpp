#include "model/BlockFileText.h"

#include "model/MacDayBlockJson.h"

#include <algorithm>
#include <unordered_map>

namespace plenda {

namespace {

using Chunk = BlockFileText::Chunk;

void addEncoded(Chunk& chunk, const MacDayBlock& block) {
    JsonWriter writer;
    writeBlock(writer, block);
    chunk.add(block.id, writer.ok() ? std::string_view(writer.text()) : std::string_view());
}

bool isBlank(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }

// The elements of a top-level array of objects, cut where "}" blanks ","
// blanks "{" ends one and begins the next. The same bytes inside a string or
// a nested value only add cuts, so exactly `count` pieces means every cut is
// a real one.
std::optional<std::vector<std::string_view>> elementsOf(std::string_view json, std::size_t count) {
    std::size_t first = 0, last = json.size();
    while (first < last && isBlank(json[first])) ++first;
    while (last > first && isBlank(json[last - 1])) --last;
    if (last - first < 2 || json[first] != '[' || json[last - 1] != ']') return std::nullopt;
    std::string_view inner = json.substr(first + 1, last - first - 2);
    while (!inner.empty() && isBlank(inner.front())) inner.remove_prefix(1);
    while (!inner.empty() && isBlank(inner.back())) inner.remove_suffix(1);
    std::vector<std::string_view> pieces;
    if (inner.empty()) return count == 0 ? std::optional(pieces) : std::nullopt;
    pieces.reserve(count);
    std::size_t begin = 0;
    for (std::size_t i = inner.find('}'); i != std::string_view::npos; i = inner.find('}', i + 1)) {
        std::size_t j = i + 1;
        while (j < inner.size() && isBlank(inner[j])) ++j;
        if (j >= inner.size() || inner[j] != ',') continue;
        ++j;
        while (j < inner.size() && isBlank(inner[j])) ++j;
        if (j >= inner.size() || inner[j] != '{') continue;
        if (pieces.size() + 1 >= count) return std::nullopt;
        pieces.push_back(inner.substr(begin, i + 1 - begin));
        begin = j;
    }
    pieces.push_back(inner.substr(begin));
    if (pieces.size() != count) return std::nullopt;
    return pieces;
}

}  // namespace

std::string_view BlockFileText::Chunk::piece(std::size_t i) const {
    const std::size_t begin = i == 0 ? 0 : ends[i - 1] + 1;
    return std::string_view(text).substr(begin, ends[i] - begin);
}

void BlockFileText::Chunk::add(const Uuid& id, std::string_view piece) {
    if (!ids.empty()) text.push_back(',');
    text.append(piece);
    ends.push_back(static_cast<std::uint32_t>(text.size()));
    ids.push_back(id);
}

std::optional<std::string> BlockFileText::Snapshot::join() const {
    std::size_t total = 2;
    for (const auto& chunk : chunks) {
        for (std::size_t i = 0; i < chunk->size(); ++i) {
            if (chunk->piece(i).empty()) return std::nullopt;
        }
        total += chunk->text.size() + 1;
    }
    std::string bytes;
    bytes.reserve(total);
    bytes.push_back('[');
    for (const auto& chunk : chunks) {
        if (bytes.size() > 1) bytes.push_back(',');
        bytes.append(chunk->text);
    }
    bytes.push_back(']');
    return bytes;
}

std::vector<Uuid> BlockFileText::Snapshot::sortedIds() const {
    std::vector<Uuid> ids;
    for (const auto& chunk : chunks) ids.insert(ids.end(), chunk->ids.begin(), chunk->ids.end());
    std::sort(ids.begin(), ids.end());
    return ids;
}

void BlockFileText::reindex() {
    std::erase_if(slots_, [](const Slot& slot) { return slot.chunk->size() == 0; });
    firsts_.clear();
    size_ = 0;
    for (const Slot& slot : slots_) {
        firsts_.push_back(size_);
        size_ += slot.chunk->size();
    }
}

void BlockFileText::replace(const std::vector<MacDayBlock>& before, const std::vector<MacDayBlock>& after) {
    std::vector<Slot> slots;
    std::shared_ptr<Chunk> building;
    const auto piece = [&](std::size_t position) {
        const auto slot = std::upper_bound(firsts_.begin(), firsts_.end(), position) - firsts_.begin() - 1;
        return slots_[slot].chunk->piece(position - firsts_[slot]);
    };
    std::unordered_map<Uuid, std::size_t> positions;  // of `before`, made only when needed
    std::size_t slot = 0;  // the old chunk holding position i, or the first after it
    const auto endOf = [&](std::size_t k) { return firsts_[k] + slots_[k].chunk->size(); };
    for (std::size_t i = 0; i < after.size();) {
        while (slot < slots_.size() && endOf(slot) <= i) ++slot;
        // A chunk whose blocks all stay where they were is kept as it is.
        if (slot < slots_.size() && firsts_[slot] == i && endOf(slot) <= after.size() &&
            std::equal(after.begin() + i, after.begin() + endOf(slot), before.begin() + i)) {
            slots.push_back(slots_[slot]);
            i = endOf(slot);
            continue;
        }
        if (!building) building = std::make_shared<Chunk>();
        const MacDayBlock& block = after[i];
        if (i < before.size() && before[i] == block) {
            building->add(block.id, piece(i));
        } else {
            if (positions.empty()) {
                for (std::size_t k = 0; k < before.size(); ++k) positions.emplace(before[k].id, k);
            }
            const auto found = positions.find(block.id);
            if (found != positions.end() && before[found->second] == block) building->add(block.id, piece(found->second));
            else addEncoded(*building, block);
        }
        ++i;
        // Cut where an old chunk ends, so the next one can be kept whole.
        if (building->size() == chunkSize || (slot < slots_.size() && endOf(slot) == i)) {
            slots.push_back({std::move(building), false});
            building.reset();
        }
    }
    if (building) slots.push_back({std::move(building), false});
    slots_ = std::move(slots);
    reindex();
}

void BlockFileText::replaceFromFile(const std::vector<MacDayBlock>& blocks, std::string_view fileText) {
    const auto pieces = elementsOf(fileText, blocks.size());
    slots_.clear();
    reindex();
    if (!pieces) return replace({}, blocks);
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        if (i % chunkSize == 0) slots_.push_back({std::make_shared<Chunk>(), false});
        slots_.back().chunk->add(blocks[i].id, (*pieces)[i]);
    }
    reindex();
}

void BlockFileText::append(const MacDayBlock& block) {
    if (slots_.empty() || slots_.back().chunk->size() >= chunkSize) {
        slots_.push_back({std::make_shared<Chunk>(), false});
        firsts_.push_back(size_);
    } else if (slots_.back().shared) {
        slots_.back() = {std::make_shared<Chunk>(*slots_.back().chunk), false};
    }
    addEncoded(*slots_.back().chunk, block);
    ++size_;
}

void BlockFileText::update(std::size_t i, const MacDayBlock& block) {
    const auto slot = std::upper_bound(firsts_.begin(), firsts_.end(), i) - firsts_.begin() - 1;
    const Chunk& old = *slots_[slot].chunk;
    const std::size_t at = i - firsts_[slot];
    auto chunk = std::make_shared<Chunk>();
    chunk->text.reserve(old.text.size() + 64);
    for (std::size_t k = 0; k < old.size(); ++k) {
        if (k == at) addEncoded(*chunk, block);
        else chunk->add(old.ids[k], old.piece(k));
    }
    slots_[slot] = {std::move(chunk), false};
}

void BlockFileText::erase(const std::unordered_set<Uuid>& ids) {
    if (ids.empty()) return;
    for (Slot& slot : slots_) {
        const Chunk& old = *slot.chunk;
        if (std::none_of(old.ids.begin(), old.ids.end(), [&](const Uuid& id) { return ids.contains(id); })) continue;
        auto chunk = std::make_shared<Chunk>();
        for (std::size_t k = 0; k < old.size(); ++k) {
            if (!ids.contains(old.ids[k])) chunk->add(old.ids[k], old.piece(k));
        }
        slot = {std::move(chunk), false};
    }
    reindex();
}

BlockFileText::Snapshot BlockFileText::snapshot() {
    Snapshot snapshot;
    snapshot.chunks.reserve(slots_.size());
    for (Slot& slot : slots_) {
        slot.shared = true;
        snapshot.chunks.push_back(slot.chunk);
    }
    return snapshot;
}

void FileBlockList::replace(std::vector<MacDayBlock> blocks) {
    text_.replace(list_.all(), blocks);
    list_.replace(std::move(blocks));
}

void FileBlockList::replaceFromFile(std::vector<MacDayBlock> blocks, std::string_view fileText) {
    text_.replaceFromFile(blocks, fileText);
    list_.replace(std::move(blocks));
}

void FileBlockList::append(MacDayBlock block) {
    text_.append(block);
    list_.append(std::move(block));
}

void FileBlockList::update(std::size_t i, const std::function<void(MacDayBlock&)>& change) {
    list_.update(i, change);
    text_.update(i, list_[i]);
}

std::size_t FileBlockList::eraseIf(const std::function<bool(const MacDayBlock&)>& matches) {
    std::unordered_set<Uuid> erased;
    const std::size_t count = list_.eraseIf([&](const MacDayBlock& block) {
        if (!matches(block)) return false;
        erased.insert(block.id);
        return true;
    });
    text_.erase(erased);
    return count;
}

std::size_t FileBlockList::eraseId(const Uuid& id) {
    const std::size_t count = list_.eraseId(id);
    if (count > 0) text_.erase({id});
    return count;
}

}  // namespace plenda
