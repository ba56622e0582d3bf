#pragma once

#include "platform/CloudDatabase.h"

#include <cstdint>
#include <mutex>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace plenda {

// Wraps any cloud database and makes it misbehave on purpose: failed
// requests (counted or at random), rejected records, an expired token, a
// missing zone, a doubtful or missing account, requests that never return,
// and pages whose token goes backwards or that repeat their changes. Also keeps a log of the requests that reached it.
class CloudFaultInjector final : public CloudDatabase {
public:
    enum class Kind { accountStatus, saveZone, fetchZoneChanges, modifyRecords };
    struct Request {
        Kind kind;
        std::size_t saves = 0;
        std::size_t deletes = 0;
        bool hadToken = false;
    };

    explicit CloudFaultInjector(CloudDatabase& inner) : inner_(inner) {}

    // After letting `skip` requests through, the next `count` fail as a whole with `error`.
    void failNextRequests(int count, CloudError error = networkFailure(), int skip = 0);
    // From now on each request fails with this probability (0 turns it off).
    void failAtRandom(double probability, std::uint64_t seed);
    // Saves of these record names fail one by one with `error`.
    void rejectRecords(std::set<std::string> recordNames,
                       CloudError error = CloudError::cloudKit(CloudErrorCode::invalidArguments, "Record rejected"));
    // The next fetch that carries a token answers 21.
    void expireToken();
    // The next fetch answers that the zone is missing (26) or was deleted by the user (28).
    void reportZoneMissing(long code = CloudErrorCode::zoneNotFound);
    // Answers every account check with this status; none: ask the wrapped database.
    void setAccountStatus(std::optional<CloudAccountStatus> status);
    // The next `count` pages answer with the token their request carried (none
    // when it carried none), as a server whose token went backwards.
    void rewindTokens(int count);
    // Every page lists each of its changes and deletions twice.
    void repeatChanges(bool repeat);
    // After letting `skip` requests through, the next `count` do not return until released (or ever).
    void hangNextRequests(int count, int skip = 0);
    // Sends the hung requests on to the wrapped database now.
    void releaseHungRequests();
    std::size_t hungRequests() const;

    std::vector<Request> requests() const;
    void clearRequests();

    static CloudError networkFailure() {
        return CloudError::cloudKit(CloudErrorCode::networkFailure, "The network connection was lost");
    }

    void accountStatus(std::function<void(CloudResult<CloudAccountStatus>)> completion) override;
    void saveZone(const CloudZoneID& zone, std::function<void(std::optional<CloudError>)> completion) override;
    void fetchZoneChanges(const CloudZoneID& zone, CloudChangeTokenPtr token,
                          std::function<void(CloudResult<CloudZoneChanges>)> completion) override;
    void modifyRecords(std::vector<CloudRecord> saving, std::vector<CloudRecordID> deleting, CloudSavePolicy policy,
                       bool atomically, std::function<void(CloudResult<CloudModifyResults>)> completion) override;

private:
    enum class Verdict { pass, fail, hang };
    // Applies the rewinds and repeats to a page on its way back.
    void distort(CloudZoneChanges& page, const CloudChangeTokenPtr& requestToken);
    // Logs the request and decides its fate; `error` receives the failure.
    Verdict admit(Request request, CloudError& error);
    // Forwards, fails or holds one request.
    void route(Request request, std::function<void()> forward, const std::function<void(const CloudError&)>& fail);

    CloudDatabase& inner_;
    mutable std::mutex mutex_;
    int failuresLeft_ = 0;
    int passesBeforeFailure_ = 0;
    CloudError failure_ = networkFailure();
    double failureProbability_ = 0;
    std::mt19937_64 random_;
    std::set<std::string> rejected_;
    CloudError rejection_;
    bool expireToken_ = false;
    std::optional<long> zoneMissing_;
    std::optional<CloudAccountStatus> accountStatus_;
    int rewindsLeft_ = 0;
    bool repeatChanges_ = false;
    int hangsLeft_ = 0;
    int passesBeforeHang_ = 0;
    // Hung requests, ready to be forwarded.
    std::vector<std::function<void()>> hung_;
    std::vector<Request> requests_;
};

}  // namespace plenda
