#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <utility>

namespace plenda {

// A handle on scheduled work. Copies share the work; `cancel` on any of them
// stops it (a repeating timer for good). Safe to call more than once.
class TaskHandle {
public:
    TaskHandle() = default;
    explicit TaskHandle(std::function<void()> stop)
        : state_(std::make_shared<State>()) {
        state_->stop = std::move(stop);
    }

    void cancel() {
        if (!state_ || state_->cancelled.exchange(true)) return;
        if (state_->stop) std::exchange(state_->stop, nullptr)();
    }
    bool isCancelled() const { return !state_ || state_->cancelled.load(); }

private:
    struct State {
        std::atomic<bool> cancelled{false};
        std::function<void()> stop;
    };
    std::shared_ptr<State> state_;
};

// The main loop, the background worker and the file writer. Every wait in the program goes
// through here, so tests can run hours of virtual time in milliseconds.
class Scheduler {
public:
    using Task = std::function<void()>;
    virtual ~Scheduler() = default;

    // Runs `task` on the main thread in a later turn of the loop. Callable from any thread.
    virtual void post(Task task) = 0;
    // Runs `task` once on the main thread after `seconds`.
    virtual TaskHandle after(double seconds, Task task) = 0;
    // Runs `task` on the main thread every `interval` seconds; the system may
    // fire up to `tolerance` seconds late so wake-ups can be coalesced.
    virtual TaskHandle repeating(double interval, double tolerance, Task task) = 0;
    // Runs `task` on the serial background worker: one task at a time, in order.
    virtual void runOnWorker(Task task) = 0;
    // Runs `task` on the serial file writer, a thread of its own so that a
    // slow worker task (a cloud request) never holds up a save.
    virtual void runOnWriter(Task task) = 0;
};

// Lets scheduled work hold its owner weakly: the owner keeps a Lifetime, the
// work keeps `weak()` and does nothing once the owner is gone.
class Lifetime {
public:
    std::weak_ptr<void> weak() const { return token_; }

private:
    std::shared_ptr<void> token_ = std::make_shared<char>(0);
};

}  // namespace plenda
