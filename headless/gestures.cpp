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

}  // namespace kelvane
