#pragma once

#include <vector>

#include "engine/table.h"
#include "game/moves.h"

namespace kelvane {

// A player without a window makes a chosen move the way a person does, through the Table's
// handlers: so it can never send what the window would refuse, and the other side's engine checks
// every move as it checks a person's.

// Could the meld still be made: its cards all in hand and its column on the table?
bool StillPlayable(const GameState& seen, const MeldMove& meld);
// The hand positions whose selection must change before the meld can be laid: each is one left
// press. Empty when the selection is exactly the meld's cards.
std::vector<Int16> PressesToward(const Table& table, const GameState& seen, const MeldMove& meld);
// The click that lays the selected cards: on the table's cloth, or on the meld's column.
void ClickToLay(Table& table, const MeldMove& meld);
// The right press that asks to discard the card.
void ClickToDiscard(Table& table, const GameState& seen, Int16 card);

}  // namespace kelvane
