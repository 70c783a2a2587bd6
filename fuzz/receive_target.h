// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kelvane::fuzz {

// One fuzz input: bytes arriving at one program from its opponent's, in a real position. The
// first two bytes choose the position, the third the size of the pieces the rest arrives in
// (0: all at once). The bot then takes its turn if it holds one.
//
// Returns what broke, or empty text when everything held: the received bytes may end the session
// but may not raise a failure report (those are for our own faults), let an exception or a bot
// fault escape, or leave a state that no longer holds together.
// `role` narrows the positions to the server's or the client's; empty takes both.
std::string TryBytes(const std::uint8_t* data, std::size_t size, const std::string& role = "");

// Inputs from real play: each position with the bytes its opponent actually sent next.
std::vector<std::string> RealTraffic();

}  // namespace kelvane::fuzz
