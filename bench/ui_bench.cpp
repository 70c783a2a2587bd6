// SPDX-License-Identifier: GPL-3.0-or-later
#include <benchmark/benchmark.h>
#include <poll.h>
#include <sys/ioctl.h>

#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QEvent>
#include <QTcpSocket>
#include <QTemporaryFile>
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "engine/table.h"
#include "game/invariants.h"
#include "headless/headless_ports.h"
#include "qtnet/window_side.h"
#include "sim/random_policy.h"
#include "ui/deck.h"
#include "ui/form1.h"
#include "wire/wire.h"

// The window's side of a move from the other program: the bytes arrive on a real loopback
// connection, the event loop reads them, the engine applies the move and the window paints what
// changed. Both players are random legal players, so the moves come in the order and with the
// hands of real play, round ends and new deals included.

namespace kelvane {
namespace {

// The session's TCP sockets, counting the bytes each program sends and reads, so the benchmark
// knows when everything sent has been applied on the other side.
class CountingSocket : public QtSocket {
  public:
    void Send(int index, const std::string& bytes) override {
        QtSocket::Send(index, bytes);
        sent += bytes.size();
        frames.push_back(bytes);
    }
    std::string Read(int index) override {
        std::string bytes = QtSocket::Read(index);
        read += bytes.size();
        return bytes;
    }
    // The session's connection itself, which the engine's port keeps to itself.
    QTcpSocket* Connection() const {
        for (QTcpSocket* socket : findChildren<QTcpSocket*>())
            if (socket->state() == QAbstractSocket::ConnectedState) return socket;
        throw std::runtime_error("the session has no connection");
    }

    std::size_t sent = 0;
    std::size_t read = 0;
    std::vector<std::string> frames;
};

// The real window, whose player answers the discard question with Yes. The one-second holds are
// counted instead of slept: the local player's own draws are not measured, and the opponent's
// take from the up pile, the one received move that holds the game, is measured without its
// deliberate second. Any other box or a failure report means the game went wrong.
class BenchWindow : public Form1 {
  public:
    // A benchmark asks no router.
    template <typename... Args>
    explicit BenchWindow(Args&&... args) : Form1(std::forward<Args>(args)...) {
        action("mnuOpenRouter")->setChecked(false);
    }

    bool ShowBox(const BoxText& box) override {
        if (box.buttons == Buttons::kOk) problems.push_back("box: " + box.text);
        return true;
    }
    void Pause(int) override { ++pauses; }
    bool AskToContinue(const std::string& text) override {
        problems.push_back("report: " + text);
        return true;
    }

    std::vector<std::string> problems;
    int pauses = 0;
};

// Counts the paint events the application delivers, so a measurement shows that it drew.
class PaintCounter : public QObject {
  public:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Paint) ++paints;
        return QObject::eventFilter(watched, event);
    }
    long long paints = 0;
};

constexpr int kIdleLimit = 200;
constexpr qint64 kPumpLimitMs = 10'000;

// A message the opponent's program has just sent, and whether its move ended the round there.
struct OpponentMessage {
    MessageKind kind;
    bool endsRound;
};
using Wanted = bool (*)(const OpponentMessage&);

// A session over loopback TCP between two Kelvane programs: the window is the server, a headless
// engine on its own socket is the client, and a random legal player sits at each.
class Session {
  public:
    Session(std::uint64_t seed, Deck& deck)
        : shuffleSeeds_(seed),
          window_(windowSide_, deck, [this] { return SeededRandom(shuffleSeeds_()); }),
          peer_({peerScreen_, peerPrompts_, peerSocket_, peerErrors_}),
          windowPlayer_(seed * 2),
          peerPlayer_(seed * 2 + 1) {
        peerSocket_.onDataArrival = [this](int index) { peer_.tcpTalker_DataArrival(index); };
        peerSocket_.onClose = [this](int index) { peer_.tcpTalker_Close(index); };
        peerSocket_.onConnectFailed = [this] { peer_.ConnectionFailed(); };
        // The peer announces itself as the window would: two Kelvane programs end a round nobody
        // can draw in, where a plain opponent would leave the game stuck.
        peerSocket_.onConnected = [this](int index) { peer_.tcpTalker_Connect(index); };
        window_.show();
        // Any free port: several runs may share the machine.
        window_.table().UsePort(0);
        window_.table().mnuServer_Click();
        peer_.UsePort(windowSocket_.LocalPort(0));
        peer_.mnuClient_Click();
        Pump([this] { return peer_.state().LocalCount > 0 && CaughtUp(); }, "the first deal");
    }

