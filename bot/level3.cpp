// SPDX-License-Identifier: GPL-3.0-or-later
#include "bot/level3.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <numeric>
#include <vector>

namespace kelvane::bot {

std::size_t HalvingPlayOuts(const SeatView& seen, const HandReading& reading,
                            const LookaheadBudget& budget, std::uint64_t seed, std::size_t count,
                            const PlayCandidate& play) {
    if (count <= 1) return 0;
    using Clock = std::chrono::steady_clock;
    const HiddenDeals deals(seen, reading);
    std::mt19937_64 random(seed);
    MeldBuffer scratch;
    // Margins summed over every deal played: the candidates alive have all met the same ones.
    std::vector<long long> margin(count, 0);
    std::vector<std::size_t> alive(count);
    std::iota(alive.begin(), alive.end(), std::size_t{0});
    // Each round of halving spends an equal share of what the equal split would have spent.
    const int rounds = std::bit_width(count - 1);
    const long long share =
        static_cast<long long>(budget.playouts) * static_cast<long long>(count) / rounds;
    const auto start = Clock::now();
    bool late = false;
    for (int round = 0; !late; ++round) {
        const long long dealsNow =
            std::max<long long>(1, share / static_cast<long long>(alive.size()));
        for (long long d = 0; d < dealsNow; ++d) {
            const FastRound dealt = deals.Deal(random);
            for (std::size_t c : alive) {
                FastRound r = dealt;
                play(r, c);
                r.PlayOut(scratch, true);
                margin[c] += r.Score(0) - r.Score(1);
            }
            if (budget.thinkMs > 0 &&
                Clock::now() - start >= std::chrono::milliseconds(budget.thinkMs)) {
                late = true;
                break;
            }
        }
        if (round + 1 >= rounds || alive.size() <= 2) break;
        // Keep the better half; among equal margins the earlier, preferred candidate.
        std::stable_sort(alive.begin(), alive.end(),
                         [&](std::size_t a, std::size_t b) { return margin[a] > margin[b]; });
        alive.resize((alive.size() + 1) / 2);
        std::sort(alive.begin(), alive.end());
    }
    return *std::max_element(alive.begin(), alive.end(), [&](std::size_t a, std::size_t b) {
        return margin[a] < margin[b] || (margin[a] == margin[b] && a > b);
    });
}

}  // namespace kelvane::bot
