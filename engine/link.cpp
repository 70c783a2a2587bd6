// SPDX-License-Identifier: GPL-3.0-or-later
// What two Kelvane programs add to the game's own conversation: each announces itself, both number
// the messages they send, each tells a digest of the game at every round's end, a dropped
// connection is resumed where it stopped, and a quit is said before the connection closes. None
// of it is used with an opponent that did not announce itself; such a program is spoken to
// exactly as the game's own messages say.

#include "engine/table.h"
#include "game/state_digest.h"

namespace kelvane {

bool Table::CanResume() const {
    return Agreed() && resume_.game() && resume_.KnowsTheirKey() && !link_.peerQuit &&
           !sessionOver_ && (state_.Role == kRoleServer || state_.Role == kRoleClient);
}

// Our announcement goes first on a session's first connection, with our half of its secret; on
// a connection that resumes a game the server announces, once the caller has proved himself,
// which game it resumes and how far this side got.
void Table::Announce() {
    if (!extensions_) return;
    Hello hello;
    hello.program = programName_.substr(0, kProgramNameLimit);
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
void Table::SendNow(const std::string& text) {
    const int index = ConnectionSocket();
    if (socket_.State(index) == kSocketConnected) socket_.Send(index, Frame(text));
}

void Table::NewLink() {
    CloseCallers();
    link_ = Link{};
    resume_.Clear();
}

void Table::NoteDeal(const CardArray& stack) {
    link_.frozenTold = false;
    resume_.NoteDeal(DealMessage(stack));
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
        resume_.StopKeeping();
        return;
    }
    if (hello.game && hello.game != resume_.game()) return FailLink(PeerFaultKind::kNotThisGame);
    link_.peer = hello;
    resume_.TakeTheirKey(hello.key);
    screen_.ShowPeerProgram(hello.program);
}

// The server, waiting for its client: whatever a caller sends is read on his own socket, and
// nothing of it reaches the game before he has proved himself.
void Table::HearCallers(int socket) {
    Enter([&] {
        CallerRoom::Caller* caller = resume_.callers().On(socket);
        // A caller turned away while his bytes were on their way: they are nobody's.
        if (!caller) {
            if (socket_.State(socket) == kSocketConnected) socket_.Read(socket);
            return;
        }
        caller->reader.Accept(socket_.Read(socket));
        std::string message;
        for (CallerRoom::Caller* c = caller; c && !ended_; c = resume_.callers().On(socket)) {
            const FrameReader::Cut cut = c->reader.Next(message);
            if (cut == FrameReader::Cut::kNone) break;
            // A flood is only turned away, whatever it holds.
            if (cut == FrameReader::Cut::kTooLong) return TurnAway(socket);
            if (cut == FrameReader::Cut::kMessage) HearCaller(socket, message);
        }
    });
}

// The caller must answer his challenge with the keyed hash only the client that left can make.
// Whoever cannot is closed without a word and learns nothing of the game; a Kelvane program
// starting a new session is the player's to take, once for each address while the game waits.
void Table::HearCaller(int socket, const std::string& message) {
    const CallerRoom::Caller& caller = *resume_.callers().On(socket);
    const Received r = ReadMessage(message);
    if (r.readable && r.kind == MessageKind::kProof) {
        if (!resume_.Proves(r.proof, caller.challenge)) return TurnAway(socket);
        TakeOver(socket);
        Announce();
        link_.down = false;
        return Resumed(r.proof.applied, r.proof.sent);
    }
    if (r.readable && r.kind == MessageKind::kHello && !r.hello.game && !r.hello.key.empty() &&
        r.hello.version == kExtensionVersion && link_.down &&
        !link_.askedAbout.contains(caller.address))
        return OfferNewGame(socket, r.hello);
    TurnAway(socket);
}

// The connection the server still believes up, or the lost one, leaves for the caller who
// proved himself; the game's traffic goes on over his.
void Table::TakeOver(int socket) {
    CallerRoom::Caller& caller = *resume_.callers().On(socket);
    FrameReader reader = std::move(caller.reader);
    connectionAddress_ = caller.address;
    resume_.callers().Forget(socket);
    if (!link_.down) {
        // The old connection is dead although nothing said so: it is lost now, quietly, as the
        // client is already back.
        link_.down = true;
        link_.syncAt.reset();
    }
    socket_.Close(connection_);
    arrivalWaiting_[static_cast<std::size_t>(connection_)] = false;
    closeWaiting_[static_cast<std::size_t>(connection_)] = false;
    connection_ = socket;
    reader_ = std::move(reader);
}

// A Kelvane program calls with no game: often the opponent, started again. The player decides
// whether the game that waits is given up for a new one with him.
void Table::OfferNewGame(int socket, const Hello& hello) {
    const CallerRoom::Caller& caller = *resume_.callers().On(socket);
    const long order = caller.order;
    link_.askedAbout.insert(caller.address);
    const bool yes = prompts_.Ask({QuestionKind::kNewGameWithCaller, 0, caller.address});
    // He may have left, or been replaced, while the player was deciding.
    const CallerRoom::Caller* still = resume_.callers().On(socket);
    if (!still || still->order != order || !link_.down || sessionOver_) return;
    if (!yes) return TurnAway(socket);
    Steps steps(reporter_, "tcpTalker_ConnectionRequest");
    steps([&] {
        TakeOver(socket);
        const int connection = connection_;
        NewLink();
        link_.peerKnown = true;
        ClearGame();
        connection_ = connection;
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
        return FailLink(PeerFaultKind::kNotThisGame);
    link_.awaitingHello = false;
    link_.down = false;
    Resumed(r.hello.applied, r.hello.sent);
}

// The opponent's program is back. Whatever it has not applied of ours goes again, in order;
// once we have applied all it says it sent, our digest of the whole game follows.
void Table::Resumed(long theirApplied, long theirSent) {
    if (!resume_.Fits(theirApplied, theirSent)) return FailLink(PeerFaultKind::kOutOfPlace);
    resume_.Confirmed(theirApplied);
    // A connection that closes again at once is lost again; the next resume sends these.
    const int index = ConnectionSocket();
    if (socket_.State(index) == kSocketConnected)
        for (const std::string& frame : resume_.kept()) socket_.Send(index, frame);
    link_.syncAt = theirSent;
    // The wait is over: should the game wait again, every caller's address may be asked about.
    link_.askedAbout.clear();
    screen_.ShowConnectionBack();
    SyncIfDue();
}

void Table::TurnAway(int socket) {
    if (state_.Role != kRoleServer) return FailLink(PeerFaultKind::kNotThisGame);
    resume_.callers().Forget(socket);
    socket_.Close(socket);
}

void Table::CloseCallers() {
    for (int socket : resume_.callers().Clear()) socket_.Close(socket);
}

void Table::Tick() {
    Enter([&] {
        for (int socket : resume_.callers().Tick()) socket_.Close(socket);
    });
}

void Table::CompareRound(const RoundDigest& theirs) {
    resume_.Confirmed(theirs.applied);
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
    if (theirs.sent != resume_.applied() || theirs.applied != resume_.sent()) return;
    const Seat server = state_.Role == kRoleServer ? Seat::kLocal : Seat::kRemote;
    if (StateDigest(state_, server) == theirs.state) return;
    PeerFault fault;
    fault.kind = PeerFaultKind::kDisagree;
    EndSession(fault);
}

void Table::SyncIfDue() {
    if (!link_.syncAt || resume_.applied() < *link_.syncAt || link_.down) return;
    link_.syncAt.reset();
    const Seat server = state_.Role == kRoleServer ? Seat::kLocal : Seat::kRemote;
    SendNow(SyncMessage({resume_.applied(), resume_.sent(), StateDigest(state_, server)}));
}

// Both programs score the round at the same message, so both digests describe the same moment.
void Table::TellRoundDigest() {
    const bool server = state_.Role == kRoleServer;
    RoundDigest d;
    d.applied = resume_.applied();
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
    link_.awaitingChallenge = link_.awaitingHello = false;
    link_.syncAt.reset();
    reader_.Clear();
    arrivalWaiting_[static_cast<std::size_t>(ConnectionSocket())] = false;
    // Closed even when it reads closed: the dead connection must leave its slot.
    socket_.Close(ConnectionSocket());
    if (first) screen_.ShowConnectionLost(state_.Role == kRoleClient);
}

// While the game waits for its client, or may have lost him unawares, whoever knocks is let in
// on a socket of his own and challenged, to be kept only if he proves he is the client that left.
// A full room makes way for the newest caller by turning away the oldest; one address holds only
// its share, so a stranger knocking without end only replaces his own earlier knocks.
void Table::TakeBackClient(long requestId) {
    Steps steps(reporter_, "tcpTalker_ConnectionRequest");
    steps([&] {
        std::optional<int> socket = resume_.callers().FreeSocket(connection_);
        if (!socket) {
            socket = resume_.callers().OldestSocket();
            TurnAway(*socket);
        }
        socket_.Accept(*socket, requestId);
        // A fresh challenge for every caller, so no answer heard once opens the door again.
        const std::string challenge = resume_.NewChallenge();
        if (const auto leaving =
                resume_.callers().Admit(*socket, socket_.PeerAddress(*socket), challenge))
            socket_.Close(*leaving);
        socket_.Send(*socket, Frame(ChallengeMessage(challenge)));
    });
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
