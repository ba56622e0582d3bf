#include "platform/qt/QtScheduler.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QThread>
#include <gtest/gtest.h>

#include <atomic>
#include <vector>

namespace plenda {
namespace {

class QtSchedulerTest : public ::testing::Test {
protected:
    int argc = 1;
    char name[8] = "test";
    char* argv[1] = {name};
    QCoreApplication app{argc, argv};
    QtScheduler scheduler;

    void runUntil(const std::function<bool()>& done) {
        while (!done()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    }
};

TEST_F(QtSchedulerTest, PostsRunLaterInOrderAndCancelledTimersNeverRun) {
    std::vector<int> order;
    bool cancelledRan = false, timerRan = false;
    scheduler.post([&] { order.push_back(1); });
    scheduler.post([&] { order.push_back(2); });
    EXPECT_TRUE(order.empty()) << "never inside the call";
    scheduler.after(0, [&] { cancelledRan = true; }).cancel();
    scheduler.after(0.001, [&] { timerRan = true; });
    runUntil([&] { return order.size() == 2 && timerRan; });
    EXPECT_EQ(order, (std::vector{1, 2}));
    EXPECT_FALSE(cancelledRan);
}

TEST_F(QtSchedulerTest, WorkerRunsOffTheMainThreadOneAtATimeAndPostsBack) {
    std::atomic<int> running{0}, maximum{0};
    std::vector<int> results;
    std::atomic<bool> offMain{true};
    const QThread* main = QThread::currentThread();
    for (int i = 0; i < 20; ++i) {
        scheduler.runOnWorker([&, i] {
            if (QThread::currentThread() == main) offMain = false;
            maximum = std::max(maximum.load(), ++running);
            --running;
            scheduler.post([&, i] { results.push_back(i); });
        });
    }
    runUntil([&] { return results.size() == 20; });
    EXPECT_TRUE(offMain);
    EXPECT_EQ(maximum, 1);
    for (int i = 0; i < 20; ++i) EXPECT_EQ(results[static_cast<std::size_t>(i)], i);
}

}  // namespace
}  // namespace plenda
