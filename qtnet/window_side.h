// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "qtnet/qt_socket.h"
#include "ui/window_socket.h"

namespace kelvane {

// The window's socket as the network side answers it: the session's sockets over TCP and the
// router's doors, each passed to the QtSocket inside, whose events are raised as the window's.
// The bot plays through a QtSocket alone and so knows nothing of the window.
class WindowSide : public WindowSocket {
  public:
    explicit WindowSide(std::unique_ptr<QtSocket> inner = std::make_unique<QtSocket>())
        : inner_(std::move(inner)) {
        inner_->RaiseTo(*this);
    }
    QtSocket& inner() { return *inner_; }

    void Listen(int index, int port) override { inner_->Listen(index, port); }
    std::string LocalIP(int index) override { return inner_->LocalIP(index); }
    void Connect(int index, const std::string& host, int port) override {
        inner_->Connect(index, host, port);
    }
    int State(int index) override { return inner_->State(index); }
    ConnectFailure WhyNotConnected(int index) override { return inner_->WhyNotConnected(index); }
    void Accept(int index, long requestId) override { inner_->Accept(index, requestId); }
    void Refuse(int index, long requestId) override { inner_->Refuse(index, requestId); }
    void Send(int index, const std::string& bytes) override { inner_->Send(index, bytes); }
    std::string Read(int index) override { return inner_->Read(index); }
    void Close(int index) override { inner_->Close(index); }
    std::string PeerAddress(int index) override { return inner_->PeerAddress(index); }

    void ListenOn(const std::string& address) override { inner_->ListenOn(address); }
    int LocalPort(int index) const override { return inner_->LocalPort(index); }
    std::string GlobalIPv6Address() override { return inner_->GlobalIPv6Address(); }
    std::unique_ptr<RouterLease> OpenRouter(int port, const std::string& ipv6,
                                            std::function<void(const DoorReport&)> tell) override {
        return inner_->OpenRouter(port, ipv6, std::move(tell));
    }
    bool AwaitRouterGiveBacks() override { return inner_->AwaitRouterGiveBacks(); }

  private:
    std::unique_ptr<QtSocket> inner_;
};

}  // namespace kelvane
