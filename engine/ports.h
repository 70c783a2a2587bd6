// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "game/int16.h"
#include "game/moves.h"
#include "game/scoring.h"
#include "wire/wire.h"

namespace kelvane {

class Transcript;

enum class Speaker { kYou, kOpponent };

// What the engine asks of its shell. Each method is one operation a procedure of the game names,
// so the procedures read like the game's own description. The window implements these with Qt,
// the bot with quiet stand-ins, the tests with recording fakes.

// One move of the opponent's, as it was applied, for the window to mark on the table and tell in
// words. `cards`: the card drawn from the stack (the player never sees it: only where it went),
// the cards taken from the up pile, the cards laid down or laid off, the card discarded. `meld`:
// for a meld, the column's cards afterwards, in meld order.
enum class OpponentMoveKind { kStackDraw, kUpPileTake, kNewMeld, kLayOff, kDiscard };
struct OpponentMove {
    OpponentMoveKind kind = OpponentMoveKind::kStackDraw;
    std::vector<Int16> cards;
    std::vector<Int16> meld;
    friend bool operator==(const OpponentMove&, const OpponentMove&) = default;
};

// The views. They read the game through the engine's const state and never decide anything.
class Screen {
  public:
    virtual ~Screen() = default;
    // 'L' the local hand, 'R' the opponent's, 'B' both; the status line is rewritten every time.
    virtual void RefreshHands(char which) = 0;
    virtual void RefreshUpPile() = 0;
    // The thin border that shows which up-pile cards are being taken, painted at once.
    virtual void MarkUpPileSlot(Int16 index, bool marked) = 0;
    // The stack image: a picture code (a face, the back 62 or the empty mark 56), painted at once.
    virtual void ShowStack(Int16 picture) = 0;
    // "Deck (" + StackCount + ")" above the stack.
    virtual void ShowCardsLeft() = 0;
    // Opens the 13 empty slots of a new meld column, and draws a column from TableMelds.
    virtual void CreateMeldColumn(Int16 column) = 0;
    virtual void ShowMeldColumn(Int16 column) = 0;
    // The view half of clearing the table between rounds: meld slots gone, card pictures cleared.
    virtual void ClearTable() = 0;
    // The scoreboard's labels, from the melded points, totals, deals and floating flags.
    virtual void RefreshScoreBoard() = 0;
    // One hand card's selection border.
    virtual void ShowSelection(Int16 handIndex, bool selected) = 0;
    // The modeless results window; showing it while open only replaces its text. A decided game
    // is shown right after its last round, in the same window.
    virtual void ShowRoundResult(const RoundResult& result) = 0;
    virtual void ShowGameResult(GameOutcome outcome) = 0;
    // The status line while the server waits for its client, with the address to give him.
    virtual void ShowListening(const std::string& localAddress) = 0;
    // "Be The Server" and "Connect to a server".
    virtual void EnableSessionMenus(bool enabled) = 0;
    virtual void ShowWarnMeldChecked(bool checked) = 0;
    // The connection to a Kelvane opponent was lost without his quitting. The game stays as it
    // is while his program comes back: the server waits for it, the client (`reconnecting`)
    // calls it again. The player may give up waiting.
    virtual void ShowConnectionLost(bool reconnecting) = 0;
    // The opponent's program is back, and play goes on where it stopped.
    virtual void ShowConnectionBack() = 0;
    // Nobody waits for the opponent's program any more: the session ended, or the server's
    // player started a new game with another caller.
    virtual void ShowWaitOver() {}
    // The opponent's program announced itself by this name and version.
    virtual void ShowPeerProgram(const std::string& program) = 0;
    // The transcript gained its last line, typed here or by the opponent; its colour runs are
    // already computed.
    virtual void ChatLineAdded(const Transcript& transcript, Speaker speaker) = 0;
    virtual void ClearChatInput() = 0;
    // Closes the main window as Quit does; the program ends once the current handler returns.
    virtual void CloseWindow() = 0;
    // An opponent's move has been applied and drawn. Only the window marks and tells it.
    virtual void OpponentMoved(const OpponentMove&) {}
    // Someone called the waiting server and left before his program said a word: he never
    // played, the deal he was given is forgotten and the server waits again, as ShowListening
    // said. `address` is where he called from, empty when the socket cannot tell.
    virtual void NoteCallerLeft(const std::string& address) { (void)address; }
};

// Why a message from the opponent's program cannot be played. Nothing of it was applied, and the
// session ends on it: a game the two programs no longer hold alike cannot go on.
enum class PeerFaultKind {
    kUnreadable,  // not written as the game writes its messages
    kTooLong,     // a frame longer than kFrameLimit
    kNotAllowed,  // a move or deal the rules do not allow at this point
    // Between two Kelvane programs:
    kDisagree,     // its digest of what both must hold alike differs from ours
    kNotThisGame,  // coming back after a dropped connection, a program not playing this game
    kOutOfPlace,   // one of Kelvane's own messages where it has no place
};
struct PeerFault {
    PeerFaultKind kind = PeerFaultKind::kUnreadable;
    std::string excerpt;  // kUnreadable: the start of the message, as it arrived
    // kNotAllowed: the move as the message states it, and why the rules refuse it.
    MessageKind message = MessageKind::kUnknown;
    Int16 number = 0;   // the card, the up-pile position or the column
    MeldContent cards;  // a meld's cards
    Verdict verdict{};
    // kDisagree: the round's digests, ours and the opponent's; none when the two programs'
    // digests of the whole game differed after a dropped connection.
    std::optional<RoundDigest> here, there;
    static PeerFault Of(PeerFaultKind kind) {
        PeerFault fault;
        fault.kind = kind;
        return fault;
    }
    friend bool operator==(const PeerFault&, const PeerFault&) = default;
};

// What the engine tells the player in a box he can only acknowledge.
enum class NoticeKind {
    kRefused,          // a gesture the rules refuse, with the reason
    kServerTooOld,     // the server sent an older version's deal
    kUnableToConnect,  // the connection attempt failed
    kOpponentGone,     // the connection is lost: the program ends after this box
    kPeerFault,        // the opponent's program sent what cannot be played: the session ends
    // Neither player can draw and the opponent's program knows no way to end such a round.
    kNobodyCanDraw,
    // Calling a server that waits for its own client to come back to a game in progress: its
    // player is asked whether to start a new game instead; and he chose to keep waiting.
    kServerWaitsForItsClient,
    kServerKeptItsGame,
    // Calling the server back after a dropped connection, a new session answered: its program
    // was started again, and the game in progress is gone with the old one.
    kServerGameGone,
};
// Why a connection attempt failed, as the socket saw it.
enum class ConnectFailure {
    kUnknown,
    kRefused,       // the machine answered, but nothing serves the game on that port
    kNoAnswer,      // nothing answered in time, or the network cannot reach the machine
    kUnknownHost,   // no machine goes by that name
    kNotAnAddress,  // what was typed cannot name a machine at all
};
struct Notice {
    NoticeKind kind = NoticeKind::kRefused;
    Verdict refusal{};  // with kRefused
    PeerFault fault{};  // with kPeerFault
    // With kUnableToConnect: why, and the server that was called.
    ConnectFailure failure = ConnectFailure::kUnknown;
    std::string host{};
    int port = 0;
    friend bool operator==(const Notice&, const Notice&) = default;
};

// What the engine asks the player to confirm.
enum class QuestionKind {
    kDiscard,          // a plain discard
    kDiscardMeldable,  // a discard that "Warn if Meldable" flags
    // While the server waits for its client, a Kelvane program calls without the game (often
    // the opponent, started again): give up the waiting game for a new one with him?
    kNewGameWithCaller,
};
struct Question {
    QuestionKind kind = QuestionKind::kDiscard;
    Int16 card = 0;
    std::string address;  // kNewGameWithCaller: where the caller calls from, empty if unknown
    friend bool operator==(const Question&, const Question&) = default;
};

// Modal questions and the one-second pauses. The shell words them; the engine only says which.
class Prompts {
  public:
    virtual ~Prompts() = default;
    virtual void Tell(const Notice& notice) = 0;
    // True for Yes.
    virtual bool Ask(const Question& question) = 0;
    // The server's address to connect to, or empty text when the player cancels.
    virtual std::string AskHost() = 0;
    // Shows what must be seen, then holds the game for that long: nothing else is handled.
    virtual void Pause(int milliseconds) = 0;
};

// The numeric socket states the session reads.
enum SocketState : int {
    kSocketClosed = 0,
    kSocketOpen = 1,
    kSocketListening = 2,
    kSocketConnectionPending = 3,
    kSocketResolvingHost = 4,
    kSocketHostResolved = 5,
    kSocketConnecting = 6,
    kSocketConnected = 7,
    kSocketClosing = 8,
    kSocketError = 9,
};
// Connected, or a connection still under way: an attempt that counts as started.
inline bool StillConnecting(int state) {
    return state == kSocketConnecting || state == kSocketConnectionPending ||
           state == kSocketResolvingHost || state == kSocketHostResolved ||
           state == kSocketConnected;
}

// The sockets of the session, by index: 0 is the client's connection or the server's listener,
// 1 the server's accepted connection, and from kFirstCallerSocket on, the callers a server waiting
// for its client to come back holds while they prove themselves; a caller who does becomes the
// server's connection on his own socket. Operations that cannot be done throw a Failure.
inline constexpr int kFirstCallerSocket = 2;
inline constexpr int kCallerSockets = 6;
inline constexpr int kSockets = kFirstCallerSocket + kCallerSockets;
class Socket {
  public:
    virtual ~Socket() = default;
    virtual void Listen(int index, int port) = 0;
    virtual std::string LocalIP(int index) = 0;
    // Starts connecting and returns at once; the outcome shows in State.
    virtual void Connect(int index, const std::string& host, int port) = 0;
    virtual int State(int index) = 0;
    // Why the last connection attempt of socket `index` failed, once it has.
    virtual ConnectFailure WhyNotConnected(int) { return ConnectFailure::kUnknown; }
    // Creates socket `index` and accepts the pending request on it.
    virtual void Accept(int index, long requestId) = 0;
    // Turns the pending request on listening socket `index` away.
    virtual void Refuse(int index, long requestId) = 0;
    virtual void Send(int index, const std::string& bytes) = 0;
    // Every byte waiting on the socket.
    virtual std::string Read(int index) = 0;
    virtual void Close(int index) = 0;
    // Where the peer of a connected socket calls from, as a player would type it; empty when it
    // cannot be told.
    virtual std::string PeerAddress(int index) {
        (void)index;
        return {};
    }
};

// The events a socket raises, which its shell hands to the Table's handlers. Every callback runs
// on the shell's event loop.
struct SocketEvents {
    // A client knocks on listening socket 0; the callback must Accept or Refuse it before it
    // returns, or the request is turned away.
    std::function<void(int index, long requestId)> onConnectionRequest;
    // Bytes are waiting on socket `index`; they stay there until Read, however late.
    std::function<void(int index)> onDataArrival;
    // The peer closed the connection on socket `index`. Our own Close raises nothing.
    std::function<void(int index)> onClose;
    // A connection attempt that had started failed later: refused, unreachable or timed out.
    std::function<void()> onConnectFailed;
    // The connection attempt of socket `index` has completed.
    std::function<void(int index)> onConnected;
};

}  // namespace kelvane
