// SPDX-License-Identifier: GPL-3.0-or-later
#include <benchmark/benchmark.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "sim/duel.h"
#include "sim/random_policy.h"

namespace kelvane::sim {
namespace {

// Whole rounds of random play through both engines, with the stream cut at random. The argument
// says whether the harness checks both states after every message, as the tests run it (1), or
// only plays (0): the speed of the game itself, random players included.
void BM_DuelRounds(benchmark::State& state) {
    DuelOptions options;
    options.checkStates = state.range(0) != 0;
    constexpr int kRoundsPerDuel = 20;
    std::uint64_t seed = 1;
    long long rounds = 0;
    long long duels = 0;
    long long stuck = 0;
    long long frozen = 0;
    std::string failure;
    for (auto _ : state) {
        RandomPolicy server(seed * 2);
        RandomPolicy client(seed * 2 + 1);
        const DuelResult result = PlayDuel(seed++, server, client, kRoundsPerDuel, options);
        if (!result.failure.empty()) {
            failure = result.failure;
            state.SkipWithError(failure.c_str());
            break;
        }
        rounds += result.rounds;
        stuck += result.stuck ? 1 : 0;
        frozen += result.roundsNobodyCouldDraw;
        ++duels;
    }
    state.counters["rounds"] =
        benchmark::Counter(static_cast<double>(rounds), benchmark::Counter::kIsRate);
    state.counters["stuck_duels"] =
        duels > 0 ? static_cast<double>(stuck) / static_cast<double>(duels) : 0.0;
    // Rounds nobody could draw in, scored between the two Kelvane programs, per thousand rounds.
    state.counters["scored_frozen_per_1000"] =
        rounds > 0 ? 1000.0 * static_cast<double>(frozen) / static_cast<double>(rounds) : 0.0;
}
BENCHMARK(BM_DuelRounds)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

class Idle : public Actor {
  public:
    void Act(Table&) override {}
};

// A session whose first deal is on its way to the client.
std::unique_ptr<Duel> DealInFlight(std::uint64_t seed, Actor& idle) {
    auto duel = std::make_unique<Duel>(seed, idle, idle);
    duel->Open();
    return duel;
}

// A dealt session in which the client, who opens the game, has drawn and discarded: the discard
// is on its way to the server.
std::unique_ptr<Duel> DiscardInFlight(std::uint64_t seed, Actor& idle) {
    auto duel = DealInFlight(seed, idle);
    duel->DeliverAll(Side::kServer);
    Table& client = duel->table(Side::kClient);
    client.imgStack_Click();
    duel->DeliverAll(Side::kClient);
    client.imgLocal_MouseDown(0, kMouseRight);
    return duel;
}

// The time one program takes to read, cut out and apply one message waiting on its socket. The
// positions are staged in batches outside the timed part; staging costs far more than applying,
// so the number of batches is fixed rather than grown until the timed part fills the minimum.
template <typename Stage>
void TimeOneArrival(benchmark::State& state, Stage stage, Side from) {
    constexpr int kBatch = 64;
    Idle idle;
    std::uint64_t seed = 1;
    for (auto _ : state) {
        std::vector<std::unique_ptr<Duel>> duels;
        for (int i = 0; i < kBatch; ++i) duels.push_back(stage(seed++, idle));
        const auto start = std::chrono::steady_clock::now();
        for (auto& duel : duels) duel->DeliverAll(from);
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        state.SetIterationTime(elapsed.count() / kBatch);
        // Both staged messages hand the receiver the turn: the deal the client's, the discard
        // the server's.
        if (!duels.front()->table(Other(from)).state().MyTurn)
            state.SkipWithError("the message was not applied");
    }
}

void BM_ApplyDiscardMessage(benchmark::State& state) {
    TimeOneArrival(state, DiscardInFlight, Side::kClient);
}
BENCHMARK(BM_ApplyDiscardMessage)->UseManualTime()->Iterations(500)->Unit(benchmark::kNanosecond);

void BM_ApplyDealMessage(benchmark::State& state) {
    TimeOneArrival(state, DealInFlight, Side::kServer);
}
BENCHMARK(BM_ApplyDealMessage)->UseManualTime()->Iterations(500)->Unit(benchmark::kNanosecond);

// The line drops with a discard of the client's on its way and lost: both programs see the
// close, the client calls again, the server takes it back, both announce themselves, the discard
// is sent again and applied, and the digests of the whole game are compared. Everything but the
// network itself, which a real resume adds.
void BM_ResumeAfterCut(benchmark::State& state) {
    constexpr int kBatch = 64;
    std::uint64_t seed = 1;
    for (auto _ : state) {
        std::vector<std::unique_ptr<RandomPolicy>> players;
        std::vector<std::unique_ptr<Duel>> duels;
        for (int i = 0; i < kBatch; ++i, ++seed) {
            players.push_back(std::make_unique<RandomPolicy>(seed * 2));
            players.push_back(std::make_unique<RandomPolicy>(seed * 2 + 1));
            duels.push_back(
                std::make_unique<Duel>(seed, *players[players.size() - 2], *players.back()));
            Duel& duel = *duels.back();
            duel.Open();
            // The server must have the client's announcement, or there is nothing to resume.
            while ((!duel.table(Side::kServer).KelvaneOpponent() ||
                    duel.link().InFlight(Side::kClient).find("(M:D:") == std::string::npos) &&
                   duel.Step()) {
            }
            duel.Cut(0, 0);
        }
        const auto start = std::chrono::steady_clock::now();
        for (auto& duel : duels) {
            while (duel->Reconnecting() && duel->Step()) {
            }
            for (Side side : {Side::kServer, Side::kClient, Side::kServer}) duel->DeliverAll(side);
        }
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        state.SetIterationTime(elapsed.count() / kBatch);
        const DuelResult result = duels.front()->Result();
        if (!result.failure.empty() || result.resumes != 1)
            state.SkipWithError(("the game did not resume: " + result.failure).c_str());
    }
}
BENCHMARK(BM_ResumeAfterCut)->UseManualTime()->Iterations(200)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace kelvane::sim
