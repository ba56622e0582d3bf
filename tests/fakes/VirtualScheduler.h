#pragma once

#include "platform/Clock.h"
#include "platform/Scheduler.h"

#include <cstdint>
#include <map>
#include <utility>

namespace plenda {

// Virtual time for tests: nothing runs until the test advances the clock, and
// then everything due runs in time order (ties in the order scheduled).
// Worker and writer tasks run on the calling thread, one at a time, like a serial queue;
// everything happens on the test's thread.
class VirtualScheduler final : public Scheduler, public Clock {
public:
    explicit VirtualScheduler(Date start = Date(700000000)) : now_(start) {}

    Date now() const override;
    double monotonicSeconds() const override { return now_.seconds; }
    void post(Task task) override;
    TaskHandle after(double seconds, Task task) override;
    TaskHandle repeating(double interval, double tolerance, Task task) override;
    void runOnWorker(Task task) override;
    void runOnWriter(Task task) override;

    // Sets the wall clock forward (or back) without time passing.
    void jumpWallClock(double seconds) { wallOffset_ += seconds; }
    // Runs everything due within the next `seconds`, moving the clock along.
    void advance(double seconds);
    void advanceTo(Date date);
    // Runs what is due now, including work that it posts in turn.
    void runUntilIdle() { advance(0); }
    std::size_t pendingTasks() const;
    // Timer firings so far (one-shot and repeating), for wake-up counts.
    std::uint64_t timerFirings() const { return timerFirings_; }

private:
    struct Entry {
        Task task;
        TaskHandle handle;
        double interval = 0;  // > 0: repeating
        bool timer = false;
    };
    using Key = std::pair<double, std::uint64_t>;  // due time, order of scheduling

    TaskHandle schedule(Date due, Task task, double interval, bool timer);

    Date now_;  // the clock that time moves; now() adds the wall clock's jumps
    double wallOffset_ = 0;
    std::uint64_t sequence_ = 0;
    std::uint64_t timerFirings_ = 0;
    std::map<Key, Entry> queue_;
};

}  // namespace plenda
