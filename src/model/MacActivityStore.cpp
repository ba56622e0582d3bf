#include "model/MacActivityStore.h"

#include "model/MacDayBlockJson.h"
#include "platform/Calendar.h"
#include "platform/Clock.h"
#include "platform/Defaults.h"
#include "platform/Files.h"
#include "platform/StringTable.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <new>
#include <unordered_map>
#include <unordered_set>

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

// One write of the block file, handed from the main thread to the writer.
struct MacActivityStore::Write {
    enum class State { queued, running, done, dropped };
    std::mutex mutex;
    std::condition_variable settled;
    State state = State::queued;
    std::string path;
    BlockFileText::Snapshot snapshot;
    std::optional<FileStamp> expected;  // the file as the store last read or wrote it
    // What came of it.
    BlockFileText::Written result;
    std::vector<std::function<void(bool)>> then;  // told on the main thread once it landed

    bool written() const { return !result.outsideWrite && !result.failure; }
    // False when it was dropped before it started.
    bool run(Files& files) {
        {
            std::lock_guard lock(mutex);
            if (state != State::queued) return false;
            state = State::running;
        }
        result = snapshot.write(files, path, expected);
        {
            std::lock_guard lock(mutex);
            state = State::done;
        }
        settled.notify_all();
        return true;
    }
};

