// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <random>
#include <string>

#include "engine/table.h"
#include "headless/headless_ports.h"
#include "headless/policy.h"
#include "sim/linked_sockets.h"

namespace kelvane::sim {

struct DuelOptions {
    // Every delivery hands over a single byte, so each frame arrives in the most pieces possible.
    bool singleBytes = false;
    // Gestures in a row that send nothing before the player to move is judged unable to go on.
    int idleLimit = 200;
    // Steps one round may take before the duel is failed as one that never ends: players caught
    // in a loop fail within a second. The longest of twelve thousand arena rounds, the bot
    // against random play and against itself, took 409.
    long long roundStepLimit = 100'000;
    // Check both programs' states after every applied message. Off only where the game's own
    // speed is measured; the results and the refused-gesture checks stay on.
    bool checkStates = true;
    // Kelvane's own messages on each side; off, that side speaks only the game's messages, as a
    // program that knows nothing of them.
    bool serverExtensions = true;
    bool clientExtensions = true;
};

struct DuelResult {
    int rounds = 0;  // scored on both sides, with mirrored results
    int games = 0;   // decided on both sides
    int serverGamesWon = 0;
    int clientGamesWon = 0;
    long long serverPoints = 0;  // the sum of each player's round results
    long long clientPoints = 0;
    std::string failure;  // empty when every check held
    // The rules left the player to move unable to finish his turn: a legitimate end of a duel
    // with a program that knows nothing of Kelvane's own rule, after which callers start a new
    // one. Between two Kelvane programs such a round ends and is scored.
    bool stuck = false;
    std::string stuckReason;
    int resumes = 0;                // dropped connections resumed by both sides
    int roundsNobodyCouldDraw = 0;  // scored with the stack and the up pile both empty
};

// Two engines, server and client, joined in memory and driven by a policy on each side. The
// session is set up through the players' own handlers; then in-flight bytes are delivered in
// randomly split and coalesced pieces, interleaved with the gestures of the player to move.
// After every delivery that completes a message both states must hold together, and whenever
// nothing is in flight they must mirror each other. A failure report, a refused gesture, a split
// between the two programs or a policy that stops making progress ends the duel as a failure.
class Duel {
  public:
    // `seed` decides the shuffles, the splitting of the byte stream and the interleaving.
    Duel(std::uint64_t seed, Actor& server, Actor& client, DuelOptions options = {});
    Duel(const Duel&) = delete;
    Duel& operator=(const Duel&) = delete;

    // The server listens, the client connects to 127.0.0.1 and the server accepts: the first
    // deal is then in flight to the client.
    void Open();
    // One delivery of in-flight bytes or one gesture of the player to move; false once the duel
    // has failed or stuck.
    bool Step();
    // Opens the session if need be and steps until `rounds` rounds have been scored on both
    // sides, or the duel fails or sticks.
    DuelResult Play(int rounds);
    DuelResult Result() const;

    Table& table(Side side) { return SeatOf(side).table; }
    LinkedSockets& link() { return link_; }
    // Hands `count` in-flight bytes from `from` to the other side and raises its data arrival,
    // checking nothing: for callers that stage positions or time the engine.
    void Deliver(Side from, std::size_t count);
    void DeliverAll(Side from) { Deliver(from, link_.InFlight(from).size()); }
    // The line drops after `fromServer` and `fromClient` more in-flight bytes have arrived: the
    // rest is lost and both connections close. The client then calls again, and the duel goes on
    // once both sides have resumed.
    void Cut(std::size_t fromServer, std::size_t fromClient);
    // A connection was lost and not yet resumed on both sides.
    bool Reconnecting();

  private:
    struct Seat {
        Seat(LinkedSockets& link, Side s, Actor& p, std::function<RandomSource()> shuffles);
        // Counts the rounds scored with both piles empty: rounds nobody could draw in.
        struct Screen : HeadlessScreen {
            const GameState* state = nullptr;
            int nobodyCouldDraw = 0;
            void ShowRoundResult(const RoundResult& result) override {
                HeadlessScreen::ShowRoundResult(result);
                if (state->StackCount == 0 && state->UpCount == 0) ++nobodyCouldDraw;
            }
        };
        Side side;
        Actor& policy;
        Screen screen;
        HeadlessPrompts prompts;
        HeadlessErrors errors;
        Table table;
        // The game changed since its last check: a message arrived or a gesture sent one.
        bool unchecked = true;
    };

    Seat& SeatOf(Side side) { return side == Side::kServer ? server_ : client_; }
    const Seat& SeatOf(Side side) const { return side == Side::kServer ? server_ : client_; }
    Seat* Mover();
    bool Over() const { return !failure_.empty() || stuck_; }
    std::size_t Below(std::size_t n) { return static_cast<std::size_t>(random_() % n); }

    void RaiseSocketEvents();
    bool Away();
    void DeliverPiece(Side from);
    std::size_t PieceLength(const std::string& inFlight);
    void Gesture(Seat& seat);
    void JudgeIdle(Seat& seat);
    bool Frozen(const Seat& seat, const Notice& notice);
    void Guarded(const std::function<void()>& action);
    void CheckQuiet(Seat& seat, const char* when);
    void CheckStates();
    void CountResults();
    void Fail(const std::string& what);
    void Stick(const Seat& seat, const std::string& reason);

    DuelOptions options_;
    std::mt19937_64 shuffles_;
    std::mt19937_64 random_;
    LinkedSockets link_;
    Seat server_;
    Seat client_;

    bool opened_ = false;
    long long steps_ = 0;
    long long roundStartStep_ = 0;
    int idle_ = 0;
    std::size_t roundsChecked_ = 0;
    std::size_t gamesChecked_ = 0;
    std::string failure_;
    bool stuck_ = false;
    std::string stuckReason_;
    bool cut_ = false;
    int resumes_ = 0;
};

DuelResult PlayDuel(std::uint64_t seed, Actor& server, Actor& client, int rounds,
                    DuelOptions options = {});

}  // namespace kelvane::sim
