#include "platform/standin/CloudFaultInjector.h"

namespace plenda {

void CloudFaultInjector::failNextRequests(int count, CloudError error, int skip) {
    std::lock_guard guard(mutex_);
    failuresLeft_ = count;
    passesBeforeFailure_ = skip;
    failure_ = std::move(error);
}

void CloudFaultInjector::failAtRandom(double probability, std::uint64_t seed) {
    std::lock_guard guard(mutex_);
    failureProbability_ = probability;
    random_.seed(seed);
}

void CloudFaultInjector::rejectRecords(std::set<std::string> recordNames, CloudError error) {
    std::lock_guard guard(mutex_);
    rejected_ = std::move(recordNames);
    rejection_ = std::move(error);
}

void CloudFaultInjector::expireToken() {
    std::lock_guard guard(mutex_);
    expireToken_ = true;
}

void CloudFaultInjector::reportZoneMissing(long code) {
    std::lock_guard guard(mutex_);
    zoneMissing_ = code;
}

void CloudFaultInjector::setAccountStatus(std::optional<CloudAccountStatus> status) {
    std::lock_guard guard(mutex_);
    accountStatus_ = status;
}

void CloudFaultInjector::rewindTokens(int count) {
    std::lock_guard guard(mutex_);
    rewindsLeft_ = count;
}

void CloudFaultInjector::repeatChanges(bool repeat) {
    std::lock_guard guard(mutex_);
    repeatChanges_ = repeat;
}

void CloudFaultInjector::distort(CloudZoneChanges& page, const CloudChangeTokenPtr& requestToken) {
    std::lock_guard guard(mutex_);
    if (rewindsLeft_ > 0) {
        --rewindsLeft_;
        page.changeToken = requestToken;
    }
    if (repeatChanges_) {
        const auto modifications = page.modifications;
        page.modifications.insert(page.modifications.end(), modifications.begin(), modifications.end());
        const auto deletions = page.deletions;
        page.deletions.insert(page.deletions.end(), deletions.begin(), deletions.end());
    }
}

void CloudFaultInjector::hangNextRequests(int count, int skip) {
    std::lock_guard guard(mutex_);
    hangsLeft_ = count;
    passesBeforeHang_ = skip;
}

std::size_t CloudFaultInjector::hungRequests() const {
    std::lock_guard guard(mutex_);
    return hung_.size();
}

std::vector<CloudFaultInjector::Request> CloudFaultInjector::requests() const {
    std::lock_guard guard(mutex_);
    return requests_;
}

void CloudFaultInjector::clearRequests() {
    std::lock_guard guard(mutex_);
    requests_.clear();
}

CloudFaultInjector::Verdict CloudFaultInjector::admit(Request request, CloudError& error) {
    std::lock_guard guard(mutex_);
    requests_.push_back(request);
    if (hangsLeft_ > 0 && passesBeforeHang_ > 0) {
        --passesBeforeHang_;
    } else if (hangsLeft_ > 0) {
        --hangsLeft_;
        return Verdict::hang;
    }
    if (failuresLeft_ > 0 && passesBeforeFailure_ > 0) {
        --passesBeforeFailure_;
    } else if (failuresLeft_ > 0) {
        --failuresLeft_;
        error = failure_;
        return Verdict::fail;
    }
    if (failureProbability_ > 0 && std::uniform_real_distribution<double>(0, 1)(random_) < failureProbability_) {
        error = networkFailure();
        return Verdict::fail;
    }
    if (request.kind == Kind::fetchZoneChanges) {
        if (zoneMissing_) {
            error = CloudError::cloudKit(*zoneMissing_, "Zone not found");
            zoneMissing_.reset();
            return Verdict::fail;
        }
        if (expireToken_ && request.hadToken) {
            expireToken_ = false;
            error = CloudError::cloudKit(CloudErrorCode::changeTokenExpired, "The change token has expired");
            return Verdict::fail;
        }
    }
    return Verdict::pass;
}

void CloudFaultInjector::releaseHungRequests() {
    std::vector<std::function<void()>> held;
    {
        std::lock_guard guard(mutex_);
        held.swap(hung_);
    }
    for (auto& request : held) request();
}

void CloudFaultInjector::route(Request request, std::function<void()> forward,
                               const std::function<void(const CloudError&)>& fail) {
    CloudError error;
    switch (admit(request, error)) {
    case Verdict::hang: {
        std::lock_guard guard(mutex_);
        hung_.push_back(std::move(forward));
        return;
    }
    case Verdict::fail:
        return fail(error);
    case Verdict::pass:
        return forward();
    }
}

void CloudFaultInjector::accountStatus(std::function<void(CloudResult<CloudAccountStatus>)> completion) {
    auto shared = std::make_shared<decltype(completion)>(std::move(completion));
    route(
        {Kind::accountStatus},
        [this, shared] {
            std::optional<CloudAccountStatus> forced;
            {
                std::lock_guard guard(mutex_);
                forced = accountStatus_;
            }
            if (forced) return (*shared)(*forced);
            inner_.accountStatus(*shared);
        },
        [shared](const CloudError& error) { (*shared)(error); });
}

void CloudFaultInjector::saveZone(const CloudZoneID& zone, std::function<void(std::optional<CloudError>)> completion) {
    auto shared = std::make_shared<decltype(completion)>(std::move(completion));
    route(
        {Kind::saveZone}, [this, zone, shared] { inner_.saveZone(zone, *shared); },
        [shared](const CloudError& error) { (*shared)(error); });
}

void CloudFaultInjector::fetchZoneChanges(const CloudZoneID& zone, CloudChangeTokenPtr token,
                                          std::function<void(CloudResult<CloudZoneChanges>)> completion) {
    auto shared = std::make_shared<decltype(completion)>(std::move(completion));
    const bool hadToken = token != nullptr;
    route(
        {Kind::fetchZoneChanges, 0, 0, hadToken},
        [this, zone, token = std::move(token), shared] {
            inner_.fetchZoneChanges(zone, token, [this, token, shared](CloudResult<CloudZoneChanges> page) {
                if (page.ok()) distort(page.value(), token);
                (*shared)(std::move(page));
            });
        },
        [shared](const CloudError& error) { (*shared)(error); });
}

void CloudFaultInjector::modifyRecords(std::vector<CloudRecord> saving, std::vector<CloudRecordID> deleting,
                                       CloudSavePolicy policy, bool atomically,
                                       std::function<void(CloudResult<CloudModifyResults>)> completion) {
    auto shared = std::make_shared<decltype(completion)>(std::move(completion));
    const Request request{Kind::modifyRecords, saving.size(), deleting.size()};
    route(
        request,
        [this, saving = std::move(saving), deleting = std::move(deleting), policy, atomically, shared]() mutable {
            // Rejected records never reach the server; their failures join its answer.
            std::vector<std::pair<CloudRecordID, CloudResult<CloudRecord>>> rejections;
            {
                std::lock_guard guard(mutex_);
                std::erase_if(saving, [&](const CloudRecord& record) {
                    if (!rejected_.contains(record.recordID.recordName)) return false;
                    rejections.emplace_back(record.recordID, rejection_);
                    return true;
                });
            }
            inner_.modifyRecords(std::move(saving), std::move(deleting), policy, atomically,
                                 [rejections = std::move(rejections), shared](CloudResult<CloudModifyResults> results) {
                                     if (results.ok()) {
                                         auto& saves = results.value().saveResults;
                                         saves.insert(saves.end(), rejections.begin(), rejections.end());
                                     }
                                     (*shared)(std::move(results));
                                 });
        },
        [shared](const CloudError& error) { (*shared)(error); });
}

}  // namespace plenda