MacActivityStore::~MacActivityStore() {
    if (writeWorkItem_) writeWorkItem_->cancel();
    waitingForWrite_.clear();
    if (write_) write_->then.clear();
    settleWrite();
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
        FileJoin join;
        switch (readBlocksFile(path, why, join, true)) {
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
// where it is and unread. What is read joins the blocks already here.
MacActivityStore::FileState MacActivityStore::readBlocksFile(const std::string& path, std::string& why,
                                                             FileJoin& join, bool loading) {
    // Stamped before reading, so a write in between is at worst read twice.
    const auto stamp = files_.stamp(path);
    const auto absent = [this] {
        blocksFileUnread_ = false;
        blocksFileKnown_ = true;
        fileStamp_.reset();
        fileIds_.clear();
        fileIdChunks_.reset();
        blocks_.forgetFile();
        return FileState::absent;
    };
    if (!stamp) return absent();
    blocksFileUnread_ = true;
    try {
        if (blocks_.size() == 0 && fileIds_.empty() && !fileIdChunks_ && readInPieces(path, join)) return FileState::loaded;
        FileRead file = files_.readFile(path);
        if (file.status == FileRead::Status::missing) return absent();
        why = file.error;
        if (file.status == FileRead::Status::failed) return FileState::unread;
        std::string reason;
        auto decoded = decodeBlocks(file.bytes, file.bytes.capacity(), &reason);
        blocksFileUnread_ = false;
        blocksFileKnown_ = true;
        if (!decoded) {
            keepUnreadableFile(path, file.bytes, reason, loading);
            fileStamp_ = files_.stamp(path);
            fileIds_.clear();
            fileIdChunks_.reset();
            blocks_.forgetFile();
            return FileState::absent;
        }
        std::vector<Uuid> ids;
        ids.reserve(decoded->size());
        for (const MacDayBlock& block : *decoded) ids.push_back(block.id);
        std::sort(ids.begin(), ids.end());
        join = joinFileBlocks(std::move(*decoded));
        join.bytes = std::move(file.bytes);
        fileStamp_ = stamp;
        fileIds_ = std::move(ids);
        fileIdChunks_.reset();
    } catch (const std::bad_alloc&) {
        why = "not enough memory";
        return FileState::unread;
    }
    return FileState::loaded;
}

// Into an empty store, a piece of the file at a time: the file's size never
// sits in memory, and each block's text stays where it is for the next save.
bool MacActivityStore::readInPieces(const std::string& path, FileJoin& join) {
    const auto reader = files_.openForReading(path);
    const auto stamp = reader ? reader->stamp() : std::nullopt;
    if (!stamp) return false;
    std::uint64_t offset = 0;
    const bool read = blocks_.readInPieces(
        [&](char* into, std::size_t room) -> std::size_t {
            const std::size_t length = std::min<std::uint64_t>(room, stamp->size - offset);
            if (length == 0 || !reader->read(offset, into, length)) return 0;
            offset += length;
            return length;
        },
        stamp->size);
    if (!read) return false;
    // Come from another program into a store that knew the file was missing.
    if (blocksFileKnown_) join.taken = blocks_.all();
    blocksFileUnread_ = false;
    blocksFileKnown_ = true;
    fileStamp_ = stamp;
    fileIds_.clear();
    fileIdChunks_ = blocks_.snapshotIds();
    return true;
}

// A block only in the file comes in, unless it was deleted here since the
// file was last read or written; of a block in both, the newer version stays
// (the one here on a tie).
MacActivityStore::FileJoin MacActivityStore::joinFileBlocks(std::vector<MacDayBlock> file) {
    FileJoin join;
    if (blocks_.size() == 0 && fileIds_.empty() && !fileIdChunks_) {
        // Every block comes in, in the file's order.
        join.taken = file;
        blocks_.replace(file);
        return join;
    }
    std::vector<bool> matched(blocks_.size());
    std::vector<MacDayBlock> result;
    result.reserve(file.size() + blocks_.size());
    for (MacDayBlock& block : file) {
        const auto found = blocks_.find(block.id);
        if (!found) {
            if (wasInFile(block.id)) continue;
        } else {
            if (matched[*found]) continue;
            matched[*found] = true;
            MacDayBlock mine = blocks_[*found];
            if (!(block.lastModified() > mine.lastModified())) {
                result.push_back(std::move(mine));
                continue;
            }
        }
        join.taken.push_back(block);
        result.push_back(std::move(block));
    }
    for (std::size_t i = 0; i < blocks_.size(); ++i) {
        if (matched[i]) continue;
        if (wasInFile(blocks_.at(i).id())) ++join.lacking;
        result.push_back(blocks_[i]);
    }
    std::stable_sort(result.begin(), result.end(), [](const MacDayBlock& a, const MacDayBlock& b) {
        return a.effectiveStart() < b.effectiveStart();
    });
    blocks_.replace(result);
    return join;
}

// What another program wrote goes up like a new block. A file that lacks
// blocks kept here (removed there, or an old copy put back) is kept beside,
// so what it removed is not lost unseen.
void MacActivityStore::takeOutsideWrite(const std::string& path, const FileJoin& join) {
    if (!join.taken.empty()) markDirtyAndUpload(join.taken);
    const auto blocks = [](std::size_t n) { return std::to_string(n) + (n == 1 ? " block" : " blocks"); };
    output_ << "Plenda: blocks.json was changed by another program; merged " << blocks(join.taken.size())
            << " from it";
    if (join.lacking > 0) {
        const std::string copy = copyPathBeside(path, "outside");
        if (!files_.writeFileAtomically(copy, join.bytes)) {
            output_ << "; it lacked " << blocks(join.lacking) << " kept here, so it was kept as " << copy;
        } else {
            output_ << "; it lacked " << blocks(join.lacking) << " kept here and no copy of it could be kept at "
                    << copy;
        }
    }
    output_ << std::endl;
}

std::string MacActivityStore::copyPathBeside(const std::string& path, std::string_view kind) const {
    std::string stamp = isoUtcText(clock_.now());
    std::erase_if(stamp, [](char c) { return c == '-' || c == ':'; });
    return path + "." + std::string(kind) + "-" + stamp;
}

// A block file that exists but cannot be used would be replaced by the next
// save; keep it beside the new one so nothing of the user's is lost.
void MacActivityStore::keepUnreadableFile(const std::string& path, const std::string& bytes,
                                          const std::string& reason, bool loading) {
    const std::string copy = copyPathBeside(path, "unreadable");
    const bool kept = bytes.empty() ? files_.moveFile(path, copy)
                                    : !files_.writeFileAtomically(copy, bytes).has_value();
    if (kept) {
        output_ << "Plenda: the block file could not be read (" << reason << "); kept it as " << copy
                << (loading ? " and started without its blocks" : " and saved the blocks here in its place")
                << std::endl;
    } else {
        output_ << "Plenda: the block file could not be read (" << reason
                << ") and no copy of it could be kept at " << copy << std::endl;
    }
}

bool MacActivityStore::takeOutsideWritesBeforeSave(const std::string& path) {
    // Unread since launch, or written by another program since this store read or wrote it.
    const bool known = blocksFileKnown_;
    if (blocksFileUnread_ || files_.stamp(path) != fileStamp_) {
        std::string why;
        FileJoin join;
        const FileState state = readBlocksFile(path, why, join, false);
        if (state == FileState::unread) return false;
        if (known && state == FileState::loaded) takeOutsideWrite(path, join);
        publish();
    }
    return true;
}

std::shared_ptr<MacActivityStore::Write> MacActivityStore::startWrite(const std::string& path) {
    auto write = std::make_shared<Write>();
    write->path = path;
    write->expected = fileStamp_;
    write->snapshot = blocks_.snapshot();
    write->then = std::move(waitingForWrite_);
    waitingForWrite_.clear();
    return write;
}

bool MacActivityStore::landed(Write& write) {
    const bool written = finishWrite(write);
    for (const auto& done : std::exchange(write.then, {})) done(written);
    return written;
}

void MacActivityStore::failWaiting() {
    for (const auto& done : std::exchange(waitingForWrite_, {})) done(false);
}

bool MacActivityStore::finishWrite(Write& write) {
    // A failed copy from the old file would fail the same way again: the
    // next save encodes every block.
    if (write.result.failure) blocks_.forgetFile();
    if (!write.written()) return false;
    blocksFileKnown_ = true;
    fileStamp_ = write.result.stamp;
    blocks_.written(std::move(write.result.ranges));
    // The ids are sorted out of the snapshot only when another program's write needs them.
    fileIds_.clear();
    fileIdChunks_ = write.snapshot.ids();
    write.snapshot = {};
    return true;
}

void MacActivityStore::settleWrite() {
    if (!write_) return;
    const auto write = std::exchange(write_, nullptr);
    std::unique_lock lock(write->mutex);
    if (write->state == Write::State::queued) write->state = Write::State::dropped;
    write->settled.wait(lock, [&] { return write->state != Write::State::running; });
    lock.unlock();
    if (write->state == Write::State::done && !write->result.outsideWrite) {
        landed(*write);
    } else {
        // Not written: those waiting for it wait for the write that follows.
        waitingForWrite_.insert(waitingForWrite_.begin(), write->then.begin(), write->then.end());
    }
}

bool MacActivityStore::saveNow() {
    if (writeWorkItem_) {
        writeWorkItem_->cancel();
        writeWorkItem_.reset();
    }
    saveAgain_ = false;
    settleWrite();  // so the newest lands last
    const std::string& path = blocksFilePath();
    if (path.empty() || !takeOutsideWritesBeforeSave(path)) {
        failWaiting();
        return false;
    }
    const auto write = startWrite(path);
    write->run(files_);
    return landed(*write);
}

// One write at a time: changes made while one is under way are saved once it
// is done, from a new snapshot.
void MacActivityStore::saveInBackground() {
    if (write_) {
        saveAgain_ = true;
        return;
    }
    const std::string& path = blocksFilePath();
    if (path.empty() || !takeOutsideWritesBeforeSave(path)) return failWaiting();
    write_ = startWrite(path);
    scheduler_.runOnWriter([write = write_, &files = files_, &scheduler = scheduler_, alive = lifetime_.weak(), this] {
        if (!write->run(files)) return;
        scheduler.post([write, alive, this] {
            if (alive.expired() || write_ != write) return;
            write_.reset();
            if (write->result.outsideWrite) {
                // Merged first, then written by the next write.
                waitingForWrite_.insert(waitingForWrite_.begin(), write->then.begin(), write->then.end());
                return saveInBackground();
            }
            landed(*write);
            if (std::exchange(saveAgain_, false)) saveInBackground();
        });
    });
}

void MacActivityStore::saveThen(std::function<void(bool written)> done) {
    if (writeWorkItem_) {
        writeWorkItem_->cancel();
        writeWorkItem_.reset();
    }
    waitingForWrite_.push_back(std::move(done));
    saveInBackground();
}

void MacActivityStore::scheduleSave() {
    if (writeWorkItem_) writeWorkItem_->cancel();
    writeWorkItem_ = scheduler_.after(saveDelay, [this, alive = lifetime_.weak()] {
        if (alive.expired()) return;
        writeWorkItem_.reset();
        saveInBackground();
    });
}

void MacActivityStore::splitMidnightSpanningBlocks() {
    if (defaults_.boolValue(didSplitKey)) return;
    defaults_.setBool(didSplitKey, true);  // never retried, whatever happens next

    // A block longer than any real session is kept whole: splitting it
    // could take unbounded work (or time itself, for -1e308 to 1e308). The
    // day of the last start is kept: blocks come mostly in time order, so
    // ten years of them ask the calendar a few thousand times, not a million.
    DayRange day{Date(1), Date(0)};
    const auto crossesMidnight = [&](std::optional<Date> start, std::optional<Date> end) {
        if (!start || !end || !(*end > *start) || !(*end - *start <= maximumSplitSpan)) return false;
        if (!day.contains(*start)) day = dayRange(calendar_, *start);
        return !day.contains(*start) || !day.contains(*end);
    };
    // Looked at where they lie: most stores have nothing to split.
    bool any = false;
    for (std::size_t i = 0; i < blocks_.size() && !any; ++i) {
        any = crossesMidnight(blocks_.at(i).startDate(), blocks_.at(i).endDate());
    }
    if (!any) return;

    std::vector<MacDayBlock> result;
    std::vector<MacDayBlock> changed;
    result.reserve(blocks_.size());
    const Date now = clock_.now();

    for (const MacDayBlock& block : blocks_.all()) {
        if (!crossesMidnight(block.startDate, block.endDate)) {
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

void MacActivityStore::pushAllPending(std::function<void()> finished) {
    if (sync_) return sync_->pushAllPending(std::move(finished));
    if (finished) scheduler_.post(std::move(finished));
}

void MacActivityStore::putBlocks(const std::vector<MacDayBlock>& blocks, const std::vector<Uuid>& removed) {
    std::vector<MacDayBlock> added;
    std::unordered_set<Uuid> adding;
    for (const MacDayBlock& block : blocks) {
        if (const auto found = blocks_.find(block.id)) {
            blocks_.update(*found, [&](MacDayBlock& stored) { stored = block; });
        } else if (adding.insert(block.id).second) {
            added.push_back(block);
        } else {
            *std::ranges::find(added, block.id, &MacDayBlock::id) = block;  // the later version of one pull
        }
    }
    // A first pull brings hundreds of thousands, in no order of time: those
    // are indexed once; a few go in one by one.
    if (added.size() > 64) {
        blocks_.appendAll(added);
    } else {
        for (const MacDayBlock& block : added) blocks_.append(block);
    }
    if (!removed.empty()) {
        const std::unordered_set<Uuid> gone(removed.begin(), removed.end());
        if (gone.size() <= 2) {
            for (const Uuid& id : gone) blocks_.eraseId(id);
        } else {
            blocks_.eraseIf([&](const BlockList::Stored& block) { return gone.contains(block.id()); });
        }
    }
    if (blocks.empty() && removed.empty()) return;
    scheduleSave();
    publish();
}

std::optional<MacDayBlock> MacActivityStore::block(const Uuid& id) const {
    const auto found = blocks_.find(id);
    if (!found) return std::nullopt;
    return blocks_[*found];
}

void MacActivityStore::forEachBlock(const std::function<void(const BlockList::Stored&)>& visit) const {
    for (std::size_t i = 0; i < blocks_.size(); ++i) visit(blocks_.at(i));
}

void MacActivityStore::setSyncMessage(std::string_view key) {
    syncMessage_ = strings_.text(key);
    publish();
}

void MacActivityStore::rememberCategory(std::string_view title, MacBlockCategory category) {
    if (categoryChosen_) categoryChosen_(title, category);
}

}  // namespace plenda
