// SPDX-License-Identifier: GPL-3.0-or-later
// What two Kelvane programs add to the game's own conversation: each announces itself, both number
// the messages they send, each tells a digest of the game at every round's end, a dropped
// connection is resumed where it stopped, and a quit is said before the connection closes. None
// of it is used with an opponent that did not announce itself; such a program is spoken to
// exactly as the game's own messages say.

#include "engine/credential.h"
#include "engine/table.h"
#include "game/state_digest.h"

namespace kelvane {

namespace {

bool StillConnecting(int state) {
    return state == kSocketConnecting || state == kSocketConnectionPending ||
           state == kSocketResolvingHost || state == kSocketHostResolved ||
           state == kSocketConnected;
}

}  // namespace

bool Table::CanResume() const {
    return Agreed() && link_.game && !link_.theirKey.empty() && !link_.peerQuit && !sessionOver_ &&
           (state_.Role == kRoleServer || state_.Role == kRoleClient);
}

// Our announcement goes first on a session's first connection, with our half of its secret; on
// a connection that resumes a game the server announces, once the caller has proved himself,
// which game it resumes and how far this side got.
void Table::Announce() {
    if (!extensions_) return;
    Hello hello;
    hello.program = programName_.substr(0, kProgramNameLimit);
    if (link_.down) {
        hello.game = link_.game;
        hello.applied = link_.applied;
        hello.sent = link_.sent;
    } else {
        if (link_.ourKey.empty()) link_.ourKey = RandomKey();
        hello.key = link_.ourKey;
    }
    SendNow(HelloMessage(hello));
}

// Kelvane's own uncounted messages go out at once or not at all: a resume sends what matters
// again.
void Table::SendNow(const std::string& text) {
    const int index = ConnectionSocket();
    if (socket_.State(index) == kSocketConnected) socket_.Send(index, Frame(text));
}

void Table::Keep(const std::string& text) {
    ++link_.sent;
    if (link_.keeping) link_.kept.push_back(Frame(text));
}

// The opponent has applied our first `applied` counted messages: they need no keeping.
void Table::Confirmed(long applied) {
    while (!link_.kept.empty() && link_.firstKept <= applied) {
        link_.kept.pop_front();
        ++link_.firstKept;
    }
}

// A session is known by its first deal: both programs hold it, and another game's first deal
// is a different order of 52 cards. The identifier names the game; it proves nothing.
void Table::NoteDeal(const CardArray& stack) {
    link_.frozenTold = false;
    if (!link_.game) link_.game = Fnv1a(DealMessage(stack));
}

void Table::ApplyExtension(const Received& r) {
    switch (r.kind) {
        case MessageKind::kHello:
            return TakeAnnouncement(r.hello);
        case MessageKind::kRoundDigest:
            return CompareRound(r.digest);
        case MessageKind::kSync:
            return CompareSync(r.sync);
        case MessageKind::kBye:
            // The connection closes next, and this time the game ends as the opponent leaves.
            link_.peerQuit = true;
            return;
        case MessageKind::kChallenge:
        case MessageKind::kProof:
            // Only the first messages of a connection that resumes a game.
            return FailLink(PeerFaultKind::kOutOfPlace);
        default:
            return;
    }
}

// The announcement on a session's first connection. A program speaking another version of
// Kelvane's messages is played as one that knows none of them; a client that names a game of its
// own is coming back to another game than this one.
void Table::TakeAnnouncement(const Hello& hello) {
    if (link_.peer) return FailLink(PeerFaultKind::kOutOfPlace);
    if (hello.version != kExtensionVersion) {
        link_.keeping = false;
        link_.kept.clear();
        return;
    }
    if (hello.game && hello.game != link_.game) return FailLink(PeerFaultKind::kNotThisGame);
    link_.peer = hello;
    link_.theirKey = hello.key;
    screen_.ShowPeerProgram(hello.program);
}

// The server, waiting for its client: the caller in the slot must answer the challenge with the
// keyed hash only the client that left can make. Whoever cannot is closed without a word and
// learns nothing of the game; a Kelvane program starting a new session is the player's to take.
void Table::HearCaller(const std::string& message) {
    const Received r = ReadMessage(message);
    if (r.readable && r.kind == MessageKind::kProof) {
        const Proof& p = r.proof;
        const std::string expected =
            ProofMac(link_.ourKey, link_.theirKey, link_.challenge, p.applied, p.sent);
        if (!SameProof(p.mac, expected)) return TurnAway();
        link_.challenge.clear();
        Announce();
        link_.down = false;
        return Resumed(p.applied, p.sent);
    }
    if (r.readable && r.kind == MessageKind::kHello && !r.hello.game && !r.hello.key.empty() &&
        r.hello.version == kExtensionVersion)
        return OfferNewGame(r.hello);
    TurnAway();
}

// A Kelvane program calls with no game: often the opponent, started again. The player decides
// whether the game that waits is given up for a new one with him.
void Table::OfferNewGame(const Hello& hello) {
    const long caller = link_.callers;
    const bool yes = prompts_.Ask({QuestionKind::kNewGameWithCaller});
    // Someone else may have called while the player was deciding: the answer was about another.
    if (caller != link_.callers || link_.challenge.empty()) return;
    if (!yes) return TurnAway();
    Steps steps(reporter_, "tcpTalker_ConnectionRequest");
    steps([&] {
        link_ = Link{};
        link_.peerKnown = true;
        ClearGame();
        state_.Role = kRoleServer;
        screen_.ShowWaitOver();
    });
    steps([&] { TakeAnnouncement(hello); });
    steps([&] { Announce(); });
    steps([&] { ShuffleStack(); });
}

// The client, calling its server again: the challenge comes first and is answered with the
// proof; then the server's announcement says where it stands. A program that says anything else
// is not the server of this game.
void Table::HearServerAgain(const std::string& message) {
    const Received r = ReadMessage(message);
    if (link_.awaitingChallenge && r.readable && r.kind == MessageKind::kChallenge) {
        link_.awaitingChallenge = false;
        link_.awaitingHello = true;
        Proof proof{link_.applied, link_.sent, ""};
        proof.mac = ProofMac(link_.theirKey, link_.ourKey, r.nonce, proof.applied, proof.sent);
        return SendNow(ProofMessage(proof));
    }
    if (!link_.awaitingHello || !r.readable || r.kind != MessageKind::kHello || !r.hello.game ||
        r.hello.game != link_.game)
        return FailLink(PeerFaultKind::kNotThisGame);
    link_.awaitingHello = false;
    link_.down = false;
    Resumed(r.hello.applied, r.hello.sent);
}

// The opponent's program is back. Whatever it has not applied of ours goes again, in order;
// once we have applied all it says it sent, our digest of the whole game follows.
void Table::Resumed(long theirApplied, long theirSent) {
    const bool fits = theirApplied <= link_.sent && theirApplied >= link_.firstKept - 1 &&
                      theirSent >= link_.applied;
    if (!fits) return FailLink(PeerFaultKind::kOutOfPlace);
    Confirmed(theirApplied);
    // A connection that closes again at once is lost again; the next resume sends these.
    const int index = ConnectionSocket();
    if (socket_.State(index) == kSocketConnected)
        for (const std::string& frame : link_.kept) socket_.Send(index, frame);
    link_.syncAt = theirSent;
    screen_.ShowConnectionBack();
    SyncIfDue();
}

// Someone else answered. The server keeps waiting for its own client; a client that reached a
// program not playing this game cannot resume it.
void Table::TurnAway() {
    if (state_.Role != kRoleServer) return FailLink(PeerFaultKind::kNotThisGame);
    link_.challenge.clear();
    reader_.Clear();
    socket_.Close(1);
}

void Table::CompareRound(const RoundDigest& theirs) {
    Confirmed(theirs.applied);
    if (link_.lastRound && link_.lastRound->Agrees(theirs)) return;
    PeerFault fault;
    fault.kind = PeerFaultKind::kDisagree;
    fault.here = link_.lastRound.value_or(RoundDigest{});
    fault.there = theirs;
    EndSession(fault);
}

// A resume's digest describes the game after `applied` of our messages and `sent` of its own:
// compared only when this side stands at that very point. Otherwise more has happened since on
// one side, and the other side's comparison, or the next round's digest, is the one that counts.
void Table::CompareSync(const Sync& theirs) {
    if (theirs.sent != link_.applied || theirs.applied != link_.sent) return;
    const Seat server = state_.Role == kRoleServer ? Seat::kLocal : Seat::kRemote;
    if (StateDigest(state_, server) == theirs.state) return;
    PeerFault fault;
    fault.kind = PeerFaultKind::kDisagree;
    EndSession(fault);
}

void Table::SyncIfDue() {
    if (!link_.syncAt || link_.applied < *link_.syncAt || link_.down) return;
    link_.syncAt.reset();
    const Seat server = state_.Role == kRoleServer ? Seat::kLocal : Seat::kRemote;
    SendNow(SyncMessage({link_.applied, link_.sent, StateDigest(state_, server)}));
}

// Both programs score the round at the same message, so both digests describe the same moment.
void Table::TellRoundDigest() {
    const bool server = state_.Role == kRoleServer;
    RoundDigest d;
    d.applied = link_.applied;
    d.round = ++link_.rounds;
    d.serverTotal = (server ? state_.LocalScore : state_.RemoteScore).value();
    d.clientTotal = (server ? state_.RemoteScore : state_.LocalScore).value();
    d.deals = state_.GamesPlayed.value();
    // A decided game starts again from its first deal, which the client opens.
    const bool decided = GameOver(state_).has_value();
    d.opener = decided || d.deals % 2 == 0 ? 'C' : 'S';
    d.table = StateDigest(state_, server ? Seat::kLocal : Seat::kRemote);
    link_.lastRound = d;
    if (Agreed()) TalkToRemote(RoundDigestMessage(d));
}

// The game stays as it is. The dead connection goes; the server's listener stays open for its
// client, and the client's shell calls the server again through Reconnect.
void Table::LinkLost() {
    const bool first = !std::exchange(link_.down, true);
    link_.challenge.clear();
    link_.awaitingChallenge = link_.awaitingHello = false;
    link_.syncAt.reset();
    reader_.Clear();
    arrivalWaiting_.fill(false);
    // Closed even when it reads closed: the dead connection must leave its slot.
    socket_.Close(ConnectionSocket());
    if (first) screen_.ShowConnectionLost(state_.Role == kRoleClient);
}

// While the game waits for its client, whoever knocks is let in and challenged, to be kept only
// if he proves he is the client that left. A newer knock replaces one that has not answered yet:
// a caller who says nothing cannot hold the slot against the client.
void Table::TakeBackClient(long requestId) {
    Steps steps(reporter_, "tcpTalker_ConnectionRequest");
    steps([&] {
        reader_.Clear();
        // The lost connection, or a caller who never answered, leaves the slot.
        socket_.Close(1);
        socket_.Accept(1, requestId);
        ++link_.callers;
        // A fresh challenge for every caller, so no answer heard once opens the door again.
        link_.challenge = RandomKey();
    });
    steps([&] { SendNow(ChallengeMessage(link_.challenge)); });
}

void Table::FailLink(PeerFaultKind kind) {
    PeerFault fault;
    fault.kind = kind;
    EndSession(fault);
}

void Table::tcpTalker_Connect(int index) {
    Enter([&] {
        Steps steps(reporter_, "tcpTalker_Connect");
        if (index != 0 || state_.Role != kRoleClient || sessionOver_) return;
        steps([&] {
            // Coming back, the client waits for the server's challenge and says nothing first.
            if (link_.down) {
                link_.awaitingChallenge = true;
                return;
            }
            Announce();
        });
    });
}

void Table::Reconnect() {
    Enter([&] {
        Steps steps(reporter_, "Reconnect");
        if (!link_.down || state_.Role != kRoleClient) return;
        steps([&] {
            if (StillConnecting(socket_.State(0))) return;
            if (socket_.State(0) != kSocketClosed) socket_.Close(0);
            socket_.Connect(0, link_.host, port_);
        });
    });
}

void Table::GiveUpWaiting() {
    Enter([&] {
        if (!link_.down) return;
        CloseSession();
    });
}

void Table::OpponentStopped() {
    Enter([&] {
        if (ended_ || sessionOver_ || (state_.Role == kRoleNotConnected && !link_.down)) return;
        CloseSession();
    });
}

void Table::Quit() {
    Enter([&] {
        Steps steps(reporter_, "Quit");
        if (!Agreed() || link_.down || sessionOver_) return;
        steps([&] { SendNow(ByeMessage()); });
    });
}

}  // namespace kelvane
