// What two Kelvane programs add to the game's own conversation: each announces itself, both number
// the messages they send, each tells a digest of the game at every round's end, a dropped
// connection is resumed where it stopped, and a quit is said before the connection closes. None
// of it is used with an opponent that did not announce itself; such a program is spoken to
// exactly as the game's own messages say.

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
    return Agreed() && link_.game && !link_.peerQuit && !sessionOver_ &&
           (state_.Role == kRoleServer || state_.Role == kRoleClient);
}

// Our announcement goes first on every connection; on a connection that resumes a game it
// names the game and how far this side got.
void Table::Announce() {
    if (!extensions_) return;
    Hello hello;
    hello.program = programName_.substr(0, kProgramNameLimit);
    if (link_.down) {
        hello.game = link_.game;
        hello.applied = link_.applied;
        hello.sent = link_.sent;
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
// is a different order of 52 cards.
void Table::NoteDeal(const CardArray& stack) {
    link_.frozenTold = false;
    if (!link_.game) link_.game = Fnv1a(DealMessage(stack));
}

void Table::ApplyExtension(const Received& r) {
    switch (r.kind) {
        case MessageKind::kHello:
            if (link_.awaitingHello) return Resume(r.hello);
            return TakeAnnouncement(r.hello);
        case MessageKind::kRoundDigest:
            return CompareRound(r.digest);
        case MessageKind::kSync:
            return CompareSync(r.sync);
        case MessageKind::kBye:
            // The connection closes next, and this time the game ends as the opponent leaves.
            link_.peerQuit = true;
            return;
        default:
            return;
    }
}

// The announcement on a session's first connection. A client that names a game of its own is
// coming back to another game than this one.
void Table::TakeAnnouncement(const Hello& hello) {
    if (link_.peer) return FailLink(PeerFaultKind::kOutOfPlace);
    if (hello.game && hello.game != link_.game) return FailLink(PeerFaultKind::kNotThisGame);
    link_.peer = hello;
    screen_.ShowPeerProgram(hello.program);
}

// The opponent's program is back. Whatever it has not applied of ours goes again, in order;
// once we have applied all it says it sent, our digest of the whole game follows.
void Table::Resume(const Hello& hello) {
    link_.awaitingHello = false;
    if (!hello.game || hello.game != link_.game) return TurnAway();
    const bool fits = hello.applied <= link_.sent && hello.applied >= link_.firstKept - 1 &&
                      hello.sent >= link_.applied;
    if (!fits) return FailLink(PeerFaultKind::kOutOfPlace);
    link_.down = false;
    Confirmed(hello.applied);
    // A connection that closes again at once is lost again; the next resume sends these.
    const int index = ConnectionSocket();
    if (socket_.State(index) == kSocketConnected)
        for (const std::string& frame : link_.kept) socket_.Send(index, frame);
    link_.syncAt = hello.sent;
    screen_.ShowConnectionBack();
    SyncIfDue();
}

// Someone else answered. The server keeps waiting for its own client; a client that reached a
// program not playing this game cannot resume it.
void Table::TurnAway() {
    if (state_.Role != kRoleServer) return FailLink(PeerFaultKind::kNotThisGame);
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
    link_.awaitingHello = false;
    link_.syncAt.reset();
    reader_.Clear();
    arrivalWaiting_.fill(false);
    // Closed even when it reads closed: the dead connection must leave its slot.
    socket_.Close(ConnectionSocket());
    if (first) screen_.ShowConnectionLost(state_.Role == kRoleClient);
}

// While the game waits for its client, whoever knocks is let in, to be kept only if he
// announces this game. A newer knock replaces one that has not announced itself yet.
void Table::TakeBackClient(long requestId) {
    Steps steps(reporter_, "tcpTalker_ConnectionRequest");
    steps([&] {
        reader_.Clear();
        // The lost connection, or a caller who never announced himself, leaves the slot.
        socket_.Close(1);
        socket_.Accept(1, requestId);
        link_.awaitingHello = true;
    });
    steps([&] { Announce(); });
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
            if (link_.down) link_.awaitingHello = true;
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

void Table::Quit() {
    Enter([&] {
        Steps steps(reporter_, "Quit");
        if (!Agreed() || link_.down || sessionOver_) return;
        steps([&] { SendNow(ByeMessage()); });
    });
}

}  // namespace kelvane
