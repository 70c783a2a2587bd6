#include "sim/duel.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <utility>

#include "sim/random_policy.h"

namespace kelvane::sim {
namespace {

// Random legal players on both sides over many shuffles and many ways of cutting the stream,
// both programs checked after every message. A failure names the seed that replays it.
TEST(Duel, RandomPlayersKeepBothProgramsInStepForTwoThousandRounds) {
    constexpr int kRounds = 2000;
    constexpr int kRoundsPerDuel = 30;
    int rounds = 0;
    int duels = 0;
    int stuck = 0;
    int games = 0;
    for (std::uint64_t seed = 1; rounds < kRounds; ++seed) {
        RandomPolicy server(seed * 2);
        RandomPolicy client(seed * 2 + 1);
        const DuelResult result = PlayDuel(seed, server, client, kRoundsPerDuel);
        ASSERT_EQ(result.failure, "") << "replay with seed " << seed;
        ASSERT_TRUE(result.stuck || result.rounds >= kRoundsPerDuel) << "seed " << seed;
        rounds += result.rounds;
        games += result.games;
        stuck += result.stuck ? 1 : 0;
        ++duels;
    }
    EXPECT_GT(games, kRounds / 50) << "games reach 500 points and are decided";
    // A round ends only on a discard, so one in which both players float and every card ends up
    // on the table leaves the next player nothing to draw. It happens, but rarely.
    EXPECT_LT(stuck * 10, rounds) << stuck << " of " << duels << " duels stuck";
}

TEST(Duel, FramesDeliveredOneByteAtATimeStillPlay) {
    for (std::uint64_t seed : {11u, 12u, 13u}) {
        RandomPolicy server(seed);
        RandomPolicy client(~seed);
        const DuelResult result = PlayDuel(seed, server, client, 3, {.singleBytes = true});
        EXPECT_EQ(result.failure, "") << "seed " << seed;
        EXPECT_TRUE(result.stuck || result.rounds >= 3) << "seed " << seed;
    }
}

class ScriptedPolicy : public Policy {
  public:
    explicit ScriptedPolicy(std::function<void(Table&)> act) : act_(std::move(act)) {}
    void Act(Table& table) override { act_(table); }

  private:
    std::function<void(Table&)> act_;
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
         "refused gesture: \"Please Draw First\""},
        {"a player who never moves", [](Table&) {}, "made no progress"},
        {"a message applied on one side only",
         [&, forged = false](Table& t) mutable {
             if (!std::exchange(forged, true)) t.Data_Process("M:N:00");
             forgerPlays.Act(t);
         },
         "the two programs differ"},
    };
    for (const Case& c : cases) {
        ScriptedPolicy faulty(c.act);
        RandomPolicy server(1);
        const DuelResult result = PlayDuel(1, server, faulty, 5);
        EXPECT_NE(result.failure.find(c.reported), std::string::npos)
            << c.fault << " gave: " << result.failure;
        EXPECT_FALSE(result.stuck) << c.fault;
    }
}

}  // namespace
}  // namespace kelvane::sim
