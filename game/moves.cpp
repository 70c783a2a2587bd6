// SPDX-License-Identifier: GPL-3.0-or-later
#include "moves.h"

#include <algorithm>

#include "meldability.h"
#include "scoring.h"
#include "stock.h"

namespace kelvane {

namespace {

Verdict Refuse(Refusal refusal, Int16 card = 0) {
    return {refusal, card};
}

Verdict CanDraw(const GameState& s, Seat seat) {
    if (!HoldsTurn(s, seat)) return Refuse(Refusal::kNotYourTurn);
    if (s.HasDrawn) return Refuse(Refusal::kAlreadyDrawn);
    return {};
}

void AddToHand(GameState& s, Seat seat, Int16 card) {
    Int16& count = HandCount(s, seat);
    count += 1;
    Hand(s, seat)[count - 1] = card;
}

// The local hand is kept in display order; the opponent's copy stays in the order it was dealt
// and drawn, as his own program cannot see ours sorted.
void KeepInOrder(GameState& s, Seat seat) {
    if (seat == Seat::kLocal) SortHand(s);
}

bool Holds(const GameState& s, Seat seat, Int16 card) {
    return card != 0 && HandPosition(s, seat, card) >= 0;
}

}  // namespace

const char* RefusalName(Refusal refusal) {
    switch (refusal) {
        case Refusal::kNone:
            return "none";
        case Refusal::kNotYourTurn:
            return "not your turn";
        case Refusal::kAlreadyDrawn:
            return "already drawn";
        case Refusal::kStackEmpty:
            return "stack empty";
        case Refusal::kNoSuchPosition:
            return "no such up-pile position";
        case Refusal::kNotMeldableBelow:
            return "not meldable below the top";
        case Refusal::kNotDrawn:
            return "not drawn";
        case Refusal::kTooFewForNewMeld:
            return "too few for a new meld";
        case Refusal::kTooFewForLayOff:
            return "too few for a lay-off";
        case Refusal::kMustMeldFirst:
            return "must meld the taken card first";
        case Refusal::kNotInHand:
            return "not in hand";
        case Refusal::kNoSuchColumn:
            return "no such column";
        case Refusal::kInvalidMeld:
            return "invalid meld";
        case Refusal::kMustMeldBeforeDiscard:
            return "must meld before discarding";
        case Refusal::kTakenAlone:
            return "taken alone";
        case Refusal::kLastCardMeldable:
            return "last card meldable";
        case Refusal::kNotTopOfStack:
            return "not the top of the stack";
        case Refusal::kNotAsLaid:
            return "not as the rules lay it";
        case Refusal::kNotTheDealer:
            return "not the dealer";
        case Refusal::kRoundInPlay:
            return "round in play";
        case Refusal::kNotEachCardOnce:
            return "not each card once";
    }
    return "?";
}

bool MeldMove::Contains(Int16 card) const {
    return std::find(cards.begin(), cards.end(), card) != cards.end();
}

Verdict CanDrawFromStack(const GameState& s, Seat seat) {
    if (Verdict v = CanDraw(s, seat); !v.ok()) return v;
    if (s.StackCount < 1) return Refuse(Refusal::kStackEmpty);
    return {};
}

Int16 DrawFromStack(GameState& s, Seat seat) {
    const Int16 card = GetTopCardFromStack(s);
    if (card < 1) return card;
    AddToHand(s, seat, card);
    KeepInOrder(s, seat);
    s.HasDrawn = true;
    TakenUp(s, seat) = 0;
    return card;
}

Verdict CanTakeFromUpPile(const GameState& s, Seat seat, Int16 position) {
    if (Verdict v = CanDraw(s, seat); !v.ok()) return v;
    const Int16 top = s.UpCount - 1;
    if (position < 0 || position > top) return Refuse(Refusal::kNoSuchPosition);
    // A card below the top may be taken only to be melded this very turn.
    const Int16 card = s.UpPile[position];
    if (position != top && !CheckMeld(s, card, seat))
        return Refuse(Refusal::kNotMeldableBelow, card);
    return {};
}

void TakeFromUpPile(GameState& s, Seat seat, Int16 position) {
    const Int16 top = s.UpCount - 1;
    // A position above the top takes nothing, and the draw still counts as made.
    if (position <= top) {
        const Int16 card = s.UpPile[position];
        if (position == top) {
            TakenUp(s, seat) = card;
        } else {
            MustMeld(s, seat) = card;
            TakenUp(s, seat) = 0;
        }
    }
    // The top card enters the hand first.
    for (Int16 i = top; i >= position; --i) {
        AddToHand(s, seat, s.UpPile[i]);
        // The opponent's take was face up, so we know those cards. A card that goes back and
        // forth over the pile is listed once, so the list can never outgrow the deck.
        if (seat == Seat::kRemote && !CardIsKnown(s, s.UpPile[i])) {
            s.KnownCount += 1;
            s.KnownCards[s.KnownCount - 1] = s.UpPile[i];
        }
        s.UpPile[i] = 0;
        s.UpCount -= 1;
    }
    KeepInOrder(s, seat);
    s.HasDrawn = true;
}

Verdict CanPlayFromHand(const GameState& s, Seat seat) {
    if (!HoldsTurn(s, seat)) return Refuse(Refusal::kNotYourTurn);
    if (!s.HasDrawn) return Refuse(Refusal::kNotDrawn);
    return {};
}

Verdict CanMeld(const GameState& s, Seat seat, const MeldMove& move) {
    if (Verdict v = CanPlayFromHand(s, seat); !v.ok()) return v;
    const bool newMeld = move.column == kNewColumn;
    if (move.cards.size() < (newMeld ? 3u : 1u))
        return Refuse(newMeld ? Refusal::kTooFewForNewMeld : Refusal::kTooFewForLayOff);
    const Int16 must = MustMeld(s, seat);
    if (must != 0 && !move.Contains(must)) return Refuse(Refusal::kMustMeldFirst, must);
    for (auto card = move.cards.begin(); card != move.cards.end(); ++card) {
        const bool twice = std::find(move.cards.begin(), card, *card) != card;
        if (twice || !Holds(s, seat, *card)) return Refuse(Refusal::kNotInHand, *card);
    }
    if (!newMeld && (move.column < 0 || move.column >= s.TableMelds.ColumnCount().value()))
        return Refuse(Refusal::kNoSuchColumn);
    const MeldContent content = ContentOf(s, move);
    if (!ValidMeld(content.list, content.count)) return Refuse(Refusal::kInvalidMeld);
    return {};
}

MeldContent ContentOf(const GameState& s, const MeldMove& move) {
    MeldContent content;
    for (Int16 card : move.cards) content.list[content.count++] = card;
    if (move.column != kNewColumn)
        for (Int16 card : s.TableMelds.Column(Int16(move.column)))
            if (card > 0) content.list[content.count++] = card;
    SortMeld(content.list, content.count);
    return content;
}

Int16 LayMeld(GameState& s, Seat seat, int column, const MeldContent& content) {
    const auto first = content.list.begin();
    const auto last = first + content.count.value();
    // Downwards, so the positions still to visit keep naming the same cards.
    for (Int16 i = HandCount(s, seat) - 1; i >= 0; --i)
        if (std::find(first, last, Hand(s, seat)[i]) != last) RemoveFromHand(s, seat, i);
    // Melding the whole hand passes the turn without a discard: the player floats.
    if (HandCount(s, seat) == 0) {
        Floating(s, seat) = true;
        GiveTurn(s, Opposite(seat));
    }
    KeepInOrder(s, seat);
    const Int16 col = column == kNewColumn ? s.TableMelds.AddColumn() : Int16(column);
    MeldColumn& slots = s.TableMelds.Column(col);
    Int16& must = MustMeld(s, seat);
    for (Int16 i = 0; i < content.count; ++i) {
        slots[i] = content.list[i];
        if (must != 0 && content.list[i] == must) must = 0;
    }
    CreditMeld(s, content.list, content.count, seat == Seat::kLocal ? +1 : -1);
    return col;
}

Int16 Meld(GameState& s, Seat seat, const MeldMove& move) {
    return LayMeld(s, seat, move.column, ContentOf(s, move));
}

Int16 MeldPoints(const GameState& s, const MeldMove& move) {
    const MeldContent content = ContentOf(s, move);
    const bool two = HoldsTwo(content.list, content.count);
    Int16 points = 0;
    for (Int16 card : move.cards) points += CardPoints(card, two);
    return points;
}

Verdict CanDiscard(const GameState& s, Seat seat, Int16 card) {
    if (Verdict v = CanPlayFromHand(s, seat); !v.ok()) return v;
    if (const Int16 must = MustMeld(s, seat); must != 0)
        return Refuse(Refusal::kMustMeldBeforeDiscard, must);
    if (!Holds(s, seat, card)) return Refuse(Refusal::kNotInHand, card);
    const Int16 taken = TakenUp(s, seat);
    if (taken > 0 && card == taken) return Refuse(Refusal::kTakenAlone, card);
    if (HandCount(s, seat) == 1 && CheckMeld(s, card, seat))
        return Refuse(Refusal::kLastCardMeldable, card);
    return {};
}

void Discard(GameState& s, Seat seat, Int16 card) {
    const Int16 p = HandPosition(s, seat, card);
    if (p < 0) Raise(kInvalidProcedureCall);
    s.UpCount += 1;
    s.UpPile[s.UpCount - 1] = card;
    RemoveFromHand(s, seat, p);
    KeepInOrder(s, seat);
    GiveTurn(s, Opposite(seat));
    Floating(s, seat) = false;
}

Verdict CanDrawFromStack(const GameState& s, Seat seat, Int16 drawn) {
    if (Verdict v = CanDrawFromStack(s, seat); !v.ok()) return v;
    if (s.Stack[s.StackCount - 1] != drawn) return Refuse(Refusal::kNotTopOfStack, drawn);
    return {};
}

Verdict CanLayMeld(const GameState& s, Seat seat, int column, const MeldContent& content) {
    // The hand cards are the content less what the column already holds.
    const bool onColumn = column >= 0 && column < s.TableMelds.ColumnCount().value();
    MeldMove move{{}, column};
    for (Int16 i = 0; i < content.count; ++i) {
        const Int16 card = content.list[i];
        const MeldColumn* slots = onColumn ? &s.TableMelds.Column(Int16(column)) : nullptr;
        if (!slots || std::find(slots->begin(), slots->end(), card) == slots->end())
            move.cards.push_back(card);
    }
    std::sort(move.cards.begin(), move.cards.end());
    if (Verdict v = CanMeld(s, seat, move); !v.ok()) return v;
    const MeldContent laid = ContentOf(s, move);
    if (laid.count != content.count ||
        !std::equal(content.list.begin(), content.list.begin() + content.count.value(),
                    laid.list.begin()))
        return Refuse(Refusal::kNotAsLaid);
    return {};
}

Verdict CanDealNow(const GameState& s, Seat dealer) {
    const bool dealerServes = s.Role == (dealer == Seat::kLocal ? kRoleServer : kRoleClient);
    if (!dealerServes) return Refuse(Refusal::kNotTheDealer);
    if (s.RoundInPlay) return Refuse(Refusal::kRoundInPlay);
    return {};
}

Verdict CanDeal(const GameState& s, Seat dealer, const CardArray& stack) {
    if (Verdict v = CanDealNow(s, dealer); !v.ok()) return v;
    CheckedArray<bool, kCardsInDeck + 1> seen{};
    for (Int16 card : stack) {
        if (card < 1 || card > kCardsInDeck || seen[card])
            return Refuse(Refusal::kNotEachCardOnce, card);
        seen[card] = true;
    }
    return {};
}

Int16 HandPosition(const GameState& s, Seat seat, Int16 card) {
    const CardArray& hand = Hand(s, seat);
    for (Int16 i = HandCount(s, seat) - 1; i >= 0; --i)
        if (hand[i] == card) return i;
    return -1;
}

}  // namespace kelvane
