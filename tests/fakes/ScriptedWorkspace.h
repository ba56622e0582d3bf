#pragma once

#include "base/Observers.h"
#include "platform/Workspace.h"

#include <memory>

namespace plenda {

// A workspace a test drives: it sets the front application and fires the
// notifications itself.
class ScriptedWorkspace final : public Workspace {
public:
    std::optional<RunningApplication> frontmost;
    std::vector<RunningApplication> running;
    std::optional<std::string> ownIdentifier = "app.plenda.Plenda";

    std::optional<RunningApplication> frontmostApplication() const override { return frontmost; }
    std::vector<RunningApplication> runningApplications() const override { return running; }
    std::optional<std::string> ownBundleIdentifier() const override { return ownIdentifier; }

    Subscription observeActivation(std::function<void(const RunningApplication&)> handler) override {
        return watch(activation_, [this, handler = std::move(handler)] { handler(*frontmost); });
    }
    Subscription observeWillSleep(std::function<void()> handler) override { return watch(sleep_, std::move(handler)); }
    Subscription observeDidWake(std::function<void()> handler) override { return watch(wake_, std::move(handler)); }

    // Brings `app` to the front and tells the observers.
    void activate(const RunningApplication& app) {
        frontmost = app;
        activation_.notify();
    }
    void sleep() { sleep_.notify(); }
    void wake() { wake_.notify(); }
    std::size_t observerCount() const { return *observers_; }

private:
    // Counts the live subscriptions, so a test sees a second start add none.
    Subscription watch(ObserverList& list, std::function<void()> handler) {
        ++*observers_;
        return Subscription([inner = std::make_shared<Subscription>(list.subscribe(std::move(handler))),
                             count = std::weak_ptr(observers_)] {
            inner->reset();
            if (const auto live = count.lock()) --*live;
        });
    }

    ObserverList activation_, sleep_, wake_;
    std::shared_ptr<std::size_t> observers_ = std::make_shared<std::size_t>(0);
};

}  // namespace plenda
