#include "platform/linux/LogindSleepWatcher.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
#include <QTimer>

namespace plenda {

namespace {
constexpr auto service = "org.freedesktop.login1";
constexpr auto path = "/org/freedesktop/login1";
constexpr auto manager = "org.freedesktop.login1.Manager";
// Long enough for the queued will-sleep work (commit, save) to run.
constexpr int delayLockHoldMilliseconds = 1000;
}  // namespace

LogindSleepWatcher::LogindSleepWatcher(std::function<void()> willSleep, std::function<void()> didWake)
    : willSleep_(std::move(willSleep)), didWake_(std::move(didWake)) {
    QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected()) return;
    connected_ = bus.connect(service, path, manager, "PrepareForSleep", this, SLOT(prepareForSleep(bool)));
    if (connected_) takeDelayLock();
}

void LogindSleepWatcher::takeDelayLock() {
    QDBusMessage call = QDBusMessage::createMethodCall(service, path, manager, "Inhibit");
    call << QString("sleep") << QString("Plenda") << QString("Ending the running session") << QString("delay");
    const QDBusReply<QDBusUnixFileDescriptor> reply = QDBusConnection::systemBus().call(call);
    if (reply.isValid()) delayLock_ = reply.value();
}

void LogindSleepWatcher::prepareForSleep(bool sleeping) {
    if (!sleeping) {
        takeDelayLock();
        didWake_();
        return;
    }
    willSleep_();
    // Letting go of the lock lets the sleep proceed.
    QTimer::singleShot(delayLockHoldMilliseconds, this, [this] { delayLock_ = QDBusUnixFileDescriptor(); });
}

}  // namespace plenda
