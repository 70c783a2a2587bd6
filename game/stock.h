// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "game_state.h"

namespace kelvane {

// Any uniform 64-bit generator; the shuffle turns its output into [0, 1) itself so that one seed
// gives one order on every platform.
using RandomSource = std::function<std::uint64_t()>;

// A generator seeded from the clock: a fresh order at every shuffle.
RandomSource ClockSeededRandom();
RandomSource SeededRandom(std::uint64_t seed);

// The stock order of a new round, Stack[0] first: draw a code as floor(u * 52 + 1) and draw again
// while it is already used, so every order of the 52 cards can occur.
CardArray ShuffleOrder(const RandomSource& random);

// Each hand's cards at the deal, and what the stock holds once both hands and the first up card
// are dealt from it.
inline constexpr int kDealtPerHand = 7;
inline constexpr int kStockAfterDeal = kCardsInDeck - 2 * kDealtPerHand - 1;

// Empties the table and the up pile, as at every deal.
void ClearTableState(GameState& state);

// The round set-up both programs perform once the stock holds the new order: seven cards each
// from the top, the server's first, then one card face up, and the turn order of the deal.
void DealRound(GameState& state, std::string_view role);

// The top card of the stock, removed from it; 0 when the stock is empty.
Int16 GetTopCardFromStack(GameState& state);

// Removes the card at a position of a hand, closing the gap; the order is kept.
void RemoveFromHand(GameState& state, Seat seat, Int16 p);

// True when the opponent took this card from the up pile during the round.
bool CardIsKnown(const GameState& state, Int16 card);

}  // namespace kelvane
