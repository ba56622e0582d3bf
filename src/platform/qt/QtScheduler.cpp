#include "platform/qt/QtScheduler.h"

#include <QMetaObject>
#include <QPointer>
#include <QTimer>

#include <cmath>

namespace plenda {

QtScheduler::QtScheduler() : workerContext_(new QObject) {
    workerThread_.setObjectName("plenda-worker");
    workerContext_->moveToThread(&workerThread_);
    QObject::connect(&workerThread_, &QThread::finished, workerContext_, &QObject::deleteLater);
    workerThread_.start();
}

QtScheduler::~QtScheduler() {
    workerThread_.quit();
    workerThread_.wait();
}

void QtScheduler::post(Task task) {
    QMetaObject::invokeMethod(&mainContext_, std::move(task), Qt::QueuedConnection);
}

void QtScheduler::runOnWorker(Task task) {
    QMetaObject::invokeMethod(workerContext_, std::move(task), Qt::QueuedConnection);
}

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
