// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/play.h"
#include "game/moves.h"

namespace kelvane {

namespace {
constexpr int kShowDrawnCardMs = 1000;
}

void Play::DrawFromStack() {
    Steps steps(reporter_, "imgStack_Click");
    Verdict verdict;
    steps([&] { verdict = CanDrawFromStack(state_, Seat::kLocal); });
    // An empty stack draws nothing: the player may still take from the up pile.
    if (verdict.refusal == Refusal::kStackEmpty) steps([&] { screen_.ShowCardsLeft(); });
    if (!verdict.ok()) return;
    Int16 card = 0;
    steps([&] { card = kelvane::DrawFromStack(state_, Seat::kLocal); });
    if (card == 0) return;
    steps([&] { ShowStackDraw(); });
    steps([&] { screen_.ShowStack(card); });
    steps([&] { prompts_.Pause(kShowDrawnCardMs); });
    steps([&] { screen_.ShowStack(state_.StackCount > 0 ? kBackPicture : kEmptyStackPicture); });
    steps([&] { RefreshHands('L'); });
    steps([&] { outbox_.Send(StackDrawMessage(card)); });
}

void Play::TakeFromUpPile(Int16 index) {
    Steps steps(reporter_, "imgUpPile_Click");
    Verdict verdict;
    steps([&] { verdict = CanTakeFromUpPile(state_, Seat::kLocal, index); });
    if (!verdict.ok()) return TellRefusal(verdict);
    Int16 top = 0;
    steps([&] { top = state_.UpCount - 1; });
    // The opponent takes the same cards from its copy of the pile by this position.
    steps([&] { outbox_.Send(UpPileMessage(index)); });
    steps([&] { ShowUpPileTake(index, top); });
    steps([&] { kelvane::TakeFromUpPile(state_, Seat::kLocal, index); });
    steps([&] { RefreshHands('L'); });
    steps([&] { screen_.RefreshUpPile(); });
}

// The cards being taken are marked while the player watches, then go.
void Play::ShowUpPileTake(Int16 position, Int16 top) {
    for (Int16 i = position; i <= top; ++i) screen_.MarkUpPileSlot(i, true);
    prompts_.Pause(kShowDrawnCardMs);
    for (Int16 i = top; i >= position; --i) screen_.MarkUpPileSlot(i, false);
}

// The stack's picture and count once a card has left it, by either player.
void Play::ShowStackDraw() {
    if (state_.StackCount == 0) screen_.ShowStack(kEmptyStackPicture);
    screen_.ShowCardsLeft();
}

}  // namespace kelvane
