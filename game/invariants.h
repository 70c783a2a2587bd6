// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "game_state.h"

namespace kelvane {

// Every card 1..52 in exactly one place, counts within bounds, positions past a count holding 0,
// credits only on cards on the table. Returns an empty text when the state holds together,
// otherwise what is wrong, for the harness to print with its seed.
std::string CheckInvariants(const GameState& state);

// The two programs' copies of one round mirror each other: hands exchanged, piles, table and
// deal count equal, scores, credits and each player's duties with opposite signs or seats, at
// most one side to move.
std::string CheckMirrored(const GameState& a, const GameState& b);

}  // namespace kelvane
