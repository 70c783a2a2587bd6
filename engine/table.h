// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "engine/credential.h"
#include "engine/ports.h"
#include "engine/report_error.h"
#include "engine/resume.h"
#include "engine/steps.h"
#include "engine/transcript.h"
#include "game/game_state.h"
#include "game/meld_rules.h"
#include "game/stock.h"
#include "wire/wire.h"

namespace kelvane {

inline constexpr int kMouseLeft = 1;
inline constexpr int kMouseRight = 2;

// The engine: one program's game and every procedure that changes it. It reaches its shell only
// through the ports. Every entry point (a click, a menu command, a socket event) passes one gate
// that counts handler depth: data arriving while a handler runs, also while it shows a modal box,
// waits on its socket and is applied, one message at a time, once the outermost handler returns.
class Table {
  public:
    struct Ports {
        Screen& screen;
        Prompts& prompts;
        Socket& socket;
        ErrorPrompt& errors;
    };
    // `shuffleSource` gives the generator for each shuffle; by default one seeded from the clock.
    // `secrets` gives the resume's random bytes and keyed hash; by default the system's.
    explicit Table(Ports ports, std::function<RandomSource()> shuffleSource = ClockSeededRandom,
                   Secrets* secrets = nullptr);

    // The port the session listens on and connects to; the game's own port unless a test or a
    // second copy on one machine asks for another.
    void UsePort(int port) { port_ = port; }
    // Kelvane's own messages (announcement, rounds nobody can draw in, round digests, resuming a
    // dropped connection) are on unless switched off before a session starts: then this program
    // speaks exactly as one that knows nothing of them, as the tests' stand-in for such a peer.
    void UseExtensions(bool on) { extensions_ = on; }
    // The shell watches the opponent's program itself (the computer player it started) and tells
    // its stop: a connection lost to it ends the session quietly, never the program. Set before
    // each session starts.
    void WatchOpponent(bool watched) { opponentWatched_ = watched; }
    // The name and version this program announces to a Kelvane opponent.
    void SetProgramName(std::string name) { programName_ = std::move(name); }

    const GameState& state() const { return state_; }
    bool IsSelected(Int16 handIndex) const { return selected_[handIndex]; }
    bool WarnIfMeldable() const { return warnMeld_; }
    const Transcript& transcript() const { return transcript_; }
    // Received bytes not yet cut into a message: the start of one still on its way.
    std::size_t WaitingBytes() const { return reader_.Waiting(); }
    // True once the program has been told to end (the window closes when the handler returns).
    bool ended() const { return ended_; }
    // The opponent announced himself as a Kelvane program: our own messages are in use.
    bool KelvaneOpponent() const { return Agreed(); }
    // The connection to a Kelvane opponent was lost and the game waits for him to come back.
    bool WaitingForOpponent() const { return link_.down; }

    // The player's gestures.
    void imgStack_Click();
    void imgUpPile_Click(Int16 index);
    void frTable_Click();
    void imgMeld_Click(Int16 index);
    void imgLocal_MouseDown(Int16 index, Int16 button);
    void mnuWarnMeld_Click();
    void cmdSend_Click(const std::string& typed);
    void mnuServer_Click();
    void mnuClient_Click();

    // The socket's events.
    void tcpTalker_ConnectionRequest(int index, long requestId);
    void tcpTalker_DataArrival(int index);
    void tcpTalker_Close(int index);

    // A connection attempt that had started failed later (refused, unreachable, timed out): the
    // player is told and may try again.
    void ConnectionFailed();
    // The client's connection attempt has completed.
    void tcpTalker_Connect(int index);

    // While the connection to a Kelvane opponent is lost: the client calls the server again
    // (the window and the bot call this on a timer, and the player may ask for it).
    void Reconnect();
    // The player gives up waiting for his opponent to come back: the session ends, the game
    // stays in view and a new session may be started.
    void GiveUpWaiting();
    // The shell knows the opponent's program has stopped for good (the computer player it
    // started): the session ends at once, the game stays in view, nobody waits for it.
    void OpponentStopped();
    // About once a second, from the shell's clock: callers who have not proved themselves in
    // time are turned away.
    void Tick();
    // The player quits. A Kelvane opponent is told first, so that it ends as the game ends on
    // the opponent's leaving instead of waiting for him to come back.
    void Quit();

    // Redraws the hands for the shell (after a resize); the selection goes with the redraw.
    void RefreshHands(char which);

    // Applies one received message; public so tests can feed messages without a socket.
    void Data_Process(const std::string& message);

    // Runs `handler` as an entry point: through the gate, and with nothing escaping it.
    void Enter(const std::function<void()>& handler);

  private:
    // Tests set up positions through it without a game's worth of moves.
    friend struct TablePeer;

