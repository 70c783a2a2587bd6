// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <random>
#include <vector>

#include "game/meld_search.h"
#include "headless/gestures.h"

namespace kelvane::sim {

// A player who makes random legal moves: draws from the stack or takes from the up pile (a card
// below the top only when an actual meld holds it after the take), lays down and lays off melds
// chosen at random (the must-meld card first), then discards a card the engine accepts. It never
// makes a gesture the engine refuses, and never a choice that leaves its turn unable to end.
class RandomPolicy : public MovePlayer {
  public:
    explicit RandomPolicy(std::uint64_t seed) : random_(seed) {}

  private:
    std::optional<DrawChoice> PickDraw(const SeatView& seen) override;
    std::optional<TurnStep> PickStep(const SeatView& seen) override;
    std::size_t NextPress(const std::vector<Int16>& presses) override {
        return Below(presses.size());
    }

    // Uniform enough for play, and the same on every standard library, so a seed replays.
    std::size_t Below(std::size_t n) { return static_cast<std::size_t>(random_() % n); }
    template <typename T>
    const T& Pick(const std::vector<T>& items) {
        return items[Below(items.size())];
    }

    std::mt19937_64 random_;
};

}  // namespace kelvane::sim
