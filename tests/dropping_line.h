// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <functional>
#include <utility>
#include <vector>

namespace kelvane::test {

// A loopback port the system handed out a moment ago and took back: nothing listens there.
inline quint16 FreePort() {
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

// A loopback line between a caller and the program listening on port `to`, which the test can
// drop as when a router goes down: both ends are reset, and what the line held is lost. It drops
// when told, and each time the bytes it has carried from the listening end reach the next of
// `dropAt`, losing what that arrival holds beyond the mark. A close is passed on from one end to
// the other; the caller may call again through it, and the calls are counted. It carries bytes
// from Qt's event loop, each arrival `delayMs` late when the line is to be a slow one.
class DroppingLine : public QObject {
  public:
    explicit DroppingLine(quint16 to, std::vector<qint64> dropAt = {}, int delayMs = 0)
        : dropAt_(std::move(dropAt)), delayMs_(delayMs) {
        listener_.listen(QHostAddress::LocalHost, 0);
        connect(&listener_, &QTcpServer::newConnection, this, [this, to] {
            QTcpSocket* near = listener_.nextPendingConnection();
            auto* far = new QTcpSocket(this);
            far->connectToHost(QHostAddress::LocalHost, to);
            // Each move is a few bytes answered at once; none may wait for an acknowledgement.
            for (QTcpSocket* end : {near, far})
                end->setSocketOption(QAbstractSocket::LowDelayOption, 1);
            connect(near, &QTcpSocket::readyRead, far, [this, near, far] {
                Later(far, [bytes = near->readAll()](QTcpSocket& end) { end.write(bytes); });
            });
            connect(far, &QTcpSocket::readyRead, near, [this, near, far] {
                Later(near, [this, bytes = far->readAll()](QTcpSocket& end) { Carry(bytes, end); });
            });
            connect(near, &QTcpSocket::disconnected, far,
                    [this, far] { Later(far, &QTcpSocket::disconnectFromHost); });
            connect(far, &QTcpSocket::disconnected, near,
                    [this, near] { Later(near, &QTcpSocket::disconnectFromHost); });
            ends_ = {near, far};
            ++calls;
        });
    }
    quint16 port() const { return listener_.serverPort(); }
    void Drop() {
        for (QTcpSocket* end : {ends_.first.data(), ends_.second.data()})
            if (end) end->abort();
    }
    int calls = 0;

  private:
    // Does `what` to the end `to` now, or once the line's delay has passed if it still stands.
    template <typename What>
    void Later(QTcpSocket* to, What what) {
        if (delayMs_ == 0) return static_cast<void>(std::invoke(what, *to));
        QTimer::singleShot(delayMs_, this, [target = QPointer<QTcpSocket>(to), what] {
            if (target && target->state() == QAbstractSocket::ConnectedState)
                std::invoke(what, *target);
        });
    }
    void Carry(QByteArray down, QTcpSocket& near) {
        const bool drop = !dropAt_.empty() && carried_ + down.size() >= dropAt_.front();
        if (drop) down.truncate(dropAt_.front() - carried_), dropAt_.erase(dropAt_.begin());
        carried_ += down.size();
        near.write(down);
        near.flush();
        if (drop) Drop();
    }

    QTcpServer listener_;
    std::pair<QPointer<QTcpSocket>, QPointer<QTcpSocket>> ends_;
    std::vector<qint64> dropAt_;
    int delayMs_;
    qint64 carried_ = 0;
};

}  // namespace kelvane::test
