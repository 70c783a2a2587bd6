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

std::string DoorSentence(const DoorReport& r) {
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
            return "The router's own outside address " + r.outsideAddress +
                   " is private or shared (a second router or the provider's), so players "
                   "outside cannot reach this machine this way.";
        case DoorOutcome::kRefused:
            return "The router refused to forward the game's port; players on this network can "
                   "still connect.";
        case DoorOutcome::kNoAnswer:
            break;
    }
    return "No router answered the request to forward the game's port; players on this network "
           "can still connect.";
}

}  // namespace kelvane