    ~Session() {
        // The sockets outlive the engines they call; nothing may reach an engine on its way out.
        for (CountingSocket* socket : {&windowSocket_, &peerSocket_}) {
            socket->onConnectionRequest = nullptr;
            socket->onDataArrival = nullptr;
            socket->onClose = nullptr;
            socket->onConnectFailed = nullptr;
            socket->onConnected = nullptr;
        }
    }

    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Plays both seats until the opponent has sent a message that the window has not read yet
    // and that is `wanted`; everything before it is delivered and applied. False when the round
    // reached a dead end the rules allow, or the game went wrong.
    bool AdvanceToOpponentMessage(Wanted wanted) {
        for (int idle = 0; idle < kIdleLimit && Healthy();) {
            Pump([this] { return CaughtUp(); }, "delivery");
            if (window_.table().state().MyTurn) {
                const std::size_t before = windowSocket_.sent;
                windowPlayer_.Act(window_.table());
                idle = windowSocket_.sent != before ? 0 : idle + 1;
            } else if (peer_.state().MyTurn) {
                peerSocket_.frames.clear();
                const std::size_t rounds = peerScreen_.rounds().size();
                peerPlayer_.Act(peer_);
                if (peerSocket_.frames.empty()) {
                    ++idle;
                    continue;
                }
                idle = 0;
                const std::string& frame = peerSocket_.frames.back();
                const OpponentMessage sent{Classify(frame.substr(1, frame.size() - 2)),
                                           peerScreen_.rounds().size() != rounds};
                if (wanted(sent)) return true;
            } else {
                return false;
            }
        }
        return false;
    }

    // Waits until every byte the opponent sent is waiting on the window's connection, unread.
    void WaitForArrival() {
        const int descriptor = static_cast<int>(windowSocket_.Connection()->socketDescriptor());
        const std::size_t expected = peerSocket_.sent - windowSocket_.read;
        QElapsedTimer clock;
        clock.start();
        for (int waiting = 0; static_cast<std::size_t>(waiting) < expected;) {
            pollfd readable{descriptor, POLLIN, 0};
            ::poll(&readable, 1, 1);
            if (::ioctl(descriptor, FIONREAD, &waiting) != 0 || clock.elapsed() > kPumpLimitMs)
                throw std::runtime_error("the opponent's message did not arrive");
        }
    }

    // The measured part: the window's event loop reads the waiting message, the engine applies
    // it and the views' pending paints are drawn.
    void ReceiveAndPaint() {
        while (windowSocket_.read < peerSocket_.sent || window_.table().WaitingBytes() > 0)
            QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents();
    }

    // Empty while both programs agree and nothing went wrong.
    std::string Problem() {
        if (!window_.problems.empty()) return "window: " + window_.problems.front();
        if (!peerErrors_.reports().empty()) return "opponent: " + peerErrors_.reports().front();
        if (CaughtUp()) {
            std::string split = CheckMirrored(window_.table().state(), peer_.state());
            if (!split.empty()) return "the programs disagree: " + split;
        }
        return {};
    }

    int pauses() const { return window_.pauses; }
    int rounds() const { return static_cast<int>(peerScreen_.rounds().size()); }
    QSize windowSize() const { return window_.size(); }

  private:
    bool Healthy() const { return window_.problems.empty() && peerErrors_.reports().empty(); }

