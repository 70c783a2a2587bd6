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

#include "ui/window_socket.h"

class QTcpServer;
class QTcpSocket;

namespace kelvane {

// The session's sockets over TCP: socket 0 is the server's listener or the client's connection,
// socket 1 the server's accepted connection. Events reach the engine through the callbacks the
// shell sets, so the socket knows nothing of the Table. Every callback runs on the event loop's
// thread; none may delete this object while it runs (deleteLater is fine).
class QtSocket : public QObject, public WindowSocket {
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

    void ListenOn(const std::string& address) override { listenAddress_ = address; }
    int LocalPort(int index) const override;
    std::string GlobalIPv6Address() override;
    std::unique_ptr<RouterLease> OpenRouter(int port, const std::string& ipv6,
                                            std::function<void(const DoorReport&)> tell) override;
    bool AwaitRouterGiveBacks() override;
    // How long a connection attempt may take before it counts as failed.
    void SetConnectTimeout(std::chrono::milliseconds timeout);

  private:
    std::string listenAddress_;

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
