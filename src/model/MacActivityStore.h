#pragma once

// The store owns every block. It meets two parts above it without including
// them: cloud sync through the StoreSync it is given a factory for (the sync
// layer's MacCloudSync implements it and works on the store's public
// operations), and the category override table through the categoryChosen
// callback (tracking's setCategoryOverride in the application).

#include "model/BlockFileText.h"
#include "platform/Calendar.h"
#include "model/MacDayBlock.h"
#include "base/Observers.h"
#include "platform/Files.h"
#include "platform/Scheduler.h"
#include "model/StoreSync.h"

#include <algorithm>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

namespace plenda {

class Calendar;
class Clock;
class Defaults;
class StringTable;

// The single owner of every block of every day: the block file, session
// recording, edits and day queries. Main thread only.
class MacActivityStore {
public:
    struct Dependencies {
        Clock& clock;
        Scheduler& scheduler;
        Calendar& calendar;
        Defaults& defaults;
        Files& files;
        const StringTable& strings;
        bool cloudSyncDisabled = false;
        std::function<Uuid()> makeUuid = &Uuid::random;
        std::ostream& output = std::cout;
        // Makes the store's sync side; without it nothing is synced, as
        // when cloud sync is off.
        std::function<std::unique_ptr<StoreSync>(MacActivityStore&)> makeSync = {};
        // Told when the user (or another device) gives an activity another
        // category, so that later sessions with its title get it too.
        std::function<void(std::string_view title, MacBlockCategory category)> categoryChosen = {};
    };

    static constexpr std::string_view storageKey = "userDayBlocks";
    static constexpr std::string_view didSplitKey = "didSplitMidnightSpanningBlocks";
    static constexpr std::string_view mergeGapKey = "sessionMergeGapSeconds";
    static constexpr double saveDelay = 0.75;
    // Blocks spanning more than this are not cut at midnights.
    static constexpr double maximumSplitSpan = 31 * 86400.0;

    // Loads the blocks and runs the one-time midnight split.
    explicit MacActivityStore(Dependencies dependencies);
    ~MacActivityStore();
    MacActivityStore(const MacActivityStore&) = delete;
    MacActivityStore& operator=(const MacActivityStore&) = delete;

    // Every block, copied: O(n), for tools and tests. The store's own
    // operations and queries answer without it.
    std::vector<MacDayBlock> blocks() const { return blocks_.all(); }
    std::size_t blockCount() const { return blocks_.size(); }
    std::optional<MacDayBlock> block(const Uuid& id) const;
    // Each block as it lies in the store, without copying it.
    void forEachBlock(const std::function<void(const BlockList::Stored&)>& visit) const;
    const std::string& syncMessage() const { return syncMessage_; }
    Date selectedDate() const { return selectedDate_; }
    bool cloudSyncDisabled() const { return cloudSyncDisabled_; }
    bool isSyncing() const { return sync_ && sync_->isSyncing(); }
    // Null when nothing is synced.
    StoreSync* sync() { return sync_.get(); }
    // Told after every change of blocks, syncMessage or selectedDate.
    Subscription observe(std::function<void()> callback) { return observers_.subscribe(std::move(callback)); }

    // Application Support/Plenda/blocks.json; empty when there is no such folder.
    const std::string& blocksFilePath();

    // Persistence. saveNow writes before it returns (after any write under
    // way) and returns whether the file was written. The debounced save
    // writes on the scheduler's writer thread from a snapshot.
    bool saveNow();
    void scheduleSave();
    // Saves on the writer now and tells `done` (on the main thread) whether
    // the file written holds every change made before the call.
    void saveThen(std::function<void(bool written)> done);
    bool hasPendingSave() const { return writeWorkItem_.has_value() || write_ || saveAgain_; }

    // Session recording.
    void recordSession(const std::string& title, MacBlockCategory category, Date start, Date end,
                       std::optional<std::string> note);
    void upsert(MacDayBlock block);

    // Day queries.
    std::vector<MacDayBlock> blocksOnDay(Date date) const;
    // The blocks whose effective start lies in [from, to), earliest first.
    std::vector<MacDayBlock> blocksStartingWithin(Date from, Date to) const;
    double todayMinutes() const;
    double selectedDayMinutes() const;
    std::optional<Date> earliestBlockDate() const;

    // The day shown: moved by days, or to the day holding `date`; never past now.
    void shiftSelectedDate(int days);
    void selectDate(Date date);
    // Edits of one activity (title and category) of the selected day, or of
    // the days `within` (a week or a month shown).
    void changeCategory(std::string_view title, MacBlockCategory from, MacBlockCategory to,
                        std::optional<DayRange> within = std::nullopt);
    void deleteSummary(std::string_view title, MacBlockCategory category, std::optional<DayRange> within = std::nullopt);

    // The user's own blocks and changes of single blocks. None lets a block
    // cross midnight or end before it starts; what would is refused (false,
    // or nothing). Each is saved, marked and uploaded as every change is.
    static constexpr std::string_view manualBlockType = "manual";
    struct BlockEdit {
        std::optional<std::string> title = {};
        std::optional<MacBlockCategory> category = {};
        std::optional<Date> start = {}, end = {};
    };
    // A block of type "manual" whose weight is its span.
    std::optional<MacDayBlock> addManualBlock(const std::string& title, MacBlockCategory category, Date start,
                                              Date end, std::optional<std::string> note = std::nullopt);
    // A changed span sets a manual block's weight to the span and scales any
    // other block's weight by as much as its span grew or shrank.
    bool editBlock(const Uuid& id, const BlockEdit& edit);
    // Two blocks meeting at `at`, the weight shared by their spans; the first keeps the id.
    bool splitBlock(const Uuid& id, Date at);

