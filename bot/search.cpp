#include "bot/search.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <cmath>
#include <numeric>
#include <vector>

#include "game/scoring.h"

namespace kelvane::bot {

namespace {

// A round's margin between two such players spreads by about 61 points (the first level against
// itself over 773 rounds), and each makes about 55 points a round (the third level against the
// second in kelvane-arena).
constexpr double kRoundSpread = 61;
constexpr double kPointsPerRound = 55;

// How the game stands for the seat once the played-out round is scored: 1 won, 0 lost, and in
// between the chance to win from the lead, taking the rounds left as a fair walk. Far from the end
// it grows with the margin alone; near it, the points that decide the game count most.
double GameValue(const GameState& seen, const FastRound& round) {
    const double mine = seen.LocalScore.value() + round.Score(0);
    const double theirs = seen.RemoteScore.value() + round.Score(1);
    const double top = std::max(mine, theirs);
    if (top >= kWinningScore && mine != theirs) return mine > theirs ? 1 : 0;
    const double roundsLeft = std::max(0.5, (kWinningScore - top) / kPointsPerRound);
    return 0.5 * std::erfc((theirs - mine) / (kRoundSpread * std::sqrt(2 * roundsLeft)));
}

}  // namespace

std::size_t HalvingPlayOuts(const GameState& seen, const HandReading& reading,
                            const LookaheadBudget& budget, std::uint64_t seed, std::size_t count,
                            const PlayCandidate& play) {
    if (count <= 1) return 0;
    using Clock = std::chrono::steady_clock;
    const HiddenDeals deals(seen, reading);
    std::mt19937_64 random(seed);
    MeldBuffer scratch;
    // The game's outlook summed over every deal played: the candidates alive have all met the
    // same ones.
    std::vector<double> outlook(count, 0);
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
                outlook[c] += GameValue(seen, r);
            }
            if (budget.thinkMs > 0 &&
                Clock::now() - start >= std::chrono::milliseconds(budget.thinkMs)) {
                late = true;
                break;
            }
        }
        if (round + 1 >= rounds || alive.size() <= 2) break;
        // Keep the better half; among equal outlooks the earlier, preferred candidate.
        std::stable_sort(alive.begin(), alive.end(),
                         [&](std::size_t a, std::size_t b) { return outlook[a] > outlook[b]; });
        alive.resize((alive.size() + 1) / 2);
        std::sort(alive.begin(), alive.end());
    }
    return *std::max_element(alive.begin(), alive.end(), [&](std::size_t a, std::size_t b) {
        return outlook[a] < outlook[b] || (outlook[a] == outlook[b] && a > b);
    });
}

}  // namespace kelvane::bot
