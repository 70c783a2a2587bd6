// kelvane-arena: how well the bot plays. It plays the bot against the random legal player in the
// in-memory lock-step harness, the bot serving in every other duel, and prints the games won,
// the points per round of each side and the speed.
//
//   kelvane-arena [--rounds N] [--seed S] [--against random|bot]
//
// Against itself it shows how often the rules leave a player of two bots nothing to draw.

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "bot/bot_policy.h"
#include "sim/duel.h"
#include "sim/random_policy.h"

namespace {

using kelvane::bot::BotPolicy;
using kelvane::sim::DuelResult;
using kelvane::sim::PlayDuel;
using kelvane::sim::RandomPolicy;

// Long enough for several 500-point games in one duel.
constexpr int kRoundsPerDuel = 100;

struct Tally {
    long long rounds = 0, duels = 0, stuck = 0, games = 0, botGames = 0;
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

}  // namespace

int main(int argc, char** argv) {
    unsigned long long rounds = 1000;
    unsigned long long seed = 1;
    bool againstBot = false;
    for (int i = 1; i < argc; i += 2) {
        const std::string_view arg = argv[i];
        const std::string_view value = i + 1 < argc ? argv[i + 1] : "";
        bool ok = false;
        if (arg == "--rounds" || arg == "--seed")
            ok = ReadNumber(value, arg == "--rounds" ? rounds : seed);
        else if (arg == "--against" && (value == "random" || value == "bot")) {
            ok = true;
            againstBot = value == "bot";
        }
        if (!ok) {
            std::fprintf(stderr,
                         "usage: kelvane-arena [--rounds N] [--seed S] [--against random|bot]\n");
            return 2;
        }
    }

    Tally t;
    const auto start = std::chrono::steady_clock::now();
    while (t.rounds < static_cast<long long>(rounds)) {
        const std::uint64_t duelSeed = seed + static_cast<std::uint64_t>(t.duels);
        const bool botServes = t.duels % 2 == 0;
        BotPolicy bot;
        std::unique_ptr<kelvane::Policy> other;
        if (againstBot)
            other = std::make_unique<BotPolicy>();
        else
            other = std::make_unique<RandomPolicy>(duelSeed * 7919);
        kelvane::Policy& random = *other;
        const int left = static_cast<int>(
            std::min<long long>(kRoundsPerDuel, static_cast<long long>(rounds) - t.rounds));
        const DuelResult r = botServes ? PlayDuel(duelSeed, bot, random, left)
                                       : PlayDuel(duelSeed, random, bot, left);
        if (!r.failure.empty()) {
            std::fprintf(stderr, "duel with seed %llu failed: %s\n",
                         static_cast<unsigned long long>(duelSeed), r.failure.c_str());
            return 1;
        }
        ++t.duels;
        t.stuck += r.stuck ? 1 : 0;
        if (r.stuck) ++t.stuckReasons[r.stuckReason];
        t.rounds += r.rounds;
        t.games += r.games;
        t.botGames += botServes ? r.serverGamesWon : r.clientGamesWon;
        t.botPoints += botServes ? r.serverPoints : r.clientPoints;
        t.randomPoints += botServes ? r.clientPoints : r.serverPoints;
    }
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();

    const auto perRound = [&](long long points) {
        return t.rounds > 0 ? static_cast<double>(points) / static_cast<double>(t.rounds) : 0.0;
    };
    std::printf("rounds played:      %lld in %lld duels (%lld ended stuck)\n", t.rounds, t.duels,
                t.stuck);
    for (const auto& [reason, count] : t.stuckReasons)
        std::printf("  stuck %d times: %s\n", count, reason.c_str());
    std::printf(
        "500-point games:    bot won %lld of %lld (%.1f%%)\n", t.botGames, t.games,
        t.games > 0 ? 100.0 * static_cast<double>(t.botGames) / static_cast<double>(t.games) : 0.0);
    std::printf("points per round:   bot %.1f, opponent %.1f\n", perRound(t.botPoints),
                perRound(t.randomPoints));
    std::printf("speed:              %.0f rounds/s\n", static_cast<double>(t.rounds) / seconds);
    return 0;
}