    // Every edit above, and the category and delete edits, can be taken back
    // and done again for as long as the store lives; either is an edit like
    // any other, saved and synced.
    bool canUndo() const { return !undoable_.empty(); }
    bool canRedo() const { return !redoable_.empty(); }
    void undo();
    void redo();

    // Cloud sync (see StoreSync); without a sync side `finished` is still posted.
    void syncNow(std::function<void()> finished = {});
    void pushPending(std::vector<MacDayBlock> blocks, bool pruneStale, std::function<void()> finished = {});
    void pushAllPending(std::function<void()> finished = {});

    // For the sync side: these blocks replace those of their ids (or are
    // added) and the blocks of the removed ids go (then a save and
    // observers); a status key becomes the sync message, a category chosen
    // on another device is remembered.
    void putBlocks(const std::vector<MacDayBlock>& blocks, const std::vector<Uuid>& removed);
    void setSyncMessage(std::string_view key);
    void rememberCategory(std::string_view title, MacBlockCategory category);

private:
    enum class FileState { loaded, absent, unread };
    // What reading the block file brought into the blocks here.
    struct FileJoin {
        std::vector<MacDayBlock> taken;  // the file's version won or was the only one
        std::size_t lacking = 0;         // blocks of the last file, still here, missing from this one
        std::string bytes;
    };
    void loadBlocks();
    FileState readBlocksFile(const std::string& path, std::string& why, FileJoin& join, bool loading);
    FileJoin joinFileBlocks(std::vector<MacDayBlock> file);
    bool readInPieces(const std::string& path, FileJoin& join);
    bool wasInFile(const Uuid& id) {
        if (fileIdChunks_) fileIds_ = BlockFileText::sortedIds(*std::exchange(fileIdChunks_, std::nullopt));
        return std::binary_search(fileIds_.begin(), fileIds_.end(), id);
    }
    // Brings in what another program wrote since; false when the file must
    // not be replaced (it could not be read).
    bool takeOutsideWritesBeforeSave(const std::string& path);
    struct Write;
    std::shared_ptr<Write> startWrite(const std::string& path);
    void saveInBackground();
    // Waits for the write under way, drops one not started yet.
    void settleWrite();
    bool finishWrite(Write& write);
    // Finishes a write and tells those waiting for it.
    bool landed(Write& write);
    void failWaiting();
    void takeOutsideWrite(const std::string& path, const FileJoin& join);
    void splitMidnightSpanningBlocks();
    std::string copyPathBeside(const std::string& path, std::string_view kind) const;
    void keepUnreadableFile(const std::string& path, const std::string& bytes, const std::string& reason,
                            bool loading);
    void publish() { observers_.notify(); }
    // Main-thread task that uploads after an edit.
    void startUpload(std::vector<MacDayBlock> blocks, std::function<void()> finished = {});
    void markDirtyAndUpload(const std::vector<MacDayBlock>& changed);
    double mergeGapLimit() const;
    double minutesOn(Date date) const;

    // What an edit did to each block it touched: the block before and after
    // (none: it did not exist, or no longer does); and the category it taught
    // later sessions of a title, with the one they had before.
    struct BlockChange {
        Uuid id;
        std::optional<MacDayBlock> before, after;
    };
    struct CategoryChoice {
        std::string title;
        MacBlockCategory before, after;
    };
    struct Edit {
        std::vector<BlockChange> changes;
        std::optional<CategoryChoice> choice = std::nullopt;
    };
    void remember(Edit edit);
    // Brings each block to the version given (none: removed), as of now.
    Edit bringBack(const Edit& edit, bool toBefore);
    bool isValidSpan(Date start, Date end) const;

    Clock& clock_;
    Scheduler& scheduler_;
    Calendar& calendar_;
    Defaults& defaults_;
    Files& files_;
    const StringTable& strings_;
    std::function<Uuid()> makeUuid_;
    std::ostream& output_;
    std::function<void(std::string_view, MacBlockCategory)> categoryChosen_;

    FileBlockList blocks_;
    std::string syncMessage_;
    Date selectedDate_;
    std::optional<TaskHandle> writeWorkItem_;
    std::shared_ptr<Write> write_;  // handed to the writer, not finished yet
    bool saveAgain_ = false;        // changes came while it was under way
    std::vector<std::function<void(bool)>> waitingForWrite_;  // for the next write to start
    std::unique_ptr<StoreSync> sync_;
    bool cloudSyncDisabled_ = false;
    std::optional<std::string> blocksFilePath_;
    // The file exists but could not be read yet: nothing may replace it.
    bool blocksFileUnread_ = false;
    // The block file as this store last read or wrote it: another stamp means
    // another program wrote it since, and the ids tell a block deleted here
    // from one that program added.
    std::optional<FileStamp> fileStamp_;
    std::vector<Uuid> fileIds_;  // sorted
    std::optional<BlockFileText::IdChunks> fileIdChunks_;  // instead, until they are needed
    bool blocksFileKnown_ = false;  // read (or found missing) or written once
    ObserverList observers_;
    std::vector<Edit> undoable_, redoable_;
    Lifetime lifetime_;
};

// True exactly when the variable holds the one-character text "1".
bool cloudSyncDisabledBy(const char* environmentValue);

}  // namespace plenda
