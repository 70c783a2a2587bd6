#include "meldability.h"

namespace kelvane {

namespace {

// The same-suit ranks that stand two below, one below, one above and two above rank r, 0 where
// there is none. The ace counts below the two and above the king alike.
struct Neighbours {
    int m2, m1, p1, p2;
};

Neighbours NeighboursOf(int r) {
    if (r == kAce) return {kQueen, kKing, 2, 3};
    if (r == kQueen) return {10, 11, kKing, kAce};
    if (r == kKing) return {11, kQueen, kAce, 0};
    return {r - 2, r - 1, r + 1, r + 2};
}

bool SetTest(const CardArray& candidates, Int16 n, Int16 rank) {
    int sameRank = 0;
    for (Int16 i = 0; i < n; ++i)
        if (GetCardValue(candidates[i]) == rank) ++sameRank;
    return sameRank >= 3;
}

bool RunTest(const CardArray& candidates, Int16 n, Int16 card) {
    const int r = GetCardValue(card).value();
    const Int16 suit = GetCardSuit(card);
    const Neighbours want = NeighboursOf(r);
    bool m2 = false, m1 = false, p1 = false, p2 = false;
    for (Int16 i = 0; i < n; ++i) {
        if (GetCardSuit(candidates[i]) != suit) continue;
        const int v = GetCardValue(candidates[i]).value();
        m2 = m2 || v == want.m2;
        m1 = m1 || v == want.m1;
        p1 = p1 || v == want.p1;
        p2 = p2 || v == want.p2;
    }
    // King, ace, two around an ace would wrap, which no run may do.
    return (m2 && m1) || (m1 && p1 && r != kAce) || (p1 && p2);
}

}  // namespace

bool CheckMeld(const GameState& s, Int16 card) {
    // The cards the player would hold: taking a card from the up pile brings every card above it
    // along, then comes the whole hand.
    CardArray candidates{};
    Int16 base = 0;
    bool found = false;
    for (Int16 p = 0; p < s.UpCount; ++p) {
        found = found || s.UpPile[p] == card;
        if (!found) continue;
        candidates[base] = s.UpPile[p];
        ++base;
    }
    for (Int16 p = 0; p < s.LocalCount; ++p) {
        candidates[base] = s.LocalHand[p];
        ++base;
    }

    // Every meld column in table order, then one last pass with the base list alone.
    const Int16 columns = s.TableMelds.ColumnCount();
    for (Int16 col = 0; col <= columns; ++col) {
        Int16 n = base;
        if (col < columns) {
            for (Int16 slot : s.TableMelds.Column(col)) {
                if (slot <= 0) continue;
                candidates[n] = slot;
                ++n;
            }
        }
        const bool shortColumn = n - base < 3;
        bool uniform = true;
        for (Int16 i = base + 1; i < n; ++i)
            uniform = uniform && GetCardValue(candidates[i]) == GetCardValue(candidates[base]);

        // A card is laid off onto a set by rank and onto a run by suit, never the other way.
        if ((shortColumn || uniform) && SetTest(candidates, n, GetCardValue(card))) return true;
        if (!(uniform && !shortColumn) && RunTest(candidates, n, card)) return true;
    }
    return false;
}

}  // namespace kelvane
