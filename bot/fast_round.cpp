// SPDX-License-Identifier: GPL-3.0-or-later
#include "bot/fast_round.h"

#include <bit>

namespace kelvane::bot {

namespace {

constexpr int kSuits = 4;
constexpr int kRanks = kRanksPerSuit;
constexpr unsigned kSuitRanks = (1u << kRanks) - 1;
// Moves in one round beyond which a play-out is called off where it stands: two greedy players
// can pass the up card back and forth without drawing from the stack.
constexpr int kMostPlayOutMoves = 600;

constexpr int RankOf(int card) {
    return (card - 1) % kRanks + 1;
}
constexpr int SuitOf(int card) {
    return (card - 1) / kRanks + 1;
}
constexpr CardSet SuitMask(int suit) {
    return CardSet{kSuitRanks} << ((suit - 1) * kRanks);
}
constexpr CardSet RankMask(int rank) {
    CardSet mask = 0;
    for (int suit = 1; suit <= kSuits; ++suit) mask |= Bit(CardAt(suit, rank));
    return mask;
}
constexpr std::array<CardSet, kRanks + 1> kRankMasks = [] {
    std::array<CardSet, kRanks + 1> masks{};
    for (int rank = 1; rank <= kRanks; ++rank)
        masks[static_cast<std::size_t>(rank)] = RankMask(rank);
    return masks;
}();

bool Has(CardSet cards, int card) {
    return card != 0 && (cards & Bit(card)) != 0;
}
int Lowest(CardSet cards) {
    return std::countr_zero(cards) + 1;
}
int Count(CardSet cards) {
    return std::popcount(cards);
}
// The ranks of one suit the cards hold, bit rank - 1.
unsigned RanksOf(CardSet cards, int suit) {
    return static_cast<unsigned>(cards >> ((suit - 1) * kRanks)) & kSuitRanks;
}
bool OneRank(CardSet cards) {
    return (cards & ~kRankMasks[static_cast<std::size_t>(RankOf(Lowest(cards)))]) == 0;
}
bool HoldsTwo(CardSet cards) {
    return (cards & kRankMasks[kTwo]) != 0;
}
bool Contiguous(unsigned ranks) {
    const unsigned shifted = ranks >> std::countr_zero(ranks);
    return (shifted & (shifted + 1)) == 0;
}

void Add(MeldBuffer& out, CardSet cards, int column) {
    out.melds[static_cast<std::size_t>(out.count++)] = {cards, column};
}

}  // namespace

int FastPoints(int card, bool meldHoldsTwo) {
    const int rank = RankOf(card);
    if (rank == kAce) return meldHoldsTwo ? 5 : 15;
    return rank < kTen ? 5 : 10;
}

bool ValidMeldSet(CardSet cards) {
    if (cards == 0) return false;
    if (Count(cards) <= 4 && OneRank(cards)) return true;
    const int suit = SuitOf(Lowest(cards));
    if ((cards & ~SuitMask(suit)) != 0) return false;
    const unsigned ranks = RanksOf(cards, suit);
    const unsigned ace = 1u, king = 1u << (kKing - 1);
    // With the king there, the ace can only close the run above it.
    if ((ranks & ace) && (ranks & king)) return Contiguous(ranks & ~ace);
    return Contiguous(ranks);
}

FastRound FastRound::From(const GameState& s) {
    FastRound r;
    for (int seat = 0; seat < 2; ++seat) {
        const Seat which = seat == 0 ? Seat::kLocal : Seat::kRemote;
        // A seat's view holds the opponent's cards blanked: they are dealt in afterwards.
        for (Int16 i = 0; i < HandCount(s, which); ++i)
            if (IsCard(Hand(s, which)[i]))
                r.hand[static_cast<std::size_t>(seat)] |= Bit(Hand(s, which)[i].value());
    }
    r.stackCount = s.StackCount.value();
    for (int i = 0; i < r.stackCount; ++i)
        r.stack[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(s.Stack[i].value());
    r.upCount = s.UpCount.value();
    for (int i = 0; i < r.upCount; ++i)
        r.up[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(s.UpPile[i].value());
    r.columns = s.TableMelds.ColumnCount().value();
    for (int col = 0; col < r.columns; ++col)
        for (Int16 card : s.TableMelds.Column(Int16(col)))
            if (card > 0) r.column[static_cast<std::size_t>(col)] |= Bit(card.value());
    for (int card = 1; card <= kCardsInDeck; ++card) {
        const int credit = s.MeldCredit[card].value();
        if (credit > 0) r.melded[0] += credit;
        if (credit < 0) r.melded[1] -= credit;
    }
    for (Int16 i = 0; i < s.KnownCount; ++i) r.known |= Bit(s.KnownCards[i].value());
    r.myTurn = s.MyTurn;
    r.roundInPlay = s.RoundInPlay;
    r.hasDrawn = s.HasDrawn;
    r.mustMeld = {s.MustMeldCard.value(), s.RemoteMustMeldCard.value()};
    r.takenUp = {s.TakenUpCard.value(), s.RemoteTakenUpCard.value()};
    r.floating = {s.LocalFloating, s.RemoteFloating};
    return r;
}

bool FastRound::CanDrawFromStack(int seat) const {
    return HoldsTurn(seat) && !hasDrawn && stackCount >= 1;
}

void FastRound::DrawFromStack(int seat) {
    if (stackCount < 1) return;
    const int card = stack[static_cast<std::size_t>(--stackCount)];
    stack[static_cast<std::size_t>(stackCount)] = 0;
    hand[static_cast<std::size_t>(seat)] |= Bit(card);
    hasDrawn = true;
    takenUp[static_cast<std::size_t>(seat)] = 0;
}

bool FastRound::CanTakeFromUpPile(int seat, int position) const {
    if (!HoldsTurn(seat) || hasDrawn) return false;
    const int top = upCount - 1;
    if (position < 0 || position > top) return false;
    // A card below the top may be taken only to be melded this very turn.
    return position == top || CheckMeld(up[static_cast<std::size_t>(position)], seat);
}

void FastRound::TakeFromUpPile(int seat, int position) {
    const auto s = static_cast<std::size_t>(seat);
    const int top = upCount - 1;
    if (position <= top) {
        const int card = up[static_cast<std::size_t>(position)];
        if (position == top) {
            takenUp[s] = card;
        } else {
            mustMeld[s] = card;
            takenUp[s] = 0;
        }
    }
    for (int i = top; i >= position; --i) {
        const CardSet card = Bit(up[static_cast<std::size_t>(i)]);
        hand[s] |= card;
        // The opponent's take was face up.
        if (seat == 1) known |= card;
        up[static_cast<std::size_t>(i)] = 0;
        --upCount;
    }
    hasDrawn = true;
}

bool FastRound::CanMeld(int seat, const FastMeld& meld) const {
    if (!HoldsTurn(seat) || !hasDrawn) return false;
    const bool newMeld = meld.column == kNoColumn;
    if (Count(meld.cards) < (newMeld ? 3 : 1)) return false;
    const int must = mustMeld[static_cast<std::size_t>(seat)];
    if (must != 0 && !Has(meld.cards, must)) return false;
    if ((meld.cards & ~hand[static_cast<std::size_t>(seat)]) != 0) return false;
    if (!newMeld && (meld.column < 0 || meld.column >= columns)) return false;
    const CardSet onTable = newMeld ? 0 : column[static_cast<std::size_t>(meld.column)];
    return ValidMeldSet(meld.cards | onTable);
}

void FastRound::Meld(int seat, const FastMeld& meld) {
    const auto s = static_cast<std::size_t>(seat);
    const bool newMeld = meld.column == kNoColumn;
    const CardSet content =
        meld.cards | (newMeld ? 0 : column[static_cast<std::size_t>(meld.column)]);
    hand[s] &= ~content;
    // Melding the whole hand passes the turn without a discard: the player floats.
    if (hand[s] == 0) {
        floating[s] = true;
        myTurn = seat != 0;
        hasDrawn = false;
    }
    column[static_cast<std::size_t>(newMeld ? columns++ : meld.column)] = content;
    if (Has(content, mustMeld[s])) mustMeld[s] = 0;
    // Only the cards from the hand are new on the table; an ace is valued by the whole meld.
    const bool two = HoldsTwo(content);
    for (CardSet cards = meld.cards; cards != 0; cards &= cards - 1)
        melded[s] += FastPoints(Lowest(cards), two);
}

bool FastRound::CanDiscard(int seat, int card) const {
    const auto s = static_cast<std::size_t>(seat);
    if (!HoldsTurn(seat) || !hasDrawn || mustMeld[s] != 0) return false;
    if (!Has(hand[s], card)) return false;
    if (takenUp[s] > 0 && card == takenUp[s]) return false;
    return !(Count(hand[s]) == 1 && CheckMeld(card, seat));
}

void FastRound::Discard(int seat, int card) {
    const auto s = static_cast<std::size_t>(seat);
    up[static_cast<std::size_t>(upCount++)] = static_cast<std::uint8_t>(card);
    hand[s] &= ~Bit(card);
    myTurn = seat != 0;
    hasDrawn = false;
    floating[s] = false;
    const bool over =
        (hand[0] == 0 && !floating[0]) || (hand[1] == 0 && !floating[1]) || stackCount == 0;
    // Scored at once: nobody holds a turn until the next deal.
    if (over) {
        myTurn = false;
        hasDrawn = false;
        roundInPlay = false;
    }
}

bool FastRound::CheckMeld(int card, int seat) const {
    const int rank = RankOf(card);
    const int suit = SuitOf(card);
    const Neighbours want = NeighboursOf(rank);
    // A take brings every card above it along, then comes the whole hand.
    CardSet base = hand[static_cast<std::size_t>(seat)];
    bool found = false;
    for (int p = 0; p < upCount; ++p) {
        found = found || up[static_cast<std::size_t>(p)] == card;
        if (found) base |= Bit(up[static_cast<std::size_t>(p)]);
    }
    const CardSet sameRank = kRankMasks[static_cast<std::size_t>(rank)];
    const CardSet m2 = want.m2 ? Bit(CardAt(suit, want.m2)) : 0;
    const CardSet m1 = want.m1 ? Bit(CardAt(suit, want.m1)) : 0;
    const CardSet p1 = want.p1 ? Bit(CardAt(suit, want.p1)) : 0;
    const CardSet p2 = want.p2 ? Bit(CardAt(suit, want.p2)) : 0;
    // Every meld column in table order, then once more with the base alone.
    for (int col = 0; col <= columns; ++col) {
        const CardSet onTable = col < columns ? column[static_cast<std::size_t>(col)] : 0;
        const CardSet all = base | onTable;
        const bool shortColumn = Count(onTable) < 3;
        const bool uniform = onTable == 0 || OneRank(onTable);
        const bool set = Count(all & sameRank) >= 3;
        const bool hasM2 = all & m2, hasM1 = all & m1, hasP1 = all & p1, hasP2 = all & p2;
        // King, ace, two around an ace would wrap, which no run may do.
        const bool run = (hasM2 && hasM1) || (hasM1 && hasP1 && rank != kAce) || (hasP1 && hasP2);
        // A card is laid off onto a set by rank and onto a run by suit, never the other way.
        if ((shortColumn || uniform) && set) return true;
        if (!(uniform && !shortColumn) && run) return true;
    }
    return false;
}

bool HoldsNewMeld(CardSet cards) {
    for (int rank = kAce; rank <= kKing; ++rank)
        if (Count(cards & kRankMasks[static_cast<std::size_t>(rank)]) >= 3) return true;
    for (int suit = 1; suit <= kSuits; ++suit) {
        // The ace once more above the king: three ranks in a row anywhere make a run.
        const unsigned ranks = RanksOf(cards, suit);
        const unsigned wide = ranks | ((ranks & 1u) << kRanks);
        if ((wide & (wide >> 1) & (wide >> 2)) != 0) return true;
    }
    return false;
}

bool FastRound::HoldsMeld(int seat) const {
    const CardSet held = hand[static_cast<std::size_t>(seat)];
    if (HoldsNewMeld(held)) return true;
    // Any lay-off of several cards holds one that can be laid off alone.
    for (int col = 0; col < columns; ++col)
        for (CardSet cards = held; cards != 0; cards &= cards - 1)
            if (ValidMeldSet(column[static_cast<std::size_t>(col)] | (cards & -cards))) return true;
    return false;
}

void FastRound::Melds(int seat, MeldBuffer& out) const {
    out.count = 0;
    const CardSet held = hand[static_cast<std::size_t>(seat)];
    // Sets of three or four, and every three of a four.
    for (int rank = kAce; rank <= kKing; ++rank) {
        const CardSet group = held & kRankMasks[static_cast<std::size_t>(rank)];
        const int n = Count(group);
        if (n < 3) continue;
        Add(out, group, kNoColumn);
        if (n == 4)
            for (CardSet left = group; left != 0; left &= left - 1)
                Add(out, group & ~(left & -left), kNoColumn);
    }
    // Runs: an ace-low run stops at the king, and two through the high ace is ace to king again.
    for (int suit = 1; suit <= kSuits; ++suit) {
        if (Count(held & SuitMask(suit)) < 3) continue;
        for (int low = kAce; low <= kQueen; ++low) {
            const int highest = low == kAce || low == kTwo ? kKing : kAceHigh;
            CardSet run = 0;
            int length = 0;
            for (int rank = low; rank <= highest && Has(held, CardAt(suit, rank)); ++rank) {
                run |= Bit(CardAt(suit, rank));
                if (++length >= 3) Add(out, run, kNoColumn);
            }
        }
    }
    // Lay-offs onto each meld on the table.
    for (int col = 0; col < columns; ++col) {
        const CardSet onTable = column[static_cast<std::size_t>(col)];
        if (onTable == 0) continue;
        if (OneRank(onTable)) {
            const CardSet fits =
                held & kRankMasks[static_cast<std::size_t>(RankOf(Lowest(onTable)))];
            // Every subset of the fitting cards that keeps the set within four.
            for (CardSet sub = fits; sub != 0; sub = (sub - 1) & fits)
                if (Count(onTable) + Count(sub) <= 4 && ValidMeldSet(onTable | sub))
                    Add(out, sub, col);
            continue;
        }
        const int suit = SuitOf(Lowest(onTable));
        const unsigned ranks = RanksOf(onTable, suit);
        const bool ace = ranks & 1u, king = ranks & (1u << (kKing - 1));
        int low = std::countr_zero(ranks) + 1;
        int high = kRanks - std::countl_zero(ranks << (32 - kRanks));
        if (ace && king) {
            low = std::countr_zero(ranks & ~1u) + 1;
            high = kAceHigh;
        }
        std::array<CardSet, kAceHigh + 1> below{}, above{};
        int down = 0, upward = 0;
        for (int rank = low - 1; rank >= kAce && Has(held, CardAt(suit, rank)); --rank, ++down)
            below[static_cast<std::size_t>(down + 1)] =
                below[static_cast<std::size_t>(down)] | Bit(CardAt(suit, rank));
        for (int rank = high + 1; rank <= kAceHigh && Has(held, CardAt(suit, rank));
             ++rank, ++upward)
            above[static_cast<std::size_t>(upward + 1)] =
                above[static_cast<std::size_t>(upward)] | Bit(CardAt(suit, rank));
        // Two to king takes the ace at either end; it is one card, so one lay-off.
        if (down > 0 && upward > 0 &&
            Has(below[static_cast<std::size_t>(down)], kAce + (suit - 1) * kRanks) &&
            Has(above[static_cast<std::size_t>(upward)], kAce + (suit - 1) * kRanks))
            --upward;
        for (int d = 0; d <= down; ++d)
            for (int u = 0; u <= upward; ++u) {
                if (d + u == 0) continue;
                const CardSet cards =
                    below[static_cast<std::size_t>(d)] | above[static_cast<std::size_t>(u)];
                if (ValidMeldSet(onTable | cards)) Add(out, cards, col);
            }
    }
}

int FastRound::LegalMoves(MeldBuffer& melds,
                          std::array<FastMove, kMostMelds + 2 * kCardsInDeck>& out) const {
    const int seat = Mover();
    if (seat < 0) return 0;
    int n = 0;
    if (!hasDrawn) {
        if (CanDrawFromStack(seat))
            out[static_cast<std::size_t>(n++)] = {FastMove::kStack, 0, 0, {}};
        for (int p = 0; p < upCount; ++p)
            if (CanTakeFromUpPile(seat, p))
                out[static_cast<std::size_t>(n++)] = {FastMove::kUpPile, p, 0, {}};
        return n;
    }
    Melds(seat, melds);
    for (int i = 0; i < melds.count; ++i)
        if (CanMeld(seat, melds.melds[static_cast<std::size_t>(i)]))
            out[static_cast<std::size_t>(n++)] = {FastMove::kMeld, 0, 0,
                                                  melds.melds[static_cast<std::size_t>(i)]};
    for (CardSet cards = hand[static_cast<std::size_t>(seat)]; cards != 0; cards &= cards - 1)
        if (CanDiscard(seat, Lowest(cards)))
            out[static_cast<std::size_t>(n++)] = {FastMove::kDiscard, 0, Lowest(cards), {}};
    return n;
}

bool FastRound::Legal(const FastMove& move) const {
    const int seat = Mover();
    if (seat < 0) return false;
    switch (move.kind) {
        case FastMove::kStack:
            return CanDrawFromStack(seat);
        case FastMove::kUpPile:
            return CanTakeFromUpPile(seat, move.position);
        case FastMove::kMeld:
            return CanMeld(seat, move.meld);
        case FastMove::kDiscard:
            return CanDiscard(seat, move.card);
    }
    return false;
}

void FastRound::Apply(const FastMove& move) {
    const int seat = Mover();
    switch (move.kind) {
        case FastMove::kStack:
            return DrawFromStack(seat);
        case FastMove::kUpPile:
            return TakeFromUpPile(seat, move.position);
        case FastMove::kMeld:
            return Meld(seat, move.meld);
        case FastMove::kDiscard:
            return Discard(seat, move.card);
    }
}

bool FastRound::GreedyMove(MeldBuffer& scratch, FastMove& move, bool live) const {
    const int seat = Mover();
    if (seat < 0) return false;
    const auto s = static_cast<std::size_t>(seat);
    if (!hasDrawn) {
        const int top = upCount > 0 ? up[static_cast<std::size_t>(upCount - 1)] : 0;
        // The up card when it would meld, otherwise the stack while it lasts.
        if (top != 0 && (stackCount == 0 || CheckMeld(top, seat))) {
            move = {FastMove::kUpPile, upCount - 1, 0, {}};
            return true;
        }
        if (stackCount == 0) return false;
        move = {FastMove::kStack, 0, 0, {}};
        return true;
    }
    Melds(seat, scratch);
    int best = -1, bestSize = 0, bestPoints = 0, meldOut = -1;
    for (int i = 0; i < scratch.count; ++i) {
        const FastMeld& m = scratch.melds[static_cast<std::size_t>(i)];
        if (!CanMeld(seat, m)) continue;
        if (m.cards == hand[s] && stackCount < kFloatLateStack) {
            meldOut = i;
            continue;
        }
        const int size = Count(m.cards);
        int points = 0;
        for (CardSet c = m.cards; c != 0; c &= c - 1) points += FastPoints(Lowest(c));
        if (size > bestSize || (size == bestSize && points > bestPoints)) {
            best = i;
            bestSize = size;
            bestPoints = points;
        }
    }
    if (best >= 0) {
        move = {FastMove::kMeld, 0, 0, scratch.melds[static_cast<std::size_t>(best)]};
        return true;
    }
    // Throw the card that costs most and helps least: a card with a partner of its rank or a
    // neighbour of its suit is worth keeping.
    const CardSet held = hand[s];
    // With `live`, a partner counts only while a card that would complete the meld is still to
    // be had: not on the table, not buried in the up pile.
    CardSet gone = 0;
    if (live) {
        for (int col = 0; col < columns; ++col) gone |= column[static_cast<std::size_t>(col)];
        for (int p = 0; p + 1 < upCount; ++p) gone |= Bit(up[static_cast<std::size_t>(p)]);
    }
    const auto open = [&](int suitOf, int rank) {
        const int c = rank ? CardAt(suitOf, rank) : 0;
        return c != 0 && !Has(held, c) && !Has(gone, c);
    };
    int throwCard = 0, throwValue = -1000;
    for (CardSet cards = held; cards != 0; cards &= cards - 1) {
        const int card = Lowest(cards);
        if (!CanDiscard(seat, card)) continue;
        const int rank = RankOf(card), suit = SuitOf(card);
        int value = 4 * FastPoints(card);
        const CardSet sameRank = kRankMasks[static_cast<std::size_t>(rank)];
        if (Count(held & sameRank) >= 2 && (!live || (sameRank & ~held & ~gone) != 0)) value -= 30;
        const Neighbours n = NeighboursOf(rank);
        const bool m1 = n.m1 && Has(held, CardAt(suit, n.m1));
        const bool p1 = n.p1 && Has(held, CardAt(suit, n.p1));
        const bool m2 = n.m2 && Has(held, CardAt(suit, n.m2));
        const bool p2 = n.p2 && Has(held, CardAt(suit, n.p2));
        if (!live) {
            if (m1 || p1)
                value -= 30;
            else if (m2 || p2)
                value -= 12;
        } else if ((m1 && (open(suit, n.m2) || open(suit, n.p1))) ||
                   (p1 && (open(suit, n.m1) || open(suit, n.p2)))) {
            value -= 30;
        } else if ((m2 && open(suit, n.m1)) || (p2 && open(suit, n.p1))) {
            value -= 12;
        }
        if (value > throwValue) {
            throwValue = value;
            throwCard = card;
        }
    }
    if (throwCard == 0 && meldOut >= 0) {
        move = {FastMove::kMeld, 0, 0, scratch.melds[static_cast<std::size_t>(meldOut)]};
        return true;
    }
    if (throwCard == 0) return false;
    move = {FastMove::kDiscard, 0, throwCard, {}};
    return true;
}

void FastRound::PlayOut(MeldBuffer& scratch, bool live) {
    FastMove move;
    for (int moves = 0; roundInPlay; ++moves) {
        if (moves >= kMostPlayOutMoves || !GreedyMove(scratch, move, live)) {
            // The rules leave the player to move nothing: the round stands as it is.
            roundInPlay = false;
            myTurn = false;
            hasDrawn = false;
            return;
        }
        Apply(move);
    }
}

int FastRound::Score(int seat) const {
    int points = melded[static_cast<std::size_t>(seat)];
    for (CardSet cards = hand[static_cast<std::size_t>(seat)]; cards != 0; cards &= cards - 1)
        points -= FastPoints(Lowest(cards));
    return points;
}

}  // namespace kelvane::bot
