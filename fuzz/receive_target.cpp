// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/receive_target.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <utility>

#include "bot/level1.h"
#include "engine/table_peer.h"
#include "game/invariants.h"
#include "headless/headless_ports.h"
#include "sim/duel.h"
#include "sim/random_policy.h"

namespace kelvane::fuzz {

namespace {

// A position and the bytes the opponent's program sent to it next.
struct Position {
    GameState state;
    std::string next;
};

constexpr int kSeeds = 6;
constexpr int kRoundsPerSeed = 6;
constexpr int kStepsBetween = 37;

// Both programs' states from fixed-seed games between random players, taken wherever bytes were
// on their way to one of them, and a client waiting for its first deal.
const std::vector<Position>& Positions() {
    static const std::vector<Position> positions = [] {
        std::vector<Position> all;
        GameState waiting;
        waiting.Role = kRoleClient;
        all.push_back({waiting, ""});
        for (std::uint64_t seed = 1; seed <= kSeeds; ++seed) {
            sim::RandomPolicy server(seed * 2), client(seed * 2 + 1);
            sim::Duel duel(seed, server, client);
            duel.Open();
            for (long step = 0; duel.Result().rounds < kRoundsPerSeed && duel.Step(); ++step) {
                if (step % kStepsBetween != 0) continue;
                for (sim::Side to : {sim::Side::kServer, sim::Side::kClient}) {
                    const std::string& next = duel.link().InFlight(sim::Other(to));
                    if (!next.empty()) all.push_back({duel.table(to).state(), next});
                }
            }
        }
        return all;
    }();
    return positions;
}

// The connection: every piece of the input waits in turn; what the program sends is counted.
class FuzzSocket : public Socket {
  public:
    std::string waiting;
    long sends = 0;
    bool closed = false;
    void Listen(int, int) override {}
    std::string LocalIP(int) override { return "127.0.0.1"; }
    void Connect(int, const std::string&, int) override {}
    int State(int) override { return closed ? kSocketClosed : kSocketConnected; }
    void Accept(int, long) override {}
    void Refuse(int, long) override {}
    void Send(int, const std::string&) override { ++sends; }
    std::string Read(int) override { return std::exchange(waiting, {}); }
    void Close(int) override { closed = true; }
};

constexpr int kGesturesPerMove = 2 * kCardsInDeck;

std::string Check(Table& table, HeadlessErrors& errors) {
    if (!errors.reports().empty()) return "failure report: " + errors.reports().front();
    const std::string problems = CheckInvariants(table.state());
    return problems.empty() ? "" : "state: " + problems;
}

}  // namespace

// The positions of one role, or of both.
const std::vector<Position>& PositionsOf(const std::string& role) {
    static const std::vector<Position> server = [] {
        std::vector<Position> some;
        std::ranges::copy_if(Positions(), std::back_inserter(some),
                             [](const Position& p) { return p.state.Role == kRoleServer; });
        return some;
    }();
    static const std::vector<Position> client = [] {
        std::vector<Position> some;
        std::ranges::copy_if(Positions(), std::back_inserter(some),
                             [](const Position& p) { return p.state.Role == kRoleClient; });
        return some;
    }();
    return role == kRoleServer ? server : role == kRoleClient ? client : Positions();
}

std::string TryBytes(const std::uint8_t* data, std::size_t size, const std::string& role) {
    if (size < 3) return {};
    const std::vector<Position>& positions = PositionsOf(role);
    const Position& position = positions[(std::size_t{data[0]} << 8 | data[1]) % positions.size()];
    const std::size_t piece = data[2];
    const std::string bytes(reinterpret_cast<const char*>(data) + 3, size - 3);

    HeadlessScreen screen;
    HeadlessPrompts prompts;
    HeadlessErrors errors;
    FuzzSocket socket;
    Table table({screen, prompts, socket, errors});
    TablePeer::State(table) = position.state;
    try {
        for (std::size_t at = 0; at < bytes.size() && !socket.closed;) {
            const std::size_t n = piece == 0 ? bytes.size() : piece;
            socket.waiting = bytes.substr(at, n);
            at += n;
            table.tcpTalker_DataArrival(position.state.Role == kRoleServer ? 1 : 0);
        }
        if (std::string broke = Check(table, errors); !broke.empty()) return broke;
        // The bot judges only states that passed: its turn, if it has one now, must go through.
        bot::BotPolicy bot;
        const long sent = socket.sends;
        for (int i = 0;
             i < kGesturesPerMove && !socket.closed && table.state().MyTurn && socket.sends == sent;
             ++i)
            bot.Act(table);
        return Check(table, errors);
    } catch (const ProgramEnded&) {
        return "the program ended";
    } catch (const std::exception& e) {
        return std::string("exception: ") + e.what();
    }
}

std::vector<std::string> RealTraffic() {
    std::vector<std::string> inputs;
    const std::vector<Position>& positions = Positions();
    for (std::size_t i = 0; i < positions.size(); ++i) {
        if (positions[i].next.empty()) continue;
        std::string input;
        input += static_cast<char>(i >> 8);
        input += static_cast<char>(i & 0xff);
        input += static_cast<char>(i % 3 == 0 ? 1 : 0);
        inputs.push_back(input + positions[i].next);
    }
    return inputs;
}

}  // namespace kelvane::fuzz
