// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "game/stock.h"

namespace kelvane::bot {

// kelvane-bot's random numbers. Given a seed, its shuffles and its decisions each draw from a
// stream of their own: seeded alike, a level's first decision replayed the numbers that shuffled
// the first round.

// The generator of each round's shuffle: one stream from the seed, or the clock's without one.
std::function<RandomSource()> Shuffles(std::optional<std::uint64_t> seed);
// The seed of a level's decisions: the seed through a sequence of the decisions' own, or the
// system's random device without one.
std::uint64_t DecisionSeed(std::optional<std::uint64_t> seed);

}  // namespace kelvane::bot
