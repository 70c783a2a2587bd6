// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "checked_array.h"
#include "game_state.h"

namespace kelvane {

// A candidate meld: up to 52 card codes, the first n of which count.
using MeldList = CheckedArray<Int16, kCardsInDeck>;

// True when the first n cards, in their present order, are a set (at most four cards of one
// rank) or a run of one suit in rank order, the ace below the two or above the king, never
// wrapping. No minimum size: callers ask for three cards or for a lay-off onto a meld.
bool ValidMeld(const MeldList& meld, Int16 n);

// Puts the first n cards into the one order in which ValidMeld can accept a run: ascending card
// code, with the ace moved behind the king when the meld holds both.
void SortMeld(MeldList& meld, Int16 n);

// Keeps the local hand in display order: twos up to kings, then aces; one rank in suit order.
void SortHand(GameState& state);

// A real card's place in the hand's display order: rank with the aces high, then suit.
int HandOrderKey(Int16 card);

}  // namespace kelvane
