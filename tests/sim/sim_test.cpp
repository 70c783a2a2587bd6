// SPDX-License-Identifier: GPL-3.0-or-later
// The in-memory duel: two engines joined without a socket, their states held against each other
// after every message, over two thousand rounds of random legal play with the byte stream split
// at random. Only the duel sees inside both programs at
// once and plays that many rounds in seconds; the processes over TCP (two_bots_test.cpp) and the
// window (window_vs_bot_test.cpp) are judged by what they print and show.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <string>
#include <tuple>
#include <utility>

#include "fakes.h"
#include "fuzz/receive_target.h"
#include "sim/duel.h"
#include "sim/random_policy.h"

namespace kelvane::sim {
namespace {

// Two Kelvane programs, and a Kelvane program with one that speaks only the game's own messages
// on either side. A round in which nobody can draw, every card on the table or in the hands,
// cannot end by the game's own rules: between two Kelvane programs it is scored where it froze
// and the next is dealt, with a plain one it stays stuck.
TEST(Duel, RandomPlayersKeepBothProgramsInStepForTwoThousandRounds) {
    constexpr int kRounds = 2000;
    constexpr int kRoundsPerDuel = 30;
    const std::pair<bool, bool> pairings[] = {{true, true}, {false, true}, {true, false}};
    for (const auto& [serverKelvane, clientKelvane] : pairings) {
        const bool both = serverKelvane && clientKelvane;
        int rounds = 0, stuck = 0, games = 0, scoredFrozen = 0;
        for (std::uint64_t seed = 1; rounds < kRounds; ++seed) {
            RandomPolicy server(seed * 2), client(seed * 2 + 1);
            Duel duel(seed, server, client,
                      {.serverExtensions = serverKelvane, .clientExtensions = clientKelvane});
            // What the server keeps to send again after a drop: once the client has shown it
            // cannot resume, nothing; otherwise never more than the messages since the last
            // round's digest (the longest of twelve thousand arena rounds took 409 steps).
            std::size_t kept = 0;
            duel.Open();
            while (duel.Result().rounds < kRoundsPerDuel && duel.Step())
                kept = std::max(kept, TablePeer::Kept(duel.table(Side::kServer)));
            const DuelResult result = duel.Result();
            ASSERT_EQ(result.failure, "") << "replay with seed " << seed << " " << serverKelvane;
            ASSERT_LT(kept, both ? 200u : 2u) << "seed " << seed;
            ASSERT_TRUE(result.stuck || result.rounds >= kRoundsPerDuel) << "seed " << seed;
            ASSERT_FALSE(both && result.stuck) << "seed " << seed << ": " << result.stuckReason;
            // Only the Kelvane program knows that nobody can draw, and tells its player.
            ASSERT_TRUE(result.stuckReason.find("nobody can draw") == std::string::npos ||
                        result.stuckReason.starts_with(serverKelvane ? "server" : "client"))
                << "seed " << seed << ": " << result.stuckReason;
            rounds += result.rounds;
            games += result.games;
            stuck += result.stuck ? 1 : 0;
            scoredFrozen += result.roundsNobodyCouldDraw;
        }
        EXPECT_GT(games, kRounds / 50) << "games reach 500 points and are decided";
        // Rare, but it happens in these seeds, both ways.
        EXPECT_GT(both ? scoredFrozen : stuck, 0);
        EXPECT_EQ(both ? stuck : scoredFrozen, 0);
        EXPECT_LT(stuck * 10, rounds) << stuck << " duels stuck";
    }
}

// The session is under way between two Kelvane programs: each has the other's announcement and
// the client has the first deal.
void Establish(Duel& duel) {
    duel.Open();
    const auto established = [&] {
        return duel.table(Side::kServer).KelvaneOpponent() &&
               duel.table(Side::kClient).KelvaneOpponent() &&
               duel.table(Side::kClient).state().GamesPlayed > 0;
    };
    for (int i = 0; i < 100 && !established(); ++i) duel.Step();
    ASSERT_TRUE(established());
}

// The line drops at every point of the first turns, a random part of what was on its way
// arriving and the rest lost; the client calls again and both resume. The duel holds the two
// programs' states together as soon as nothing is in flight; the game goes on exactly as the
// same seeds play it without a drop: no move was lost or applied twice.
TEST(Duel, ADroppedConnectionResumesWhereItStopped) {
    constexpr int kRounds = 6;
    RandomPolicy uncutServer(11), uncutClient(12);
    const DuelResult uncut = PlayDuel(4, uncutServer, uncutClient, kRounds);
    ASSERT_EQ(uncut.failure, "");
    std::mt19937_64 lost(4);
    for (int cutAt = 0; cutAt < 160; ++cutAt) {
        SCOPED_TRACE("cut after " + std::to_string(cutAt) + " steps");
        RandomPolicy server(11), client(12);
        Duel duel(4, server, client);
        Establish(duel);
        for (int i = 0; i < cutAt && duel.Step(); ++i) {
        }
        const std::size_t toClient = duel.link().InFlight(Side::kServer).size();
        const std::size_t toServer = duel.link().InFlight(Side::kClient).size();
        duel.Cut(lost() % (toClient + 1), lost() % (toServer + 1));
        for (int i = 0; i < 100 && duel.Reconnecting(); ++i) duel.Step();
        ASSERT_FALSE(duel.Reconnecting()) << duel.Result().failure;
        const DuelResult result = duel.Play(kRounds);
        ASSERT_EQ(result.failure, "");
        EXPECT_EQ(result.resumes, 1);
        EXPECT_EQ(result.serverPoints, uncut.serverPoints);
        EXPECT_EQ(result.clientPoints, uncut.clientPoints);
    }
}

// Two programs that have come apart are told so, by name of what differs, at the next digest:
// after a resume, or at the round's end.
TEST(Duel, DigestsCatchProgramsThatHaveComeApart) {
    for (const bool atResume : {true, false}) {
        SCOPED_TRACE(atResume ? "at the resume" : "at the round's end");
        RandomPolicy server(1), client(2);
        // Without the harness's own comparison, which would see it first.
        Duel duel(5, server, client, {.checkStates = false});
        Establish(duel);
        TablePeer::State(duel.table(Side::kServer)).LocalScore += 5;
        if (atResume) duel.Cut(0, 0);
        const DuelResult result = duel.Play(3);
        EXPECT_NE(result.failure.find("the digests differ"), std::string::npos) << result.failure;
        // Told where it was first seen: before the round ends, or at its end.
        EXPECT_EQ(result.rounds, atResume ? 0 : 1);
    }
}

struct ScriptedPolicy : Actor {
    std::function<void(Table&)> act;
    void Act(Table& table) override { act(table); }
};

// A harness that cannot fail proves nothing: each kind of fault must end the duel, not hang it.
TEST(Duel, FaultsEndTheDuelAsFailures) {
    RandomPolicy forgerPlays(5);
    // The fault, the faulty player's gestures, and what the duel reports.
    const std::tuple<const char*, std::function<void(Table&)>, const char*> cases[] = {
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
    for (const auto& [fault, act, reported] : cases) {
        ScriptedPolicy faulty;
        faulty.act = act;
        RandomPolicy server(1);
        const DuelResult result = PlayDuel(1, server, faulty, 5);
        EXPECT_NE(result.failure.find(reported), std::string::npos) << result.failure;
        EXPECT_FALSE(result.stuck) << fault;
    }
}

// Every input the fuzzer was seeded with and every one that ever broke something, replayed on
// positions of these duels in the ordinary suite: a fault found once stays found.
TEST(FuzzReplay, EverySavedInputLeavesTheGameWhole) {
    int replayed = 0;
    for (const char* folder : {"corpus", "crashes"}) {
        for (const auto& entry :
             std::filesystem::directory_iterator(std::string(KELVANE_FUZZ_DIR) + "/" + folder)) {
            if (entry.path().filename().string().starts_with(".")) continue;
            std::ifstream in(entry.path(), std::ios::binary);
            const std::string input((std::istreambuf_iterator<char>(in)), {});
            const auto* bytes = reinterpret_cast<const std::uint8_t*>(input.data());
            EXPECT_EQ(fuzz::TryBytes(bytes, input.size()), "") << entry.path();
            ++replayed;
        }
    }
    EXPECT_GT(replayed, 50);
}

}  // namespace
}  // namespace kelvane::sim
