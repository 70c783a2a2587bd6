// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <string>

#include "engine/credential.h"
#include "engine/gate.h"
#include "engine/play.h"
#include "engine/ports.h"
#include "engine/report_error.h"
#include "engine/session.h"
#include "engine/transcript.h"
#include "game/game_state.h"
#include "game/stock.h"

namespace kelvane {

// The engine as its shells see it: one program's game and every procedure that changes it. It
// reaches its shell only through the ports. Each entry point passes the gate and is handed to the
// room that owns it: the play (the game, the player's gestures, the opponent's moves and their
// views) or the session (the connection and the conversation with the opponent's program).
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
    void UsePort(int port) { session_.settings.port = port; }
    // Kelvane's own messages (announcement, rounds nobody can draw in, round digests, resuming a
    // dropped connection) are on unless switched off before a session starts: then this program
    // speaks exactly as one that knows nothing of them, as the tests' stand-in for such a peer.
    void UseExtensions(bool on) { session_.settings.extensions = on; }
    // The shell watches the opponent's program itself (the computer player it started) and tells
    // its stop: a connection lost to it ends the session quietly, never the program. Set before
    // each session starts.
    void WatchOpponent(bool watched) { session_.settings.opponentWatched = watched; }
    // The name and version this program announces to a Kelvane opponent.
    void SetProgramName(std::string name) { session_.settings.programName = std::move(name); }

    const GameState& state() const { return play_.state(); }
    bool IsSelected(Int16 handIndex) const { return play_.IsSelected(handIndex); }
    bool WarnIfMeldable() const { return play_.WarnIfMeldable(); }
    const Transcript& transcript() const { return play_.transcript(); }
    // Received bytes not yet cut into a message: the start of one still on its way.
    std::size_t WaitingBytes() const { return session_.WaitingBytes(); }
    // True once the program has been told to end (the window closes when the handler returns).
    bool ended() const { return gate_.ended(); }
    // The opponent announced himself as a Kelvane program: our own messages are in use.
    bool KelvaneOpponent() const { return session_.Agreed(); }
    // The connection to a Kelvane opponent was lost and the game waits for him to come back.
    bool WaitingForOpponent() const { return session_.Waiting(); }

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

  private:
    // Tests set up positions through it without a game's worth of moves.
    friend struct TablePeer;

    ErrorReporter reporter_;
    SystemSecrets systemSecrets_;
    Gate gate_;
    Session session_;
    Play play_;
};

}  // namespace kelvane
