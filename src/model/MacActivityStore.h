#pragma once

#include "model/BlockList.h"
#include "model/MacDayBlock.h"
#include "model/Observers.h"
#include "platform/Scheduler.h"
#include "sync/MacCloudSync.h"

#include <functional>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

namespace plenda {

class Calendar;
class ChangeTokenArchive;
class Clock;
class CloudDatabase;
class SystemLog;
class Defaults;
class Files;
class StringTable;
struct MacActivitySummary;

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
        // The user's private cloud database; null when none is configured,
        // which sync reports as unavailable.
        CloudDatabase* cloudDatabase = nullptr;
        SystemLog* systemLog = nullptr;
        // Null: change tokens are stored as their own bytes.
        const ChangeTokenArchive* changeTokenArchive = nullptr;
    };

    static constexpr std::string_view storageKey = "userDayBlocks";
    static constexpr std::string_view didSplitKey = "didSplitMidnightSpanningBlocks";
    static constexpr std::string_view mergeGapKey = "sessionMergeGapSeconds";
    static constexpr double saveDelay = 0.75;

    // Loads the blocks and runs the one-time midnight split.
    explicit MacActivityStore(Dependencies dependencies);
    ~MacActivityStore();
    MacActivityStore(const MacActivityStore&) = delete;
    MacActivityStore& operator=(const MacActivityStore&) = delete;

    const std::vector<MacDayBlock>& blocks() const { return blocks_.all(); }
    const std::string& syncMessage() const { return syncMessage_; }
    Date selectedDate() const { return selectedDate_; }
    bool cloudSyncDisabled() const { return cloudSyncDisabled_; }
    bool isSyncing() const { return isSyncing_; }
    MacCloudSync& cloud() { return cloud_; }
    // Told after every change of blocks, syncMessage or selectedDate.
    Subscription observe(std::function<void()> callback) { return observers_.subscribe(std::move(callback)); }

    // Application Support/Plenda/blocks.json; empty when there is no such folder.
    const std::string& blocksFilePath();

    // Persistence. saveNow returns whether the file was written.
    bool saveNow();
    void scheduleSave();
    bool hasPendingSave() const { return writeWorkItem_.has_value(); }

    // Session recording.
    void recordSession(const std::string& title, MacBlockCategory category, Date start, Date end,
                       std::optional<std::string> note);
    void upsert(MacDayBlock block);

    // Day queries.
    std::vector<MacDayBlock> blocksOnDay(Date date) const;
    double todayMinutes() const;
    double selectedDayMinutes() const;
    std::optional<Date> earliestBlockDate() const;

    // Edits of the selected day.
    void shiftSelectedDate(int days);
    void changeCategory(const MacActivitySummary& summary, MacBlockCategory category);
    void deleteSummary(const MacActivitySummary& summary);

    // Cloud sync: pull, merge, push everything pending; `finished` runs on the
    // main thread once the status is final (also when nothing was started).
    void syncNow(std::function<void()> finished = {});
    // Sends pending changes for `blocks` (and every pending deletion) to the
    // cloud on the worker, then calls `finished` on the main thread.
    void pushPending(std::vector<MacDayBlock> blocks, bool pruneStale,
                     std::function<void()> finished = {});
    // Last writer wins; ties keep the local block.
    void applyPulled(const std::vector<CloudRecordEnvelope>& changed, const std::vector<Uuid>& deleted);

private:
    void loadBlocks();
    void splitMidnightSpanningBlocks();
    void keepUnreadableFile(const std::string& path, const std::string& bytes, const std::string& reason);
    void publish() { observers_.notify(); }
    // Main-thread task that uploads after an edit.
    void startUpload(std::vector<MacDayBlock> blocks, std::function<void()> finished = {});
    void markDirtyAndUpload(const std::vector<MacDayBlock>& changed);
    void setSyncMessage(std::string_view key);
    // Main thread, after a push: forgets the dirty marks whose block is still
    // the version that was sent, or that no longer has a block.
    void settlePush(const std::vector<MacDayBlock>& sent, const IdSet& savedIDs, const IdSet& deletedIDs,
                    const IdSet& staleCandidates);
    double mergeGapLimit() const;
    double minutesOn(Date date) const;

    Clock& clock_;
    Scheduler& scheduler_;
    Calendar& calendar_;
    Defaults& defaults_;
    Files& files_;
    const StringTable& strings_;
    std::function<Uuid()> makeUuid_;
    std::ostream& output_;

    BlockList blocks_;
    std::string syncMessage_;
    Date selectedDate_;
    std::optional<TaskHandle> writeWorkItem_;
    MacCloudSync cloud_;
    bool cloudSyncDisabled_ = false;
    bool isSyncing_ = false;
    std::optional<std::string> blocksFilePath_;
    ObserverList observers_;
    Lifetime lifetime_;
};

// True exactly when the variable holds the one-character text "1".
bool cloudSyncDisabledBy(const char* environmentValue);

}  // namespace plenda
