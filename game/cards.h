// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "int16.h"

namespace kelvane {

// A card is one small integer: code = (suit - 1) * 13 + rank, 1..52; 0 is "no card".
// Suits 1 spades, 2 diamonds, 3 clubs, 4 hearts; ranks 1 ace .. 13 king.
inline constexpr int kCardsInDeck = 52;
inline constexpr int kRanksPerSuit = 13;
inline constexpr int kNoCard = 0;

inline constexpr int kAce = 1;
inline constexpr int kTwo = 2;
inline constexpr int kTen = 10;
inline constexpr int kQueen = 12;
inline constexpr int kKing = 13;

enum Suit : int { kSpades = 1, kDiamonds = 2, kClubs = 3, kHearts = 4 };

// In a run the ace may also stand above the king; this rank names it there.
inline constexpr int kAceHigh = kRanksPerSuit + 1;

// The card of `suit` at `rank` (kAceHigh the ace again), 0 off either end of the suit.
constexpr int CardAt(int suit, int rank) {
    if (rank == kAceHigh) rank = kAce;
    if (rank < kAce || rank > kKing) return kNoCard;
    return (suit - 1) * kRanksPerSuit + rank;
}

// The same-suit ranks that stand two below, one below, one above and two above rank r, 0 where
// there is none. The ace counts below the two and above the king alike.
struct Neighbours {
    int m2, m1, p1, p2;
};
constexpr Neighbours NeighboursOf(int r) {
    if (r == kAce) return {kQueen, kKing, 2, 3};
    if (r == kQueen) return {10, 11, kKing, kAce};
    if (r == kKing) return {11, kQueen, kAce, 0};
    return {r - 2, r - 1, r + 1, r + 2};
}

// Picture codes asked of the card-image source: a face is its card code.
inline constexpr int kBackPicture = 62;
inline constexpr int kEmptyStackPicture = 56;

constexpr bool IsCard(Int16 code) {
    return code >= 1 && code <= kCardsInDeck;
}

constexpr Int16 GetCardSuit(Int16 code) {
    // Floor division, so that codes outside 1..52 still give a number rather than a failure.
    int c = code.value() - 1;
    return Int16((c >= 0 ? c / 13 : (c - 12) / 13) + 1);
}

constexpr Int16 GetCardValue(Int16 code) {
    int r = code.value() % 13;
    if (r < 0) r += 13;
    return Int16(r == 0 ? 13 : r);
}

constexpr Int16 MakeCard(int suit, int rank) {
    return Int16((suit - 1) * 13 + rank);
}

// The long form ("Ace of Hearts") is what the player reads; the short form ("AH") ends in the
// suit letter the hand view reads. Anything outside 1..52 is "??".
std::string GetCardName(Int16 code, bool longForm);

// Numbers on the wire: at least two digits, so every card code is exactly two characters.
std::string nformat(Int16 n);

}  // namespace kelvane
