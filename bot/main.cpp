// SPDX-License-Identifier: GPL-3.0-or-later
// kelvane-bot: a computer opponent that plays one side of a session over TCP, as the window
// would, with the same engine and no display.

#include <unistd.h>

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTimer>
#include <csignal>
#include <cstdint>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "bot/level1.h"
#include "bot/level2.h"
#include "bot/level3.h"
#include "bot/options.h"
#include "bot/seeds.h"
#include "engine/table.h"
#include "game/scoring.h"
#include "game/stock.h"
#include "headless/headless_ports.h"
#include "portmap/address.h"
#include "portmap/router_door.h"
#include "qtnet/qt_socket.h"
#include "words/router_texts.h"
#include "words/texts.h"

namespace kelvane::bot {
namespace {

constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;
// Selection presses send nothing; a turn never needs more of them in a row than a hand holds.
constexpr int kGesturesPerMove = 2 * kCardsInDeck;

// A client whose opponent's server dropped calls it again this often.
constexpr int kRecallMs = 1000;

void Say(const std::string& line) {
    std::cerr << "kelvane-bot: " << line << std::endl;
}

// The report's failure line ("5: Unable to listen on port 8895: ..."), without its number.
std::string FailureText(const std::string& report) {
    const std::size_t blank = report.find("\r\n\r\n");
    if (blank == std::string::npos) return report;
    const std::size_t from = blank + 4;
    std::string line = report.substr(from, report.find("\r\n", from) - from);
    const std::size_t colon = line.find(": ");
    return colon == std::string::npos ? line : line.substr(colon + 2);
}

// The socket the engine talks through, counting what it sends: a gesture that sent nothing was
// a selection press, and the next one follows without the pause between moves.
class CountingSocket : public Socket {
  public:
    explicit CountingSocket(QtSocket& inner) : inner_(inner) {}
    long sends() const { return sends_; }

    void Listen(int index, int port) override { inner_.Listen(index, port); }
    std::string LocalIP(int index) override { return inner_.LocalIP(index); }
    void Connect(int index, const std::string& host, int port) override {
        inner_.Connect(index, host, port);
    }
    int State(int index) override { return inner_.State(index); }
    ConnectFailure WhyNotConnected(int index) override { return inner_.WhyNotConnected(index); }
    void Accept(int index, long requestId) override { inner_.Accept(index, requestId); }
    void Refuse(int index, long requestId) override { inner_.Refuse(index, requestId); }
    void Send(int index, const std::string& bytes) override {
        inner_.Send(index, bytes);
        ++sends_;
    }
    std::string Read(int index) override { return inner_.Read(index); }
    void Close(int index) override { inner_.Close(index); }
    std::string PeerAddress(int index) override { return inner_.PeerAddress(index); }

  private:
    QtSocket& inner_;
    long sends_ = 0;
};

// The window's views reduced to what the bot tells: results and the opponent's chat.
class BotScreen : public HeadlessScreen {
  public:
    std::function<void(const RoundResult&)> onRound;
    std::function<void()> onGame;
    std::function<void(bool reconnecting)> onLost;
    std::function<void()> onBack;

    void ShowRoundResult(const RoundResult& result) override {
        HeadlessScreen::ShowRoundResult(result);
        onRound(result);
    }
    void ShowGameResult(GameOutcome outcome) override {
        HeadlessScreen::ShowGameResult(outcome);
        onGame();
    }
    void ShowConnectionLost(bool reconnecting) override { onLost(reconnecting); }
    void ShowConnectionBack() override { onBack(); }
    void ShowPeerProgram(const std::string& program) override {
        Say("playing " + Printable(program));
    }
    void NoteCallerLeft(const std::string& address) override { Say(CallerLeftText(address)); }
    // The opponent's words are shown as text, never as the terminal's commands, and only so
    // much of them: a program that chats without end cannot fill the bot's log.
    void ChatLineAdded(const Transcript& transcript, Speaker speaker) override {
        if (speaker != Speaker::kOpponent || chatLinesLeft_ == 0) return;
        std::string line = transcript.text().substr(transcript.lastLineStart());
        if (line.size() > kChatLineShown) line = line.substr(0, kChatLineShown) + " [...]";
        std::cerr << Printable(line) << std::endl;
        if (--chatLinesLeft_ == 0) Say("the opponent's chat is no longer shown: too much of it");
    }

