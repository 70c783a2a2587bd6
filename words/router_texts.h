// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "portmap/address.h"

namespace kelvane {

// What the home router said when serving a friend in another home, in the player's words. The
// window and the bot read the same sentences; the router's side hands over only its reports.

// One sentence for the player about what the router said.
std::string DoorSentence(const DoorReport& report);

// What the two answers come to for the player: who can reach this machine and where, and, when
// the home's IPv4 address is shared and no pinhole is open, that the friend should serve and this
// player connect. Empty when the IPv4 door was the only one asked and its own sentence says it all.
std::string ReachSentence(const Reach& reach);

// This machine's own IPv6 address, given without asking the router: a friend with IPv6 may reach
// it, once the firewall lets the game's port in.
std::string IPv6AddressSentence(const std::string& address, int port);

}  // namespace kelvane
