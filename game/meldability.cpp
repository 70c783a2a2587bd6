// SPDX-License-Identifier: GPL-3.0-or-later
#include "meldability.h"

namespace kelvane {

namespace {

// What a list of candidate cards holds that matters to one card: how many of its rank, and which
// of its same-suit neighbours. Tallies add up, so the cards a player holds are tallied once and
// each meld column's cards are added to them in turn.
struct Tally {
    int sameRank = 0;
    bool m2 = false, m1 = false, p1 = false, p2 = false;

    void Add(Int16 candidate, int rank, Int16 suit, const Neighbours& want) {
        const int v = GetCardValue(candidate).value();
        sameRank += v == rank;
        if (GetCardSuit(candidate) != suit) return;
        m2 = m2 || v == want.m2;
        m1 = m1 || v == want.m1;
        p1 = p1 || v == want.p1;
        p2 = p2 || v == want.p2;
    }
    bool SetTest() const { return sameRank >= 3; }
    // King, ace, two around an ace would wrap, which no run may do.
    bool RunTest(int rank) const { return (m2 && m1) || (m1 && p1 && rank != kAce) || (p1 && p2); }
};

}  // namespace

bool CheckMeld(const GameState& s, Int16 card, Seat seat) {
    const int rank = GetCardValue(card).value();
    const Int16 suit = GetCardSuit(card);
    const Neighbours want = NeighboursOf(rank);

    // The cards the player would hold: taking a card from the up pile brings every card above it
    // along, then comes the whole hand.
    Tally base;
    bool found = false;
    for (Int16 p = 0; p < s.UpCount; ++p) {
        found = found || s.UpPile[p] == card;
        if (found) base.Add(s.UpPile[p], rank, suit, want);
    }
    const CardArray& hand = Hand(s, seat);
    for (Int16 p = 0; p < HandCount(s, seat); ++p) base.Add(hand[p], rank, suit, want);

    // Every meld column in table order, then one last pass with the base list alone.
    const Int16 columns = s.TableMelds.ColumnCount();
    for (Int16 col = 0; col <= columns; ++col) {
        Tally candidates = base;
        int appended = 0;
        int firstRank = 0;
        bool uniform = true;
        if (col < columns) {
            for (Int16 slot : s.TableMelds.Column(col)) {
                if (slot <= 0) continue;
                const int v = GetCardValue(slot).value();
                if (appended++ == 0) firstRank = v;
                uniform = uniform && v == firstRank;
                candidates.Add(slot, rank, suit, want);
            }
        }
        const bool shortColumn = appended < 3;
        // A card is laid off onto a set by rank and onto a run by suit, never the other way.
        if ((shortColumn || uniform) && candidates.SetTest()) return true;
        if (!(uniform && !shortColumn) && candidates.RunTest(rank)) return true;
    }
    return false;
}

}  // namespace kelvane
