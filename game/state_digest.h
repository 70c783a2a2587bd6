// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string_view>

#include "game_state.h"

namespace kelvane {

// A 64-bit digest of everything the two programs of a session must hold alike, taken from the
// server's side of the table, so that the server's copy and the client's mirrored copy give the
// same number: the stock, both hands (as sets: one copy keeps the order drawn), the up pile, the
// melds, every credit, the totals, the deal count, the turn and each player's duties.
// `serverSeat` is kLocal in the server's program and kRemote in the client's.
std::uint64_t StateDigest(const GameState& state, Seat serverSeat);

// The 64-bit FNV-1a hash of some text: cheap, and the same on every machine.
std::uint64_t Fnv1a(std::string_view text);

}  // namespace kelvane