    bool CaughtUp() {
        return windowSocket_.sent == peerSocket_.read && peerSocket_.sent == windowSocket_.read &&
               window_.table().WaitingBytes() == 0 && peer_.WaitingBytes() == 0;
    }

    template <typename Done>
    void Pump(Done done, const char* what) {
        QElapsedTimer clock;
        clock.start();
        while (!done()) {
            QCoreApplication::processEvents();
            if (clock.elapsed() > kPumpLimitMs)
                throw std::runtime_error(std::string("timed out waiting for ") + what);
        }
        QCoreApplication::sendPostedEvents();
    }

    std::mt19937_64 shuffleSeeds_;
    // The window's socket, counting as the peer's does.
    WindowSide windowSide_{std::make_unique<CountingSocket>()};
    CountingSocket& windowSocket_ = static_cast<CountingSocket&>(windowSide_.inner());
    CountingSocket peerSocket_;
    BenchWindow window_;
    HeadlessScreen peerScreen_;
    HeadlessPrompts peerPrompts_;
    HeadlessErrors peerErrors_;
    Table peer_;
    sim::RandomPolicy windowPlayer_;
    sim::RandomPolicy peerPlayer_;
};

// One game goes on through all the measurements; a session is rebuilt only after a dead end. The
// cards' pictures are rendered once per size and kept, as in a program that has been playing for
// a while, so a rebuilt session finds them ready.
class Game {
  public:
    explicit Game(Deck& deck) : deck_(deck) {}

    Session& session() {
        if (!session_) session_ = std::make_unique<Session>(nextSeed_++, deck_);
        return *session_;
    }
    // The first rounds render every card picture at the sizes the window shows them.
    void WarmUp(int rounds) {
        while (session().rounds() < rounds)
            if (!session().AdvanceToOpponentMessage([](const OpponentMessage&) { return true; }))
                Restart();
        session().ReceiveAndPaint();
    }
    void Restart() {
        session_.reset();
        ++restarts;
    }

    int restarts = 0;

  private:
    Deck& deck_;
    std::uint64_t nextSeed_ = 1;
    std::unique_ptr<Session> session_;
};

struct MoveCase {
    const char* name;
    Wanted wanted;
    int iterations;
};

// Draws and discards are every turn's; melds, takes from the up pile and round ends come less
// often and cost more play between them, so fewer are timed. The discard that ends a round is
// timed on its own: the window then scores, shows the result and deals the next round.
const MoveCase kMoves[] = {
    {"any", [](const OpponentMessage&) { return true; }, 1000},
    {"stack_draw", [](const OpponentMessage& m) { return m.kind == MessageKind::kStackDraw; }, 600},
    {"discard",
     [](const OpponentMessage& m) { return m.kind == MessageKind::kDiscard && !m.endsRound; }, 600},
    {"up_pile_take", [](const OpponentMessage& m) { return m.kind == MessageKind::kUpPile; }, 200},
    {"new_meld", [](const OpponentMessage& m) { return m.kind == MessageKind::kNewMeld; }, 200},
    {"lay_off", [](const OpponentMessage& m) { return m.kind == MessageKind::kLayOff; }, 100},
    {"round_end", [](const OpponentMessage& m) { return m.endsRound; }, 40},
};

