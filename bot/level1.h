// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <vector>

#include "game/game_state.h"
#include "game/meld_search.h"
#include "headless/gestures.h"

namespace kelvane::bot {

// The rest of a turn once the bot has drawn: the melds to lay, the must-meld card's first, then
// the card to discard, or none when the melds empty the hand and the bot floats.
struct TurnPlan {
    std::vector<MeldMove> melds;
    Int16 discard = 0;
    // Points melded now plus what the hand left behind is judged worth; comparable between
    // the plans of different draws.
    double value = 0;
};

// The best way to finish the turn from the table as the seat pictures it (SeatView::Pictured,
// or that picture after a draw), or nothing when no legal sequence of
// melds and a discard ends it (the must-meld card fits no actual meld, or the only card left
// is one the rules will not let go).
std::optional<TurnPlan> PlanTurn(const GameState& seen);
// The `count` plans PlanTurn judges best, best first (PlanTurn's own choice leads).
std::vector<TurnPlan> BestPlans(const GameState& seen, std::size_t count);

// Where to draw: the stack, or the up pile from a position up. A card below the top is taken
// only when a plan after the take melds it and still ends the turn. Nothing when the rules leave
// the player no draw after which the turn can end.
std::optional<DrawChoice> ChooseDraw(const SeatView& seen);

// Level 1, the bot's own judgement: PlanTurn after the draw, ChooseDraw before it, each decided
// from the seat's view alone and made through the player's clicks.
class BotPolicy : public MovePlayer {
  private:
    std::optional<DrawChoice> PickDraw(const SeatView& seen) override;
    std::optional<TurnStep> PickStep(const SeatView& seen) override;
};

}  // namespace kelvane::bot
