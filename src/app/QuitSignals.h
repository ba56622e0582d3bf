#pragma once

#include <QObject>

#include <functional>

class QSocketNotifier;

namespace plenda {

// SIGTERM, SIGINT and SIGHUP become a call of `quit` on the main thread,
// through a self-pipe the signal handler writes one byte into.
class QuitSignals final : public QObject {
public:
    explicit QuitSignals(std::function<void()> quit);
    ~QuitSignals() override;

private:
    QSocketNotifier* notifier_ = nullptr;
    std::function<void()> quit_;
};

}  // namespace plenda
