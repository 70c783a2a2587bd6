// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/session.h"

#include <utility>

namespace kelvane {

namespace {

// How much of an unreadable message the player is shown.
constexpr std::size_t kExcerptLength = 40;

bool IsExtension(MessageKind kind) {
    return kind == MessageKind::kHello || kind == MessageKind::kRoundDigest ||
           kind == MessageKind::kSync || kind == MessageKind::kBye ||
           kind == MessageKind::kChallenge || kind == MessageKind::kProof;
}

}  // namespace

void Session::Serve() {
    Steps steps(reporter_, "mnuServer_Click");
    steps([&] { StartAfresh(); });
    steps([&] {
        NewLink();
        connection_ = 1;
    });
    steps([&] { socket_.Listen(0, settings.port); });
    steps([&] { screen_.ShowListening(socket_.LocalIP(0)); });
    steps([&] { screen_.EnableSessionMenus(false); });
}

void Session::Call() {
    Steps steps(reporter_, "mnuClient_Click");
    std::string host;
    steps([&] { host = prompts_.AskHost(); });
    if (host.empty()) return;
    steps([&] { StartAfresh(); });
    steps([&] {
        NewLink();
        link_.host = host;
    });
    steps([&] { socket_.Connect(0, host, settings.port); });
    steps([&] {
        // The state is read once, at once: a connection still under way counts as started.
        if (StillConnecting(socket_.State(0))) {
            play_.state().Role = kRoleClient;
            screen_.EnableSessionMenus(false);
            return;
        }
        prompts_.Tell(UnableToConnect());
        socket_.Close(0);
    });
}

void Session::ConnectionRequest(int index, long requestId) {
    Steps steps(reporter_, "tcpTalker_ConnectionRequest");
    if (index != 0) return;
    const auto role = play_.state().Role;
    // Between two Kelvane programs a caller may be the client coming back, even before this
    // side has noticed that his connection died.
    if (role == kRoleServer && (link_.down || CanResume()))
        return steps([&] { desk_.Admit(requestId, connection_); });
    // The connection slot serves the first client for the whole session: anyone knocking
    // later is turned away at once, and the game and its players notice nothing.
    if (role == kRoleServer) return steps([&] { socket_.Refuse(index, requestId); });
    steps([&] {
        connection_ = 1;
        socket_.Accept(1, requestId);
        connectionAddress_ = socket_.PeerAddress(1);
    });
    steps([&] { play_.state().Role = kRoleServer; });
    steps([&] { Announce(); });
    steps([&] { play_.ShuffleStack(); });
}

void Session::Closed(int index) {
    Steps steps(reporter_, "tcpTalker_Close");
    // A caller who leaves before proving himself takes nothing with him.
    if (CallerRoom::IsCallerSocket(index) && index != ConnectionSocket())
        return steps([&] { desk_.TurnAway(index); });
    steps([&] { LoseConnection(); });
}

void Session::LoseConnection() {
    if (gate_.ended() || sessionOver_) return;
    // Between two Kelvane programs a connection lost without a quit is not the end of the game.
    if (CanResume()) return LinkLost();
    if (play_.state().Role == kRoleServer && !link_.peerKnown) return ForgetCaller();
    // Whatever ended the computer player, its shell tells it, once, and offers a new game.
    if (settings.opponentWatched) return CloseSession();
    // A server waiting for its own client chose not to start a new game with this one.
    if (link_.calledWaitingServer && !link_.peerKnown) {
        prompts_.Tell({NoticeKind::kServerKeptItsGame});
        return CloseSession();
    }
    prompts_.Tell({NoticeKind::kOpponentGone});
    // What follows in the current handler still runs, but nothing opens the window again.
    gate_.End();
    screen_.CloseWindow();
}

void Session::ForgetCaller() {
    Steps steps(reporter_, "ForgetCaller");
    const std::string address = connectionAddress_;
    steps([&] {
        socket_.Close(connection_);
        reader_.Clear();
        gate_.ForgetAll();
        NewLink();
        connection_ = 1;
        play_.ClearGame();
    });
    steps([&] { screen_.NoteCallerLeft(address); });
}

void Session::EndSession(const PeerFault& fault) {
    Steps steps(reporter_, "EndSession");
    Notice notice;
    notice.kind = NoticeKind::kPeerFault;
    notice.fault = fault;
    // A Kelvane opponent is told the session is over, so it does not wait for us to come back.
    steps([&] {
        if (Agreed() && !link_.down) SendNow(ByeMessage());
    });
    // Closed before the player reads why: behind the box, the window already shows no session
    // and no box calling the opponent again.
    CloseSession();
    steps([&] { prompts_.Tell(notice); });
}

void Session::CloseSession() {
    Steps steps(reporter_, "CloseSession");
    steps([&] {
        sessionOver_ = true;
        link_.down = link_.awaitingChallenge = link_.awaitingHello = false;
        reader_.Clear();
        GameState& state = play_.state();
        state.Role = kRoleNotConnected;
        state.RoundInPlay = state.MyTurn = false;
    });
    steps([&] { desk_.CloseAll(); });
    for (int index : {connection_, 1, 0})
        steps([&] {
            if (socket_.State(index) != kSocketClosed) socket_.Close(index);
        });
    steps([&] { play_.RefreshHands('B'); });
    steps([&] { screen_.EnableSessionMenus(true); });
    steps([&] { screen_.ShowWaitOver(); });
}

void Session::StartAfresh() {
    if (!std::exchange(sessionOver_, false)) return;
    play_.ClearGame();
}

void Session::Send(const std::string& text) {
    Steps steps(reporter_, "TalkToRemote");
    steps([&] {
        // A session this program closed has no one to tell; the window stays open.
        if (gate_.ended() || sessionOver_) return;
        resume_.Sent(Frame(text));
        // While the connection is lost the message waits among those a resume sends again.
        if (link_.down) return;
        const int index = ConnectionSocket();
        if (socket_.State(index) == kSocketConnected) {
            socket_.Send(index, Frame(text));
        } else if (!CanResume()) {
            LoseConnection();
        }
        // Between two Kelvane programs the close that follows decides, once what the opponent
        // sent last has been read: it may be his quit.
    });
}

void Session::DataArrival(int index) {
    if (CallerRoom::IsCallerSocket(index) && index != ConnectionSocket()) return HearCallers(index);
    Steps steps(reporter_, "tcpTalker_DataArrival");
    if (sessionOver_) return;
    steps([&] { reader_.Accept(socket_.Read(index)); });
    std::string message;
    while (!gate_.ended() && !sessionOver_) {
        FrameReader::Cut cut = FrameReader::Cut::kNone;
        steps([&] { cut = reader_.Next(message); });
        if (cut == FrameReader::Cut::kNone) break;
        if (cut == FrameReader::Cut::kTooLong) EndSession(PeerFault::Of(PeerFaultKind::kTooLong));
        if (cut == FrameReader::Cut::kMessage) Process(message);
    }
}

// Every message is read and judged whole before any of it touches the game: a message that
// cannot be played is refused, nothing of it applied, and the session ends with the player told
// why. The failure reporter is kept for this program's own faults.
void Session::Process(const std::string& message) {
    if (sessionOver_) return;
    const MessageKind kind = Classify(message);
    const bool extension = IsExtension(kind) || message.starts_with(kExtensionPrefix);
    // A program that speaks only the game's messages passes over Kelvane's.
    if (!settings.extensions && extension) return;
    // A client calling his server again hears the handshake first.
    if (link_.awaitingChallenge || link_.awaitingHello) return HearServerAgain(message);
    // A new client that reached a server waiting for its own client hears so, and the server's
    // player decides; his announcement still counts as the server's first message.
    if (kind == MessageKind::kChallenge && play_.state().Role == kRoleClient && !link_.peerKnown &&
        !link_.calledWaitingServer) {
        link_.calledWaitingServer = true;
        return prompts_.Tell({NoticeKind::kServerWaitsForItsClient});
    }
    // A Kelvane program announces itself before anything else it sends; an opponent whose first
    // message is anything else speaks only the game's messages, and whatever "K:" message he
    // sends later is passed over as the game's own dispatch passes over it.
    const bool first = !std::exchange(link_.peerKnown, true);
    if (first && kind != MessageKind::kHello) resume_.StopKeeping();
    if (extension && !Agreed() && !(first && kind == MessageKind::kHello)) return;
    // After his quit nothing more of the opponent's is taken: the connection closes next.
    if (link_.peerQuit) return;
    const Received r = ReadMessage(message);
    PeerFault fault;
    if (!r.readable) {
        fault.kind = PeerFaultKind::kUnreadable;
        fault.excerpt = message.substr(0, kExcerptLength);
        return EndSession(fault);
    }
    if (const Verdict v = play_.Judge(r); !v.ok()) {
        fault.kind = PeerFaultKind::kNotAllowed;
        fault.message = r.kind;
        fault.number = r.number;
        fault.cards = r.cards;
        fault.verdict = v;
        return EndSession(fault);
    }
    if (Counted(message)) resume_.Applied();
    Steps steps(reporter_, "Data_Process");
    if (IsExtension(r.kind)) return steps([&] { ApplyExtension(r); });
    if (r.kind == MessageKind::kOldVersion) {
        // No game can start with an older server.
        steps([&] { prompts_.Tell({NoticeKind::kServerTooOld}); });
        return CloseSession();
    }
    play_.Apply(steps, r);
    // Once caught up after a resume, our digest of the whole game follows the message.
    steps([&] { SyncIfDue(); });
}

// The player is told why, and which server he called: a mistyped address reads differently from
// a server that is not running.
Notice Session::UnableToConnect() {
    Notice notice;
    notice.kind = NoticeKind::kUnableToConnect;
    notice.failure = socket_.WhyNotConnected(0);
    notice.host = link_.host;
    notice.port = settings.port;
    return notice;
}

void Session::ConnectionFailed() {
    Steps steps(reporter_, "mnuClient_Click");
    // Calling a lost opponent's server again is retried by the shell, without a box.
    if (play_.state().Role != kRoleClient || gate_.ended() || link_.down) return;
    steps([&] { prompts_.Tell(UnableToConnect()); });
    steps([&] { socket_.Close(0); });
    steps([&] {
        play_.state().Role = kRoleNotConnected;
        screen_.EnableSessionMenus(true);
    });
}

int Session::ConnectionSocket() const {
    return play_.state().Role == kRoleServer ? connection_ : 0;
}

}  // namespace kelvane
