// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "game_state.h"

namespace kelvane {

// Could the seat's player meld this card now: in a new set or run with cards of the hand (and, for
// an up-pile card, the cards above it), or onto a meld on the table? A quick test on ranks and
// suits, not a search for an actual meld; it changes nothing.
bool CheckMeld(const GameState& state, Int16 card, Seat seat = Seat::kLocal);

}  // namespace kelvane
