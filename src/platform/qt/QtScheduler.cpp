#include "platform/qt/QtScheduler.h"

#include <QDeadlineTimer>

#include <QCoreApplication>
#include <QEvent>
#include <QPointer>
#include <QTimer>

#include <cmath>
#include <deque>
#include <mutex>

namespace plenda {

// Tasks for the thread this object lives on, in first-in first-out order. A
// task crosses threads in this locked queue, where race detectors see the
// hand-off; the posted event only wakes the thread to run the next task.
class QtScheduler::TaskQueue final : public QObject {
public:
    explicit TaskQueue(QObject* parent = nullptr) : QObject(parent) {}

    void push(Task task) {
        QEvent* wake = nullptr;
        {
            std::lock_guard guard(mutex_);
            tasks_.push_back(std::move(task));
            // Made under the lock too: the receiving thread frees it.
            wake = new QEvent(wakeUp);
        }
        QCoreApplication::postEvent(this, wake);
    }

protected:
    // Every event of this object is a wake-up (QObject sends user events here).
    void customEvent(QEvent*) override {
        Task task;
        {
            std::lock_guard guard(mutex_);
            if (tasks_.empty()) return;
            task = std::move(tasks_.front());
            tasks_.pop_front();
        }
        task();
    }

private:
    static constexpr QEvent::Type wakeUp = QEvent::User;
    std::mutex mutex_;
    std::deque<Task> tasks_;
};

QtScheduler::QtScheduler()
    : mainQueue_(new TaskQueue(&mainContext_)), workerQueue_(new TaskQueue), writerQueue_(new TaskQueue) {
    const auto start = [](QThread& thread, TaskQueue* queue, const char* name) {
        thread.setObjectName(name);
        queue->moveToThread(&thread);
        QObject::connect(&thread, &QThread::finished, queue, &QObject::deleteLater);
        thread.start();
    };
    start(workerThread_, workerQueue_, "plenda-worker");
    start(writerThread_, writerQueue_, "plenda-writer");
}

// A write under way is finished, never cut off.
QtScheduler::~QtScheduler() {
    stopWorker(-1);
    writerThread_.quit();
    writerThread_.wait();
}

bool QtScheduler::stopWorker(int milliseconds) {
    workerThread_.quit();
    return workerThread_.wait(milliseconds < 0 ? QDeadlineTimer(QDeadlineTimer::Forever) : QDeadlineTimer(milliseconds));
}

void QtScheduler::post(Task task) { mainQueue_->push(std::move(task)); }

void QtScheduler::runOnWorker(Task task) { workerQueue_->push(std::move(task)); }

void QtScheduler::runOnWriter(Task task) { writerQueue_->push(std::move(task)); }

TaskHandle QtScheduler::after(double seconds, Task task) {
    return startTimer(seconds, 0, false, std::move(task));
}

TaskHandle QtScheduler::repeating(double interval, double tolerance, Task task) {
    return startTimer(interval, tolerance, true, std::move(task));
}

TaskHandle QtScheduler::startTimer(double seconds, double tolerance, bool repeat, Task task) {
    auto* timer = new QTimer(&mainContext_);
    timer->setSingleShot(!repeat);
    // Coarse timers may fire a little late, which lets the system coalesce wake-ups.
    timer->setTimerType(tolerance > 0 ? Qt::CoarseTimer : Qt::PreciseTimer);
    timer->setInterval(static_cast<int>(std::llround(std::max(0.0, seconds) * 1000.0)));
    QPointer<QTimer> guard(timer);
    TaskHandle handle([guard] {
        if (guard) {
            guard->stop();
            guard->deleteLater();
        }
    });
    QObject::connect(timer, &QTimer::timeout, timer, [timer, repeat, handle, task = std::move(task)] {
        if (handle.isCancelled()) return;
        if (!repeat) timer->deleteLater();
        task();
    });
    timer->start();
    return handle;
}

}  // namespace plenda
