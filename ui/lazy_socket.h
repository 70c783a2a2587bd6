// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLibrary>
#include <QStringList>
#include <memory>
#include <string>

#include "ui/window_socket.h"

namespace kelvane {

// The window's socket until a session needs the network. The first listen, connect or address
// asked for loads the network side (kelvane-network.so, with Qt Network and the router's
// libraries), and every call from then on goes to the socket made there, whose events come back
// through this object's callbacks. Until then every socket is closed and there is nothing to
// close, so a window that is only opened and looked at never loads any of it.
class LazySocket : public WindowSocket {
  public:
    // `modules`: the places to look for the network side, in turn.
    explicit LazySocket(QStringList modules);
    ~LazySocket() override;

    // Where the installed program keeps its network side, then beside the program (the build
    // tree). Needs the application object.
    static QStringList DefaultModules();

    void Listen(int index, int port) override { Real().Listen(index, port); }
    std::string LocalIP(int index) override { return Real().LocalIP(index); }
    void Connect(int index, const std::string& host, int port) override {
        Real().Connect(index, host, port);
    }
    int State(int index) override { return real_ ? real_->State(index) : kSocketClosed; }
    ConnectFailure WhyNotConnected(int index) override {
        return real_ ? real_->WhyNotConnected(index) : ConnectFailure::kUnknown;
    }
    void Accept(int index, long requestId) override { Real().Accept(index, requestId); }
    void Refuse(int index, long requestId) override { Real().Refuse(index, requestId); }
    void Send(int index, const std::string& bytes) override { Real().Send(index, bytes); }
    std::string Read(int index) override { return Real().Read(index); }
    std::string PeerAddress(int index) override { return Real().PeerAddress(index); }
    void Close(int index) override {
        if (real_) real_->Close(index);
    }
    void ListenOn(const std::string& address) override;
    int LocalPort(int index) const override { return real_ ? real_->LocalPort(index) : 0; }
    std::string GlobalIPv6Address() override { return Real().GlobalIPv6Address(); }
    std::unique_ptr<RouterLease> OpenRouter(int port, const std::string& ipv6,
                                            std::function<void(const DoorReport&)> tell) override {
        return Real().OpenRouter(port, ipv6, std::move(tell));
    }
    bool AwaitRouterGiveBacks() override { return !real_ || real_->AwaitRouterGiveBacks(); }
    // Loads the network side if it is not loaded yet: empty when it is there, or else the
    // sentence that tells the player what is missing and how to repair it.
    std::string SessionsUnavailable() override;

    bool loaded() const { return real_ != nullptr; }

  private:
    WindowSocket& Real();
    bool Load();

    QStringList modules_;
    std::string listenOn_;
    QLibrary library_;  // never unloaded: the socket's code lives there
    std::unique_ptr<WindowSocket> real_;
};

}  // namespace kelvane
