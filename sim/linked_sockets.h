// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>

#include "engine/ports.h"

namespace kelvane::sim {

enum class Side { kServer, kClient };

constexpr Side Other(Side side) {
    return side == Side::kServer ? Side::kClient : Side::kServer;
}
const char* SideName(Side side);

// The sockets of two programs joined in memory: the server's accepted connection (its socket 1)
// is wired to the client's connection (its socket 0). Nothing moves by itself: bytes one side
// sends stay in flight until the harness delivers some prefix of them, and then the harness
// raises the receiver's data arrival, as the network and the event loop would.
class LinkedSockets {
  public:
    LinkedSockets() = default;
    LinkedSockets(const LinkedSockets&) = delete;
    LinkedSockets& operator=(const LinkedSockets&) = delete;

    Socket& socket(Side side) { return side == Side::kServer ? server_ : client_; }
    // The socket on which that side's game traffic arrives: the server's is the one it accepted
    // the client on last.
    int ConnectionIndex(Side side) const { return side == Side::kServer ? serverConnection_ : 0; }

    // Bytes `from` has sent that the other side has not received yet, oldest first.
    const std::string& InFlight(Side from) const { return Of(from).inFlight; }
    // Every byte `from` has ever sent.
    std::size_t SentBytes(Side from) const { return Of(from).sent; }
    // Every byte of the game's own messages `from` has sent, leaving out Kelvane's ("K:"
    // frames), which a program that knows nothing of them passes over.
    const std::string& GameText(Side from) const { return Of(from).gameText; }
    // Hands the first `count` in-flight bytes from `from` to the other side, whose Read returns
    // them; the caller then raises that side's data arrival on its ConnectionIndex.
    void Deliver(Side from, std::size_t count);

    // The client's connection attempt that the listening server has not answered yet.
    std::optional<long> PendingRequest() const { return pending_; }
    // True once after `side`'s peer closed the connection: the harness raises its Close event.
    bool TakeCloseEvent(Side side);
    // True once after the client's connection attempt was accepted: the harness raises its
    // Connect event.
    bool TakeConnectEvent(Side side);
    // The line drops: what is still in flight either way is lost, and each side's connection
    // closes under it, each seeing the other's close. The server's listener stays open.
    void Cut();

  private:
    struct End {
        std::array<int, kSockets> states{};  // all kSocketClosed
        std::string inFlight;
        std::string received;
        std::size_t sent = 0;
        std::string gameText;
        bool closeEvent = false;
        bool connectEvent = false;
    };

    // One program's socket array.
    class Sockets : public Socket {
      public:
        Sockets(LinkedSockets& link, Side side) : link_(link), side_(side) {}
        void Listen(int index, int port) override;
        std::string LocalIP(int index) override;
        void Connect(int index, const std::string& host, int port) override;
        int State(int index) override;
        void Accept(int index, long requestId) override;
        void Refuse(int index, long requestId) override;
        void Send(int index, const std::string& bytes) override;
        std::string Read(int index) override;
        void Close(int index) override;

      private:
        int& StateOf(int index);
        void RequireConnection(int index) const;

        LinkedSockets& link_;
        Side side_;
    };

    End& Of(Side side) { return ends_[side == Side::kServer ? 0 : 1]; }
    const End& Of(Side side) const { return ends_[side == Side::kServer ? 0 : 1]; }

    std::array<End, 2> ends_;
    Sockets server_{*this, Side::kServer};
    Sockets client_{*this, Side::kClient};
    std::optional<long> pending_;
    long nextRequest_ = 1;
    int serverConnection_ = 1;
};

}  // namespace kelvane::sim
