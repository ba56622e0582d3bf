#pragma once

#include <QLocalServer>
#include <QLockFile>
#include <QString>

#include <functional>

namespace plenda {

// One running Plenda per user: a lock file in the data folder, and a local
// socket beside it through which a second launch asks the running one to
// bring its day window forward. A lock left by a process that is gone does
// not count.
class SingleInstance {
public:
    explicit SingleInstance(const QString& folder);
    ~SingleInstance();
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    // True when this process is now the one instance.
    bool claim();
    // From a launch that could not claim: false when nobody answered.
    bool askRunningInstanceToShow();
    // Once claimed, called on the main thread for each such request.
    void onShowRequested(std::function<void()> show) { show_ = std::move(show); }

private:
    QString socketPath_;
    QString lockPath_;
    QLockFile lock_;
    QLocalServer server_;
    std::function<void()> show_;
};

}  // namespace plenda
