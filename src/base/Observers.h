#pragma once

#include <functional>
#include <map>
#include <memory>
#include <utility>

namespace plenda {

// Ends a subscription when destroyed.
class Subscription {
public:
    Subscription() = default;
    explicit Subscription(std::function<void()> cancel) : cancel_(std::move(cancel)) {}
    Subscription(Subscription&& other) noexcept : cancel_(std::exchange(other.cancel_, nullptr)) {}
    Subscription& operator=(Subscription&& other) noexcept {
        if (this != &other) {
            reset();
            cancel_ = std::exchange(other.cancel_, nullptr);
        }
        return *this;
    }
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;
    ~Subscription() { reset(); }

    void reset() {
        if (cancel_) std::exchange(cancel_, nullptr)();
    }

private:
    std::function<void()> cancel_;
};

// Callbacks told about a change. Main thread only. A subscription may outlive
// the list and may end itself from inside a callback.
class ObserverList {
public:
    Subscription subscribe(std::function<void()> callback) {
        const int key = state_->next++;
        state_->callbacks.emplace(key, std::move(callback));
        return Subscription([weak = std::weak_ptr<State>(state_), key] {
            if (auto state = weak.lock()) state->callbacks.erase(key);
        });
    }

    void notify() const {
        auto state = state_;
        for (auto it = state->callbacks.begin(); it != state->callbacks.end();) {
            const int key = it->first;
            auto callback = it->second;
            callback();
            it = state->callbacks.upper_bound(key);
        }
    }

private:
    struct State {
        std::map<int, std::function<void()>> callbacks;
        int next = 0;
    };
    std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace plenda
