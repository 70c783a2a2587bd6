// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "game_state.h"
#include "meld_rules.h"

namespace kelvane {

// Every move of the game, for either seat, as two pure functions of the state: may this seat
// make the move now (and if not, why), and the state after it. The local player's handlers ask
// before they show their boxes and apply after; the opponent's messages are applied through the
// same transitions from his seat; the players of the harness and the bot enumerate and try moves
// with them. A rule written here is written nowhere else.

// Why a move may not be made, the first check that fails in the order a player meets them.
enum class Refusal {
    kNone,
    kNotYourTurn,       // the seat does not hold the turn (or no round is in play)
    kAlreadyDrawn,      // a draw was made this turn
    kStackEmpty,        // nothing left to draw from the stack
    kNoSuchPosition,    // no card of the up pile lies there
    kNotMeldableBelow,  // a card below the up pile's top that the seat could not meld
    kNotDrawn,          // melding and discarding come after the draw
    kTooFewForNewMeld,  // a new meld needs three cards
    kTooFewForLayOff,   // a lay-off needs one card
    kMustMeldFirst,     // a meld that leaves out the card taken from below the top
    kNotInHand,         // a card the seat does not hold
    kNoSuchColumn,      // a lay-off onto a column that is not on the table
    kInvalidMeld,       // the cards are no set or run
    kMustMeldBeforeDiscard,
    kTakenAlone,        // the card taken alone from the up pile may not go back at once
    kLastCardMeldable,  // a last card that could be melded may not be thrown away
    // What only the opponent's messages can get wrong: they state more than the move itself,
    // and that must agree with this program's copy of the game.
    kNotTopOfStack,    // a stack draw naming another card than the top of the stack
    kNotAsLaid,        // a meld's cards not as the rules lay them (order, or the column's cards)
    kNotTheDealer,     // a deal from the client
    kRoundInPlay,      // a deal in the middle of a round
    kNotEachCardOnce,  // a deal that does not hold every card once
};

// A short name for logs and test reports; the player is told in the window's own words.
const char* RefusalName(Refusal refusal);

struct Verdict {
    Refusal refusal = Refusal::kNone;
    Int16 card = 0;  // the card the refusal is about, where it names one

    bool ok() const { return refusal == Refusal::kNone; }
    friend bool operator==(const Verdict&, const Verdict&) = default;
};

inline constexpr int kNewColumn = -1;

// One meld: hand cards laid down as a new meld, or laid off onto a column of the table.
struct MeldMove {
    std::vector<Int16> cards;  // from the hand, in ascending code
    int column = kNewColumn;

    bool Contains(Int16 card) const;
    friend bool operator==(const MeldMove&, const MeldMove&) = default;
};

// A meld's whole content as it lies in its column once made: the hand cards and, for a lay-off,
// the cards already there, in meld order.
struct MeldContent {
    MeldList list{};
    Int16 count = 0;
    friend bool operator==(const MeldContent&, const MeldContent&) = default;
};

// Drawing: from the stack, or the up-pile card at `position` with every card above it. A card
// below the top may be taken only when the seat could meld it this turn.
Verdict CanDrawFromStack(const GameState& s, Seat seat);
Int16 DrawFromStack(GameState& s, Seat seat);  // returns the card drawn
Verdict CanTakeFromUpPile(const GameState& s, Seat seat, Int16 position);
void TakeFromUpPile(GameState& s, Seat seat, Int16 position);

// Selecting, melding and discarding all wait for the seat's draw.
Verdict CanPlayFromHand(const GameState& s, Seat seat);

Verdict CanMeld(const GameState& s, Seat seat, const MeldMove& move);
MeldContent ContentOf(const GameState& s, const MeldMove& move);
// Lays `content` into `column` (kNewColumn opens the next one) from the seat's hand, and returns
// the column. The hand cards it holds leave the hand, the cards are credited to the seat, a
// must-meld duty it meets is cleared, and a hand melded out floats and passes the turn.
Int16 LayMeld(GameState& s, Seat seat, int column, const MeldContent& content);
Int16 Meld(GameState& s, Seat seat, const MeldMove& move);
// The points the meld credits its hand cards.
Int16 MeldPoints(const GameState& s, const MeldMove& move);

Verdict CanDiscard(const GameState& s, Seat seat, Int16 card);
// The card goes on top of the up pile, the turn passes and the discarder floats no longer.
void Discard(GameState& s, Seat seat, Int16 card);

// The moves as the opponent's messages state them. A stack draw names the card drawn, which
// must be the top of the stack; a meld carries its column (kNewColumn for a new one) and its
// whole content in meld order, the column's own cards included; a deal carries the stock's order.
Verdict CanDrawFromStack(const GameState& s, Seat seat, Int16 drawn);
Verdict CanLayMeld(const GameState& s, Seat seat, int column, const MeldContent& content);
Verdict CanDeal(const GameState& s, Seat dealer, const CardArray& stack);
// Whether `dealer` may deal now, whatever the cards: the server, between rounds.
Verdict CanDealNow(const GameState& s, Seat dealer);

// Where the card lies in the seat's hand, or -1.
Int16 HandPosition(const GameState& s, Seat seat, Int16 card);

}  // namespace kelvane
