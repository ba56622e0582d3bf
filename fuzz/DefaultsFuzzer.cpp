// Every user-default the core reads, holding whatever a damaged preferences
// file could hold: the readers fall back, the store still starts and records.
#include "FuzzInput.h"
#include "fakes/KeyStringTable.h"
#include "fakes/MemoryDefaults.h"
#include "fakes/MemoryFiles.h"
#include "fakes/VirtualScheduler.h"
#include "model/MacActivityStore.h"
#include "platform/IcuCalendar.h"
#include "sync/CloudSyncState.h"
#include "tracking/CategoryRules.h"
#include "sync/MacCloudSync.h"

#include <cstdlib>
#include <sstream>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace plenda;
    static const char* const keys[] = {
        "idleThresholdSeconds", "sessionMergeGapSeconds", "minimumSessionSeconds", "ignoredBundleIdentifiers",
        "trackingEnabled", "categoryOverrides", "browserTab.lastOutcome", "windowTitle.lastOutcome",
        "todayWindowVisible", "didSplitMidnightSpanningBlocks", "userDayBlocks", "cloudSync.dayBlocks.dirtyIDs",
        "cloudSync.dayBlocks.pendingDeleteIDs", "cloudSync.dayBlocks.zoneChangeToken",
        "cloudSync.dayBlocks.zoneCreated"};
    FuzzInput input(data, size);
    MemoryDefaults defaults;
    for (const char* key : keys) {
        if (input.byte() % 2) defaults.set(key, input.value());
    }

    for (const char* key : keys) {
        (void)defaults.doubleValue(key);
        (void)defaults.boolValue(key);
        (void)defaults.string(key);
        (void)defaults.stringArray(key);
        (void)defaults.data(key);
        (void)defaults.dictionary(key);
    }

    CloudSyncState state(defaults);
    const IdSet dirty = state.readIDs(state.dirtyKey());
    (void)state.loadChangeToken();
    const Uuid id = Uuid::random();
    state.markDeleted({id});
    state.markDirty({id});
    const IdSet after = state.readIDs(state.dirtyKey());
    if (!after.contains(id) || state.readIDs(state.pendingDeleteKey()).contains(id)) std::abort();
    for (const Uuid& kept : dirty) {
        if (!after.contains(kept)) std::abort();  // marking never loses an earlier mark
    }

    const std::string title = input.text();
    (void)categoryOverride(defaults, title);
    setCategoryOverride(defaults, title, MacBlockCategory::work);
    if (categoryOverride(defaults, title) != MacBlockCategory::work) std::abort();

    VirtualScheduler scheduler;
    IcuCalendar calendar("UTC");
    MemoryFiles files;
    KeyStringTable strings;
    std::ostringstream output;
    MacActivityStore store({scheduler, scheduler, calendar, defaults, files, strings, false, &Uuid::random, output,
                            MacCloudSync::factory({defaults, scheduler, nullptr, nullptr, nullptr, output}),
                            categoryOverrideWriter(defaults)});
    const std::size_t before = store.blocks().size();
    const Date start = scheduler.now();
    store.recordSession("Xcode", MacBlockCategory::work, start, start + 600, "Logged automatically on Mac");
    if (store.blocks().empty() || store.blocks().size() > before + 1) std::abort();
    scheduler.advance(1);
    return 0;
}
