// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "engine/table.h"
#include "game/moves.h"
#include "headless/policy.h"

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

// A player that decides whole moves from its seat's view and makes them one gesture per Act: the
// draw, each selection press of a meld and the click that lays it, the discard.
class MovePlayer : public Policy {
  public:
    void Act(Table& table) final;

  protected:
    // Before the draw: one draw gesture, or none when no draw lets the turn end.
    virtual void Draw(Table& table, const GameState& seen) = 0;
    // After the draw with no meld under way: StartMeld, or ClickToDiscard.
    virtual void Choose(Table& table, const GameState& seen) = 0;
    // Which of the presses the meld still needs comes next.
    virtual std::size_t NextPress(const std::vector<Int16>&) { return 0; }
    // Makes the meld's first gesture; the following ones come with the next calls of Act.
    void StartMeld(Table& table, const GameState& seen, MeldMove meld);

  private:
    bool ContinueMeld(Table& table, const GameState& seen);

    std::optional<MeldMove> meld_;
};

}  // namespace kelvane
