// SPDX-License-Identifier: GPL-3.0-or-later
#include <benchmark/benchmark.h>

#include <string>
#include <utility>

#include "engine/table.h"
#include "headless/headless_ports.h"

// What a hostile peer can make the receiving side do: cutting frames must cost in proportion to
// the bytes that arrived, however many frames they hold.

namespace kelvane {
namespace {

// A connected socket on which one arrival waits.
class OneArrival : public Socket {
  public:
    std::string waiting;
    void Listen(int, int) override {}
    std::string LocalIP(int) override { return "127.0.0.1"; }
    void Connect(int, const std::string&, int) override {}
    int State(int) override { return kSocketConnected; }
    void Accept(int, long) override {}
    void Refuse(int, long) override {}
    void Send(int, const std::string&) override {}
    std::string Read(int) override { return std::exchange(waiting, {}); }
    void Close(int) override {}
};

// One arrival of a million empty frames, then a chat line that shows they were all cut.
void BM_MillionEmptyFramesInOneArrival(benchmark::State& state) {
    std::string frames;
    for (int i = 0; i < 1'000'000; ++i) frames += "()";
    frames += "(C:done)";
    HeadlessScreen screen;
    HeadlessPrompts prompts;
    HeadlessErrors errors;
    OneArrival socket;
    Table table({screen, prompts, socket, errors});
    for (auto _ : state) {
        socket.waiting = frames;
        table.tcpTalker_DataArrival(0);
    }
    if (!table.transcript().text().ends_with("OPPONENT: done") || !prompts.notices().empty())
        state.SkipWithError("the frames were not all cut");
    state.SetBytesProcessed(state.iterations() * static_cast<long long>(frames.size()));
}
BENCHMARK(BM_MillionEmptyFramesInOneArrival)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kelvane
