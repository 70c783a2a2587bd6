// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "game_state.h"

namespace kelvane {

// What the player at one seat may see of the table, and nothing else: his own hand and which of
// its cards he has raised, how many cards the opponent holds and those of them he took face up,
// the up pile, the melds and who laid them, how many cards the stack holds, the scores and the
// turn. The stack's order and the opponent's other cards are not in it at all, so a player that
// decides from it cannot read them: naming them does not compile.
struct SeatView {
    // The view of the seat whose hand is LocalHand.
    explicit SeatView(const GameState& table);

    CardArray LocalHand{};
    Int16 LocalCount = 0;
    // The hand positions the player has raised with a left press, ready to lay.
    CheckedArray<bool, kCardsInDeck> Selected{};

    Int16 RemoteCount = 0;
    CardArray KnownCards{};  // the cards the opponent took from the up pile this round
    Int16 KnownCount = 0;

    Int16 StackCount = 0;
    CardArray UpPile{};  // UpPile[0] is the bottom
    Int16 UpCount = 0;
    MeldTable TableMelds;
    CheckedArray<Int16, kCardsInDeck + 1> MeldCredit{};  // as in GameState: + ours, - his

    Int16 LocalScore = 0;
    Int16 RemoteScore = 0;
    Int16 GamesPlayed = 0;
    std::string Role = kRoleNotConnected;
    bool MyTurn = false;
    bool HasDrawn = false;
    bool RoundInPlay = false;
    Int16 MustMeldCard = 0;
    Int16 TakenUpCard = 0;
    bool LocalFloating = false;
    bool RemoteFloating = false;
    Int16 RemoteMustMeldCard = 0;
    Int16 RemoteTakenUpCard = 0;

    // The table as this seat can picture it, for asking the rules (game/moves.h) what it may do
    // and what would follow: everything it sees in its place, and a blank (0) for every card of
    // the stack and of the opponent's hand, of which it knows only the counts.
    GameState Pictured() const;
};

}  // namespace kelvane
