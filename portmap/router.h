// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "portmap/address.h"

namespace kelvane {

// The router is given about this long to answer: play on the home network never waits for it.
inline constexpr std::chrono::seconds kRouterBound{3};
// Giving the port back is waited for this long at most, also when the program ends.
inline constexpr std::chrono::seconds kGiveBackBound{2};

// A forwarding the router granted, with what it takes to renew it and give it back.
struct Mapping {
    enum class By { kNone, kUpnp, kNatPmp, kPinhole } by = By::kNone;
    int insidePort = 0;
    int outsidePort = 0;
    std::string insideAddress;  // this machine on the home network, as the router sees it
    std::string controlUrl, serviceType;
    std::uint32_t gateway = 0;  // the NAT-PMP router, network byte order
    std::string pinholeId;      // the router's name for an IPv6 pinhole
};

struct Granted {
    DoorReport report;
    Mapping mapping;  // by == kNone when nothing is held on the router
};

// Asks the router to forward TCP port `port` to this machine for leaseSeconds, through UPnP IGD,
// or NAT-PMP when no UPnP router answers; gives up at the deadline. When the outside port is
// taken by another machine, other outside ports are asked for. Blocks: never on the window's
// thread.
Granted AskRouter(int port, int leaseSeconds, std::chrono::steady_clock::time_point deadline);

// Asks the router's IPv6 firewall (UPnP IGD version 2), over IPv6, to let TCP port `port` in to
// `address`, this machine's global IPv6 address, for leaseSeconds. A router that checks who asks
// opens a pinhole only to the address the request comes from. Blocks: never on the window's
// thread.
Granted AskFirewall(const std::string& address, int port, int leaseSeconds,
                    std::chrono::steady_clock::time_point deadline);

// Asks for the same forwarding again before its lease runs out; false when the router refused.
bool RenewMapping(const Mapping& mapping, int leaseSeconds);

// Deletes the forwarding from the router. NAT-PMP stops waiting for its answer after
// kGiveBackBound; UPnP's own timeouts bound the exchange, so never wait for it on the window's
// thread.
void GiveBack(const Mapping& mapping);

}  // namespace kelvane
