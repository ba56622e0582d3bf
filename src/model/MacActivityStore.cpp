#include "model/MacActivityStore.h"

#include "model/MacDayBlockJson.h"
#include "platform/Calendar.h"
#include "platform/Clock.h"
#include "platform/Defaults.h"
#include "platform/Files.h"
#include "platform/StringTable.h"

#include <algorithm>
#include <new>
#include <unordered_map>

namespace plenda {

bool cloudSyncDisabledBy(const char* environmentValue) {
    return environmentValue != nullptr && std::string_view(environmentValue) == "1";
}

MacActivityStore::MacActivityStore(Dependencies dependencies)
    : clock_(dependencies.clock),
      scheduler_(dependencies.scheduler),
      calendar_(dependencies.calendar),
      defaults_(dependencies.defaults),
      files_(dependencies.files),
      strings_(dependencies.strings),
      makeUuid_(std::move(dependencies.makeUuid)),
      output_(dependencies.output),
      categoryChosen_(std::move(dependencies.categoryChosen)),
      syncMessage_(strings_.text("mac.sync.pending")),
      selectedDate_(clock_.now()),
      cloudSyncDisabled_(dependencies.cloudSyncDisabled || !dependencies.makeSync) {
    if (dependencies.makeSync) sync_ = dependencies.makeSync(*this);
    loadBlocks();
    splitMidnightSpanningBlocks();
}

MacActivityStore::~MacActivityStore() {
    if (writeWorkItem_) writeWorkItem_->cancel();
}

const std::string& MacActivityStore::blocksFilePath() {
    if (!blocksFilePath_) {
        blocksFilePath_.emplace();
        if (const auto support = files_.applicationSupportDirectory()) {
            const std::string folder = *support + "/Plenda";
            files_.createDirectories(folder);  // a failure shows up as failed reads and writes
            *blocksFilePath_ = folder + "/blocks.json";
        }
    }
    return *blocksFilePath_;
}

void MacActivityStore::loadBlocks() {
    const std::string& path = blocksFilePath();
    if (!path.empty()) {
        std::string why;
        switch (readBlocksFile(path, why)) {
            case FileState::loaded:
                return;
            case FileState::unread:
                output_ << "Plenda: the block file could not be read (" << why
                        << "); it is left as it is and nothing is saved over it until it can be read" << std::endl;
                return;
            case FileState::absent:
                break;
        }
    }

    const auto fallback = defaults_.data(storageKey);
    if (!fallback) return;
    auto decoded = decodeBlocks(fallback->bytes);
    if (!decoded) return;
    blocks_.replace(std::move(*decoded));
    // The key goes only once its blocks are safely in the file.
    if (saveNow()) defaults_.remove(storageKey);
}

// Only a file read whole that does not decode is unreadable (and kept aside);
// a failed read or a lack of memory says nothing about the file, so it stays
// where it is and unread. What is read joins the blocks already here, the
// newer version of a block winning.
MacActivityStore::FileState MacActivityStore::readBlocksFile(const std::string& path, std::string& why) {
    const FileRead file = files_.readFile(path);
    if (file.status == FileRead::Status::missing) {
        blocksFileUnread_ = false;
        return FileState::absent;
    }
    blocksFileUnread_ = true;
    why = file.error;
    if (file.status == FileRead::Status::failed) return FileState::unread;
    std::string reason;
    std::optional<std::vector<MacDayBlock>> decoded;
    try {
        decoded = decodeBlocks(file.bytes, file.bytes.capacity(), &reason);
    } catch (const std::bad_alloc&) {
        why = "not enough memory";
        return FileState::unread;
    }
    blocksFileUnread_ = false;
    if (!decoded) {
        keepUnreadableFile(path, file.bytes, reason);
        return FileState::absent;
    }
    if (!blocks_.all().empty()) {
        std::unordered_map<Uuid, std::size_t> index;
        for (std::size_t i = 0; i < decoded->size(); ++i) index.emplace((*decoded)[i].id, i);
        for (const MacDayBlock& block : blocks_.all()) {
            const auto found = index.find(block.id);
            if (found == index.end()) decoded->push_back(block);
            else if (block.lastModified() > (*decoded)[found->second].lastModified()) (*decoded)[found->second] = block;
        }
        std::stable_sort(decoded->begin(), decoded->end(), [](const MacDayBlock& a, const MacDayBlock& b) {
            return a.effectiveStart() < b.effectiveStart();
        });
    }
    blocks_.replace(std::move(*decoded));
    return FileState::loaded;
}

// A block file that exists but cannot be used would be replaced by the next
// save; keep it beside the new one so nothing of the user's is lost.
void MacActivityStore::keepUnreadableFile(const std::string& path, const std::string& bytes,
                                          const std::string& reason) {
    std::string stamp = isoUtcText(clock_.now());
    std::erase_if(stamp, [](char c) { return c == '-' || c == ':'; });
    const std::string copy = path + ".unreadable-" + stamp;
    const bool kept = bytes.empty() ? files_.moveFile(path, copy)
                                    : !files_.writeFileAtomically(copy, bytes).has_value();
    if (kept) {
        output_ << "Plenda: the block file could not be read (" << reason << "); kept it as " << copy
                << " and started without its blocks" << std::endl;
    } else {
        output_ << "Plenda: the block file could not be read (" << reason
                << ") and no copy of it could be kept at " << copy << std::endl;
    }
}

bool MacActivityStore::saveNow() {
    if (writeWorkItem_) {
        writeWorkItem_->cancel();
        writeWorkItem_.reset();
    }
    const std::string& path = blocksFilePath();
    if (path.empty()) return false;
    if (blocksFileUnread_) {
        std::string why;
        if (readBlocksFile(path, why) == FileState::unread) return false;
        publish();
    }
    const auto bytes = encodeBlocks(blocks_.all());
    if (!bytes) return false;
    return !files_.writeFileAtomically(path, *bytes).has_value();
}

void MacActivityStore::scheduleSave() {
    if (writeWorkItem_) writeWorkItem_->cancel();
    writeWorkItem_ = scheduler_.after(saveDelay, [this, alive = lifetime_.weak()] {
        if (alive.expired()) return;
        saveNow();
    });
}

void MacActivityStore::splitMidnightSpanningBlocks() {
    if (defaults_.boolValue(didSplitKey)) return;
    defaults_.setBool(didSplitKey, true);  // never retried, whatever happens next

    std::vector<MacDayBlock> result;
    std::vector<MacDayBlock> changed;
    result.reserve(blocks_.size());
    const Date now = clock_.now();

    for (const MacDayBlock& block : blocks_.all()) {
        // A block longer than any real session is kept whole: splitting it
        // could take unbounded work (or time itself, for -1e308 to 1e308).
        if (!block.startDate || !block.endDate || *block.endDate <= *block.startDate ||
            !(*block.endDate - *block.startDate <= maximumSplitSpan) ||
            calendar_.isSameDay(*block.startDate, *block.endDate)) {
            result.push_back(block);
            continue;
        }
        const Date end = *block.endDate;
        const double total = end - *block.startDate;
        Date cursor = *block.startDate;
        bool first = true;
        while (cursor < end) {
            const Date dayStart = calendar_.startOfDay(cursor);
            const auto nextMidnight = calendar_.addingDays(1, dayStart);
            // A calendar that cannot move on would loop forever; end the block here.
            const Date pieceEnd =
                (nextMidnight && *nextMidnight > cursor) ? std::min(end, *nextMidnight) : end;
            MacDayBlock piece = block;
            if (!first) {
                piece.id = makeUuid_();
                piece.createdAt = cursor;
                piece.blockType = std::string(trackedBlockType);
            }
            piece.startDate = cursor;
            piece.endDate = pieceEnd;
            // The share first: weight times seconds can overflow where the share cannot.
            piece.weight = block.weight * ((pieceEnd - cursor) / total);
            piece.modifiedAt = now;
            result.push_back(piece);
            changed.push_back(std::move(piece));
            cursor = pieceEnd;
            first = false;
        }
    }
    if (changed.empty()) return;

    std::stable_sort(result.begin(), result.end(), [](const MacDayBlock& a, const MacDayBlock& b) {
        return a.effectiveStart() < b.effectiveStart();
    });
    blocks_.replace(std::move(result));
    saveNow();
    if (!cloudSyncDisabled_) sync_->markBlocksDirty(changed);
}

void MacActivityStore::startUpload(std::vector<MacDayBlock> blocks, std::function<void()> finished) {
    scheduler_.post([this, alive = lifetime_.weak(), blocks = std::move(blocks),
                     finished = std::move(finished)]() mutable {
        if (alive.expired()) return;
        pushPending(std::move(blocks), false, std::move(finished));
    });
}

void MacActivityStore::markDirtyAndUpload(const std::vector<MacDayBlock>& changed) {
    if (cloudSyncDisabled_) return;
    sync_->markBlocksDirty(changed);
    startUpload(changed);
}

void MacActivityStore::syncNow(std::function<void()> finished) {
    if (sync_) return sync_->syncNow(std::move(finished));
    setSyncMessage("mac.sync.testmode");
    if (finished) scheduler_.post(std::move(finished));
}

void MacActivityStore::pushPending(std::vector<MacDayBlock> blocks, bool pruneStale,
                                   std::function<void()> finished) {
    if (sync_) return sync_->pushPending(std::move(blocks), pruneStale, std::move(finished));
    if (finished) scheduler_.post(std::move(finished));
}

void MacActivityStore::replaceBlocks(std::vector<MacDayBlock> blocks) {
    blocks_.replace(std::move(blocks));
    scheduleSave();
    publish();
}

void MacActivityStore::setSyncMessage(std::string_view key) {
    syncMessage_ = strings_.text(key);
    publish();
}

void MacActivityStore::rememberCategory(std::string_view title, MacBlockCategory category) {
    if (categoryChosen_) categoryChosen_(title, category);
}

}  // namespace plenda
