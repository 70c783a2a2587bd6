// SPDX-License-Identifier: GPL-3.0-or-later
#include <benchmark/benchmark.h>

#include "game/meld_rules.h"
#include "game/meldability.h"
#include "game/stock.h"

namespace kelvane {
namespace {

GameState DealtRound(std::uint64_t seed) {
    GameState s;
    s.Stack = ShuffleOrder(SeededRandom(seed));
    DealRound(s, kRoleServer);
    return s;
}

void BM_ShuffleAndDeal(benchmark::State& st) {
    auto random = SeededRandom(1);
    for (auto _ : st) {
        GameState s;
        s.Stack = ShuffleOrder(random);
        DealRound(s, kRoleServer);
        benchmark::DoNotOptimize(s.LocalHand);
    }
}
BENCHMARK(BM_ShuffleAndDeal);

// The meldability test runs for every discard confirmation and every deep up-pile take.
void BM_CheckMeldWholeHand(benchmark::State& st) {
    GameState s = DealtRound(7);
    for (auto _ : st) {
        int meldable = 0;
        for (Int16 i = 0; i < s.LocalCount; ++i) meldable += CheckMeld(s, s.LocalHand[i]);
        benchmark::DoNotOptimize(meldable);
    }
}
BENCHMARK(BM_CheckMeldWholeHand);

void BM_SortAndValidateRun(benchmark::State& st) {
    for (auto _ : st) {
        MeldList meld{};
        for (int i = 0; i < 13; ++i) meld[i] = 52 - i;  // every heart, king first
        SortMeld(meld, 13);
        benchmark::DoNotOptimize(ValidMeld(meld, 13));
    }
}
BENCHMARK(BM_SortAndValidateRun);

}  // namespace
}  // namespace kelvane
