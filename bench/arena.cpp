// SPDX-License-Identifier: GPL-3.0-or-later
// kelvane-arena: how well the bot plays. It plays the bot at a level against the random legal
// player or a bot of either level in the in-memory lock-step harness, the bot serving in every
// other duel, and prints the games won, the points per round of each side and the speed.
//
//   kelvane-arena [--rounds N] [--seed S] [--level 1|2|3] [--against random|1|2|3]
//                 [--playouts N] [--think-ms MS] [--jobs N]
//
// Levels 2 and 3's budget: deals played out per candidate (--playouts, each level's own default
// when not given: 200 at level 2, 1000 at level 3, for both sides when given) and a time limit per
// decision (--think-ms, default 0 here: none, so that a seed gives the same games on any machine).
// Against itself it shows how often the rules leave a player of two bots nothing to draw.
// --jobs N plays the duels on N threads. Each duel's players, shuffles and play are its own and
// seeded by its number alone, and the totals are summed in the duels' order, so the figures are
// those of a serial run whatever the threads' schedule.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "bot/level1.h"
#include "bot/level2.h"
#include "bot/level3.h"
#include "sim/duel.h"
#include "sim/random_policy.h"

namespace {

using kelvane::bot::BotPolicy;
using kelvane::bot::LookaheadBudget;
using kelvane::bot::LookaheadPolicy;
using kelvane::bot::SearchPolicy;
using kelvane::sim::DuelResult;
using kelvane::sim::PlayDuel;
using kelvane::sim::RandomPolicy;

// Long enough for several 500-point games in one duel.
constexpr int kRoundsPerDuel = 100;

struct Tally {
    long long rounds = 0, duels = 0, stuck = 0, games = 0, botGames = 0, frozen = 0;
    long long botPoints = 0, randomPoints = 0;
    std::map<std::string, int> stuckReasons;
};

bool ReadNumber(std::string_view text, unsigned long long& value) {
    try {
        std::size_t used = 0;
        value = std::stoull(std::string(text), &used);
        return used == text.size();
    } catch (const std::exception&) {
        return false;
    }
}

// A player of the level: 0 the random legal player, 1 to 3 the bot, with the play-outs asked for
// or else the level's own.
std::unique_ptr<kelvane::Policy> Player(int level, std::uint64_t seed,
                                        std::optional<unsigned long long> playouts, int thinkMs) {
    const LookaheadBudget budget = kelvane::bot::BudgetOf(
        level, playouts ? std::optional<int>(static_cast<int>(*playouts)) : std::nullopt, thinkMs);
    if (level == 1) return std::make_unique<BotPolicy>();
    if (level == 2) return std::make_unique<LookaheadPolicy>(budget, seed);
    if (level == 3) return std::make_unique<SearchPolicy>(budget, seed);
    return std::make_unique<RandomPolicy>(seed);
}

// One duel of the run: its number decides its seed and who serves, `rounds` how long it lasts.
struct DuelPlan {
    long long number = 0;
    int rounds = 0;
};

struct Played {
    int rounds = 0;  // the length it was played for
    DuelResult result;
};

struct Options {
    unsigned long long rounds = 1000;
    unsigned long long seed = 1;
    unsigned long long level = 1;
    int against = 0;
    std::optional<unsigned long long> playouts;  // none: each level's own
    unsigned long long thinkMs = 0;
    unsigned long long jobs = 1;
};

// The options given, or nothing (after the usage) when one cannot be read.
std::optional<Options> ReadOptions(int argc, char** argv) {
    Options o;
    for (int i = 1; i < argc; i += 2) {
        const std::string_view arg = argv[i];
        const std::string_view value = i + 1 < argc ? argv[i + 1] : "";
        bool ok = false;
        if (arg == "--rounds" || arg == "--seed")
            ok = ReadNumber(value, arg == "--rounds" ? o.rounds : o.seed);
        else if (arg == "--level")
            ok = ReadNumber(value, o.level) && o.level >= 1 && o.level <= 3;
        else if (arg == "--playouts")
            ok = ReadNumber(value, o.playouts.emplace()) && *o.playouts >= 1 &&
                 *o.playouts <= 1'000'000;
        else if (arg == "--think-ms")
            ok = ReadNumber(value, o.thinkMs) && o.thinkMs <= 60'000;
        else if (arg == "--jobs")
            ok = ReadNumber(value, o.jobs) && o.jobs >= 1 && o.jobs <= 256;
        else if (arg == "--against") {
            // "bot" is the first level, as before there was a second.
            ok =
                value == "random" || value == "1" || value == "bot" || value == "2" || value == "3";
            o.against = value == "random" ? 0 : value == "2" ? 2 : value == "3" ? 3 : 1;
        }
        if (!ok) {
            std::fprintf(stderr,
                         "usage: kelvane-arena [--rounds N] [--seed S] [--level 1|2|3] "
                         "[--against random|1|2|3] [--playouts N] [--think-ms MS] "
                         "[--jobs N]\n"
                         "  --jobs N  plays the duels on N threads (default 1); the figures are "
                         "those of one thread\n");
            return std::nullopt;
        }
    }
    return o;
}

DuelResult PlayOne(const Options& o, const DuelPlan& plan) {
    const std::uint64_t duelSeed = o.seed + static_cast<std::uint64_t>(plan.number);
    const auto thinkMs = static_cast<int>(o.thinkMs);
    const std::unique_ptr<kelvane::Policy> player =
        Player(static_cast<int>(o.level), duelSeed * 104729 + 1, o.playouts, thinkMs);
    const std::unique_ptr<kelvane::Policy> other =
        Player(o.against, duelSeed * 7919, o.playouts, thinkMs);
    // The bot serves in every other duel.
    return plan.number % 2 == 0 ? PlayDuel(duelSeed, *player, *other, plan.rounds)
                                : PlayDuel(duelSeed, *other, *player, plan.rounds);
}

// The duels of the plan not yet played for the length the serial run would give them, each with
// that length; empty once all are. `played` grows to the plan's length.
std::vector<DuelPlan> DuelsDue(const Options& o, std::vector<std::optional<Played>>& played) {
    std::vector<DuelPlan> due;
    long long planned = 0;
    for (long long n = 0; planned < static_cast<long long>(o.rounds); ++n) {
        const int left = static_cast<int>(
            std::min<long long>(kRoundsPerDuel, static_cast<long long>(o.rounds) - planned));
        const auto i = static_cast<std::size_t>(n);
        if (i >= played.size()) played.resize(i + 1);
        if (played[i] && played[i]->rounds == left) {
            // A failed duel ends the run there; the duels after it do not count.
            if (!played[i]->result.failure.empty()) break;
            planned += played[i]->result.rounds;
        } else {
            due.push_back({n, left});
            planned += left;
        }
    }
    return due;
}

// A duel that ends stuck plays fewer rounds than it was given, and the duels after it then start
// later in the run. The duels are planned as though each ran its length, played, and planned
// again from the results until every duel of the plan has been played for the length the serial
// run would give it.
std::vector<std::optional<Played>> PlayAll(const Options& o) {
    std::vector<std::optional<Played>> played;
    for (std::vector<DuelPlan> due = DuelsDue(o, played); !due.empty(); due = DuelsDue(o, played)) {
        std::vector<DuelResult> results(due.size());
        std::atomic<std::size_t> next{0};
        const auto work = [&] {
            for (std::size_t k = next++; k < due.size(); k = next++)
                results[k] = PlayOne(o, due[k]);
        };
        std::vector<std::thread> threads;
        for (unsigned long long j = 1; j < std::min<unsigned long long>(o.jobs, due.size()); ++j)
            threads.emplace_back(work);
        work();
        for (std::thread& thread : threads) thread.join();
        for (std::size_t k = 0; k < due.size(); ++k)
            played[static_cast<std::size_t>(due[k].number)] = Played{due[k].rounds, results[k]};
    }
    return played;
}

// The duels' figures summed in their order; nothing (after saying which) when one failed.
std::optional<Tally> Sum(const Options& o, const std::vector<std::optional<Played>>& played) {
    Tally t;
    for (long long n = 0; t.rounds < static_cast<long long>(o.rounds); ++n) {
        const DuelResult& r = played[static_cast<std::size_t>(n)]->result;
        const bool botServes = n % 2 == 0;
        if (!r.failure.empty()) {
            std::fprintf(stderr, "duel with seed %llu failed: %s\n",
                         static_cast<unsigned long long>(o.seed + static_cast<std::uint64_t>(n)),
                         r.failure.c_str());
            return std::nullopt;
        }
        ++t.duels;
        t.stuck += r.stuck ? 1 : 0;
        t.frozen += r.roundsNobodyCouldDraw;
        if (r.stuck) ++t.stuckReasons[r.stuckReason];
        t.rounds += r.rounds;
        t.games += r.games;
        t.botGames += botServes ? r.serverGamesWon : r.clientGamesWon;
        t.botPoints += botServes ? r.serverPoints : r.clientPoints;
        t.randomPoints += botServes ? r.clientPoints : r.serverPoints;
    }
    return t;
}

void Print(const Tally& t, double seconds) {
    const auto perRound = [&](long long points) {
        return t.rounds > 0 ? static_cast<double>(points) / static_cast<double>(t.rounds) : 0.0;
    };
    std::printf("rounds played:      %lld in %lld duels (%lld ended stuck)\n", t.rounds, t.duels,
                t.stuck);
    for (const auto& [reason, count] : t.stuckReasons)
        std::printf("  stuck %d times: %s\n", count, reason.c_str());
    std::printf("rounds nobody could draw in, scored: %lld\n", t.frozen);
    std::printf(
        "500-point games:    bot won %lld of %lld (%.1f%%)\n", t.botGames, t.games,
        t.games > 0 ? 100.0 * static_cast<double>(t.botGames) / static_cast<double>(t.games) : 0.0);
    std::printf("points per round:   bot %.1f, opponent %.1f\n", perRound(t.botPoints),
                perRound(t.randomPoints));
    std::printf("speed:              %.0f rounds/s\n", static_cast<double>(t.rounds) / seconds);
}

}  // namespace

int main(int argc, char** argv) {
    const std::optional<Options> options = ReadOptions(argc, argv);
    if (!options) return 2;
    const auto start = std::chrono::steady_clock::now();
    const std::optional<Tally> tally = Sum(*options, PlayAll(*options));
    if (!tally) return 1;
    Print(*tally, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    return 0;
}
