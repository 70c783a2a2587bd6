// SPDX-License-Identifier: GPL-3.0-or-later
#include <utility>

#include "engine/table.h"

namespace kelvane {

void Table::mnuServer_Click() {
    Enter([&] {
        Steps steps(reporter_, "mnuServer_Click");
        steps([&] { StartAfresh(); });
        steps([&] {
            NewLink();
            connection_ = 1;
        });
        steps([&] { socket_.Listen(0, port_); });
        steps([&] { screen_.ShowListening(socket_.LocalIP(0)); });
        steps([&] { screen_.EnableSessionMenus(false); });
    });
}

void Table::mnuClient_Click() {
    Enter([&] {
        Steps steps(reporter_, "mnuClient_Click");
        std::string host;
        steps([&] { host = prompts_.AskHost(); });
        if (host.empty()) return;
        steps([&] { StartAfresh(); });
        steps([&] {
            NewLink();
            link_.host = host;
        });
        steps([&] { socket_.Connect(0, host, port_); });
        steps([&] {
            // The state is read once, at once: a connection still under way counts as started.
            if (StillConnecting(socket_.State(0))) {
                state_.Role = kRoleClient;
                screen_.EnableSessionMenus(false);
                return;
            }
            prompts_.Tell(UnableToConnect());
            socket_.Close(0);
        });
    });
}

void Table::tcpTalker_ConnectionRequest(int index, long requestId) {
    Enter([&] {
        Steps steps(reporter_, "tcpTalker_ConnectionRequest");
        if (index != 0) return;
        // Between two Kelvane programs a caller may be the client coming back, even before this
        // side has noticed that his connection died.
        if (state_.Role == kRoleServer && (link_.down || CanResume()))
            return TakeBackClient(requestId);
        // The connection slot serves the first client for the whole session: anyone knocking
        // later is turned away at once, and the game and its players notice nothing.
        if (state_.Role == kRoleServer) {
            steps([&] { socket_.Refuse(index, requestId); });
            return;
        }
        steps([&] {
            connection_ = 1;
            socket_.Accept(1, requestId);
            connectionAddress_ = socket_.PeerAddress(1);
        });
        steps([&] { state_.Role = kRoleServer; });
        steps([&] { Announce(); });
        steps([&] { ShuffleStack(); });
    });
}

void Table::tcpTalker_Close(int index) {
    if (index < 0 || index >= kSockets) return;
    // Like data, the peer's going away waits for the handler in progress, box and all.
    if (depth_ > 0) {
        closeWaiting_[static_cast<std::size_t>(index)] = true;
        return;
    }
    Enter([&] {
        Steps steps(reporter_, "tcpTalker_Close");
        // A caller who leaves before proving himself takes nothing with him.
        if (CallerRoom::IsCallerSocket(index) && index != ConnectionSocket()) {
            steps([&] {
                if (resume_.callers().On(index)) TurnAway(index);
            });
            return;
        }
        steps([&] { LoseConnection(); });
    });
}

void Table::LoseConnection() {
    if (ended_ || sessionOver_) return;
    // Between two Kelvane programs a connection lost without a quit is not the end of the game.
    if (CanResume()) return LinkLost();
    if (state_.Role == kRoleServer && !link_.peerKnown) return ForgetCaller();
    // Whatever ended the computer player, its shell tells it, once, and offers a new game.
    if (opponentWatched_) return CloseSession();
    // A server waiting for its own client chose not to start a new game with this one.
    if (link_.calledWaitingServer && !link_.peerKnown) {
        prompts_.Tell({NoticeKind::kServerKeptItsGame});
        return CloseSession();
    }
    prompts_.Tell({NoticeKind::kOpponentGone});
    // What follows in the current handler still runs, but nothing opens the window again.
    ended_ = true;
    screen_.CloseWindow();
}

void Table::ForgetCaller() {
    Steps steps(reporter_, "ForgetCaller");
    const std::string address = connectionAddress_;
    steps([&] {
        socket_.Close(connection_);
        reader_.Clear();
        arrivalWaiting_.fill(false);
        closeWaiting_.fill(false);
        NewLink();
        connection_ = 1;
        ClearGame();
    });
    steps([&] { screen_.NoteCallerLeft(address); });
}

void Table::EndSession(const PeerFault& fault) {
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

void Table::CloseSession() {
    Steps steps(reporter_, "CloseSession");
    steps([&] {
        sessionOver_ = true;
        link_.down = link_.awaitingChallenge = link_.awaitingHello = false;
        reader_.Clear();
        state_.Role = kRoleNotConnected;
        state_.RoundInPlay = state_.MyTurn = false;
    });
    steps([&] { CloseCallers(); });
    for (int index : {connection_, 1, 0})
        steps([&] {
            if (socket_.State(index) != kSocketClosed) socket_.Close(index);
        });
    steps([&] { RefreshHands('B'); });
    steps([&] { screen_.EnableSessionMenus(true); });
    steps([&] { screen_.ShowWaitOver(); });
}

void Table::StartAfresh() {
    if (!std::exchange(sessionOver_, false)) return;
    ClearGame();
}

void Table::ClearGame() {
    state_ = GameState{};
    ClearTable();
    screen_.ShowStack(0);  // no stock until the deal
    screen_.ShowCardsLeft();
    screen_.RefreshUpPile();
    RefreshHands('B');
    RefreshScoreBoard();
}

void Table::TalkToRemote(const std::string& text) {
    Steps steps(reporter_, "TalkToRemote");
    steps([&] {
        // A session this program closed has no one to tell; the window stays open.
        if (ended_ || sessionOver_) return;
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

void Table::tcpTalker_DataArrival(int index) {
    if (index < 0 || index >= kSockets) return;
    // Data arriving in the middle of another handler waits on its socket until that handler is
    // over, so no message is ever applied half-way through another.
    if (depth_ > 0) {
        arrivalWaiting_[static_cast<std::size_t>(index)] = true;
        return;
    }
    if (CallerRoom::IsCallerSocket(index) && index != ConnectionSocket()) return HearCallers(index);
    Enter([&] {
        Steps steps(reporter_, "tcpTalker_DataArrival");
        if (sessionOver_) return;
        steps([&] { reader_.Accept(socket_.Read(index)); });
        std::string message;
        while (!ended_ && !sessionOver_) {
            FrameReader::Cut cut = FrameReader::Cut::kNone;
            steps([&] { cut = reader_.Next(message); });
            if (cut == FrameReader::Cut::kNone) break;
            if (cut == FrameReader::Cut::kTooLong) {
                PeerFault fault;
                fault.kind = PeerFaultKind::kTooLong;
                EndSession(fault);
            }
            if (cut == FrameReader::Cut::kMessage) Data_Process(message);
        }
    });
}

}  // namespace kelvane

namespace kelvane {

// The player is told why, and which server he called: a mistyped address reads differently from
// a server that is not running.
Notice Table::UnableToConnect() {
    Notice notice;
    notice.kind = NoticeKind::kUnableToConnect;
    notice.failure = socket_.WhyNotConnected(0);
    notice.host = link_.host;
    notice.port = port_;
    return notice;
}

void Table::ConnectionFailed() {
    Enter([&] {
        Steps steps(reporter_, "mnuClient_Click");
        // Calling a lost opponent's server again is retried by the shell, without a box.
        if (state_.Role != kRoleClient || ended_ || link_.down) return;
        steps([&] { prompts_.Tell(UnableToConnect()); });
        steps([&] { socket_.Close(0); });
        steps([&] {
            state_.Role = kRoleNotConnected;
            screen_.EnableSessionMenus(true);
        });
    });
}

}  // namespace kelvane
