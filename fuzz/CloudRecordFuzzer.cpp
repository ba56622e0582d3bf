// A page of cloud records as a hostile or broken server could send it: names
// that are not UUIDs, fields of the wrong type, payloads that are not blocks
// or name another block, repeated records and deletions. The envelopes keep
// exactly what the record held, and the merge keeps ids unique, never brings
// back a pending deletion, never drops a dirty block for a remote deletion,
// and leaves a block file that decodes to the store's blocks.
#include "FuzzInput.h"
#include "fakes/KeyStringTable.h"
#include "fakes/MemoryDefaults.h"
#include "fakes/MemoryFiles.h"
#include "fakes/VirtualScheduler.h"
#include "model/MacActivityStore.h"
#include "model/MacDayBlockJson.h"
#include "platform/IcuCalendar.h"
#include "sync/CloudRecordEnvelope.h"
#include "sync/MacCloudSync.h"
#include "tracking/CategoryRules.h"

#include <cstdlib>
#include <cstring>
#include <set>
#include <sstream>

namespace plenda {
namespace {

const Uuid localClean = *Uuid::parse("00000000-0000-4000-8000-000000000001");
const Uuid localDirty = *Uuid::parse("00000000-0000-4000-8000-000000000002");
const Uuid deletedHere = *Uuid::parse("00000000-0000-4000-8000-000000000003");
const Uuid unknown = *Uuid::parse("00000000-0000-4000-8000-000000000004");
const Uuid pool[] = {localClean, localDirty, deletedHere, unknown};

constexpr Date now{700000000};

bool sameBits(Date a, Date b) { return std::memcmp(&a.seconds, &b.seconds, sizeof a.seconds) == 0; }

Uuid pooledID(FuzzInput& input) { return pool[input.byte() % std::size(pool)]; }

std::optional<Date> optionalDate(FuzzInput& input) {
    switch (input.byte() % 4) {
    case 0: return std::nullopt;
    case 1: return Date(input.number());
    default: return now + double(static_cast<std::int8_t>(input.byte())) * 3600;
    }
}

// Mostly well-formed blocks of the pooled ids, sometimes anything at all.
std::string payload(FuzzInput& input) {
    if (input.byte() % 4 == 0) return input.text();
    MacDayBlock block;
    block.id = pooledID(input);
    block.title = input.byte() % 2 ? std::string("Xcode") : input.text();
    block.category = allCategories[input.byte() % allCategories.size()];
    block.weight = input.byte() % 8 == 0 ? input.number() : input.byte();
    if (input.byte() % 2) block.note = input.text();
    block.createdAt = optionalDate(input).value_or(now);
    block.startDate = optionalDate(input);
    block.endDate = optionalDate(input);
    block.blockType = "tracked";
    block.modifiedAt = optionalDate(input);
    return encodeBlock(block).value_or(input.text());
}

CloudFieldValue fieldValue(FuzzInput& input) {
    switch (input.byte() % 4) {
    case 0: return Data{payload(input)};
    case 1: return Date(input.byte() % 2 ? input.number() : now.seconds);
    case 2: return payload(input);
    default: return input.number();
    }
}

CloudRecord record(FuzzInput& input) {
    CloudRecord record;
    record.recordType = input.byte() % 8 ? std::string(dayBlockRecordType) : input.text();
    static const char* const names[] = {"", "not-a-uuid", "00000000-0000-4000-8000-00000000000", "{}"};
    record.recordID.recordName = input.byte() % 4 ? pooledID(input).string() : input.oneOf(names);
    record.recordID.zoneID = dayBlocksZoneID();
    static const char* const fieldNames[] = {payloadField, modifiedAtField, payloadField, modifiedAtField, "title"};
    for (int n = input.byte() % 4; n > 0; --n) record.fields.insert_or_assign(input.oneOf(fieldNames), fieldValue(input));
    if (input.byte() % 2) record.modificationDate = Date(input.number());
    return record;
}

void checkEnvelope(const CloudRecord& record, const std::optional<CloudRecordEnvelope>& envelope) {
    const auto id = Uuid::parse(record.recordID.recordName);
    const auto payload = record.fields.find(payloadField);
    const bool bytes = payload != record.fields.end() && std::holds_alternative<Data>(payload->second);
    if (envelope.has_value() != (id.has_value() && bytes)) std::abort();
    if (!envelope) return;
    if (envelope->id != *id || envelope->payload != std::get<Data>(payload->second).bytes) std::abort();
    // Built back into a record and read again, nothing changes.
    const auto again = makeEnvelope(makeRecord(*envelope));
    if (!again || again->id != envelope->id || again->payload != envelope->payload ||
        !sameBits(again->modifiedAt, envelope->modifiedAt)) {
        std::abort();
    }
}

MacDayBlock localBlock(Uuid id, const char* title) {
    MacDayBlock block;
    block.id = id;
    block.title = title;
    block.category = MacBlockCategory::work;
    block.weight = 60;
    block.createdAt = now - 7200;
    block.startDate = now - 7200;
    block.endDate = now - 3600;
    block.blockType = "tracked";
    block.modifiedAt = now - 3600;
    return block;
}

}  // namespace
}  // namespace plenda

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace plenda;
    FuzzInput input(data, size);

    std::vector<CloudRecordEnvelope> changed;
    std::vector<Uuid> deleted;
    for (int n = input.byte() % 6; n > 0 && !input.empty(); --n) {
        const CloudRecord page = record(input);
        const auto envelope = makeEnvelope(page);
        checkEnvelope(page, envelope);
        if (envelope) {
            changed.push_back(*envelope);
            if (input.byte() % 4 == 0) changed.push_back(*envelope);  // a page that repeats a record
        }
        if (input.byte() % 4 == 0) deleted.push_back(pooledID(input));
    }

    VirtualScheduler scheduler{now};
    IcuCalendar calendar("Europe/Berlin");
    MemoryDefaults defaults;
    MemoryFiles files;
    KeyStringTable strings;
    std::ostringstream output;
    MacActivityStore store({scheduler, scheduler, calendar, defaults, files, strings, false, &Uuid::random, output,
                            // A signed-out account: edits are marked for a later upload.
                            MacCloudSync::factory({defaults, scheduler, &CloudSyncEngine::noAccountDatabase(),
                                                   nullptr, nullptr, output}),
                            categoryOverrideWriter(defaults)});
    auto& cloud = static_cast<MacCloudSync&>(*store.sync());
    store.upsert(localBlock(localClean, "Xcode"));
    store.upsert(localBlock(localDirty, "Terminal"));
    cloud.state().clearDirty({localClean});
    cloud.state().markDeleted({deletedHere});
    scheduler.runUntilIdle();

    cloud.applyPulled(changed, deleted);
    scheduler.advance(MacActivityStore::saveDelay + 1);

    std::set<Uuid> ids;
    for (const MacDayBlock& block : store.blocks()) {
        if (!ids.insert(block.id).second) std::abort();  // ids stay unique
        (void)store.blocksOnDay(block.effectiveStart());
    }
    if (ids.contains(deletedHere)) std::abort();      // a deletion made here is not undone
    if (!ids.contains(localDirty)) std::abort();      // an unsent change survives remote deletion
    (void)store.todayMinutes();

    const auto saved = files.files.find(store.blocksFilePath());
    if (saved == files.files.end()) std::abort();
    const auto decoded = decodeBlocks(saved->second);
    if (!decoded || *decoded != store.blocks()) std::abort();
    return 0;
}
