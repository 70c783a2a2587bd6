// SPDX-License-Identifier: GPL-3.0-or-later
#include "bot/seeds.h"

#include <memory>
#include <random>

namespace kelvane::bot {

std::function<RandomSource()> Shuffles(std::optional<std::uint64_t> seed) {
    if (!seed) return ClockSeededRandom;
    auto generator = std::make_shared<std::mt19937_64>(*seed);
    return [generator] { return SeededRandom((*generator)()); };
}

std::uint64_t DecisionSeed(std::optional<std::uint64_t> seed) {
    if (!seed) return std::random_device{}();
    // A seed sequence spreads the seed and the decisions' mark over the whole generator state,
    // and gives the same numbers with every standard library.
    std::seed_seq words{static_cast<std::uint32_t>(*seed), static_cast<std::uint32_t>(*seed >> 32),
                        std::uint32_t{'d'}};
    return std::mt19937_64(words)();
}

}  // namespace kelvane::bot
