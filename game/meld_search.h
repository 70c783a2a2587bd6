// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "game/moves.h"

namespace kelvane {

// The local seat's actual melds and the turns they allow, for the players that choose moves: the
// random player of the harness and the bot. CheckMeld is a quick test that can say yes where no
// meld exists (3C with 2C in the hand and Q-K-A of clubs on the table); these find the actual
// melds, each confirmed by the meld rules themselves, and try them with the moves' transitions.

// Would the cards make a valid meld, laid down or laid off onto the move's column?
bool MakesMeld(const GameState& seen, const MeldMove& move);

// Every set of three or four cards of one rank and every run of three or more cards of one suit
// (the ace below the two or above the king, never both) that the hand holds.
std::vector<MeldMove> NewMelds(const GameState& seen);
// Every group of hand cards that a meld on the table would take.
std::vector<MeldMove> LayOffs(const GameState& seen);
// Both, new melds first.
std::vector<MeldMove> AllMelds(const GameState& seen);
// Those holding `card`.
std::vector<MeldMove> MeldsWith(const GameState& seen, Int16 card);

// Could the up-pile card at `position` be melded this turn after taking it that way?
bool MeldableAfterTake(const GameState& seen, Int16 position);

// The hand cards the engine would let the player discard now: none while a must-meld duty is
// open, never the card taken alone from the up pile, and not a last card it judges meldable.
std::vector<Int16> Discardable(const GameState& seen);
// After drawing: can some sequence of melds and a discard (or melding the hand out) still end
// the turn? A hand reduced to a card that can be neither discarded nor melded cannot.
bool TurnCanEnd(const GameState& seen);
// The same, once the meld has been played.
bool TurnCanEndAfter(const GameState& seen, const MeldMove& move);
// For the player to move: empty when some legal sequence of gestures completes the turn,
// otherwise what the rules leave him stuck on.
std::string WhyTurnCannotEnd(const GameState& seen);

}  // namespace kelvane
