// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>

#include "bot/level2.h"

namespace kelvane::bot {

// Level 3: the second level's play-outs, spent where they tell the candidates apart. It weighs a
// wider field of the first level's plans, and instead of playing every candidate out equally often
// it plays them all in a few deals, drops the worse half, and plays the rest in more deals, round
// after round, until two are left and the better wins (successive halving). A decision spends as
// many play-outs as the second level would on the same field at the same `playouts`, and every
// candidate alive in a round meets the same deals, so they compare decisions, not luck.
// Its play-outs judge better than the second level's: the opponent's hand is dealt as his play
// reads (`HandReading`), and the greedy players keep only cards that can still be melded.
inline constexpr std::size_t kSearchedPlans = 16;

std::size_t HalvingPlayOuts(const SeatView& seen, const HandReading& reading,
                            const LookaheadBudget& budget, std::uint64_t seed, std::size_t count,
                            const PlayCandidate& play);

inline constexpr LookaheadSearch kLevel3Search{kSearchedPlans, HalvingPlayOuts, true};

// Level 3 uses the time it has: five times the second level's play-outs per candidate when the
// player asks for no other number. At the second level's budget its decisions take a hundredth
// of the time a player waits without noticing, and the larger budget wins it more games.
inline constexpr LookaheadBudget kLevel3Budget{5 * LookaheadBudget{}.playouts,
                                               LookaheadBudget{}.thinkMs};

// The play-outs per candidate a level spends unless told otherwise.
inline constexpr int DefaultPlayouts(int level) {
    return level == 3 ? kLevel3Budget.playouts : LookaheadBudget{}.playouts;
}

// A level's budget: the play-outs asked for, or else its own.
inline LookaheadBudget BudgetOf(int level, std::optional<int> playouts, int thinkMs) {
    return {playouts.value_or(DefaultPlayouts(level)), thinkMs};
}

// The third level at the table: the second level's player, deciding from its seat's view alone
// as that one does, with the third level's field and judge.
class SearchPolicy : public LookaheadPolicy {
  public:
    SearchPolicy(LookaheadBudget budget, std::uint64_t seed)
        : LookaheadPolicy(budget, seed, kLevel3Search) {}
};

}  // namespace kelvane::bot