void ReceiveMove(benchmark::State& state, Game& game, const MoveCase& move, PaintCounter& paints) {
    const int restartsBefore = game.restarts;
    long long painted = 0;
    int held = 0;
    std::vector<double> times;
    for (auto _ : state) {
        while (!game.session().AdvanceToOpponentMessage(move.wanted)) {
            const std::string problem = game.session().Problem();
            if (!problem.empty()) {
                state.SkipWithError(problem.c_str());
                return;
            }
            game.Restart();
        }
        Session& session = game.session();
        session.WaitForArrival();
        const long long paintsBefore = paints.paints;
        const int pausesBefore = session.pauses();
        const auto start = std::chrono::steady_clock::now();
        session.ReceiveAndPaint();
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        state.SetIterationTime(elapsed.count());
        times.push_back(elapsed.count());
        painted += paints.paints - paintsBefore;
        held += session.pauses() - pausesBefore;
        const std::string problem = session.Problem();
        if (!problem.empty()) {
            state.SkipWithError(problem.c_str());
            return;
        }
    }
    if (painted == 0) state.SkipWithError("nothing was painted");
    if (times.empty()) return;
    // The reported time is the mean; the rare round end that deals anew weighs on it, so the
    // typical move and the worst one are given too.
    std::sort(times.begin(), times.end());
    state.counters["move_p50_us"] = times[times.size() / 2] * 1e6;
    state.counters["move_max_us"] = times.back() * 1e6;
    state.counters["paints"] =
        benchmark::Counter(static_cast<double>(painted), benchmark::Counter::kAvgIterations);
    // Each take from the up pile holds the real window for a second; the figure leaves it out.
    state.counters["holds"] = held;
    state.counters["restarts"] = game.restarts - restartsBefore;
}

// A chat line as long as a frame may carry, received and drawn while the conversation grows by
// one such line each time: its cost must stay that of the line, not of the transcript.
void ChatLineAtTheFrameLimit(benchmark::State& state, Deck& deck) {
    WindowSide socket;
    BenchWindow window(socket, deck);
    window.show();
    std::string line = "C:";
    while (line.size() + 8 <= kFrameLimit) line += "chatter ";
    for (auto _ : state) {
        window.table().Data_Process(line);
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents();
    }
    if (!window.problems.empty()) state.SkipWithError(window.problems.front().c_str());
    state.counters["line_bytes"] = static_cast<double>(line.size());
}

}  // namespace
}  // namespace kelvane

int main(int argc, char** argv) {
    // Drawing is measured without a display unless one is asked for: the offscreen platform
    // paints into memory through the same raster engine. The game maximizes its window, so the
    // screen is a full-HD one, the size most players' window takes.
    QTemporaryFile screen;
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && screen.open()) {
        screen.write(R"({"screens": [{"name": "bench", "x": 0, "y": 0, "width": 1920,)"
                     R"( "height": 1080, "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}]})");
        screen.flush();
        qputenv("QT_QPA_PLATFORM", ("offscreen:configfile=" + screen.fileName()).toLocal8Bit());
    }
    static int qtArgc = 1;
    QApplication app(qtArgc, argv);
    // --smoke: a few iterations of each case, enough to show that every case still plays
    // through (CI's bench check), far too few to measure.
    const auto smoke = std::find(argv + 1, argv + argc, std::string_view("--smoke"));
    const bool smokeOnly = smoke != argv + argc;
    if (smokeOnly) {
        char* const flag = *smoke;
        argc = static_cast<int>(std::remove(argv + 1, argv + argc, flag) - argv);
    }
    const auto iterations = [smokeOnly](int wanted) { return smokeOnly ? 3 : wanted; };
    kelvane::PaintCounter paints;
    app.installEventFilter(&paints);

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;

    kelvane::Deck deck;
    kelvane::Game game(deck);
    game.WarmUp(3);
    const QSize size = game.session().windowSize();
    benchmark::AddCustomContext("window",
                                std::to_string(size.width()) + "x" + std::to_string(size.height()));
    benchmark::AddCustomContext("platform", QGuiApplication::platformName().toStdString());

    for (const kelvane::MoveCase& move : kelvane::kMoves) {
        benchmark::RegisterBenchmark((std::string("BM_ReceiveMove/") + move.name).c_str(),
                                     [&game, &move, &paints](benchmark::State& state) {
                                         kelvane::ReceiveMove(state, game, move, paints);
                                     })
            ->UseManualTime()
            ->Iterations(iterations(move.iterations))
            ->Unit(benchmark::kMicrosecond);
    }
    benchmark::RegisterBenchmark(
        "BM_ChatLineAtTheFrameLimit",
        [&deck](benchmark::State& state) { kelvane::ChatLineAtTheFrameLimit(state, deck); })
        ->Iterations(iterations(300))
        ->Unit(benchmark::kMillisecond);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
