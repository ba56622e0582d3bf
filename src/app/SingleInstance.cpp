#include "app/SingleInstance.h"

#include "app/ShowRequests.h"

#include <QFile>
#include <QLocalSocket>

#include <memory>

namespace plenda {

namespace {

constexpr int answerMilliseconds = 1000;

}  // namespace

SingleInstance::SingleInstance(const QString& folder)
    : socketPath_(folder + QStringLiteral("/plenda.socket")),
      lockPath_(folder + QStringLiteral("/plenda.lock")),
      lock_(lockPath_) {
    // Only a holder that is gone makes the lock stale, never its age: a
    // running Plenda holds it for weeks.
    lock_.setStaleLockTime(0);
}

SingleInstance::~SingleInstance() {
    server_.close();
    if (lock_.isLocked()) QFile::remove(socketPath_);
}

bool SingleInstance::claim() {
    if (!lock_.tryLock(0)) return false;
    QFile::setPermissions(lockPath_, QFile::ReadOwner | QFile::WriteOwner);
    // A socket file left by a crash would make listen fail; the lock says it is ours now.
    QLocalServer::removeServer(socketPath_);
    server_.setSocketOptions(QLocalServer::UserAccessOption);
    server_.listen(socketPath_);  // without it a second launch just exits: the lock still holds
    QObject::connect(&server_, &QLocalServer::newConnection, &server_, [this] {
        while (QLocalSocket* client = server_.nextPendingConnection()) {
            QObject::connect(client, &QLocalSocket::disconnected, client, &QObject::deleteLater);
            QObject::connect(client, &QLocalSocket::readyRead, client,
                             [this, client, reader = std::make_shared<ShowRequestReader>()] {
                                 const QByteArray bytes = client->readAll();
                                 if (reader->feed({bytes.constData(), std::size_t(bytes.size())}) > 0 && show_) show_();
                             });
        }
    });
    return true;
}

bool SingleInstance::askRunningInstanceToShow() {
    QLocalSocket socket;
    socket.connectToServer(socketPath_);
    if (!socket.waitForConnected(answerMilliseconds)) return false;
    socket.write(showRequestLine.data(), qint64(showRequestLine.size()));
    const bool sent = socket.waitForBytesWritten(answerMilliseconds);
    socket.disconnectFromServer();
    return sent;
}

}  // namespace plenda
