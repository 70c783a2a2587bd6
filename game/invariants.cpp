// SPDX-License-Identifier: GPL-3.0-or-later
#include "invariants.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <vector>

#include "meld_rules.h"

namespace kelvane {

namespace {

// Collects what is wrong; it costs nothing while everything holds, which is after every
// message of every harnessed game.
class Problems {
  public:
    template <typename... Parts>
    void Add(const Parts&... parts) {
        (Append(parts), ...);
        text_ += "; ";
    }
    std::string str() const { return text_; }

  private:
    void Append(const std::string& part) { text_ += part; }
    void Append(const char* part) { text_ += part; }
    void Append(int part) { text_ += std::to_string(part); }

    std::string text_;
};

using Seen = std::array<int, kCardsInDeck + 1>;

bool CountInRange(Int16 n) {
    return n >= 0 && n <= kCardsInDeck;
}

// Counts each card's appearances in one pile and checks that the slots past the count are empty.
void Tally(Problems& p, const char* name, const CardArray& cards, Int16 count, bool tailEmpty,
           Seen& seen) {
    if (!CountInRange(count)) return p.Add(name, " count ", count.value(), " out of range");
    int i = 0;
    for (const Int16 card : cards) {
        if (i++ < count.value()) {
            if (!IsCard(card))
                p.Add(name, "[", i - 1, "] holds ", card.value());
            else
                ++seen[static_cast<std::size_t>(card.value())];
        } else if (tailEmpty && card != 0) {
            p.Add(name, "[", i - 1, "] past the count holds ", card.value());
        }
    }
}

void TallyTable(Problems& p, const GameState& s, Seen& seen) {
    for (Int16 col = 0; col < s.TableMelds.ColumnCount(); ++col) {
        const MeldColumn& column = s.TableMelds.Column(col);
        const Int16 n = s.TableMelds.CardCount(col);
        for (int i = 0; i < kSlotsPerColumn; ++i) {
            const Int16 card = column[i];
            if (i >= n.value() && card != 0) p.Add("column ", col.value(), " has a gap at ", i);
            if (card == 0) continue;
            if (!IsCard(card))
                p.Add("column ", col.value(), " holds ", card.value());
            else
                ++seen[static_cast<std::size_t>(card.value())];
        }
        if (n < 3) p.Add("column ", col.value(), " holds only ", n.value(), " cards");
    }
}

void CheckCredits(Problems& p, const GameState& s, const Seen& onTable) {
    for (int card = 1; card <= kCardsInDeck; ++card) {
        const int credit = s.MeldCredit[card].value();
        const bool valid = credit == 0 || std::abs(credit) == 5 || std::abs(credit) == 10 ||
                           std::abs(credit) == 15;
        if (!valid) p.Add("card ", card, " credited ", credit);
        if ((credit != 0) != (onTable[static_cast<std::size_t>(card)] > 0))
            p.Add("card ", card, " credit ", credit, " does not match the table");
    }
}

void CheckHandOrder(Problems& p, const GameState& s) {
    for (Int16 i = 1; i < s.LocalCount; ++i)
        if (HandOrderKey(s.LocalHand[i - 1]) > HandOrderKey(s.LocalHand[i]))
            return p.Add("local hand is not in display order");
}

}  // namespace

std::string CheckInvariants(const GameState& s) {
    Problems p;
    Seen seen{};
    Seen onTable{};
    Tally(p, "Stack", s.Stack, s.StackCount, false, seen);
    Tally(p, "LocalHand", s.LocalHand, s.LocalCount, true, seen);
    Tally(p, "RemoteHand", s.RemoteHand, s.RemoteCount, true, seen);
    Tally(p, "UpPile", s.UpPile, s.UpCount, true, seen);
    TallyTable(p, s, onTable);
    for (std::size_t c = 1; c < seen.size(); ++c) seen[c] += onTable[c];
    const bool dealt = std::any_of(seen.begin() + 1, seen.end(), [](int n) { return n > 0; });
    if (dealt) {
        for (int card = 1; card <= kCardsInDeck; ++card) {
            const int n = seen[static_cast<std::size_t>(card)];
            if (n != 1) p.Add(GetCardName(card, false), " is in ", n, " places");
        }
    }
    Seen known{};
    Tally(p, "KnownCards", s.KnownCards, s.KnownCount, true, known);
    CheckCredits(p, s, onTable);
    CheckHandOrder(p, s);
    if (s.MustMeldCard != 0 && s.MustMeldCard == s.TakenUpCard)
        p.Add("the must-meld card is also the card taken alone");
    if (s.RemoteMustMeldCard != 0 && s.RemoteMustMeldCard == s.RemoteTakenUpCard)
        p.Add("the opponent's must-meld card is also his card taken alone");
    if (s.MyTurn && !s.RoundInPlay) p.Add("the local player holds a turn between rounds");
    return p.str();
}

std::string CheckMirrored(const GameState& a, const GameState& b) {
    Problems p;
    // The same cards, whatever the order: one hand is sorted, its copy is in the order drawn.
    auto sortedHand = [](const CardArray& hand, Int16 count) {
        std::array<bool, kCardsInDeck + 1> held{};
        int i = 0;
        for (const Int16 card : hand)
            if (i++ < count.value() && IsCard(card))
                held[static_cast<std::size_t>(card.value())] = true;
        return std::make_pair(held, count);
    };
    if (sortedHand(a.LocalHand, a.LocalCount) != sortedHand(b.RemoteHand, b.RemoteCount))
        p.Add("server's hand differs from the client's copy of it");
    if (sortedHand(a.RemoteHand, a.RemoteCount) != sortedHand(b.LocalHand, b.LocalCount))
        p.Add("client's hand differs from the server's copy of it");
    if (!(a.Stack == b.Stack) || a.StackCount != b.StackCount) p.Add("stocks differ");
    if (!(a.UpPile == b.UpPile) || a.UpCount != b.UpCount) p.Add("up piles differ");
    if (!(a.TableMelds == b.TableMelds)) p.Add("tables differ");
    if (a.GamesPlayed != b.GamesPlayed) p.Add("deal counts differ");
    if (a.LocalScore != b.RemoteScore || a.RemoteScore != b.LocalScore) p.Add("totals differ");
    if (a.LocalFloating != b.RemoteFloating || a.RemoteFloating != b.LocalFloating)
        p.Add("floating flags differ");
    if (a.HasDrawn != b.HasDrawn) p.Add("drawn flags differ");
    if (a.MustMeldCard != b.RemoteMustMeldCard || a.RemoteMustMeldCard != b.MustMeldCard)
        p.Add("must-meld duties differ");
    if (a.TakenUpCard != b.RemoteTakenUpCard || a.RemoteTakenUpCard != b.TakenUpCard)
        p.Add("cards taken alone differ");
    if (a.RoundInPlay != b.RoundInPlay) p.Add("one side's round is over");
    if (a.MyTurn && b.MyTurn) p.Add("both sides hold the turn");
    for (int card = 1; card <= kCardsInDeck; ++card)
        if (a.MeldCredit[card] != -b.MeldCredit[card])
            p.Add("credit of ", GetCardName(card, false), " differs");
    return p.str();
}

}  // namespace kelvane
