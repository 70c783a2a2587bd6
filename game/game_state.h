// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <concepts>
#include <string>
#include <type_traits>
#include <vector>

#include "cards.h"
#include "checked_array.h"

namespace kelvane {

using CardArray = CheckedArray<Int16, kCardsInDeck>;

inline constexpr int kSlotsPerColumn = 13;
using MeldColumn = CheckedArray<Int16, kSlotsPerColumn>;

inline const std::string kRoleNotConnected = "Not Connected";
inline const std::string kRoleServer = "Server";
inline const std::string kRoleClient = "Client";

// The melds on the table: one column of 13 slots per meld, in the order the melds were laid down
// by either player. The column index is the meld's number on the wire, so both programs must open
// columns in the same order; slot number = column * 13 + position.
class MeldTable {
  public:
    Int16 ColumnCount() const { return Int16(columns_.size()); }
    // Opens an empty column at the end of the table and returns its index.
    Int16 AddColumn();
    void Clear() { columns_.clear(); }

    MeldColumn& Column(Int16 col);
    const MeldColumn& Column(Int16 col) const;
    // The card in a slot, numbered across the whole table.
    Int16 Slot(Int16 slotNumber) const;
    // The number of cards in a column: its cards fill positions 0..n-1.
    Int16 CardCount(Int16 col) const;
    // The column's cards in meld order.
    std::vector<Int16> Cards(Int16 col) const;
    int CardsOnTable() const;

    friend bool operator==(const MeldTable&, const MeldTable&) = default;

  private:
    std::vector<MeldColumn> columns_;
};

// The whole game as one program sees it. The two programs of a session hold mirrored copies:
// what is LocalHand here is RemoteHand there.
struct GameState {
    CardArray Stack{};  // Stack[0] is the bottom, Stack[StackCount - 1] the top
    Int16 StackCount = 0;

    CardArray LocalHand{};
    Int16 LocalCount = 0;
    CardArray RemoteHand{};  // dealt-and-drawn order, never sorted
    Int16 RemoteCount = 0;

    CardArray KnownCards{};  // cards the opponent took from the up pile this round
    Int16 KnownCount = 0;

    CardArray UpPile{};  // UpPile[0] is the bottom
    Int16 UpCount = 0;

    // Indexed by card code: positive for the local player's melded cards, negative for the
    // opponent's, 0 for cards not on the table. Index 0 is never used.
    CheckedArray<Int16, kCardsInDeck + 1> MeldCredit{};
    Int16 LocalScore = 0;
    Int16 RemoteScore = 0;
    Int16 GamesPlayed = 0;  // deals made in the current game, the round in play included

    std::string Role = kRoleNotConnected;
    bool MyTurn = false;
    bool HasDrawn = false;
    Int16 MustMeldCard = 0;  // taken from below the top of the up pile: must be melded this turn
    Int16 TakenUpCard = 0;   // taken alone from the top of the up pile: may not be discarded
    bool LocalFloating = false;
    bool RemoteFloating = false;
    bool RevealOpponent = false;

    // The opponent's own duties, followed from his moves exactly as he follows them on his side,
    // so his moves can be judged by the same rules as ours.
    Int16 RemoteMustMeldCard = 0;
    Int16 RemoteTakenUpCard = 0;
    // From a deal to the discard that ends its round: only then does either player hold a turn.
    bool RoundInPlay = false;

    MeldTable TableMelds;

    friend bool operator==(const GameState&, const GameState&) = default;
};

// The two players as one program's state holds them: its own player and the opponent.
enum class Seat { kLocal, kRemote };

constexpr Seat Opposite(Seat seat) {
    return seat == Seat::kLocal ? Seat::kRemote : Seat::kLocal;
}

// One seat's side of the state, so a rule is written once for both players: each reads a const
// state and writes a changeable one, the same fields either way.
template <class State>
concept AnyGameState = std::same_as<std::remove_const_t<State>, GameState>;

template <AnyGameState State>
auto& Hand(State& s, Seat seat) {
    return seat == Seat::kLocal ? s.LocalHand : s.RemoteHand;
}
template <AnyGameState State>
auto& HandCount(State& s, Seat seat) {
    return seat == Seat::kLocal ? s.LocalCount : s.RemoteCount;
}
template <AnyGameState State>
auto& Floating(State& s, Seat seat) {
    return seat == Seat::kLocal ? s.LocalFloating : s.RemoteFloating;
}
template <AnyGameState State>
auto& MustMeld(State& s, Seat seat) {
    return seat == Seat::kLocal ? s.MustMeldCard : s.RemoteMustMeldCard;
}
template <AnyGameState State>
auto& TakenUp(State& s, Seat seat) {
    return seat == Seat::kLocal ? s.TakenUpCard : s.RemoteTakenUpCard;
}
// Whether this seat is to move: the local player when MyTurn says so (a round's end clears it),
// the opponent when it does not and a round is in play.
inline bool HoldsTurn(const GameState& s, Seat seat) {
    return seat == Seat::kLocal ? s.MyTurn : s.RoundInPlay && !s.MyTurn;
}
// Hands the turn to `seat` without a discard between (a player melded out and floats) or with one.
inline void GiveTurn(GameState& s, Seat seat) {
    s.MyTurn = seat == Seat::kLocal;
    s.HasDrawn = false;
}

}  // namespace kelvane