    // Where a session with a Kelvane opponent stands in the conversation it adds to the game's
    // own; what it counts, keeps and knows is the Resume's.
    struct Link {
        std::optional<Hello> peer;  // his announcement on the session's first connection
        bool peerKnown = false;     // his first message has arrived: it was an announcement or not
        long rounds = 0;            // rounds scored in this session
        std::optional<RoundDigest> lastRound;
        bool down = false;  // lost: waiting for the opponent's program to come back
        // The server: the addresses whose callers its player was asked about while the game
        // waits, each asked once.
        std::set<std::string> askedAbout;
        // The client calling again: the server's challenge comes first, then its announcement.
        bool awaitingChallenge = false;
        bool awaitingHello = false;
        // A new client reached a server that waits for its own client to come back.
        bool calledWaitingServer = false;
        std::optional<long> syncAt;  // a resume's digest goes out once this many are applied
        bool peerQuit = false;
        bool frozenTold = false;  // told this round that nobody can draw
        std::string host;
    };

    bool Agreed() const { return extensions_ && link_.peer.has_value(); }
    bool CanResume() const;
    void Announce();
    void SendNow(const std::string& text);
    // A new session's conversation: callers closed, nothing counted, kept or known.
    void NewLink();
    void NoteDeal(const CardArray& stack);
    void ApplyExtension(const Received& r);
    void TakeAnnouncement(const Hello& hello);
    // The resume's handshake, before anything else of a connection that may resume the game.
    void HearCallers(int socket);
    void HearCaller(int socket, const std::string& message);
    void HearServerAgain(const std::string& message);
    void OfferNewGame(int socket, const Hello& hello);
    // The caller on `socket` proved he is the client that left: his connection becomes the game's.
    void TakeOver(int socket);
    void Resumed(long theirApplied, long theirSent);
    // The server turns the caller on `socket` away; a client that reached a program not playing
    // its game cannot resume it.
    void TurnAway(int socket);
    // The server's caller left, or said what no player's program says, before he played: he
    // ends nothing, and the server waits for a player again.
    void ForgetCaller();
    void CloseCallers();
    void CompareRound(const RoundDigest& theirs);
    void CompareSync(const Sync& theirs);
    void SyncIfDue();
    void TellRoundDigest();
    void LinkLost();
    void TakeBackClient(long requestId);
    void FailLink(PeerFaultKind kind);

    void ShuffleStack();
    void DealRound(const std::string& role);
    void ClearTable();
    void CheckEndOfGame();
    // After a meld: a round nobody can draw in ends here between two Kelvane programs.
    void CheckNobodyCanDraw();
    void ScoreRoundEnd(Steps& steps);
    void RefreshScoreBoard();
    void Discard(Int16 card);
    void TalkToRemote(const std::string& text);
    void AddChatLine(const std::string& line, Speaker speaker);
    Notice UnableToConnect();
    void LoseConnection();
    // The opponent's program sent what cannot be played: the player is told why, and the
    // session is closed with the game left in view.
    void EndSession(const PeerFault& fault);
    void CloseSession();
    // A session that starts after one was closed starts from a new game.
    void StartAfresh();
    void ClearGame();

    // Data_Process's moves, each judged allowed before it is applied.
    void Apply(Steps& steps, const Received& r);
    void ApplyDiscard(Steps& steps, Int16 card);
    void ApplyStackDraw(Steps& steps);
    void ApplyUpPileTake(Steps& steps, Int16 position);
    void ApplyMeld(Steps& steps, int column, const MeldContent& content);
    void ApplyDeal(Steps& steps, const CardArray& stack);

    // The views a move of either seat leaves to redraw, in the order the player sees them.
    void ShowStackDraw();
    void ShowUpPileTake(Int16 position, Int16 top);
    void ShowMeld(Seat seat, Int16 column, bool newColumn);

    // A refusal the player is told about; the silent ones (not his turn, already drawn) are not.
    void TellRefusal(const Verdict& verdict);
    void MeldSelected(Steps& steps, int column);
    // In debug and sanitizer builds the state must hold together after every handler, so after
    // every move and every received message; a break is our own fault and is reported.
    void CheckState();
    void ProcessArrivals();

    int ConnectionSocket() const;

    GameState state_;
    Screen& screen_;
    Prompts& prompts_;
    Socket& socket_;
    ErrorPrompt& errorPrompt_;
    ErrorReporter reporter_;
    std::function<RandomSource()> shuffleSource_;

    CheckedArray<bool, kCardsInDeck> selected_{};
    bool warnMeld_ = false;
    Transcript transcript_;

    FrameReader reader_;        // received and not yet cut into messages
    bool sessionOver_ = false;  // closed on the opponent's fault; the menus may start another
    bool checkState_ = true;
    int depth_ = 0;
    std::array<bool, kSockets> arrivalWaiting_{};
    std::array<bool, kSockets> closeWaiting_{};
    SystemSecrets systemSecrets_;
    Resume resume_;
    // The server's connection to its opponent: socket 1, or the socket of a caller who proved
    // he is the client that left. Where it was accepted from.
    int connection_ = 1;
    std::string connectionAddress_;
    bool ended_ = false;
    int port_ = kGamePort;
    bool extensions_ = true;
    bool opponentWatched_ = false;
    std::string programName_ = "Kelvane " KELVANE_VERSION;
    Link link_;
};

}  // namespace kelvane
