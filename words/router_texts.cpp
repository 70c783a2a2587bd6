// SPDX-License-Identifier: GPL-3.0-or-later
#include "words/router_texts.h"

namespace kelvane {

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

std::string IPv6AddressSentence(const std::string& address, int port) {
    return "This machine's IPv6 address: a friend with IPv6 connects to " +
           FormatServerAddress(address, port) +
           " directly, once the firewall lets the game's port in.";
}

}  // namespace kelvane