  private:
    static constexpr std::size_t kChatLineShown = 300;
    int chatLinesLeft_ = 1000;
};

// The level asked for; levels 2 and 3 repeat their play for a seed only when their time is not
// limited.
std::unique_ptr<Policy> PolicyFor(const BotOptions& options) {
    if (options.level == 1) return std::make_unique<BotPolicy>();
    const std::uint64_t seed = DecisionSeed(options.seed);
    const LookaheadBudget budget = BudgetOf(options.level, options.playouts, options.thinkMs);
    if (options.level == 3) return std::make_unique<SearchPolicy>(budget, seed);
    return std::make_unique<LookaheadPolicy>(budget, seed);
}

// One session: the engine wired to a TCP socket as the window wires it, the bot's policy in
// place of the player's clicks, and the lines a person or a script reads.
class Session {
  public:
    explicit Session(const BotOptions& options)
        : options_(options),
          counted_(socket_),
          prompts_(options.host),
          table_({screen_, prompts_, counted_, errors_}, Shuffles(options.seed)) {
        table_.UsePort(options.port);
        socket_.ListenOn(options.listen);
        table_.SetProgramName("kelvane-bot " KELVANE_VERSION);
        table_.UseExtensions(!options.plain);
        // Every socket event enters the engine through its handlers, whose gate holds data
        // that arrives during another handler until that handler is over.
        socket_.onConnectionRequest = [this](int index, long id) {
            table_.tcpTalker_ConnectionRequest(index, id);
            AfterEvent();
        };
        socket_.onDataArrival = [this](int index) {
            table_.tcpTalker_DataArrival(index);
            AfterEvent();
        };
        socket_.onClose = [this](int index) {
            table_.tcpTalker_Close(index);
            AfterEvent();
        };
        socket_.onConnectFailed = [this] {
            table_.ConnectionFailed();
            AfterEvent();
        };
        socket_.onConnected = [this](int index) {
            table_.tcpTalker_Connect(index);
            AfterEvent();
        };
        screen_.onLost = [this](bool reconnecting) { WaitForOpponent(reconnecting); };
        screen_.onBack = [this] {
            giveUp_.stop();
            recall_.stop();
            Say("the opponent is back; the game goes on");
        };
        screen_.onRound = [this](const RoundResult& result) { ShowRound(result); };
        // Shown before the totals return to 0 for the next game.
        screen_.onGame = [this] {
            const GameState& s = table_.state();
            std::cout << GameLine(s.LocalScore.value(), s.RemoteScore.value()) << std::endl;
        };
        mover_.setSingleShot(true);
        QObject::connect(&mover_, &QTimer::timeout, [this] { Move(); });
        recall_.setInterval(kRecallMs);
        QObject::connect(&recall_, &QTimer::timeout, [this] {
            table_.Reconnect();
            AfterEvent();
        });
        // The engine's clock: callers who do not prove themselves in time are turned away.
        QObject::connect(&ticks_, &QTimer::timeout, [this] {
            table_.Tick();
            AfterEvent();
        });
        ticks_.start(1000);
        giveUp_.setSingleShot(true);
        QObject::connect(&giveUp_, &QTimer::timeout, [this] {
            Say("the opponent did not come back within " + std::to_string(options_.resumeSeconds) +
                " s; giving up");
            table_.GiveUpWaiting();
            Leave(kExitFailure);
        });
    }

    // Starts serving or connecting; false, having said why, when that cannot even begin.
    bool Start() {
        if (options_.serve) {
            table_.mnuServer_Click();
            if (counted_.State(0) != kSocketListening) {
                const std::string why =
                    errors_.reports().empty() ? "" : ": " + FailureText(errors_.reports().front());
                Say("cannot listen on port " + std::to_string(options_.port) + why);
                return false;
            }
            errors_.ClearReports();
            Say("waiting for an opponent on port " + std::to_string(socket_.LocalPort(0)));
            if (options_.openRouter) OpenRouter();
            return true;
        }
        table_.mnuClient_Click();
        if (table_.state().Role != kRoleClient) {
            CannotConnect();
            return false;
        }
        return true;
    }

    // Interrupted or terminated: the router's port is given back and the opponent told.
    void Stop() { Leave(kExitFailure); }

