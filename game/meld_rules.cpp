// SPDX-License-Identifier: GPL-3.0-or-later
#include "meld_rules.h"

namespace kelvane {

namespace {

// One deck holds four cards of a rank, so a longer meld can only be a run.
constexpr int kLargestSet = 4;

bool OneRank(const MeldList& meld, Int16 n) {
    for (Int16 i = 1; i < n; ++i)
        if (GetCardValue(meld[i]) != GetCardValue(meld[0])) return false;
    return true;
}

bool RunInOrder(const MeldList& meld, Int16 n) {
    const Int16 suit = GetCardSuit(meld[0]);
    for (Int16 i = 1; i < n; ++i)
        if (GetCardSuit(meld[i]) != suit) return false;
    const Int16 first = GetCardValue(meld[0]);
    for (Int16 i = 1; i < n; ++i) {
        const Int16 rank = GetCardValue(meld[i]);
        if (rank == first + i) continue;
        // The ace plays high only as the last card, straight after the king: runs never wrap.
        const bool aceAfterKing = i == n - 1 && rank == kAce && GetCardValue(meld[i - 1]) == kKing;
        if (!aceAfterKing) return false;
    }
    return true;
}

// One stable pass over the hand: the cards whose key is 1, then those whose key is 2, and so on
// up to lastKey, each group in its present order.
template <typename Key>
void StablePass(GameState& s, int lastKey, Key key) {
    CardArray work{};
    Int16 taken = 0;
    for (int wanted = 1; wanted <= lastKey; ++wanted)
        for (Int16 i = 0; i < s.LocalCount; ++i)
            if (key(s.LocalHand[i]) == wanted) {
                work[taken] = s.LocalHand[i];
                ++taken;
            }
    for (Int16 i = 0; i < s.LocalCount; ++i) s.LocalHand[i] = work[i];
}

}  // namespace

bool ValidMeld(const MeldList& meld, Int16 n) {
    if (n <= kLargestSet && OneRank(meld, n)) return true;
    return RunInOrder(meld, n);
}

void SortMeld(MeldList& meld, Int16 n) {
    MeldList work{};
    Int16 taken = 0;
    bool hasAce = false;
    bool hasKing = false;
    bool allCards = true;
    for (Int16 i = 0; i < n; ++i) {
        hasAce = hasAce || GetCardValue(meld[i]) == kAce;
        hasKing = hasKing || GetCardValue(meld[i]) == kKing;
        allCards = allCards && IsCard(meld[i]);
    }
    if (allCards) {
        // Ascending card code, equal codes in list order: what the pass per code gives, in one
        // insertion sort.
        for (Int16 i = 0; i < n; ++i) {
            Int16 j = taken++;
            for (; j > 0 && work[j - 1] > meld[i]; --j) work[j] = work[j - 1];
            work[j] = meld[i];
        }
    } else {
        // A code that is no card is never copied: one pass per code, as the rule reads.
        for (int code = 1; code <= kCardsInDeck; ++code)
            for (Int16 i = 0; i < n; ++i)
                if (meld[i] == code) work[taken++] = meld[i];
    }
    // With a king in the meld an ace can only close the run above it, and in a one-suit run the
    // ace is the lowest code, so the first card goes to the back.
    if (hasAce && hasKing) {
        for (Int16 j = 0; j < n - 1; ++j) meld[j] = work[j + 1];
        meld[n - 1] = work[0];
    } else {
        for (Int16 j = 0; j < n; ++j) meld[j] = work[j];
    }
}

int HandOrderKey(Int16 card) {
    const int rank = GetCardValue(card).value();
    return (rank == kAce ? kRanksPerSuit : rank - 1) * 4 + GetCardSuit(card).value();
}

void SortHand(GameState& state) {
    // For real cards the two stable passes (by suit, then by rank with the aces high) come down
    // to one order by rank, then suit: one insertion sort, which the hand is nearly in already.
    // A code that is no card falls out of the suit pass, so such a hand takes the passes.
    bool allCards = true;
    for (Int16 i = 0; i < state.LocalCount; ++i) allCards = allCards && IsCard(state.LocalHand[i]);
    if (!allCards) {
        StablePass(state, 4, [](Int16 card) { return GetCardSuit(card).value(); });
        StablePass(state, kRanksPerSuit, [](Int16 card) {
            const int rank = GetCardValue(card).value();
            return rank == kAce ? kRanksPerSuit : rank - 1;
        });
        return;
    }
    for (Int16 i = 1; i < state.LocalCount; ++i) {
        const Int16 card = state.LocalHand[i];
        const int key = HandOrderKey(card);
        Int16 j = i;
        for (; j > 0 && HandOrderKey(state.LocalHand[j - 1]) > key; --j)
            state.LocalHand[j] = state.LocalHand[j - 1];
        state.LocalHand[j] = card;
    }
}

}  // namespace kelvane
