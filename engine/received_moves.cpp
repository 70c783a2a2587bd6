// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <utility>

#include "engine/play.h"
#include "game/moves.h"

namespace kelvane {

// Chat may come at any moment; a kind this program does not know is ignored.
Verdict Play::Judge(const Received& r) const {
    const GameState& s = state_;
    switch (r.kind) {
        case MessageKind::kDiscard:
            return CanDiscard(s, Seat::kRemote, r.number);
        case MessageKind::kStackDraw:
            return CanDrawFromStack(s, Seat::kRemote, r.number);
        case MessageKind::kUpPile:
            return CanTakeFromUpPile(s, Seat::kRemote, r.number);
        case MessageKind::kNewMeld:
            return CanLayMeld(s, Seat::kRemote, kNewColumn, r.cards);
        case MessageKind::kLayOff:
            return CanLayMeld(s, Seat::kRemote, r.number.value(), r.cards);
        case MessageKind::kDeal:
            return CanDeal(s, Seat::kRemote, r.stack);
        case MessageKind::kOldVersion:
            // An older server's deal carries nothing this program reads, but it comes only
            // from the server and only when a deal is due.
            return CanDealNow(s, Seat::kRemote);
        default:
            // Chat, Kelvane's own messages and kinds this program does not know.
            return {};
    }
}

void Play::Apply(Steps& steps, const Received& r) {
    switch (r.kind) {
        case MessageKind::kDiscard:
            return ApplyDiscard(steps, r.number);
        case MessageKind::kStackDraw:
            return ApplyStackDraw(steps);
        case MessageKind::kUpPile:
            return ApplyUpPileTake(steps, r.number);
        case MessageKind::kNewMeld:
            return ApplyMeld(steps, kNewColumn, r.cards);
        case MessageKind::kLayOff:
            return ApplyMeld(steps, r.number.value(), r.cards);
        case MessageKind::kDeal:
            return ApplyDeal(steps, r.stack);
        case MessageKind::kChat:
            return steps([&] { AddChatLine("OPPONENT: " + r.chat, Speaker::kOpponent); });
        default:
            return;
    }
}

void Play::ApplyDiscard(Steps& steps, Int16 card) {
    steps([&] { kelvane::Discard(state_, Seat::kRemote, card); });
    steps([&] { screen_.RefreshUpPile(); });
    steps([&] { RefreshHands('R'); });
    steps([&] { screen_.OpponentMoved({OpponentMoveKind::kDiscard, {card}, {}}); });
    steps([&] { CheckEndOfGame(); });
}

// Both copies of the stock agree, so the card drawn is the top of our own.
void Play::ApplyStackDraw(Steps& steps) {
    Int16 drawn = 0;
    steps([&] { drawn = kelvane::DrawFromStack(state_, Seat::kRemote); });
    steps([&] { ShowStackDraw(); });
    steps([&] { RefreshHands('R'); });
    steps([&] { screen_.OpponentMoved({OpponentMoveKind::kStackDraw, {drawn}, {}}); });
}

void Play::ApplyUpPileTake(Steps& steps, Int16 position) {
    const Int16 top = state_.UpCount - 1;
    OpponentMove taken{OpponentMoveKind::kUpPileTake, {}, {}};
    steps([&] {
        for (Int16 i = position; i <= top; ++i) taken.cards.push_back(state_.UpPile[i]);
    });
    // The local player gets to see which cards the opponent takes.
    steps([&] { ShowUpPileTake(position, top); });
    steps([&] { kelvane::TakeFromUpPile(state_, Seat::kRemote, position); });
    steps([&] { RefreshHands('R'); });
    steps([&] { screen_.RefreshUpPile(); });
    steps([&] { screen_.OpponentMoved(taken); });
}

// A new meld opens the next column; a lay-off names its column and carries the column's whole new
// content, the cards already on the table included.
void Play::ApplyMeld(Steps& steps, int column, const MeldContent& content) {
    Int16 laid = 0;
    OpponentMove move{
        column == kNewColumn ? OpponentMoveKind::kNewMeld : OpponentMoveKind::kLayOff, {}, {}};
    steps([&] {
        // The cards from his hand: a lay-off's content repeats the column's cards on the table.
        const std::vector<Int16> before =
            column == kNewColumn ? std::vector<Int16>{} : state_.TableMelds.Cards(column);
        for (Int16 i = 0; i < content.count; ++i) {
            move.meld.push_back(content.list[i]);
            if (std::find(before.begin(), before.end(), content.list[i]) == before.end())
                move.cards.push_back(content.list[i]);
        }
    });
    steps([&] { laid = LayMeld(state_, Seat::kRemote, column, content); });
    steps([&] { ShowMeld(Seat::kRemote, laid, column == kNewColumn); });
    steps([&] { RefreshScoreBoard(); });
    steps([&] { screen_.OpponentMoved(move); });
    steps([&] { CheckNobodyCanDraw(); });
}

void Play::ApplyDeal(Steps& steps, const CardArray& stack) {
    steps([&] {
        for (int card = 1; card <= kCardsInDeck; ++card) state_.MeldCredit[card] = 0;
    });
    steps([&] { ClearTable(); });
    steps([&] {
        state_.Stack = stack;
        outbox_.Dealt(stack);
    });
    steps([&] { DealRound(kRoleClient); });
}

}  // namespace kelvane
