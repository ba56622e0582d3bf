#pragma once

#include "platform/Workspace.h"

#include <map>
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
        return add(activation_, std::move(handler));
    }
    Subscription observeWillSleep(std::function<void()> handler) override { return add(sleep_, std::move(handler)); }
    Subscription observeDidWake(std::function<void()> handler) override { return add(wake_, std::move(handler)); }

    // Brings `app` to the front and tells the observers.
    void activate(const RunningApplication& app) {
        frontmost = app;
        for (const auto& [key, handler] : snapshot(activation_)) handler(app);
    }
    void sleep() {
        for (const auto& [key, handler] : snapshot(sleep_)) handler();
    }
    void wake() {
        for (const auto& [key, handler] : snapshot(wake_)) handler();
    }
    std::size_t observerCount() const { return activation_->size() + sleep_->size() + wake_->size(); }

private:
    template <typename F>
    using Handlers = std::shared_ptr<std::map<int, F>>;

    template <typename F>
    Subscription add(Handlers<F>& handlers, F handler) {
        const int key = next_++;
        handlers->emplace(key, std::move(handler));
        return Subscription([weak = std::weak_ptr(handlers), key] {
            if (auto list = weak.lock()) list->erase(key);
        });
    }
    template <typename F>
    static std::map<int, F> snapshot(const Handlers<F>& handlers) { return *handlers; }

    int next_ = 0;
    Handlers<std::function<void(const RunningApplication&)>> activation_ =
        std::make_shared<std::map<int, std::function<void(const RunningApplication&)>>>();
    Handlers<std::function<void()>> sleep_ = std::make_shared<std::map<int, std::function<void()>>>();
    Handlers<std::function<void()>> wake_ = std::make_shared<std::map<int, std::function<void()>>>();
};

}  // namespace plenda
