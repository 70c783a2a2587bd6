// The in-memory duel: two engines joined without a socket, their states held against each other
// after every message, over two thousand rounds of random legal play with the byte stream split
// at random. Only the duel sees inside both programs at
// once and plays that many rounds in seconds; the processes over TCP (two_bots_test.cpp) and the
// window (window_vs_bot_test.cpp) are judged by what they print and show.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>

#include "fakes.h"
#include "game/card_text.h"
#include "sim/duel.h"
#include "sim/random_policy.h"

namespace kelvane::sim {
namespace {

using test::Card;

TEST(Duel, RandomPlayersKeepBothProgramsInStepForTwoThousandRounds) {
    constexpr int kRounds = 2000;
    constexpr int kRoundsPerDuel = 30;
    int rounds = 0, duels = 0, stuck = 0, games = 0;
    for (std::uint64_t seed = 1; rounds < kRounds; ++seed) {
        RandomPolicy server(seed * 2), client(seed * 2 + 1);
        const DuelResult result = PlayDuel(seed, server, client, kRoundsPerDuel);
        ASSERT_EQ(result.failure, "") << "replay with seed " << seed;
        ASSERT_TRUE(result.stuck || result.rounds >= kRoundsPerDuel) << "seed " << seed;
        rounds += result.rounds;
        games += result.games;
        stuck += result.stuck ? 1 : 0;
        ++duels;
    }
    EXPECT_GT(games, kRounds / 50) << "games reach 500 points and are decided";
    // A round where both float and every card is on the table cannot end: rare, but it happens.
    EXPECT_LT(stuck * 10, rounds) << stuck << " of " << duels << " duels stuck";
}

struct ScriptedPolicy : Policy {
    std::function<void(Table&)> act;
    void Act(Table& table) override { act(table); }
};

// A harness that cannot fail proves nothing: each kind of fault must end the duel, not hang it.
TEST(Duel, FaultsEndTheDuelAsFailures) {
    struct Case {
        const char* fault;
        std::function<void(Table&)> act;
        const char* reported;
    };
    RandomPolicy forgerPlays(5);
    const Case cases[] = {
        {"a discard before drawing", [](Table& t) { t.imgLocal_MouseDown(0, kMouseRight); },
         "refused gesture: refused: not drawn"},
        {"a player who never moves", [](Table&) {}, "made no progress"},
        {"a change made on one side only",
         [&, forged = false](Table& t) mutable {
             if (!std::exchange(forged, true)) TablePeer::State(t).LocalScore += 5;
             forgerPlays.Act(t);
         },
         "the two programs differ"},
    };
    for (const Case& c : cases) {
        ScriptedPolicy faulty;
        faulty.act = c.act;
        RandomPolicy server(1);
        const DuelResult result = PlayDuel(1, server, faulty, 5);
        EXPECT_NE(result.failure.find(c.reported), std::string::npos) << result.failure;
        EXPECT_FALSE(result.stuck) << c.fault;
    }
}

}  // namespace
}  // namespace kelvane::sim
