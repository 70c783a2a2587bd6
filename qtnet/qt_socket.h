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

class QTcpServer;
class QTcpSocket;

namespace kelvane {

// The session's sockets over TCP: socket 0 is the server's listener or the client's connection,
// socket 1 the server's accepted connection. Events reach the engine through the callbacks the
// shell sets, so the socket knows nothing of the Table. Every callback runs on the event loop's
// thread; none may delete this object while it runs (deleteLater is fine).
class QtSocket : public QObject, public Socket {
    Q_OBJECT

  public:
    explicit QtSocket(QObject* parent = nullptr);
    ~QtSocket() override;

    // A client knocks on listening socket 0; the callback must Accept or Refuse it before it
    // returns, or the request is turned away.
    std::function<void(int index, long requestId)> onConnectionRequest;
    // Bytes are waiting on socket `index`; they stay there until Read, however late.
    std::function<void(int index)> onDataArrival;
    // The peer closed the connection on socket `index`. Our own Close raises nothing.
    std::function<void(int index)> onClose;
    // A connection attempt that had started failed later: refused, unreachable or timed out.
    std::function<void()> onConnectFailed;
    // The connection attempt of socket `index` has completed.
    std::function<void(int index)> onConnected;

    void Listen(int index, int port) override;
    std::string LocalIP(int index) override;
    void Connect(int index, const std::string& host, int port) override;
    int State(int index) override;
    void Accept(int index, long requestId) override;
    void Refuse(int index, long requestId) override;
    void Send(int index, const std::string& bytes) override;
    std::string Read(int index) override;
    void Close(int index) override;

    // Listen on this numeric address only (127.0.0.1: this machine alone); empty, the default,
    // for every address of the machine.
    void ListenOn(const std::string& address) { listenAddress_ = address; }
    // The local port of socket `index`: after Listen(0, 0), the one the system chose.
    int LocalPort(int index) const;
    // How long a connection attempt may take before it counts as failed.
    void SetConnectTimeout(std::chrono::milliseconds timeout);

  private:
    static constexpr int kSockets = 2;
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
    bool insideConnect_ = false;
    QTimer connectTimer_;
};

}  // namespace kelvane
