// SPDX-License-Identifier: GPL-3.0-or-later
#include "headless/gestures.h"

#include <algorithm>

namespace kelvane {

bool StillPlayable(const GameState& seen, const MeldMove& meld) {
    const bool inHand = std::all_of(meld.cards.begin(), meld.cards.end(), [&](Int16 card) {
        return HandPosition(seen, Seat::kLocal, card) >= 0;
    });
    return inHand && meld.column < seen.TableMelds.ColumnCount().value();
}

std::vector<Int16> PressesToward(const Table& table, const GameState& seen, const MeldMove& meld) {
    std::vector<Int16> presses;
    for (Int16 i = 0; i < seen.LocalCount; ++i)
        if (table.IsSelected(i) != meld.Contains(seen.LocalHand[i])) presses.push_back(i);
    return presses;
}

void ClickToLay(Table& table, const MeldMove& meld) {
    if (meld.column == kNewColumn)
        table.frTable_Click();
    else
        table.imgMeld_Click(Int16(meld.column * kSlotsPerColumn));
}

void ClickToDiscard(Table& table, const GameState& seen, Int16 card) {
    table.imgLocal_MouseDown(HandPosition(seen, Seat::kLocal, card), kMouseRight);
}

void MovePlayer::Act(Table& table) {
    const GameState seen = SeatView(table.state());
    if (!seen.MyTurn || !seen.HasDrawn) {
        meld_.reset();
        if (seen.MyTurn) Draw(table, seen);
        return;
    }
    if (meld_ && ContinueMeld(table, seen)) return;
    Choose(table, seen);
}

void MovePlayer::StartMeld(Table& table, const GameState& seen, MeldMove meld) {
    meld_ = std::move(meld);
    ContinueMeld(table, seen);
}

bool MovePlayer::ContinueMeld(Table& table, const GameState& seen) {
    // A meld whose cards have left the hand, or whose column is gone, is chosen afresh.
    if (!StillPlayable(seen, *meld_)) {
        meld_.reset();
        return false;
    }
    const std::vector<Int16> presses = PressesToward(table, seen, *meld_);
    if (!presses.empty()) {
        table.imgLocal_MouseDown(presses[NextPress(presses)], kMouseLeft);
        return true;
    }
    ClickToLay(table, *meld_);
    meld_.reset();
    return true;
}

}  // namespace kelvane