  private:
    // The router answers on a thread of its own, one answer per door; what it said is told from
    // the event loop, and what the doors come to once both have answered.
    void OpenRouter() {
        const int port = socket_.LocalPort(0);
        const std::string v6 = socket_.GlobalIPv6Address();
        const RouterDoor::Tell tell = [this](const DoorReport& r) {
            QMetaObject::invokeMethod(
                &mover_, [this, r] { TellDoor(r); }, Qt::QueuedConnection);
        };
        pinholeAsked_ = !v6.empty();
        door_ = std::make_unique<RouterDoor>(port, tell);
        if (pinholeAsked_) pinhole_ = std::make_unique<RouterDoor>(port, tell, FirewallCalls(v6));
    }

    void TellDoor(const DoorReport& r) {
        Say(DoorSentence(r));
        (r.family == DoorFamily::kIPv6 ? toldIPv6_ : toldIPv4_) = r;
        if (!toldIPv4_ || (pinholeAsked_ && !toldIPv6_)) return;
        if (const std::string summary = ReachSentence({*toldIPv4_, toldIPv6_}); !summary.empty())
            Say(summary);
    }

    // The game's own words when the call failed later (they say why, and what either player can
    // do about a home that lets nobody in); ours when it could not even start.
    void CannotConnect(const std::string& why = {}) {
        if (!why.empty()) return Say(why);
        Say("cannot connect to " + options_.host + " on port " + std::to_string(options_.port) +
            " (refused, unreachable or timed out)");
    }

    void Leave(int code) {
        if (left_) return;
        left_ = true;
        mover_.stop();
        recall_.stop();
        giveUp_.stop();
        ticks_.stop();
        // A Kelvane opponent is told, so that it ends too instead of waiting for us to return.
        table_.Quit();
        door_.reset();
        pinhole_.reset();
        QCoreApplication::exit(code);
    }

    // The connection to a Kelvane opponent dropped: the game waits, the client calls the
    // server again every second, both for at most --resume-timeout.
    void WaitForOpponent(bool reconnecting) {
        Say(std::string("the connection was lost; ") +
            (reconnecting ? "calling the server again" : "waiting for the opponent to come back"));
        giveUp_.start(options_.resumeSeconds * 1000);
        if (reconnecting) recall_.start();
    }

    void ShowRound(const RoundResult& round) {
        const GameState& s = table_.state();
        ++roundsFinished_;
        std::cout << RoundLine(roundsFinished_, round.local.value(), round.remote.value(),
                               s.LocalScore.value(), s.RemoteScore.value())
                  << std::endl;
    }

    // After every event the engine handled: tell what it showed, leave when the session is
    // over, and schedule the bot's next move when the turn is its own.
    void AfterEvent() {
        if (left_) return;
        // A failure inside the engine is told on standard error and play goes on, as a player
        // answering Yes to the report would.
        for (const std::string& report : errors_.reports()) Say("engine failure: " + report);
        errors_.ClearReports();
        bool connectFailed = false, sessionClosed = false, frozen = false;
        std::string failedCall;
        for (const Notice& notice : prompts_.notices()) {
            if (notice.kind == NoticeKind::kNobodyCanDraw) frozen = true;
            if (notice.kind == NoticeKind::kUnableToConnect) {
                connectFailed = true;
                failedCall = NoticeBox(notice).text;
            }
            if (notice.kind == NoticeKind::kServerTooOld) {
                Say("the server's version is too old");
                sessionClosed = true;
            }
            if (notice.kind == NoticeKind::kPeerFault) {
                Say(PeerFaultText(notice.fault));
                sessionClosed = true;
            }
            if (notice.kind == NoticeKind::kRefused)
                Say(std::string("the table refused a move: ") +
                    RefusalName(notice.refusal.refusal));
            if (notice.kind == NoticeKind::kServerWaitsForItsClient) Say(NoticeBox(notice).text);
            if (notice.kind == NoticeKind::kServerKeptItsGame ||
                notice.kind == NoticeKind::kServerGameGone) {
                Say(NoticeBox(notice).text);
                sessionClosed = true;
            }
        }
        prompts_.Clear();
        if (connectFailed) {
            CannotConnect(failedCall);
            return Leave(kExitFailure);
        }
        if (sessionClosed) return Leave(kExitFailure);
        if (frozen) return TellFrozen();
        if (options_.rounds && roundsFinished_ >= *options_.rounds) return Leave(0);
        if (table_.ended() || screen_.closed()) {
            std::cout << OpponentLeftLine() << std::endl;
            return Leave(0);
        }
        if (table_.state().MyTurn && !mover_.isActive()) mover_.start(options_.delayMs);
    }

