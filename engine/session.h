// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <set>
#include <string>

#include "engine/caller_desk.h"
#include "engine/digests.h"
#include "engine/gate.h"
#include "engine/play.h"
#include "engine/ports.h"
#include "engine/report_error.h"
#include "engine/resume.h"
#include "wire/wire.h"

namespace kelvane {

// The connection to the opponent's program: sessions started and ended, his messages read, judged
// and handed to the play, ours sent. Between two Kelvane programs it also speaks Kelvane's own
// messages (announcement, round digests, resuming a dropped connection, a quit said before the
// close); none of it is used with an opponent that did not announce itself, who is spoken to
// exactly as the game's own messages say.
class Session : public Outbox {
  public:
    struct Settings {
        // The port the session listens on and connects to.
        int port = kGamePort;
        // Off: this program speaks exactly as one that knows nothing of Kelvane's own messages.
        bool extensions = true;
        // The shell watches the opponent's program itself (the computer player it started): a
        // connection lost to it ends the session quietly, never the program.
        bool opponentWatched = false;
        // What this program announces itself as to a Kelvane opponent.
        std::string programName = "Kelvane " KELVANE_VERSION;
    };

    struct Ports {
        Screen& screen;
        Prompts& prompts;
        Socket& socket;
        ErrorReporter& reporter;
        Gate& gate;
        Secrets& secrets;
    };
    Session(Ports ports, Play& play)
        : screen_(ports.screen),
          prompts_(ports.prompts),
          socket_(ports.socket),
          reporter_(ports.reporter),
          gate_(ports.gate),
          play_(play),
          resume_(ports.secrets),
          desk_(ports.socket, resume_) {}

    Settings settings;

    std::size_t WaitingBytes() const { return reader_.Waiting(); }
    bool Agreed() const { return settings.extensions && link_.peer.has_value(); }
    bool Waiting() const { return link_.down; }

    // The menus: serve, or call a server.
    void Serve();
    void Call();
    // The socket's events, each already through the gate.
    void ConnectionRequest(int index, long requestId);
    void DataArrival(int index);
    void Closed(int index);
    void Connected(int index);
    void ConnectionFailed();
    // Applies one received message.
    void Process(const std::string& message);

    // While the connection to a Kelvane opponent is lost: the client calls the server again.
    void Reconnect();
    void GiveUpWaiting();
    void OpponentStopped();
    void Tick() { desk_.Tick(); }
    void Quit();

    // What the play hands over.
    void Send(const std::string& message) override;
    void Dealt(const CardArray& stack) override;
    void RoundScored() override;
    bool ScoresFrozenRound() override;

  private:
    friend struct TablePeer;

    // Where a session with a Kelvane opponent stands in the conversation it adds to the game's
    // own; what it counts, keeps and knows is the Resume's.
    struct Link {
        std::optional<Hello> peer;  // his announcement on the session's first connection
        bool peerKnown = false;     // his first message has arrived: it was an announcement or not
        bool down = false;          // lost: waiting for the opponent's program to come back
        // The server: the addresses whose callers its player was asked about while the game
        // waits, each asked once.
        std::set<std::string> askedAbout;
        // The client calling again: the server's challenge comes first, then its announcement.
        bool awaitingChallenge = false;
        bool awaitingHello = false;
        // A new client reached a server that waits for its own client to come back.
        bool calledWaitingServer = false;
        bool peerQuit = false;
        bool frozenTold = false;  // told this round that nobody can draw
        std::string host;
    };

    bool CanResume() const;
    int ConnectionSocket() const;
    void Announce();
    void SendNow(const std::string& text);
    // A new session's conversation: callers closed, nothing counted, kept or known.
    void NewLink();
    void ApplyExtension(const Received& r);
    void TakeAnnouncement(const Hello& hello);
    void HearCallers(int socket);
    // The caller of `claim` proved he is the client that left, or the player takes him for a
    // new game: his connection becomes the game's.
    void TakeOver(int socket);
    void OfferNewGame(const CallerDesk::Claim& claim);
    void HearServerAgain(const std::string& message);
    void Resumed(long theirApplied, long theirSent);
    void SyncIfDue();
    void LinkLost();
    void LoseConnection();
    // The server's caller left, or said what no player's program says, before he played: he
    // ends nothing, and the server waits for a player again.
    void ForgetCaller();
    // The opponent's program sent what cannot be played: the player is told why, and the
    // session is closed with the game left in view.
    void EndSession(const PeerFault& fault);
    void CloseSession();
    // A session that starts after one was closed starts from a new game.
    void StartAfresh();
    Notice UnableToConnect();

    Screen& screen_;
    Prompts& prompts_;
    Socket& socket_;
    ErrorReporter& reporter_;
    Gate& gate_;
    Play& play_;
    Resume resume_;
    CallerDesk desk_;
    Digests digests_;
    Link link_;
    FrameReader reader_;        // received and not yet cut into messages
    bool sessionOver_ = false;  // closed on the opponent's fault; the menus may start another
    // The server's connection to its opponent: socket 1, or the socket of a caller who proved
    // he is the client that left. Where it was accepted from.
    int connection_ = 1;
    std::string connectionAddress_;
};

}  // namespace kelvane
