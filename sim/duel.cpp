// SPDX-License-Identifier: GPL-3.0-or-later
#include "sim/duel.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "game/invariants.h"
#include "game/meld_search.h"

namespace kelvane::sim {

namespace {

// Decorrelates the stream splitting from the shuffles drawn from the same seed.
constexpr std::uint64_t kSplitSalt = 0x9E3779B97F4A7C15ULL;
// Pieces cut from inside the stream are at most this long, so frames arrive torn apart.
constexpr std::size_t kShortPiece = 12;

// What a player was told, for a failure's reason.
std::string Told(const Notice& notice) {
    switch (notice.kind) {
        case NoticeKind::kRefused: {
            std::string text = std::string("refused: ") + RefusalName(notice.refusal.refusal);
            if (notice.refusal.card != 0) {
                text += ' ';
                text += GetCardName(notice.refusal.card, false);
            }
            return text;
        }
        case NoticeKind::kServerTooOld:
            return "the server is too old";
        case NoticeKind::kUnableToConnect:
            return "unable to connect";
        case NoticeKind::kOpponentGone:
            return "the opponent is gone";
        case NoticeKind::kPeerFault:
            return std::string("the opponent's message was refused: ") +
                   (notice.fault.kind == PeerFaultKind::kNotAllowed
                        ? RefusalName(notice.fault.verdict.refusal)
                    : notice.fault.kind == PeerFaultKind::kTooLong  ? "too long"
                    : notice.fault.kind == PeerFaultKind::kDisagree ? "the digests differ"
                                                                    : "unreadable or out of place");
        case NoticeKind::kNobodyCanDraw:
            return "nobody can draw";
        case NoticeKind::kServerWaitsForItsClient:
        case NoticeKind::kServerKeptItsGame:
            return "the server waits for another client";
        case NoticeKind::kServerGameGone:
            return "the server's game is gone";
    }
    return "?";
}

}  // namespace

Duel::Seat::Seat(LinkedSockets& link, Side s, Actor& p, std::function<RandomSource()> shuffles)
    : side(s), policy(p), table({screen, prompts, link.socket(s), errors}, std::move(shuffles)) {
    screen.state = &table.state();
}

Duel::Duel(std::uint64_t seed, Actor& server, Actor& client, DuelOptions options)
    : options_(options),
      shuffles_(seed),
      random_(seed ^ kSplitSalt),
      server_(link_, Side::kServer, server, [this] { return SeededRandom(shuffles_()); }),
      client_(link_, Side::kClient, client, [this] { return SeededRandom(shuffles_()); }) {
    server_.table.UseExtensions(options.serverExtensions);
    client_.table.UseExtensions(options.clientExtensions);
}

void Duel::Open() {
    opened_ = true;
    Guarded([&] {
        server_.table.mnuServer_Click();
        client_.table.mnuClient_Click();
    });
    const std::optional<long> request = link_.PendingRequest();
    if (!request) return Fail("the client's connection attempt did not reach the server");
    Guarded([&] { server_.table.tcpTalker_ConnectionRequest(0, *request); });
    RaiseSocketEvents();
    CheckQuiet(server_, "while setting up the session");
    CheckQuiet(client_, "while setting up the session");
}

DuelResult Duel::Play(int rounds) {
    if (!opened_) Open();
    while (roundsChecked_ < static_cast<std::size_t>(rounds) && Step()) {
    }
    return Result();
}

bool Duel::Step() {
    if (Over()) return false;
    ++steps_;
    RaiseSocketEvents();
    const bool toClient = !link_.InFlight(Side::kServer).empty();
    const bool toServer = !link_.InFlight(Side::kClient).empty();
    // Nobody plays while the line is down: the game waits as it was.
    Seat* mover = Reconnecting() ? nullptr : Mover();
    if (!toClient && !toServer && mover == nullptr && Reconnecting()) {
        // The reconnection goes on through the socket events of the next step.
    } else if (!toClient && !toServer && mover == nullptr) {
        Fail("nobody holds the turn and nothing is in flight");
    } else if ((toClient || toServer) && (mover == nullptr || Below(2) == 0)) {
        const Side from = toClient && toServer ? (Below(2) == 0 ? Side::kServer : Side::kClient)
                          : toClient           ? Side::kServer
                                               : Side::kClient;
        DeliverPiece(from);
    } else {
        Gesture(*mover);
    }
    CountResults();
    if (steps_ - roundStartStep_ > options_.roundStepLimit)
        Fail("round " + std::to_string(roundsChecked_ + 1) + " has not ended in " +
             std::to_string(options_.roundStepLimit) + " steps");
    return !Over();
}

// What the network and the event loop would raise: closes, the client calling again while its
// opponent is away, the server's listener taking the call, the call completing.
void Duel::RaiseSocketEvents() {
    for (Side side : {Side::kServer, Side::kClient}) {
        if (!link_.TakeCloseEvent(side)) continue;
        Guarded([&] { table(side).tcpTalker_Close(link_.ConnectionIndex(side)); });
        CheckQuiet(SeatOf(side), "on losing the connection");
    }
    if (client_.table.WaitingForOpponent()) Guarded([&] { client_.table.Reconnect(); });
    if (const std::optional<long> request = link_.PendingRequest())
        Guarded([&] { server_.table.tcpTalker_ConnectionRequest(0, *request); });
    if (link_.TakeConnectEvent(Side::kClient)) Guarded([&] { client_.table.tcpTalker_Connect(0); });
    for (Seat* seat : {&server_, &client_}) CheckQuiet(*seat, "while reconnecting");
    if (cut_ && !Away()) {
        cut_ = false;
        ++resumes_;
    }
}

bool Duel::Away() {
    return server_.table.WaitingForOpponent() || client_.table.WaitingForOpponent() ||
           link_.PendingRequest().has_value();
}

bool Duel::Reconnecting() {
    return cut_ || Away();
}

void Duel::Cut(std::size_t fromServer, std::size_t fromClient) {
    if (fromServer > 0) Deliver(Side::kServer, fromServer);
    if (fromClient > 0) Deliver(Side::kClient, fromClient);
    link_.Cut();
    cut_ = true;
    for (Seat* seat : {&server_, &client_}) seat->unchecked = true;
}

// A player acts only on what has reached him: while the opponent's bytes are still on their way
// his program may show a turn that the next message takes back (the round he just lost).
Duel::Seat* Duel::Mover() {
    for (Seat* seat : {&server_, &client_})
        if (seat->table.state().MyTurn && link_.InFlight(Other(seat->side)).empty()) return seat;
    return nullptr;
}

void Duel::Deliver(Side from, std::size_t count) {
    link_.Deliver(from, count);
    Seat& to = SeatOf(Other(from));
    Guarded([&] { to.table.tcpTalker_DataArrival(link_.ConnectionIndex(to.side)); });
}

void Duel::DeliverPiece(Side from) {
    const std::string& inFlight = link_.InFlight(from);
    const std::size_t count = PieceLength(inFlight);
    const bool completesMessage = inFlight.find(')') < count;
    Deliver(from, count);
    Seat& to = SeatOf(Other(from));
    to.unchecked = to.unchecked || completesMessage;
    CheckQuiet(to, "on receiving");
    if (completesMessage && options_.checkStates && !Over()) CheckStates();
}

std::size_t Duel::PieceLength(const std::string& inFlight) {
    if (options_.singleBytes) return 1;
    switch (Below(4)) {
        case 0:
            return 1;
        case 1:
            return 1 + Below(std::min(inFlight.size(), kShortPiece));
        case 2: {
            const std::size_t close = inFlight.find(')');
            return close == std::string::npos ? inFlight.size() : close + 1;
        }
        default:
            return inFlight.size();
    }
}

void Duel::Gesture(Seat& seat) {
    const GameState& state = seat.table.state();
    if (!state.HasDrawn && state.StackCount == 0 && state.UpCount == 0)
        return Stick(seat, WhyTurnCannotEnd(SeatView(state).Pictured()));
    const std::size_t sentBefore = link_.SentBytes(seat.side);
    Guarded([&] { seat.policy.Act(seat.table); });
    // The only question a legal gesture meets is the one that confirms a discard.
    for (const Notice& notice : seat.prompts.notices())
        if (!Frozen(seat, notice))
            Fail(std::string(SideName(seat.side)) +
                 "'s policy made a refused gesture: " + Told(notice));
    seat.prompts.Clear();
    CheckQuiet(seat, "after a gesture");
    if (link_.SentBytes(seat.side) != sentBefore) {
        seat.unchecked = true;
        idle_ = 0;
    } else if (++idle_ >= options_.idleLimit) {
        JudgeIdle(seat);
    }
}

// A program that meets a peer knowing nothing of Kelvane's own rule tells its player when nobody
// can draw: the duel is stuck, as it would be at the next gesture.
bool Duel::Frozen(const Seat& seat, const Notice& notice) {
    if (notice.kind != NoticeKind::kNobodyCanDraw) return false;
    Stick(seat, "nobody can draw, and one program knows no way to end the round");
    return true;
}

void Duel::JudgeIdle(Seat& seat) {
    const std::string reason = WhyTurnCannotEnd(SeatView(seat.table.state()).Pictured());
    if (!reason.empty()) return Stick(seat, reason);
    Fail(std::string(SideName(seat.side)) + "'s policy made no progress in " +
         std::to_string(idle_) + " gestures although its turn can end");
}

void Duel::Guarded(const std::function<void()>& action) {
    try {
        action();
    } catch (const ProgramEnded&) {
        Fail("a program ended");
    } catch (const std::exception& e) {
        Fail(std::string("an exception escaped a handler: ") + e.what());
    }
}

void Duel::CheckQuiet(Seat& seat, const char* when) {
    const std::string side = SideName(seat.side);
    if (!seat.errors.reports().empty())
        Fail(side + " reported a failure " + when + ": " + seat.errors.reports().front());
    for (const Notice& notice : seat.prompts.notices())
        if (!Frozen(seat, notice)) Fail(side + " was told \"" + Told(notice) + "\" " + when);
    if (!seat.prompts.questions().empty()) Fail(side + " was asked a question " + when);
    seat.prompts.Clear();
    if (seat.table.ended() || seat.screen.closed()) Fail(side + "'s program ended " + when);
}

void Duel::CheckStates() {
    // Every change of a game comes with a message, so a state unchanged since its last check
    // cannot have broken since.
    for (Seat* seat : {&server_, &client_}) {
        if (!std::exchange(seat->unchecked, false)) continue;
        const std::string problems = CheckInvariants(seat->table.state());
        if (!problems.empty()) Fail(std::string(SideName(seat->side)) + "'s state: " + problems);
    }
    if (!link_.InFlight(Side::kServer).empty() || !link_.InFlight(Side::kClient).empty()) return;
    const std::string split = CheckMirrored(server_.table.state(), client_.table.state());
    if (!split.empty()) Fail("the two programs differ: " + split);
}

void Duel::CountResults() {
    const std::vector<RoundResult>& ours = server_.screen.rounds();
    const std::vector<RoundResult>& theirs = client_.screen.rounds();
    for (; roundsChecked_ < std::min(ours.size(), theirs.size()); ++roundsChecked_) {
        roundStartStep_ = steps_;
        const RoundResult& s = ours[roundsChecked_];
        const RoundResult& c = theirs[roundsChecked_];
        if (s.local != c.remote || s.remote != c.local)
            Fail("round " + std::to_string(roundsChecked_ + 1) + " scored differently: server " +
                 std::to_string(s.local.value()) + ":" + std::to_string(s.remote.value()) +
                 ", client " + std::to_string(c.local.value()) + ":" +
                 std::to_string(c.remote.value()));
    }
    const std::vector<GameOutcome>& serverGames = server_.screen.games();
    const std::vector<GameOutcome>& clientGames = client_.screen.games();
    for (; gamesChecked_ < std::min(serverGames.size(), clientGames.size()); ++gamesChecked_) {
        if (serverGames[gamesChecked_] == clientGames[gamesChecked_])
            Fail("game " + std::to_string(gamesChecked_ + 1) + " has two winners or none");
    }
}

void Duel::Fail(const std::string& what) {
    if (failure_.empty()) failure_ = "step " + std::to_string(steps_) + ": " + what;
}

void Duel::Stick(const Seat& seat, const std::string& reason) {
    if (std::exchange(stuck_, true)) return;
    stuckReason_ = std::string(SideName(seat.side)) + ": " + reason;
}

DuelResult Duel::Result() const {
    DuelResult result;
    result.rounds = static_cast<int>(roundsChecked_);
    result.games = static_cast<int>(gamesChecked_);
    for (std::size_t i = 0; i < roundsChecked_; ++i) {
        result.serverPoints += server_.screen.rounds()[i].local.value();
        result.clientPoints += client_.screen.rounds()[i].local.value();
    }
    for (std::size_t i = 0; i < gamesChecked_; ++i) {
        if (server_.screen.games()[i] == GameOutcome::kWon)
            ++result.serverGamesWon;
        else
            ++result.clientGamesWon;
    }
    result.failure = failure_;
    result.stuck = stuck_;
    result.stuckReason = stuckReason_;
    result.resumes = resumes_;
    result.roundsNobodyCouldDraw = server_.screen.nobodyCouldDraw;
    return result;
}

DuelResult PlayDuel(std::uint64_t seed, Actor& server, Actor& client, int rounds,
                    DuelOptions options) {
    Duel duel(seed, server, client, options);
    return duel.Play(rounds);
}

}  // namespace kelvane::sim
