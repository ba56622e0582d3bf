#pragma once

#include "fakes/CapturedSystemLog.h"
#include "fakes/MemoryDefaults.h"
#include "fakes/VirtualScheduler.h"
#include "platform/standin/CloudFaultInjector.h"
#include "sync/CloudSyncEngine.h"
#include "platform/standin/SqliteCloudDatabase.h"

#include <gtest/gtest.h>

#include <sstream>

namespace plenda {

// An engine on virtual time against the in-memory stand-in behind a fault injector.
class CloudEngineFixture : public ::testing::Test {
protected:
    VirtualScheduler scheduler;
    MemoryDefaults defaults;
    CloudSyncState state{defaults};
    SqliteCloudDatabase server{SqliteCloudDatabase::Options{.clock = &scheduler}};
    CloudFaultInjector cloud{server};
    CapturedSystemLog systemLog;
    std::ostringstream output;
    CloudSyncEngine engine{{state, scheduler, &cloud, &systemLog, output}};

    CloudResult<PullResult> pull() {
        std::optional<CloudResult<PullResult>> result;
        engine.pull([&](CloudResult<PullResult> r) { result.emplace(std::move(r)); });
        scheduler.runUntilIdle();
        EXPECT_TRUE(result) << "the pull never finished";
        return result ? std::move(*result) : CloudResult<PullResult>(CloudError{"test", -1, "unfinished"});
    }
    CloudResult<PushResult> push(std::vector<CloudRecordEnvelope> saving, std::vector<Uuid> deleting = {}) {
        std::optional<CloudResult<PushResult>> result;
        engine.push(std::move(saving), std::move(deleting), [&](CloudResult<PushResult> r) { result.emplace(std::move(r)); });
        scheduler.runUntilIdle();
        EXPECT_TRUE(result) << "the push never finished";
        return result ? std::move(*result) : CloudResult<PushResult>(CloudError{"test", -1, "unfinished"});
    }
    static CloudRecordEnvelope envelope(Uuid id = Uuid::random(), std::string payload = "{}", Date at = Date(1000)) {
        return CloudRecordEnvelope{id, std::move(payload), at};
    }
    std::vector<std::string> logLines() const { return systemLog.texts(); }
    std::size_t requestsOf(CloudFaultInjector::Kind kind) const {
        std::size_t count = 0;
        for (const auto& request : cloud.requests()) count += request.kind == kind;
        return count;
    }
};

}  // namespace plenda
