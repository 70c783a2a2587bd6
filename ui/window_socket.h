// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "engine/ports.h"
#include "portmap/address.h"  // DoorReport, RouterLease

namespace kelvane {

// The window's socket: the session's sockets and the events they raise, and what serving a friend
// in another home needs besides. The window owns what it asks of the network; the network side
// answers it (qtnet/window_side.h), and the window reaches that through a stand-in that loads it
// only when a session first needs it (ui/lazy_socket.h).
class WindowSocket : public Socket, public SocketEvents {
  public:
    // Listen on this numeric address only (127.0.0.1: this machine alone); empty, the default,
    // for every address of the machine.
    virtual void ListenOn(const std::string& address) = 0;
    // The local port of socket `index`: after Listen(0, 0), the one the system chose.
    virtual int LocalPort(int index) const = 0;
    // An address a friend's IPv6 reaches directly, or empty when this machine has none.
    virtual std::string GlobalIPv6Address() = 0;
    // Asks the home router to forward `port` and, when `ipv6` names this machine's global IPv6
    // address, to open its IPv6 firewall for the port to it; `tell` is called once per door, on a
    // thread of its own, with what the router said (the report's family tells which door).
    virtual std::unique_ptr<RouterLease> OpenRouter(
        int port, const std::string& ipv6, std::function<void(const DoorReport&)> tell) = 0;
    // Waits, for a bounded while, until the router has taken back every port this program's
    // leases gave up; false when it has not answered by then. Called on the way out, since the
    // giving back happens on threads that end with the process.
    virtual bool AwaitRouterGiveBacks() { return true; }
    // Empty when sessions can be started; otherwise the one sentence that tells the player why
    // not (a program without its network side).
    virtual std::string SessionsUnavailable() { return {}; }
};

}  // namespace kelvane
