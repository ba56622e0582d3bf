#include "fakes/VirtualScheduler.h"

namespace plenda {

Date VirtualScheduler::now() const { return now_ + wallOffset_; }

TaskHandle VirtualScheduler::schedule(Date due, Task task, double interval, bool timer) {
    TaskHandle handle([] {});
    queue_.emplace(Key{due.seconds, sequence_++}, Entry{std::move(task), handle, interval, timer});
    return handle;
}

void VirtualScheduler::post(Task task) { schedule(now_, std::move(task), 0, false); }

void VirtualScheduler::runOnWorker(Task task) { schedule(now_, std::move(task), 0, false); }

void VirtualScheduler::runOnWriter(Task task) { schedule(now_, std::move(task), 0, false); }

TaskHandle VirtualScheduler::after(double seconds, Task task) {
    return schedule(now_ + std::max(0.0, seconds), std::move(task), 0, true);
}

TaskHandle VirtualScheduler::repeating(double interval, double, Task task) {
    return schedule(now_ + interval, std::move(task), interval, true);
}

void VirtualScheduler::advance(double seconds) { advanceTo(now() + std::max(0.0, seconds)); }

void VirtualScheduler::advanceTo(Date wallTarget) {
    const Date target = wallTarget - wallOffset_;
    while (!queue_.empty() && queue_.begin()->first.first <= target.seconds) {
        const auto first = queue_.begin();
        now_ = std::max(now_, Date(first->first.first));
        Entry entry = std::move(first->second);
        queue_.erase(first);
        if (entry.handle.isCancelled()) continue;
        if (entry.timer) ++timerFirings_;
        if (entry.interval > 0) {
            queue_.emplace(Key{now_.seconds + entry.interval, sequence_++},
                           Entry{entry.task, entry.handle, entry.interval, true});
        }
        entry.task();
    }
    now_ = std::max(now_, target);
}

std::size_t VirtualScheduler::pendingTasks() const {
    std::size_t count = 0;
    for (const auto& [key, entry] : queue_) count += entry.handle.isCancelled() ? 0 : 1;
    return count;
}

}  // namespace plenda
