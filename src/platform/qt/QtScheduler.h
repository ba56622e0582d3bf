#pragma once

#include "platform/Scheduler.h"

#include <QObject>
#include <QThread>

namespace plenda {

// Main-thread work on Qt's event loop (QTimer), background work on one
// worker thread, file writes on another. Create and use on the main thread;
// `post`, `runOnWorker` and `runOnWriter` may be called from any thread.
class QtScheduler final : public Scheduler {
public:
    QtScheduler();
    ~QtScheduler() override;

    void post(Task task) override;
    TaskHandle after(double seconds, Task task) override;
    TaskHandle repeating(double interval, double tolerance, Task task) override;
    void runOnWorker(Task task) override;
    void runOnWriter(Task task) override;

    // Asks the worker to stop after its current task and waits at most
    // `milliseconds`; false while it is still busy (a request that does not
    // return), in which case the process must not wait for it.
    bool stopWorker(int milliseconds);

private:
    class TaskQueue;
    TaskHandle startTimer(double seconds, double tolerance, bool repeat, Task task);

    QObject mainContext_;
    TaskQueue* mainQueue_;
    QThread workerThread_;
    TaskQueue* workerQueue_;
    QThread writerThread_;
    TaskQueue* writerQueue_;
};

}  // namespace plenda
