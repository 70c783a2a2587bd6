// SPDX-License-Identifier: GPL-3.0-or-later
#include "game/meld_search.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "game/meld_rules.h"
#include "game/meldability.h"
#include "game/scoring.h"
#include "game/stock.h"

namespace kelvane {

namespace {

// The hand's cards by suit and rank, the ace present at both ends of its suit.
class HandGrid {
  public:
    explicit HandGrid(const GameState& seen) {
        for (Int16 i = 0; i < seen.LocalCount; ++i) {
            const Int16 card = seen.LocalHand[i];
            const int rank = GetCardValue(card).value();
            Row(GetCardSuit(card).value())[static_cast<std::size_t>(rank)] = card;
            if (rank == kAce) Row(GetCardSuit(card).value())[kAceHigh] = card;
        }
    }
    Int16 At(int suit, int rank) const {
        if (rank < kAce || rank > kAceHigh) return 0;
        return cards_[static_cast<std::size_t>(suit - 1)][static_cast<std::size_t>(rank)];
    }

  private:
    std::array<Int16, kAceHigh + 1>& Row(int suit) {
        return cards_[static_cast<std::size_t>(suit - 1)];
    }
    std::array<std::array<Int16, kAceHigh + 1>, 4> cards_{};
};

void AddIfMeld(std::vector<MeldMove>& out, const GameState& seen, std::vector<Int16> cards,
               int column) {
    std::sort(cards.begin(), cards.end());
    MeldMove move{std::move(cards), column};
    if (MakesMeld(seen, move)) out.push_back(std::move(move));
}

void AddSets(std::vector<MeldMove>& out, const GameState& seen) {
    std::array<std::vector<Int16>, kKing + 1> byRank;
    for (Int16 i = 0; i < seen.LocalCount; ++i)
        byRank[static_cast<std::size_t>(GetCardValue(seen.LocalHand[i]).value())].push_back(
            seen.LocalHand[i]);
    for (const std::vector<Int16>& cards : byRank) {
        if (cards.size() < 3) continue;
        AddIfMeld(out, seen, cards, kNewColumn);
        if (cards.size() < 4) continue;
        for (std::size_t left = 0; left < cards.size(); ++left) {
            std::vector<Int16> three;
            for (std::size_t i = 0; i < cards.size(); ++i)
                if (i != left) three.push_back(cards[i]);
            AddIfMeld(out, seen, three, kNewColumn);
        }
    }
}

void AddRuns(std::vector<MeldMove>& out, const GameState& seen, const HandGrid& grid) {
    for (int suit = kSpades; suit <= kHearts; ++suit) {
        for (int low = kAce; low <= kQueen; ++low) {
            // An ace-low run stops at the king: the same ace cannot close it as well. A run from
            // the two through the high ace holds the same thirteen cards as ace to king.
            const int highest = low == kAce || low == kTwo ? kKing : kAceHigh;
            std::vector<Int16> run;
            for (int rank = low; rank <= highest && grid.At(suit, rank) != 0; ++rank) {
                run.push_back(grid.At(suit, rank));
                if (run.size() >= 3) AddIfMeld(out, seen, run, kNewColumn);
            }
        }
    }
}

// Every group of hand cards of the set's rank that keeps it within four cards.
void AddSetLayOffs(std::vector<MeldMove>& out, const GameState& seen, int column,
                   const std::vector<Int16>& onTable) {
    const Int16 rank = GetCardValue(onTable.front());
    std::vector<Int16> fits;
    for (Int16 i = 0; i < seen.LocalCount; ++i)
        if (GetCardValue(seen.LocalHand[i]) == rank) fits.push_back(seen.LocalHand[i]);
    for (unsigned mask = 1; mask < (1u << fits.size()); ++mask) {
        std::vector<Int16> cards;
        for (std::size_t i = 0; i < fits.size(); ++i)
            if (mask & (1u << i)) cards.push_back(fits[i]);
        if (onTable.size() + cards.size() <= 4) AddIfMeld(out, seen, cards, column);
    }
}

// Unbroken stretches of hand cards below and above the run, taken in every combination.
void AddRunLayOffs(std::vector<MeldMove>& out, const GameState& seen, const HandGrid& grid,
                   int column, const std::vector<Int16>& onTable) {
    const int suit = GetCardSuit(onTable.front()).value();
    bool ace = false;
    bool king = false;
    int low = kAceHigh;
    int high = kAce;
    for (Int16 card : onTable) {
        const int rank = GetCardValue(card).value();
        ace = ace || rank == kAce;
        king = king || rank == kKing;
        low = std::min(low, rank);
        high = std::max(high, rank);
    }
    if (ace && king) {
        low = kKing;
        for (Int16 card : onTable)
            if (GetCardValue(card) != kAce) low = std::min(low, GetCardValue(card).value());
        high = kAceHigh;
    }
    std::vector<Int16> below;
    for (int rank = low - 1; rank >= kAce && grid.At(suit, rank) != 0; --rank)
        below.push_back(grid.At(suit, rank));
    std::vector<Int16> above;
    for (int rank = high + 1; rank <= kAceHigh && grid.At(suit, rank) != 0; ++rank)
        above.push_back(grid.At(suit, rank));
    // Two to king takes the ace at either end; it is one card, so one lay-off.
    if (!below.empty() && !above.empty() && below.back() == above.back()) above.pop_back();
    for (std::size_t down = 0; down <= below.size(); ++down) {
        for (std::size_t up = 0; up <= above.size(); ++up) {
            if (down + up == 0) continue;
            std::vector<Int16> cards(below.begin(),
                                     below.begin() + static_cast<std::ptrdiff_t>(down));
            cards.insert(cards.end(), above.begin(),
                         above.begin() + static_cast<std::ptrdiff_t>(up));
            AddIfMeld(out, seen, cards, column);
        }
    }
}

}  // namespace

bool MakesMeld(const GameState& seen, const MeldMove& move) {
    const MeldContent content = ContentOf(seen, move);
    return ValidMeld(content.list, content.count);
}

std::vector<MeldMove> NewMelds(const GameState& seen) {
    std::vector<MeldMove> melds;
    AddSets(melds, seen);
    AddRuns(melds, seen, HandGrid(seen));
    return melds;
}

std::vector<MeldMove> LayOffs(const GameState& seen) {
    std::vector<MeldMove> melds;
    const HandGrid grid(seen);
    for (Int16 col = 0; col < seen.TableMelds.ColumnCount(); ++col) {
        const std::vector<Int16> onTable = seen.TableMelds.Cards(col);
        if (onTable.empty()) continue;
        const bool set = std::all_of(onTable.begin(), onTable.end(), [&](Int16 card) {
            return GetCardValue(card) == GetCardValue(onTable.front());
        });
        if (set)
            AddSetLayOffs(melds, seen, col.value(), onTable);
        else
            AddRunLayOffs(melds, seen, grid, col.value(), onTable);
    }
    return melds;
}

std::vector<MeldMove> AllMelds(const GameState& seen) {
    std::vector<MeldMove> melds = NewMelds(seen);
    std::vector<MeldMove> layOffs = LayOffs(seen);
    melds.insert(melds.end(), std::make_move_iterator(layOffs.begin()),
                 std::make_move_iterator(layOffs.end()));
    return melds;
}

std::vector<MeldMove> MeldsWith(const GameState& seen, Int16 card) {
    std::vector<MeldMove> melds = AllMelds(seen);
    std::erase_if(melds, [&](const MeldMove& m) { return !m.Contains(card); });
    return melds;
}

bool MeldableAfterTake(const GameState& seen, Int16 position) {
    GameState after = seen;
    TakeFromUpPile(after, Seat::kLocal, position);
    return !MeldsWith(after, seen.UpPile[position]).empty();
}

std::vector<Int16> Discardable(const GameState& seen) {
    std::vector<Int16> cards;
    for (Int16 i = 0; i < seen.LocalCount; ++i)
        if (CanDiscard(seen, Seat::kLocal, seen.LocalHand[i]).ok())
            cards.push_back(seen.LocalHand[i]);
    return cards;
}

bool TurnCanEnd(const GameState& seen) {
    // A hand melded out has already passed the turn.
    if (!seen.MyTurn || seen.LocalCount == 0) return true;
    if (!Discardable(seen).empty()) return true;
    const std::vector<MeldMove> melds =
        seen.MustMeldCard != 0 ? MeldsWith(seen, seen.MustMeldCard) : AllMelds(seen);
    return std::any_of(melds.begin(), melds.end(),
                       [&](const MeldMove& m) { return TurnCanEndAfter(seen, m); });
}

bool TurnCanEndAfter(const GameState& seen, const MeldMove& move) {
    // Two cards left with the duty met: one of them is not the card taken alone, and only a
    // last card is kept back for being meldable. An emptied hand floats.
    const int left = seen.LocalCount.value() - static_cast<int>(move.cards.size());
    const bool dutyMet = seen.MustMeldCard == 0 || move.Contains(seen.MustMeldCard);
    if (left == 0 || (left >= 2 && dutyMet)) return true;
    GameState after = seen;
    Meld(after, Seat::kLocal, move);
    return TurnCanEnd(after);
}

std::string WhyTurnCannotEnd(const GameState& seen) {
    if (!seen.MyTurn) return "";
    if (!seen.HasDrawn) {
        if (seen.StackCount > 0) return "";
        if (seen.UpCount == 0) return "nothing to draw: the stack and the up pile are both empty";
        const Int16 top = seen.UpCount - 1;
        for (Int16 p = 0; p <= top; ++p) {
            if (!CanTakeFromUpPile(seen, Seat::kLocal, p).ok()) continue;
            GameState after = seen;
            TakeFromUpPile(after, Seat::kLocal, p);
            if (TurnCanEnd(after)) return "";
        }
        return "the stack is empty and every take from the up pile leaves a turn that cannot end";
    }
    if (TurnCanEnd(seen)) return "";
    if (seen.MustMeldCard != 0) return "the card taken from below the up pile's top fits no meld";
    if (seen.LocalCount == 1 && seen.LocalHand[0] == seen.TakenUpCard)
        return "the last card was taken alone from the up pile and fits no meld";
    if (seen.LocalCount == 1) return "the last card passes the quick meldability test only";
    return "no discard or meld can end the turn";
}

}  // namespace kelvane