    // One move: gestures until one sends something (selection presses send nothing), then the
    // pause before the next.
    void Move() {
        // A program that knows no end for a round nobody can draw in waits, as the game's rules
        // have it, until its opponent leaves.
        if (NobodyCanDraw(table_.state())) return;
        const long sentBefore = counted_.sends();
        // The bot's own judgement is ours to answer for: a fault in it ends the bot plainly,
        // never through an abort.
        try {
            for (int i = 0; i < kGesturesPerMove && !left_; ++i) {
                if (!table_.state().MyTurn || table_.ended()) break;
                policy_->Act(table_);
                if (counted_.sends() != sentBefore) break;
            }
        } catch (const Failure& failure) {
            Say("internal fault while choosing a move: " + failure.description());
            return Leave(kExitFailure);
        } catch (const std::exception& e) {
            Say(std::string("internal fault while choosing a move: ") + e.what());
            return Leave(kExitFailure);
        }
        if (counted_.sends() == sentBefore && table_.state().MyTurn && !table_.ended() &&
            !table_.WaitingForOpponent()) {
            Say("internal fault: no move found although the turn is mine");
            return Leave(kExitFailure);
        }
        AfterEvent();
    }

    // Neither player can draw and the opponent's program knows no way to end such a round: the
    // bot says so, in the chat too, and leaves after its last round line.
    void TellFrozen() {
        Say("neither player can draw: the stack and the up pile are both empty, and the "
            "opponent's program cannot end the round; leaving");
        table_.cmdSend_Click(StuckRoundChat());
        Leave(0);
    }

    BotOptions options_;
    QtSocket socket_;
    CountingSocket counted_;
    BotScreen screen_;
    HeadlessPrompts prompts_;
    HeadlessErrors errors_;
    Table table_;
    std::unique_ptr<Policy> policy_ = PolicyFor(options_);
    QTimer mover_;
    QTimer recall_;
    QTimer giveUp_;
    QTimer ticks_;
    int roundsFinished_ = 0;
    bool left_ = false;
    // Declared after the timers: its thread has ended before the timer it posts through goes.
    std::unique_ptr<RouterDoor> door_;
    std::unique_ptr<RouterDoor> pinhole_;
    bool pinholeAsked_ = false;
    std::optional<DoorReport> toldIPv4_, toldIPv6_;
};

// A signal only writes a byte; the event loop reads it and leaves as after the last round, so the
// opponent is told and the router's port given back.
int signalPipe[2] = {-1, -1};

void OnSignal(int) {
    const char byte = 1;
    [[maybe_unused]] const auto written = write(signalPipe[1], &byte, 1);
}

}  // namespace
}  // namespace kelvane::bot

int main(int argc, char** argv) {
    using namespace kelvane::bot;
    const ParsedOptions parsed = ParseOptions(std::vector<std::string>(argv + 1, argv + argc));
    if (!parsed.error.empty()) {
        std::cerr << "kelvane-bot: " << parsed.error << "\n\n" << UsageText();
        return kExitUsage;
    }
    if (parsed.options.help) {
        std::cout << UsageText();
        return 0;
    }
    if (parsed.options.version) {
        std::cout << VersionText();
        return 0;
    }
    BotOptions options = parsed.options;
    if (!options.serve) {
        const auto address = kelvane::ParseServerAddress(options.host, options.port);
        if (!address) {
            std::cerr << "kelvane-bot: --connect needs HOST, HOST:PORT, [IPv6]:PORT or an IPv6 "
                         "address, not '"
                      << options.host << "'\n\n"
                      << UsageText();
            return kExitUsage;
        }
        options.host = address->host;
        options.port = address->port;
    }
    QCoreApplication app(argc, argv);
    Session session(options);
    if (pipe(signalPipe) != 0) return kExitFailure;
    QSocketNotifier signalled(signalPipe[0], QSocketNotifier::Read);
    QObject::connect(&signalled, &QSocketNotifier::activated, [&session] { session.Stop(); });
    // Closing the bot's terminal ends it as an interruption does.
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, OnSignal);
    const int code = session.Start() ? QCoreApplication::exec() : kExitFailure;
    // Already leaving: another signal ends the bot at once, so that nothing on its way out can
    // outlive a second request to stop.
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, SIG_DFL);
    // The router's port is given back on a thread that ends with the process: it gets its bound.
    kelvane::AwaitGiveBacks();
    return code;
}
