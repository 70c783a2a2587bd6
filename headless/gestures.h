// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "game/moves.h"
#include "headless/policy.h"

namespace kelvane {

// A player without a window makes a chosen move the way a person does, through the table's
// clicks: so it can never send what the window would refuse, and the other side's engine checks
// every move as it checks a person's.

// Where to draw: the stack, or the up pile from `position` up.
struct DrawChoice {
    bool fromStack = true;
    Int16 position = 0;
};

// The next step of a turn once drawn: a meld to lay, or else the card to discard.
struct TurnStep {
    std::optional<MeldMove> meld;
    Int16 discard = 0;

    static TurnStep Lay(MeldMove meld) { return {std::move(meld), 0}; }
    static TurnStep Throw(Int16 card) { return {std::nullopt, card}; }
};

// Could the meld still be made: its cards all in hand and its column on the table?
bool StillPlayable(const SeatView& seen, const MeldMove& meld);
// The hand positions whose selection must change before the meld can be laid: each is one left
// press. Empty when the selection is exactly the meld's cards.
std::vector<Int16> PressesToward(const SeatView& seen, const MeldMove& meld);

// A player that decides whole moves from its seat's view and makes them one click per Act: the
// draw, each selection press of a meld and the click that lays it, the discard.
class MovePlayer : public Policy {
  protected:
    // Before the draw: where to draw, or nothing when no draw lets the turn end.
    virtual std::optional<DrawChoice> PickDraw(const SeatView& seen) = 0;
    // After the draw with no meld under way: the next meld or the discard, or nothing when the
    // turn cannot end.
    virtual std::optional<TurnStep> PickStep(const SeatView& seen) = 0;
    // Which of the presses the meld still needs comes next.
    virtual std::size_t NextPress(const std::vector<Int16>&) { return 0; }

    // Where every chosen draw, meld and discard becomes its clicks. A test may call it with a
    // view and clicks of its own making.
    void Play(const SeatView& seen, Gestures& clicks) final;

  private:
    // Makes the meld's next gesture; false when the meld can no longer be made.
    bool ContinueMeld(const SeatView& seen, Gestures& clicks);

    // The meld being laid, one press per Act, until the click that lays it.
    std::optional<MeldMove> meld_;
};

}  // namespace kelvane
