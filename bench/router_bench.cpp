// SPDX-License-Identifier: GPL-3.0-or-later
// The time from serving to the outside address known: a RouterDoor asks the router for the game's
// port and the clock stops when the router's answer is told. Run inside the router lab's home
// namespace by bench/router_lab.sh; every mapping is given back between iterations, untimed.

#include <benchmark/benchmark.h>

#include <chrono>
#include <future>

#include "portmap/router_door.h"
#include "words/router_texts.h"

namespace kelvane {
namespace {

void BM_OutsideAddressKnown(benchmark::State& state) {
    for (auto _ : state) {
        std::promise<DoorReport> told;
        const auto start = std::chrono::steady_clock::now();
        DoorReport report;
        {
            RouterDoor door(kDefaultGamePort, [&told](const DoorReport& r) { told.set_value(r); });
            report = told.get_future().get();
            state.SetIterationTime(
                std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        }
        // The door gives its port back on its own thread; the next request waits for that.
        AwaitGiveBacks();
        if (report.outcome != DoorOutcome::kOpen) {
            state.SkipWithError(DoorSentence(report).c_str());
            break;
        }
        state.SetLabel(report.method);
    }
}
BENCHMARK(BM_OutsideAddressKnown)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);

}  // namespace
}  // namespace kelvane
