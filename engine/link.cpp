// SPDX-License-Identifier: GPL-3.0-or-later
// What two Kelvane programs add to the game's own conversation: each announces itself, both number
// the messages they send, each tells a digest of the game at every round's end, a dropped
// connection is resumed where it stopped, and a quit is said before the connection closes. None
// of it is used with an opponent that did not announce itself; such a program is spoken to
// exactly as the game's own messages say.

#include <utility>

#include "engine/session.h"

namespace kelvane {

bool Session::CanResume() const {
    const auto& role = play_.state().Role;
    return Agreed() && resume_.game() && resume_.KnowsTheirKey() && !link_.peerQuit &&
           !sessionOver_ && (role == kRoleServer || role == kRoleClient);
}

// Our announcement goes first on a session's first connection, with our half of its secret; on
// a connection that resumes a game the server announces, once the caller has proved himself,
// which game it resumes and how far this side got.
void Session::Announce() {
    if (!settings.extensions) return;
    Hello hello;
    hello.program = settings.programName.substr(0, kProgramNameLimit);
    if (link_.down) {
        hello.game = resume_.game();
        hello.applied = resume_.applied();
        hello.sent = resume_.sent();
    } else {
        hello.key = resume_.OurKey();
    }
    SendNow(HelloMessage(hello));
}

// Kelvane's own uncounted messages go out at once or not at all: a resume sends what matters
// again.
void Session::SendNow(const std::string& text) {
    const int index = ConnectionSocket();
    if (socket_.State(index) == kSocketConnected) socket_.Send(index, Frame(text));
}

void Session::NewLink() {
    desk_.CloseAll();
    link_ = Link{};
    digests_.Clear();
    resume_.Clear();
}

void Session::Dealt(const CardArray& stack) {
    link_.frozenTold = false;
    resume_.NoteDeal(DealMessage(stack));
}

void Session::ApplyExtension(const Received& r) {
    std::optional<PeerFault> fault;
    switch (r.kind) {
        case MessageKind::kHello:
            return TakeAnnouncement(r.hello);
        case MessageKind::kRoundDigest:
            resume_.Confirmed(r.digest.applied);
            fault = digests_.Compare(r.digest);
            break;
        case MessageKind::kSync:
            fault = Digests::Compare(r.sync, play_.state(), resume_.applied(), resume_.sent());
            break;
        case MessageKind::kBye:
            // The connection closes next, and this time the game ends as the opponent leaves.
            link_.peerQuit = true;
            return;
        case MessageKind::kChallenge:
        case MessageKind::kProof:
            // Only the first messages of a connection that resumes a game.
            fault = PeerFault::Of(PeerFaultKind::kOutOfPlace);
            break;
        default:
            return;
    }
    if (fault) EndSession(*fault);
}

// The announcement on a session's first connection. A program speaking another version of
// Kelvane's messages is played as one that knows none of them; a client that names a game of its
// own is coming back to another game than this one.
void Session::TakeAnnouncement(const Hello& hello) {
    if (link_.peer) return EndSession(PeerFault::Of(PeerFaultKind::kOutOfPlace));
    if (hello.version != kExtensionVersion) return resume_.StopKeeping();
    if (hello.game && hello.game != resume_.game())
        return EndSession(PeerFault::Of(PeerFaultKind::kNotThisGame));
    link_.peer = hello;
    resume_.TakeTheirKey(hello.key);
    screen_.ShowPeerProgram(hello.program);
}

// The server, waiting for its client: whatever a caller sends is read on his own socket, and
// nothing of it reaches the game before he has a claim on it. A Kelvane program starting a new
// session is the player's to take, once for each address while the game waits.
void Session::HearCallers(int socket) {
    if (!desk_.Read(socket)) return;
    while (!gate_.ended()) {
        const std::optional<CallerDesk::Claim> claim = desk_.Next(socket);
        if (!claim) return;
        if (claim->proof) {
            TakeOver(socket);
            Announce();
            link_.down = false;
            return Resumed(claim->proof->applied, claim->proof->sent);
        }
        if (!link_.down || link_.askedAbout.contains(claim->address)) return desk_.TurnAway(socket);
        OfferNewGame(*claim);
    }
}

// The connection the server still believes up, or the lost one, leaves for the caller; the
// game's traffic goes on over his.
void Session::TakeOver(int socket) {
    CallerRoom::Caller caller = desk_.Release(socket);
    connectionAddress_ = caller.address;
    if (!link_.down) {
        // The old connection is dead although nothing said so: it is lost now, quietly, as the
        // client is already back.
        link_.down = true;
        digests_.NoSync();
    }
    socket_.Close(connection_);
    gate_.Forget(connection_);
    connection_ = socket;
    reader_ = std::move(caller.reader);
}

// A Kelvane program calls with no game: often the opponent, started again. The player decides
// whether the game that waits is given up for a new one with him.
void Session::OfferNewGame(const CallerDesk::Claim& claim) {
    link_.askedAbout.insert(claim.address);
    const bool yes = prompts_.Ask({QuestionKind::kNewGameWithCaller, 0, claim.address});
    // He may have left, or been replaced, while the player was deciding.
    if (!desk_.Holds(claim) || !link_.down || sessionOver_) return;
    if (!yes) return desk_.TurnAway(claim.socket);
    Steps steps(reporter_, "tcpTalker_ConnectionRequest");
    steps([&] {
        TakeOver(claim.socket);
        const int connection = connection_;
        NewLink();
        link_.peerKnown = true;
        play_.ClearGame();
        connection_ = connection;
        play_.state().Role = kRoleServer;
        screen_.ShowWaitOver();
    });
    steps([&] { TakeAnnouncement(claim.hello); });
    steps([&] { Announce(); });
    steps([&] { play_.ShuffleStack(); });
}

// The client, calling its server again: the challenge comes first and is answered with the
// proof; then the server's announcement says where it stands. A program that says anything else
// is not the server of this game.
void Session::HearServerAgain(const std::string& message) {
    const Received r = ReadMessage(message);
    if (link_.awaitingChallenge && r.readable && r.kind == MessageKind::kChallenge) {
        link_.awaitingChallenge = false;
        link_.awaitingHello = true;
        return SendNow(ProofMessage(resume_.Answer(r.nonce)));
    }
    // A Kelvane server that announces a new session of its own was started again since: the
    // game it served is gone with its old program, and nothing of it can be resumed.
    if (link_.awaitingChallenge && r.readable && r.kind == MessageKind::kHello && !r.hello.game &&
        !r.hello.key.empty()) {
        prompts_.Tell({NoticeKind::kServerGameGone});
        return CloseSession();
    }
    if (!link_.awaitingHello || !r.readable || r.kind != MessageKind::kHello || !r.hello.game ||
        r.hello.game != resume_.game())
        return EndSession(PeerFault::Of(PeerFaultKind::kNotThisGame));
    link_.awaitingHello = false;
    link_.down = false;
    Resumed(r.hello.applied, r.hello.sent);
}

// The opponent's program is back. Whatever it has not applied of ours goes again, in order;
// once we have applied all it says it sent, our digest of the whole game follows.
void Session::Resumed(long theirApplied, long theirSent) {
    if (!resume_.Fits(theirApplied, theirSent))
        return EndSession(PeerFault::Of(PeerFaultKind::kOutOfPlace));
    resume_.Confirmed(theirApplied);
    // A connection that closes again at once is lost again; the next resume sends these.
    const int index = ConnectionSocket();
    if (socket_.State(index) == kSocketConnected)
        for (const std::string& frame : resume_.kept()) socket_.Send(index, frame);
    digests_.SyncAt(theirSent);
    // The wait is over: should the game wait again, every caller's address may be asked about.
    link_.askedAbout.clear();
    screen_.ShowConnectionBack();
    SyncIfDue();
}

void Session::SyncIfDue() {
    if (link_.down) return;
    if (const auto sync = digests_.SyncDue(play_.state(), resume_.applied(), resume_.sent()))
        SendNow(SyncMessage(*sync));
}

// Both programs score the round at the same message, so both digests describe the same moment.
void Session::RoundScored() {
    const RoundDigest d = digests_.Scored(play_.state(), resume_.applied());
    if (Agreed()) Send(RoundDigestMessage(d));
}

// A program that speaks only the game's own messages just waits, as the game's rules have it;
// one that knows nothing of the rule would wait for ever, so the player is told.
bool Session::ScoresFrozenRound() {
    if (!settings.extensions) return false;
    if (Agreed()) return true;
    if (!std::exchange(link_.frozenTold, true)) prompts_.Tell({NoticeKind::kNobodyCanDraw});
    return false;
}

// The game stays as it is. The dead connection goes; the server's listener stays open for its
// client, and the client's shell calls the server again through Reconnect.
void Session::LinkLost() {
    const bool first = !std::exchange(link_.down, true);
    link_.awaitingChallenge = link_.awaitingHello = false;
    digests_.NoSync();
    reader_.Clear();
    gate_.Forget(ConnectionSocket());
    // Closed even when it reads closed: the dead connection must leave its slot.
    socket_.Close(ConnectionSocket());
    if (first) screen_.ShowConnectionLost(play_.state().Role == kRoleClient);
}

void Session::Connected(int index) {
    Steps steps(reporter_, "tcpTalker_Connect");
    if (index != 0 || play_.state().Role != kRoleClient || sessionOver_) return;
    steps([&] {
        // Coming back, the client waits for the server's challenge and says nothing first.
        if (link_.down) {
            link_.awaitingChallenge = true;
            return;
        }
        Announce();
    });
}

void Session::Reconnect() {
    Steps steps(reporter_, "Reconnect");
    if (!link_.down || play_.state().Role != kRoleClient) return;
    steps([&] {
        if (StillConnecting(socket_.State(0))) return;
        if (socket_.State(0) != kSocketClosed) socket_.Close(0);
        socket_.Connect(0, link_.host, settings.port);
    });
}

void Session::GiveUpWaiting() {
    if (link_.down) CloseSession();
}

void Session::OpponentStopped() {
    if (gate_.ended() || sessionOver_ || (play_.state().Role == kRoleNotConnected && !link_.down))
        return;
    CloseSession();
}

void Session::Quit() {
    Steps steps(reporter_, "Quit");
    if (!Agreed() || link_.down || sessionOver_) return;
    steps([&] { SendNow(ByeMessage()); });
}

}  // namespace kelvane
