// SPDX-License-Identifier: GPL-3.0-or-later
// Levels 2 and 3's figures: play-outs of the rest of a round from recorded mid-round positions,
// and the time one of their decisions takes at the default budget (median and 99th percentile)
// with the play-outs it makes a second.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <random>
#include <vector>

#include "bot/fast_round.h"
#include "bot/level1.h"
#include "bot/level2.h"
#include "bot/level3.h"
#include "engine/table.h"
#include "sim/duel.h"

namespace kelvane::bot {
namespace {

// The first level, noting the engine's state whenever it is about to decide.
class Recorder : public Actor {
  public:
    explicit Recorder(std::vector<GameState>& states) : states_(states) {}
    void Act(Table& table) override {
        bool selecting = false;
        for (Int16 i = 0; i < table.state().LocalCount; ++i) selecting |= table.IsSelected(i);
        if (!selecting && table.state().MyTurn) states_.push_back(table.state());
        bot_.Act(table);
    }

  private:
    std::vector<GameState>& states_;
    BotPolicy bot_;
};

// The positions of twelve seeded rounds between two first-level bots, a decision due in each.
const std::vector<GameState>& Positions() {
    static const std::vector<GameState> positions = [] {
        std::vector<GameState> states;
        for (std::uint64_t seed = 1; seed <= 3; ++seed) {
            Recorder server(states), client(states);
            sim::PlayDuel(seed, server, client, 4);
        }
        return states;
    }();
    return positions;
}

// The rest of the round from each position as it stands, every card where it lies.
void BM_PlayOutRestOfRound(benchmark::State& st) {
    std::vector<FastRound> rounds;
    for (const GameState& s : Positions()) rounds.push_back(FastRound::From(s));
    MeldBuffer scratch;
    std::size_t next = 0;
    for (auto _ : st) {
        FastRound r = rounds[next];
        next = (next + 1) % rounds.size();
        r.PlayOut(scratch);
        benchmark::DoNotOptimize(r.melded);
    }
    st.SetItemsProcessed(st.iterations());
    st.counters["positions"] = static_cast<double>(rounds.size());
}
BENCHMARK(BM_PlayOutRestOfRound);

// The same with the hidden cards dealt afresh first, as level 2 plays them.
void BM_DealAndPlayOut(benchmark::State& st) {
    std::vector<HiddenDeals> deals;
    for (const GameState& s : Positions()) deals.emplace_back(SeatView(s));
    MeldBuffer scratch;
    std::mt19937_64 random(1);
    std::size_t next = 0;
    for (auto _ : st) {
        FastRound r = deals[next].Deal(random);
        next = (next + 1) % deals.size();
        r.PlayOut(scratch);
        benchmark::DoNotOptimize(r.melded);
    }
    st.SetItemsProcessed(st.iterations());
}
BENCHMARK(BM_DealAndPlayOut);

// Play-outs made by the decisions being timed: each candidate's own moves come once per play-out.
long long playedOut = 0;
template <JudgeByPlayOuts judge>
std::size_t Counted(const SeatView& seen, const HandReading& reading, const LookaheadBudget& budget,
                    std::uint64_t seed, std::size_t count, const PlayCandidate& play) {
    return judge(seen, reading, budget, seed, count, [&](FastRound& round, std::size_t c) {
        ++playedOut;
        play(round, c);
    });
}

// One decision per recorded position at the level's default budget, each timed alone, and the
// play-outs made per second of the decisions' time.
void TimeDecisions(benchmark::State& st, const LookaheadSearch& search,
                   const LookaheadBudget& budget) {
    std::vector<double> ms;
    std::uint64_t seed = 1;
    playedOut = 0;
    for (auto _ : st) {
        ms.clear();
        for (const GameState& s : Positions()) {
            const SeatView seen(s);
            const auto start = std::chrono::steady_clock::now();
            if (seen.HasDrawn)
                benchmark::DoNotOptimize(PlanTurnAhead(seen, budget, seed++, search));
            else
                benchmark::DoNotOptimize(ChooseDrawAhead(seen, budget, seed++, search));
            ms.push_back(
                std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
                    .count());
        }
    }
    double total = 0;
    for (double m : ms) total += m;
    std::sort(ms.begin(), ms.end());
    const auto at = [&](double q) {
        return ms[std::min(ms.size() - 1,
                           static_cast<std::size_t>(q * static_cast<double>(ms.size())))];
    };
    st.counters["decisions"] = static_cast<double>(ms.size());
    st.counters["median_ms"] = at(0.5);
    st.counters["p99_ms"] = at(0.99);
    st.counters["max_ms"] = ms.back();
    st.counters["playouts_per_s"] = static_cast<double>(playedOut) / (total / 1000.0);
}

void BM_Level2Decision(benchmark::State& st) {
    TimeDecisions(st, {kCandidatePlans, Counted<EqualPlayOuts>}, LookaheadBudget{});
}
BENCHMARK(BM_Level2Decision)->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_Level3Decision(benchmark::State& st) {
    TimeDecisions(st, {kLevel3Search.plans, Counted<HalvingPlayOuts>, kLevel3Search.readsHand},
                  kLevel3Budget);
}
BENCHMARK(BM_Level3Decision)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kelvane::bot
