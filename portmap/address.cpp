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

std::vector<std::string> AddressesToGive(const Reach& reach) {
    std::vector<std::string> addresses;
    for (const DoorReport* door : {&reach.ipv4, reach.ipv6 ? &*reach.ipv6 : nullptr})
        if (door && door->outcome == DoorOutcome::kOpen)
            addresses.push_back(FormatServerAddress(door->outsideAddress, door->outsidePort));
    return addresses;
}

}  // namespace kelvane
