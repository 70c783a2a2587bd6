// SPDX-License-Identifier: GPL-3.0-or-later
#include "portmap/address.h"

#include <arpa/inet.h>

#include <charconv>
#include <cstdint>

namespace kelvane {

namespace {

std::optional<int> Port(const std::string& text) {
    int port = 0;
    const char* end = text.data() + text.size();
    const auto [at, error] = std::from_chars(text.data(), end, port);
    if (text.empty() || error != std::errc{} || at != end || port < 1 || port > 65535)
        return std::nullopt;
    return port;
}

}  // namespace

std::optional<ServerAddress> ParseServerAddress(const std::string& text, int defaultPort) {
    ServerAddress address{text, defaultPort};
    if (text.starts_with("[")) {
        const std::size_t close = text.find(']');
        if (close == std::string::npos || close == 1) return std::nullopt;
        address.host = text.substr(1, close - 1);
        const std::string rest = text.substr(close + 1);
        if (rest.empty()) return address;
        if (!rest.starts_with(":")) return std::nullopt;
        const auto port = Port(rest.substr(1));
        if (!port) return std::nullopt;
        address.port = *port;
        return address;
    }
    const std::size_t colon = text.find(':');
    // Two colons or more: a bare IPv6 address, which cannot carry a port without brackets.
    if (colon != std::string::npos && text.find(':', colon + 1) == std::string::npos) {
        address.host = text.substr(0, colon);
        const auto port = Port(text.substr(colon + 1));
        if (!port) return std::nullopt;
        address.port = *port;
    }
    if (address.host.empty()) return std::nullopt;
    return address;
}

std::string FormatServerAddress(const std::string& host, int port) {
    const bool v6 = host.find(':') != std::string::npos;
    if (port == kDefaultGamePort) return host;
    return (v6 ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

bool IsPrivateOrShared(const std::string& ipv4) {
    in_addr parsed{};
    if (inet_pton(AF_INET, ipv4.c_str(), &parsed) != 1) return false;
    const std::uint32_t a = ntohl(parsed.s_addr);
    auto in = [a](std::uint32_t net, int bits) {
        return (a >> (32 - bits)) == (net >> (32 - bits));
    };
    return in(0x0A000000, 8) || in(0xAC100000, 12) || in(0xC0A80000, 16) || in(0x64400000, 10);
}

namespace {

// An outside address that cannot be anybody's way in: unreadable, unspecified, this machine's
// own, link-local, multicast or the broadcast address.
bool NoWayIn(const std::string& address) {
    in_addr v4{};
    if (inet_pton(AF_INET, address.c_str(), &v4) == 1) {
        const std::uint32_t a = ntohl(v4.s_addr);
        const std::uint32_t top = a >> 24;
        return top == 0 || top == 127 || (a >> 16) == 0xA9FE || top >= 224;
    }
    in6_addr v6{};
    if (inet_pton(AF_INET6, address.c_str(), &v6) != 1) return true;
    if (IN6_IS_ADDR_V4MAPPED(&v6)) {
        char mapped[INET_ADDRSTRLEN] = {};
        inet_ntop(AF_INET, &v6.s6_addr[12], mapped, sizeof mapped);
        return NoWayIn(mapped);
    }
    return IN6_IS_ADDR_UNSPECIFIED(&v6) || IN6_IS_ADDR_LOOPBACK(&v6) ||
           IN6_IS_ADDR_LINKLOCAL(&v6) || IN6_IS_ADDR_MULTICAST(&v6);
}

}  // namespace

DoorOutcome JudgeDoor(const DoorReport& r) {
    if (r.outsidePort < 1 || r.outsidePort > 65535 || r.leaseSeconds <= 0 ||
        NoWayIn(r.outsideAddress))
        return DoorOutcome::kNoDoor;
    return IsPrivateOrShared(r.outsideAddress) ? DoorOutcome::kShared : DoorOutcome::kOpen;
}

namespace {

std::string PinholeSentence(const DoorReport& r) {
    switch (r.outcome) {
        case DoorOutcome::kOpen:
            return "The router's IPv6 firewall lets the game's port in: players with IPv6 connect "
                   "to " +
                   FormatServerAddress(r.outsideAddress, r.outsidePort) + ".";
        case DoorOutcome::kShared:
        case DoorOutcome::kNoDoor:
            return "The router said yes but opened its IPv6 firewall to no address players "
                   "outside can reach.";
        case DoorOutcome::kLost:
            return "The router stopped letting the game's port through its IPv6 firewall "
                   "(renewing it failed), so players with IPv6 can no longer reach this machine.";
        case DoorOutcome::kRefused:
            return "The router would not open its IPv6 firewall for the game's port.";
        case DoorOutcome::kNoAnswer:
            break;
    }
    return "No router answered the request to open its IPv6 firewall for the game's port.";
}

}  // namespace

std::string DoorSentence(const DoorReport& r) {
    if (r.family == DoorFamily::kIPv6) return PinholeSentence(r);
    const std::string address = FormatServerAddress(r.outsideAddress, r.outsidePort);
    switch (r.outcome) {
        case DoorOutcome::kOpen:
            if (r.outsidePort != r.insidePort)
                return "The router's port " + std::to_string(r.insidePort) +
                       " is another machine's, so it forwards port " +
                       std::to_string(r.outsidePort) + ": players in other homes connect to " +
                       address + ".";
            return "The router forwards the game's port: players in other homes connect to " +
                   address + ".";
        case DoorOutcome::kShared:
            // A router that knows its own address is not the internet's may name none at all.
            if (r.outsideAddress.empty() || r.outsideAddress == "0.0.0.0")
                return "The router has no outside address of its own (the provider's router or "
                       "a second one stands before it), so players outside cannot reach this "
                       "machine this way.";
            return "The router's own outside address " + r.outsideAddress +
                   " is private or shared (a second router or the provider's), so players "
                   "outside cannot reach this machine this way.";
        case DoorOutcome::kNoDoor:
            return "The router said yes but did not open a door players outside can reach; "
                   "players on this network can still connect.";
        case DoorOutcome::kLost:
            return "The router stopped forwarding the game's port (renewing it failed), so players "
                   "in other homes can no longer reach this machine; players on this network can "
                   "still connect.";
        case DoorOutcome::kRefused:
            return "The router refused to forward the game's port; players on this network can "
                   "still connect.";
        case DoorOutcome::kNoAnswer:
            break;
    }
    return "No router answered the request to forward the game's port; players on this network "
           "can still connect.";
}

std::vector<std::string> AddressesToGive(const Reach& reach) {
    std::vector<std::string> addresses;
    for (const DoorReport* door : {&reach.ipv4, reach.ipv6 ? &*reach.ipv6 : nullptr})
        if (door && door->outcome == DoorOutcome::kOpen)
            addresses.push_back(FormatServerAddress(door->outsideAddress, door->outsidePort));
    return addresses;
}

std::string ReachSentence(const Reach& reach) {
    const auto addresses = AddressesToGive(reach);
    const bool open4 = reach.ipv4.outcome == DoorOutcome::kOpen;
    if (addresses.size() == 2)
        return "Players in other homes connect to " + addresses[0] + ", or with IPv6 to " +
               addresses[1] + ".";
    if (!open4 && addresses.size() == 1)
        return "Only players with IPv6 can reach this machine from other homes: they connect to " +
               addresses[0] + ".";
    if (open4 && reach.ipv6) return "Players in other homes connect to " + addresses[0] + ".";
    // Nobody outside can call in, but a home behind a shared address can still call out.
    if (reach.ipv4.outcome == DoorOutcome::kShared)
        return std::string(
                   "Players in other homes cannot reach this machine: this home shares "
                   "its IPv4 address with others, and ") +
               (reach.ipv6 ? "the router opened no IPv6 door. "
                           : "this machine has no IPv6 address. ") +
               "Let your friend serve, and connect to him: a call from this home goes out.";
    if (reach.ipv6)
        return "No door is open for players in other homes; players on this network can still "
               "connect.";
    return "";
}

}  // namespace kelvane
