// SPDX-License-Identifier: GPL-3.0-or-later
#include "qtnet/qt_socket.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <QDeadlineTimer>
#include <QHostAddress>
#include <QNetworkInterface>
#include <QPointer>
#include <QRegularExpression>
#include <QScopedValueRollback>
#include <QTcpServer>
#include <QTcpSocket>
#include <string>
#include <utility>

#include "game/failure.h"
#include "portmap/router_door.h"

namespace kelvane {

namespace {
constexpr qint64 kReadBufferBytes = 64 * 1024;
// How long a closing program waits for its peer to close in turn.
constexpr int kLingerMs = 500;

// The first address of an interface that is up and not the loopback that `wanted` takes, or
// empty: one another machine could reach.
std::string FirstAddress(const std::function<bool(const QNetworkAddressEntry&)>& wanted) {
    for (const QNetworkInterface& nic : QNetworkInterface::allInterfaces()) {
        const auto flags = nic.flags();
        if (!flags.testFlag(QNetworkInterface::IsUp) ||
            flags.testFlag(QNetworkInterface::IsLoopBack))
            continue;
        for (const QNetworkAddressEntry& entry : nic.addressEntries())
            if (wanted(entry)) return entry.ip().toString().toStdString();
    }
    return {};
}
}  // namespace

namespace {

constexpr std::chrono::seconds kConnectTimeout{10};

// A line that died without a close (a Wi-Fi change, a laptop's suspend, a router that forgot the
// connection) must be noticed within seconds, so that between two Kelvane programs the client
// calls back while both players are still there; with a plain opponent, so the player learns he
// is gone. The peer sees nothing of it but empty probes its system answers by itself.
constexpr int kIdleBeforeProbeS = 5, kProbeEveryS = 2, kProbesUnanswered = 3;
// Data the peer has not acknowledged for this long means the line is dead.
constexpr unsigned kUnacknowledgedMs = 15000;

void KeepAlive(QTcpSocket& socket) {
    const int fd = static_cast<int>(socket.socketDescriptor());
    if (fd < 0) return;
    const int on = 1;
    setsockopt(fd, SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on);
    setsockopt(fd, IPPROTO_TCP, TCP_KEEPIDLE, &kIdleBeforeProbeS, sizeof kIdleBeforeProbeS);
    setsockopt(fd, IPPROTO_TCP, TCP_KEEPINTVL, &kProbeEveryS, sizeof kProbeEveryS);
    setsockopt(fd, IPPROTO_TCP, TCP_KEEPCNT, &kProbesUnanswered, sizeof kProbesUnanswered);
    setsockopt(fd, IPPROTO_TCP, TCP_USER_TIMEOUT, &kUnacknowledgedMs, sizeof kUnacknowledgedMs);
}

[[noreturn]] void Fail(const std::string& description) {
    throw Failure(kInvalidProcedureCall, description);
}

std::string SocketName(int index) {
    return "Socket " + std::to_string(index);
}

void CheckIndex(int index) {
    if (index < 0 || index >= kSockets) Fail("There is no socket " + std::to_string(index));
}

// Whether the text could name a machine at all: an address, or a name made of the letters,
// digits and hyphens between dots that names are made of. A lookup of anything else fails too,
// but the player is better told that what he typed is no address than that no machine has it.
bool CouldNameAMachine(const QString& host) {
    if (!QHostAddress(host).isNull()) return true;
    static const QRegularExpression label(
        QStringLiteral("^[A-Za-z0-9]([A-Za-z0-9-]*[A-Za-z0-9])?$"));
    const QStringList labels = host.endsWith('.') ? host.chopped(1).split('.') : host.split('.');
    bool allDigits = true;
    for (const QString& part : labels) {
        if (!label.match(part).hasMatch()) return false;
        for (QChar c : part) allDigits = allDigits && c.isDigit();
    }
    // "300.1.1.1" and "10.0.0" are neither a name nor an address.
    return !allDigits;
}

void CheckPort(int port, int lowest) {
    if (port < lowest || port > 65535) Fail("Invalid port " + std::to_string(port));
}

int EngineState(QAbstractSocket::SocketState state) {
    switch (state) {
        case QAbstractSocket::UnconnectedState:
            return kSocketClosed;
        case QAbstractSocket::HostLookupState:
            return kSocketResolvingHost;
        case QAbstractSocket::ConnectingState:
            return kSocketConnecting;
        case QAbstractSocket::ConnectedState:
            return kSocketConnected;
        case QAbstractSocket::BoundState:
            return kSocketOpen;
        case QAbstractSocket::ListeningState:
            return kSocketListening;
        case QAbstractSocket::ClosingState:
            return kSocketClosing;
    }
    return kSocketError;
}

}  // namespace

QtSocket::QtSocket(QObject* parent) : QObject(parent) {
    connectTimer_.setSingleShot(true);
    connectTimer_.setInterval(kConnectTimeout);
    connect(&connectTimer_, &QTimer::timeout, this, [this] {
        whyNotConnected_ = ConnectFailure::kNoAnswer;
        FailConnect();
    });
}

QtSocket::~QtSocket() {
    // The program is ending: what the engine has sent must still reach the peer, but nothing
    // the sockets report on their way down may reach an engine that is going away.
    for (QTcpSocket* socket : connections_) {
        if (!socket) continue;
        socket->disconnect(this);
        socket->flush();
        if (socket->state() == QAbstractSocket::ConnectedState) Linger(*socket);
        socket->disconnectFromHost();
    }
    if (server_) server_->disconnect(this);
}

// Closing on bytes the peer sent and we did not read resets the connection, and a reset may
// cost the peer our last message, the quit that tells a Kelvane opponent this is the end rather
// than a dropped line. So our side of the stream is closed first, and what the peer still sends
// is read and dropped until it closes too, for a moment at most.
void QtSocket::Linger(QTcpSocket& socket) {
    socket.waitForBytesWritten(kLingerMs);
    ::shutdown(static_cast<int>(socket.socketDescriptor()), SHUT_WR);
    QDeadlineTimer deadline(kLingerMs);
    while (socket.state() == QAbstractSocket::ConnectedState && !deadline.hasExpired()) {
        socket.readAll();
        socket.waitForReadyRead(static_cast<int>(deadline.remainingTime()));
    }
    socket.readAll();
}

void QtSocket::Listen(int index, int port) {
    if (index != 0) Fail("Only socket 0 listens");
    CheckPort(port, 0);
    if (State(0) != kSocketClosed && State(0) != kSocketError) Fail("Socket 0 is already in use");
    Drop(0);
    connectFailed_ = false;
    if (!server_) {
        server_ = new QTcpServer(this);
        connect(server_, &QTcpServer::newConnection, this, [this] { TakeRequests(); });
    }
    const QHostAddress address = listenAddress_.empty()
                                     ? QHostAddress(QHostAddress::Any)
                                     : QHostAddress(QString::fromStdString(listenAddress_));
    if (address.isNull()) Fail("Unable to listen on '" + listenAddress_ + "': not an address");
    if (!server_->listen(address, static_cast<quint16>(port))) {
        Fail("Unable to listen on port " + std::to_string(port) + ": " +
             server_->errorString().toStdString());
    }
}

std::string QtSocket::LocalIP(int index) {
    CheckIndex(index);
    // The address a player on another machine would type, so never the loopback.
    const std::string ip = FirstAddress([](const QNetworkAddressEntry& entry) {
        return entry.ip().protocol() == QAbstractSocket::IPv4Protocol && !entry.ip().isLoopback();
    });
    return ip.empty() ? "127.0.0.1" : ip;
}

void QtSocket::Connect(int index, const std::string& host, int port) {
    if (index != 0) Fail("Only socket 0 connects");
    CheckPort(port, 1);
    if (State(0) != kSocketClosed && State(0) != kSocketError) Fail("Socket 0 is already in use");
    Drop(0);
    connectFailed_ = false;
    whyNotConnected_ = ConnectFailure::kUnknown;
    connectingTo_ = QString::fromStdString(host);
    auto* socket = new QTcpSocket(this);
    Attach(0, socket);
    connect(socket, &QAbstractSocket::connected, this, [this] {
        connectTimer_.stop();
        if (events_->onConnected) events_->onConnected(0);
    });
    connectTimer_.start();
    // A failure inside connectToHost itself shows in the state the engine reads right after.
    const QScopedValueRollback inside(insideConnect_, true);
    socket->connectToHost(QString::fromStdString(host), static_cast<quint16>(port));
}

int QtSocket::State(int index) {
    CheckIndex(index);
    if (index == 0 && Listening()) return kSocketListening;
    if (QTcpSocket* socket = connections_[static_cast<std::size_t>(index)])
        return EngineState(socket->state());
    return index == 0 && connectFailed_ ? kSocketError : kSocketClosed;
}

ConnectFailure QtSocket::WhyNotConnected(int index) {
    CheckIndex(index);
    return index == 0 && connectFailed_ ? whyNotConnected_ : ConnectFailure::kUnknown;
}

void QtSocket::Accept(int index, long requestId) {
    CheckIndex(index);
    if (index == 0) Fail("Socket 0 listens and accepts nothing");
    // Each socket serves one connection at a time: a new one takes a socket once the one before
    // it is closed.
    if (connections_[static_cast<std::size_t>(index)]) Fail(SocketName(index) + " already exists");
    const auto request = requests_.find(requestId);
    if (request == requests_.end()) Fail("No connection request " + std::to_string(requestId));
    QTcpSocket* socket = request->second;
    requests_.erase(request);
    Attach(index, socket);
    // Bytes the client sent before it was accepted arrived while nobody listened for them.
    if (socket->bytesAvailable() > 0) {
        QMetaObject::invokeMethod(
            this, [this, index] { RaiseDataArrival(index); }, Qt::QueuedConnection);
    }
}

void QtSocket::Refuse(int index, long requestId) {
    if (index != 0 || !requests_.contains(requestId))
        Fail("No connection request " + std::to_string(requestId) + " on socket " +
             std::to_string(index));
    DropRequest(requestId);
}

void QtSocket::Send(int index, const std::string& bytes) {
    QTcpSocket* socket = Connection(index);
    if (socket->state() != QAbstractSocket::ConnectedState)
        Fail(SocketName(index) + " is not connected");
    const auto size = static_cast<qint64>(bytes.size());
    if (socket->write(bytes.data(), size) != size) Fail(socket->errorString().toStdString());
    // The message leaves now, even when the game then holds the thread for a pause.
    socket->flush();
}

std::string QtSocket::Read(int index) {
    const QByteArray bytes = Connection(index)->readAll();
    return std::string(bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

void QtSocket::Close(int index) {
    CheckIndex(index);
    if (index == 0) {
        connectTimer_.stop();
        connectFailed_ = false;
        if (server_) server_->close();
        while (!requests_.empty()) DropRequest(requests_.begin()->first);
    }
    Drop(index);
}

std::string QtSocket::PeerAddress(int index) {
    CheckIndex(index);
    const QTcpSocket* socket = connections_[static_cast<std::size_t>(index)];
    if (!socket) return {};
    // A listener open to both families sees an IPv4 caller at an IPv4-mapped IPv6 address; the
    // player knows it by its IPv4 form.
    QHostAddress address = socket->peerAddress();
    bool isV4 = false;
    const quint32 v4 = address.toIPv4Address(&isV4);
    if (isV4) address = QHostAddress(v4);
    address.setScopeId({});
    return address.isNull() ? std::string() : address.toString().toStdString();
}

int QtSocket::LocalPort(int index) const {
    CheckIndex(index);
    if (index == 0 && Listening()) return server_->serverPort();
    const QTcpSocket* socket = connections_[static_cast<std::size_t>(index)];
    return socket ? socket->localPort() : 0;
}

// Global, neither link- nor site-local, not unique local and not a temporary address that changes
// while the game is on.
std::string QtSocket::GlobalIPv6Address() {
    return FirstAddress([](const QNetworkAddressEntry& entry) {
        const QHostAddress ip = entry.ip();
        return ip.protocol() == QAbstractSocket::IPv6Protocol && ip.isGlobal() &&
               !ip.isUniqueLocalUnicast() && !entry.isTemporary();
    });
}

std::unique_ptr<RouterLease> QtSocket::OpenRouter(int port, const std::string& ipv6,
                                                  std::function<void(const DoorReport&)> tell) {
    struct Doors : RouterLease {
        Doors(int port, const std::string& ipv6, const RouterDoor::Tell& tell) : ipv4(port, tell) {
            if (!ipv6.empty())
                pinhole = std::make_unique<RouterDoor>(port, tell, FirewallCalls(ipv6));
        }
        RouterDoor ipv4;
        std::unique_ptr<RouterDoor> pinhole;
    };
    return std::make_unique<Doors>(port, ipv6, std::move(tell));
}

bool QtSocket::AwaitRouterGiveBacks() {
    return AwaitGiveBacks();
}

void QtSocket::SetConnectTimeout(std::chrono::milliseconds timeout) {
    connectTimer_.setInterval(timeout);
}

QTcpSocket* QtSocket::Connection(int index) const {
    CheckIndex(index);
    QTcpSocket* socket = connections_[static_cast<std::size_t>(index)];
    if (!socket) Fail(SocketName(index) + " has no connection");
    return socket;
}

bool QtSocket::Listening() const {
    return server_ && server_->isListening();
}

void QtSocket::Attach(int index, QTcpSocket* socket) {
    socket->setParent(this);
    // While the engine holds arrivals back (a box is up, a pause runs), what the peer sends
    // waits in the network's own buffers, not in ours without end.
    socket->setReadBufferSize(kReadBufferBytes);
    connections_[static_cast<std::size_t>(index)] = socket;
    // Each move is a few bytes and the peer answers with its own: without this, a second message
    // of the same turn would wait for the first one's acknowledgement, up to 40 ms each time.
    const auto sendAtOnce = [socket] {
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        KeepAlive(*socket);
    };
    if (socket->state() == QAbstractSocket::ConnectedState) sendAtOnce();
    connect(socket, &QAbstractSocket::connected, socket, sendAtOnce);
    // channelReadyRead, unlike readyRead, is raised again while an earlier arrival's handler
    // waits in a modal box: the engine must hear of those bytes to apply them afterwards.
    connect(socket, &QIODevice::channelReadyRead, this,
            [this, index](int) { RaiseDataArrival(index); });
    // A Send that finds the connection broken loses it on the spot; the engine hears of the
    // loss from the event loop, after that Send, and not at all if it has closed the socket.
    connect(socket, &QAbstractSocket::disconnected, this, [this, index, socket] {
        const QPointer<QTcpSocket> lost(socket);
        QMetaObject::invokeMethod(
            this,
            [this, index, lost] {
                if (lost && connections_[static_cast<std::size_t>(index)] == lost &&
                    events_->onClose)
                    events_->onClose(index);
            },
            Qt::QueuedConnection);
    });
    connect(socket, &QAbstractSocket::errorOccurred, this,
            [this, index](QAbstractSocket::SocketError error) { OnError(index, error); });
}

void QtSocket::Drop(int index) {
    QTcpSocket* socket = std::exchange(connections_[static_cast<std::size_t>(index)], nullptr);
    if (!socket) return;
    socket->disconnect(this);
    connect(socket, &QAbstractSocket::disconnected, socket, &QObject::deleteLater);
    // Goes on sending what is still queued, then closes; the peer sees its close.
    socket->disconnectFromHost();
    if (socket->state() == QAbstractSocket::UnconnectedState) socket->deleteLater();
}

void QtSocket::DropRequest(long requestId) {
    const auto request = requests_.find(requestId);
    if (request == requests_.end()) return;
    request->second->abort();
    request->second->deleteLater();
    requests_.erase(request);
}

void QtSocket::TakeRequests() {
    while (Listening() && server_->hasPendingConnections()) {
        QTcpSocket* socket = server_->nextPendingConnection();
        socket->setParent(this);
        const long requestId = ++lastRequestId_;
        requests_[requestId] = socket;
        if (events_->onConnectionRequest) events_->onConnectionRequest(0, requestId);
        // A request left undecided would hold its client on a connection nobody serves.
        DropRequest(requestId);
    }
}

void QtSocket::OnError(int index, QAbstractSocket::SocketError error) {
    switch (error) {
        case QAbstractSocket::RemoteHostClosedError:
            // Reaches the engine as the peer's close, after the last of its data.
            return;
        default:
            break;
    }
    // Only an attempt that has given up on every address has failed; an established connection
    // that breaks is reported once, as its close.
    QTcpSocket* socket = connections_[static_cast<std::size_t>(index)];
    if (index == 0 && connectTimer_.isActive() && socket &&
        socket->state() == QAbstractSocket::UnconnectedState) {
        switch (error) {
            case QAbstractSocket::ConnectionRefusedError:
                whyNotConnected_ = ConnectFailure::kRefused;
                break;
            case QAbstractSocket::HostNotFoundError:
                whyNotConnected_ = CouldNameAMachine(connectingTo_) ? ConnectFailure::kUnknownHost
                                                                    : ConnectFailure::kNotAnAddress;
                break;
            case QAbstractSocket::SocketTimeoutError:
            case QAbstractSocket::NetworkError:
                whyNotConnected_ = ConnectFailure::kNoAnswer;
                break;
            default:
                whyNotConnected_ = ConnectFailure::kUnknown;
        }
        FailConnect();
    }
}

void QtSocket::FailConnect() {
    connectTimer_.stop();
    Drop(0);
    connectFailed_ = true;
    if (!insideConnect_ && events_->onConnectFailed) events_->onConnectFailed();
}

void QtSocket::RaiseDataArrival(int index) {
    if (events_->onDataArrival) events_->onDataArrival(index);
}

}  // namespace kelvane
