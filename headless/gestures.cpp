// SPDX-License-Identifier: GPL-3.0-or-later
#include "headless/gestures.h"

#include <algorithm>

#include "engine/table.h"

namespace kelvane {

namespace {

// The one place a chosen draw becomes its click.
void ClickToDraw(Gestures& clicks, const DrawChoice& draw) {
    if (draw.fromStack)
        clicks.imgStack_Click();
    else
        clicks.imgUpPile_Click(draw.position);
}

// The click that lays the raised cards: on the table's cloth, or on the meld's column.
void ClickToLay(Gestures& clicks, const MeldMove& meld) {
    if (meld.column == kNewColumn)
        clicks.frTable_Click();
    else
        clicks.imgMeld_Click(Int16(meld.column * kSlotsPerColumn));
}

Int16 PositionInHand(const SeatView& seen, Int16 card) {
    const auto hand = seen.LocalHand.begin(), end = hand + seen.LocalCount.value();
    const auto at = std::find(hand, end, card);
    return at == end ? Int16(-1) : Int16(static_cast<int>(at - hand));
}

}  // namespace

bool StillPlayable(const SeatView& seen, const MeldMove& meld) {
    const bool inHand = std::all_of(meld.cards.begin(), meld.cards.end(),
                                    [&](Int16 card) { return PositionInHand(seen, card) >= 0; });
    return inHand && meld.column < seen.TableMelds.ColumnCount().value();
}

std::vector<Int16> PressesToward(const SeatView& seen, const MeldMove& meld) {
    std::vector<Int16> presses;
    for (Int16 i = 0; i < seen.LocalCount; ++i)
        if (seen.Selected[i] != meld.Contains(seen.LocalHand[i])) presses.push_back(i);
    return presses;
}

void MovePlayer::Play(const SeatView& seen, Gestures& clicks) {
    if (!seen.MyTurn || !seen.HasDrawn) {
        meld_.reset();
        if (!seen.MyTurn) return;
        if (const std::optional<DrawChoice> draw = PickDraw(seen)) ClickToDraw(clicks, *draw);
        return;
    }
    if (meld_ && ContinueMeld(seen, clicks)) return;
    std::optional<TurnStep> step = PickStep(seen);
    if (!step) return;
    if (!step->meld)
        return clicks.imgLocal_MouseDown(PositionInHand(seen, step->discard), kMouseRight);
    meld_ = std::move(step->meld);
    ContinueMeld(seen, clicks);
}

bool MovePlayer::ContinueMeld(const SeatView& seen, Gestures& clicks) {
    // A meld whose cards have left the hand, or whose column is gone, is chosen afresh.
    if (!StillPlayable(seen, *meld_)) {
        meld_.reset();
        return false;
    }
    const std::vector<Int16> presses = PressesToward(seen, *meld_);
    if (!presses.empty()) {
        clicks.imgLocal_MouseDown(presses[NextPress(presses)], kMouseLeft);
        return true;
    }
    ClickToLay(clicks, *meld_);
    meld_.reset();
    return true;
}

}  // namespace kelvane
