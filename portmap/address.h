// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "wire/wire.h"

namespace kelvane {

// The doors a router opened for this program, held for as long as this object lives.
class RouterLease {
  public:
    virtual ~RouterLease() = default;
};

// The game's own port, used when an address names none.
inline constexpr int kDefaultGamePort = kGamePort;

// Where a player asks to connect: a host name or address, and the port.
struct ServerAddress {
    std::string host;  // an IPv6 address without its brackets
    int port = kDefaultGamePort;
};

// What a player types for a server: "host", "host:port", "1.2.3.4:port", "[v6]:port", "[v6]" or a
// bare IPv6 address ("fe80::1", whose colons are the address's own). Nothing when the text cannot
// be one (an empty host, a port that is not 1..65535, an unclosed bracket).
std::optional<ServerAddress> ParseServerAddress(const std::string& text,
                                                int defaultPort = kDefaultGamePort);

// The address a friend types to reach host on port: the port only when it is not the game's own,
// an IPv6 address in brackets when a port follows it.
std::string FormatServerAddress(const std::string& host, int port);

// An IPv4 address that no one on the internet can reach directly: private (10/8, 172.16/12,
// 192.168/16) or shared by a carrier's NAT (100.64/10). False for anything that is not IPv4.
bool IsPrivateOrShared(const std::string& ipv4);

// What asking the home router for the serving port came to.
enum class DoorOutcome {
    kOpen,      // forwarded: players outside reach outsideAddress:outsidePort
    kShared,    // forwarded, but the router's own outside address is private or shared
    kNoDoor,    // the router said yes, but to nothing a player outside could reach
    kRefused,   // a router answered and would not forward the port
    kNoAnswer,  // no router answered in time
    kLost,      // forwarded until the router stopped renewing the lease
};

// Which door a report is about: the router's forwarding of its own IPv4 address, or a pinhole in
// its IPv6 firewall to this machine's address (outsideAddress is then this machine's).
enum class DoorFamily { kIPv4, kIPv6 };

struct DoorReport {
    DoorOutcome outcome = DoorOutcome::kNoAnswer;
    std::string outsideAddress;
    int outsidePort = 0;
    int insidePort = 0;
    std::string method;    // "UPnP" or "NAT-PMP", when a router answered
    int leaseSeconds = 0;  // how long the router said it keeps the forwarding
    DoorFamily family = DoorFamily::kIPv4;
};

// What a router's yes is worth. Only an outside address someone on the internet can type, a real
// port and a lease that has not already run out make a door (kOpen); an address that is private
// or shared makes kShared; anything else the router may say (no address, this machine's own,
// link-local, multicast, a port or a lease of 0) is kNoDoor, never an address to give a friend.
DoorOutcome JudgeDoor(const DoorReport& report);

// What players in other homes can reach while this machine serves: the router's answer for the
// IPv4 door and, when this machine has a global IPv6 address, for the pinhole.
struct Reach {
    DoorReport ipv4;
    std::optional<DoorReport> ipv6;  // nothing when there is no IPv6 address to open
};

// The addresses a friend in another home types, each as the connect box takes it: the IPv4 one
// first (it reaches every friend), then the IPv6 one. Only doors that are open.
std::vector<std::string> AddressesToGive(const Reach& reach);

}  // namespace kelvane
