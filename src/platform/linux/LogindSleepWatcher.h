#pragma once

#include <QDBusUnixFileDescriptor>
#include <QObject>

#include <functional>

namespace plenda {

// Sleep and wake from systemd-logind's PrepareForSleep signal on the system
// bus. Holds a delay lock while awake so that the will-sleep work gets a
// moment to run before the machine stops. Without a system bus it reports nothing.
class LogindSleepWatcher : public QObject {
    Q_OBJECT
public:
    LogindSleepWatcher(std::function<void()> willSleep, std::function<void()> didWake);
    bool isConnected() const { return connected_; }

private slots:
    void prepareForSleep(bool sleeping);

private:
    void takeDelayLock();

    std::function<void()> willSleep_;
    std::function<void()> didWake_;
    QDBusUnixFileDescriptor delayLock_;
    bool connected_ = false;
};

}  // namespace plenda
