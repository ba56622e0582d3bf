// Whatever a damaged preferences file holds under the change-token key: the
// bookkeeping loads a token or none, stores it back unchanged, and a pull
// from the stand-in with it either continues or refetches in full, and ends
// with a token after which nothing is left to fetch.
#include "FuzzInput.h"
#include "fakes/MemoryDefaults.h"
#include "fakes/VirtualScheduler.h"
#include "platform/OpaqueChangeToken.h"
#include "sync/CloudSyncEngine.h"
#include "platform/standin/SqliteCloudDatabase.h"

#include <cstdlib>
#include <sstream>

namespace plenda {
namespace {

constexpr std::size_t serverRecords = 5;

// One server for every input, holding a few records (the pulls only read it).
SqliteCloudDatabase& server() {
    static SqliteCloudDatabase* database = [] {
        auto* db = new SqliteCloudDatabase(SqliteCloudDatabase::Options{.pageSize = 2});
        db->saveZone(dayBlocksZoneID(), [](std::optional<CloudError>) {});
        std::vector<CloudRecord> records;
        for (std::size_t i = 0; i < serverRecords; ++i)
            records.push_back(makeRecord({Uuid::random(), "{}", Date(double(i))}));
        db->modifyRecords(records, {}, CloudSavePolicy::allKeys, false, [](CloudResult<CloudModifyResults>) {});
        return db;
    }();
    return *database;
}

CloudResult<PullResult> pull(CloudSyncEngine& engine, VirtualScheduler& scheduler) {
    std::optional<CloudResult<PullResult>> result;
    engine.pull([&](CloudResult<PullResult> r) { result.emplace(std::move(r)); });
    scheduler.runUntilIdle();
    if (!result) std::abort();  // a pull always ends
    return std::move(*result);
}

}  // namespace
}  // namespace plenda

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace plenda;
    FuzzInput input(data, size);
    MemoryDefaults defaults;
    CloudSyncState state(defaults);
    const std::string key = state.changeTokenKey();
    switch (input.byte() % 3) {
    case 0: defaults.set(key, input.value()); break;
    case 1: defaults.setData(key, Data{input.rest()}); break;
    default: defaults.setData(key, Data{"standin:" + input.rest()}); break;
    }

    const std::optional<Data> stored = defaults.data(key);
    if (const CloudChangeTokenPtr token = state.loadChangeToken()) {
        state.saveChangeToken(token);
        if (!stored || defaults.data(key) != stored) std::abort();  // stored back byte for byte
    } else if (stored && !stored->bytes.empty()) {
        std::abort();  // any bytes are an opaque token
    }

    VirtualScheduler scheduler;
    std::ostringstream output;
    CloudSyncEngine engine({state, scheduler, &server(), nullptr, output});
    const auto first = pull(engine, scheduler);
    if (!first.ok()) std::abort();
    if (first.value().fullRefetch && first.value().changed.size() != serverRecords) std::abort();
    if (first.value().changed.size() > serverRecords) std::abort();
    state.saveChangeToken(first.value().changeToken);  // as the store does once it has saved
    const auto second = pull(engine, scheduler);
    if (!second.ok() || !second.value().changed.empty() || second.value().fullRefetch) std::abort();
    return 0;
}
