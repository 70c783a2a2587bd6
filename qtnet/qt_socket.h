// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAbstractSocket>
#include <QObject>
#include <QTimer>
#include <array>
#include <chrono>
#include <functional>
#include <map>
#include <string>

#include "engine/ports.h"
#include "portmap/address.h"

class QTcpServer;
class QTcpSocket;

namespace kelvane {

// The session's sockets over TCP: socket 0 is the server's listener or the client's connection,
// socket 1 the server's accepted connection. Events reach the engine through the callbacks the
// shell sets, so the socket knows nothing of the Table. Every callback runs on the event loop's
// thread; none may delete this object while it runs (deleteLater is fine).
class QtSocket : public QObject, public Socket, public SocketEvents {
    Q_OBJECT

  public:
    explicit QtSocket(QObject* parent = nullptr);
    ~QtSocket() override;

    void Listen(int index, int port) override;
    std::string LocalIP(int index) override;
    void Connect(int index, const std::string& host, int port) override;
    int State(int index) override;
    ConnectFailure WhyNotConnected(int index) override;
    void Accept(int index, long requestId) override;
    void Refuse(int index, long requestId) override;
    void Send(int index, const std::string& bytes) override;
    std::string Read(int index) override;
    void Close(int index) override;
    std::string PeerAddress(int index) override;

    // What serving a friend in another home needs besides, as the window asks it
    // (ui/window_socket.h); a test plays the router by overriding OpenRouter.
    void ListenOn(const std::string& address) { listenAddress_ = address; }
    int LocalPort(int index) const;
    std::string GlobalIPv6Address();
    virtual std::unique_ptr<RouterLease> OpenRouter(int port, const std::string& ipv6,
                                                    std::function<void(const DoorReport&)> tell);
    bool AwaitRouterGiveBacks();
    // The events go to `events` instead of this socket's own callbacks: the window's side raises
    // them as its own.
    void RaiseTo(SocketEvents& events) { events_ = &events; }
    // How long a connection attempt may take before it counts as failed.
    void SetConnectTimeout(std::chrono::milliseconds timeout);

  private:
    std::string listenAddress_;
    SocketEvents* events_ = this;

    QTcpSocket* Connection(int index) const;
    bool Listening() const;
    void Attach(int index, QTcpSocket* socket);
    void Drop(int index);
    void DropRequest(long requestId);
    void TakeRequests();
    void OnError(int index, QAbstractSocket::SocketError error);
    void FailConnect();
    void RaiseDataArrival(int index);
    static void Linger(QTcpSocket& socket);

    QTcpServer* server_ = nullptr;
    std::array<QTcpSocket*, kSockets> connections_{};
    std::map<long, QTcpSocket*> requests_;
    long lastRequestId_ = 0;
    bool connectFailed_ = false;
    ConnectFailure whyNotConnected_ = ConnectFailure::kUnknown;
    QString connectingTo_;
    bool insideConnect_ = false;
    QTimer connectTimer_;
};

}  // namespace kelvane
