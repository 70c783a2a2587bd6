// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>

#include "game/game_state.h"

namespace kelvane::bot {

// One round of the game in a form made for thinking ahead: every hand, meld and set of cards is a
// 52-bit set (bit code - 1), the piles are plain byte arrays, and a move costs no allocation. The
// rules are those of game/moves.h, restated over card sets; a test replays thousands of seeded
// rounds through both and compares every state, so the two cannot drift apart. Seats are those of
// the GameState it was taken from: 0 the local player, 1 the opponent.
using CardSet = std::uint64_t;

constexpr CardSet Bit(int card) {
    return CardSet{1} << (card - 1);
}

// Melding the whole hand with the stack nearly gone can leave both players floating with nothing
// to draw, a round nobody can finish: below this many cards in the stack every level, and the
// greedy play-out player, keeps a card back when it can.
inline constexpr int kFloatLateStack = 6;

// A meld column never holds fewer than three cards, so 52 cards make at most 17 columns.
inline constexpr int kMostColumns = kCardsInDeck / 3;
inline constexpr int kNoColumn = -1;

struct FastMeld {
    CardSet cards = 0;  // from the hand
    int column = kNoColumn;
};

// Every meld a hand can make at once, however large the hand: 65 sets, 312 runs and 833
// lay-offs at the very most.
inline constexpr int kMostMelds = 1280;
struct MeldBuffer {
    std::array<FastMeld, kMostMelds> melds;
    int count = 0;
};

struct FastMove {
    enum Kind : std::uint8_t { kStack, kUpPile, kMeld, kDiscard } kind = kStack;
    int position = 0;  // the up-pile position taken from
    int card = 0;      // the card discarded
    FastMeld meld;
};

struct FastRound {
    std::array<CardSet, 2> hand{};
    std::array<std::uint8_t, kCardsInDeck> stack{};  // stack[0] the bottom
    int stackCount = 0;
    std::array<std::uint8_t, kCardsInDeck> up{};  // up[0] the bottom
    int upCount = 0;
    std::array<CardSet, kMostColumns> column{};
    int columns = 0;
    std::array<int, 2> melded{};  // points credited this round
    CardSet known = 0;            // cards the opponent took face up this round
    bool myTurn = false;
    bool roundInPlay = false;
    bool hasDrawn = false;
    std::array<int, 2> mustMeld{};
    std::array<int, 2> takenUp{};
    std::array<bool, 2> floating{};

    friend bool operator==(const FastRound&, const FastRound&) = default;

    // The round as a GameState holds it. Totals, the deal count and the role are not part of it.
    static FastRound From(const GameState& s);

    bool HoldsTurn(int seat) const { return seat == 0 ? myTurn : roundInPlay && !myTurn; }
    // The seat to move, or -1 once the round is over.
    int Mover() const { return !roundInPlay ? -1 : myTurn ? 0 : 1; }

    // The rules, as in game/moves.h, for either seat.
    bool CanDrawFromStack(int seat) const;
    void DrawFromStack(int seat);
    bool CanTakeFromUpPile(int seat, int position) const;
    void TakeFromUpPile(int seat, int position);
    bool CanMeld(int seat, const FastMeld& meld) const;
    void Meld(int seat, const FastMeld& meld);
    bool CanDiscard(int seat, int card) const;
    // Ends the round, as the engine does after a discard, when the rules say it is over.
    void Discard(int seat, int card);
    // The quick meldability test the rules ask before a take from below the top and of a last card.
    bool CheckMeld(int card, int seat) const;

    // Whether the seat's hand holds a meld of its own or a card it could lay off on the table.
    bool HoldsMeld(int seat) const;
    // Every actual meld the seat's hand could lay now, as game/meld_search.h finds them.
    void Melds(int seat, MeldBuffer& out) const;
    // Every move the seat to move may make now: the draws, or the melds and discards. The count.
    int LegalMoves(MeldBuffer& melds,
                   std::array<FastMove, kMostMelds + 2 * kCardsInDeck>& out) const;
    bool Legal(const FastMove& move) const;
    void Apply(const FastMove& move);

    // The move a cheap greedy player makes: takes the up card when it fits, lays the largest meld
    // it has, then throws the card it values least. False when the rules leave it none.
    bool GreedyMove(MeldBuffer& scratch, FastMove& move, bool live = false) const;
    // Plays the rest of the round greedily for both seats. A player the rules leave no move ends
    // the round where it stands.
    void PlayOut(MeldBuffer& scratch, bool live = false);

    // The round's result for the seat: points melded less the cards left in hand.
    int Score(int seat) const;
};

// A card's points as it lies in a hand, and as it is credited in a meld (an ace with a two, low).
int FastPoints(int card, bool meldHoldsTwo = false);
// Whether the cards make one valid meld in the order the rules put them.
bool ValidMeldSet(CardSet cards);
// Whether some of the cards make a new meld of their own: three of a rank or three in a run.
bool HoldsNewMeld(CardSet cards);

}  // namespace kelvane::bot
