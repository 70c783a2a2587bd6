// SPDX-License-Identifier: GPL-3.0-or-later
// The real window, every box answered Yes, against other programs over loopback: kelvane-bot
// processes, the window moved by keys alone or by a random legal player through its table's
// handlers, and peers played by the test. Only here do the window's own handlers, socket, boxes and
// results play whole games, in each seat, the client's through a line that drops mid-round;
// the bot's lines are checked in detail by two_bots_test.cpp, the window's widgets and views by the
// two windows' round (views_test.cpp), and the engines' agreement message by message by the
// in-memory duel (sim_test.cpp). A side that stops playing ends the game within seconds, told with
// whose turn it was (game_watch.h).

#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QFile>
#include <QFileInfo>
#include <QPushButton>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "dropping_line.h"
#include "fakes.h"
#include "game/meld_search.h"
#include "game/state_digest.h"
#include "game/stock.h"
#include "game_watch.h"
#include "headless/gestures.h"
#include "qtnet/window_side.h"
#include "sim/random_policy.h"
#include "ui/card_image.h"
#include "ui/computer_opponent.h"
#include "ui/deck.h"
#include "ui/lazy_socket.h"
#include "ui/results_dialog.h"
#include "ui/table_keys.h"
#include "ui/welcome_panel.h"
#include "unattended_window.h"
#include "wire/wire.h"
#include "words/router_texts.h"
#include "words/texts.h"

namespace kelvane {
namespace {

class WindowAgainstBot : public ::testing::Test {
  protected:
    WindowAgainstBot() { window->show(); }
    const GameState& s() const { return window->table().state(); }
    static void Pump() { QCoreApplication::processEvents(QEventLoop::AllEvents, 5); }

    // Starts `bot` serving; returns the port it tells on standard error once it listens.
    static quint16 Serve(test::Program& bot, const QStringList& more = {}) {
        bot.Start(KELVANE_BOT_PATH,
                  QStringList{"--serve", "--port", "0", "--delay", "0", "--seed", "3"} + more);
        const auto listening = [&] { return test::ListeningPort(bot) != 0; };
        EXPECT_EQ(test::Watch({&bot}, listening, Pump), "");
        return test::ListeningPort(bot);
    }

    // Plays until `done`, making `move` (by default the random player's) whenever the window may.
    // Whose turn it is says which side stopped, should the game stop; any change is progress.
    std::string PlayUntil(test::Program& bot, const std::function<bool()>& done,
                          std::function<void()> move = {}) {
        if (!move) move = [&] { player.Act(window->table()); };
        const auto play = [&] {
            Pump();
            if (!done() && s().MyTurn && !window->table().WaitingForOpponent()) move();
        };
        const auto seen = [&] {
            const char* whose = !s().MyTurn ? "the bot's" : s().HasDrawn ? "its, drawn" : "its";
            return QString::asprintf(
                       "the window: %s turn; totals %d to %d; %d in the stock; hands %d and %d",
                       whose, s().LocalScore.value(), s().RemoteScore.value(),
                       s().StackCount.value(), s().LocalCount.value(), s().RemoteCount.value())
                .toStdString();
        };
        return test::Watch({&bot}, done, play, seen);
    }
    // Mid-round, the window to move and nothing on its way: the moment to pull the plug.
    bool MidRound() const { return s().StackCount < 30 && s().MyTurn && !s().HasDrawn; }

    using Row = TableKeys::Row;
    void Key(int key) {
        QWidget* focus = window->focusWidget();
        ASSERT_TRUE(focus) << "nothing holds the keyboard focus";
        QTest::keyClick(focus, static_cast<Qt::Key>(key));
    }
    // From anywhere on the table to a place: up to the top row, down to the row, along it.
    void Go(Row row, int index) {
        for (int k : {Qt::Key_Up, Qt::Key_Up, Qt::Key_Home}) Key(k);
        for (int r = 0; r < static_cast<int>(row); ++r) Key(Qt::Key_Down);
        for (int i = 0; i < index; ++i) Key(Qt::Key_Right);
    }
    // One gesture, by keys alone sent to whatever holds the focus, of a player who draws from the
    // stack (else takes the up pile's top), lays the first meld that leaves a turn able to end, one
    // selection at a time, and else discards. (What a reader hears of each place is
    // screen_reader_test.cpp's.)
    void ByKeys() {
        const GameState seen = SeatView(s()).Pictured();
        if (!seen.HasDrawn) {
            Go(Row::kPiles, CanDrawFromStack(seen, Seat::kLocal).ok() ? 0 : seen.UpCount.value());
            return Key(Qt::Key_Return);
        }
        for (const MeldMove& m :
             seen.MustMeldCard != 0 ? MeldsWith(seen, seen.MustMeldCard) : AllMelds(seen)) {
            if (!TurnCanEndAfter(seen, m)) continue;
            const std::vector<Int16> presses = PressesToward(SeatViewOf(window->table()), m);
            if (!presses.empty()) {
                Go(Row::kHand, presses.front().value());
                return Key(Qt::Key_Space);
            }
            Go(Row::kTable, m.column == kNewColumn ? 0 : m.column + 1);
            return Key(Qt::Key_Enter);
        }
        const std::vector<Int16> discards = Discardable(seen);
        ASSERT_FALSE(discards.empty()) << WhyTurnCannotEnd(seen);
        Go(Row::kHand, HandPosition(seen, Seat::kLocal, discards.front()).value());
        Key(Qt::Key_D);
    }
    // The game played to its end and the window closed: the program ends, and its connection with
    // it. The bot told every round and the game's result and leaves with 0 (else it left early),
    // neither engine having refused a move of the other's; the window reported no failure and
    // asked nothing but to discard and to quit.
    void PlayToTheEndAndClose(test::Program& bot, const std::function<void()>& move = {}) {
        const auto over = [&] { return bot.out().contains("Game:"); };
        ASSERT_EQ(PlayUntil(bot, over, move), "");
        // The game's box keeps the final totals, the bot's told the other way round, whatever
        // the next game has dealt behind it meanwhile.
        const QRegularExpressionMatch game =
            QRegularExpression("^Game: you (won|lost) (\\d+) to (\\d+)\\.$",
                               QRegularExpression::MultilineOption)
                .match(bot.out());
        ASSERT_TRUE(game.hasMatch()) << bot.out().toStdString();
        const auto decided = [&] {
            return window->resultsDialog() &&
                   window->resultsDialog()->message().endsWith("the Game!");
        };
        ASSERT_TRUE(QTest::qWaitFor(decided, 5000));
        EXPECT_TRUE(window->resultsDialog()->figuresText().contains(
            "Final totals: you " + game.captured(3) + ", your opponent " + game.captured(2)))
            << window->resultsDialog()->figuresText().toStdString() << " / "
            << game.captured(0).toStdString();
        window->close();
        const std::vector<std::string> boxes = window->boxes, failures = window->failures;
        window.reset();
        socket.reset();
        const auto gone = [&] { return !bot.running(); };
        ASSERT_EQ(test::Watch({&bot}, gone, Pump), "");
        const std::string out = bot.out().toStdString();
        EXPECT_TRUE(out.starts_with("Round 1: you ") && out.ends_with("Your opponent left.\n"))
            << out;
        EXPECT_FALSE(bot.err().contains("engine failure") || bot.err().contains("the table said"))
            << bot.Story();
        EXPECT_TRUE(failures.empty()) << failures.front();
        for (const std::string& box : boxes)
            EXPECT_TRUE(box.starts_with("Discard the ") || box == "Sure you want to quit?") << box;
    }

    Deck deck;
    // The program's own socket: the network side loaded when the session starts.
    std::unique_ptr<WindowSocket> socket =
        std::make_unique<LazySocket>(QStringList{KELVANE_NETWORK_MODULE});
    std::unique_ptr<test::UnattendedWindow> window =
        std::make_unique<test::UnattendedWindow>(*socket, deck, [] { return SeededRandom(11); });
    sim::RandomPolicy player{5};
};

// A whole game played by keys alone from the welcome, the window calling the bot through a line
// that drops in the middle of a round: the window says so and waits with the game as it was, calls
// again when the player asks, and goes on with the same hands, table and scores to the game's end.
TEST_F(WindowAgainstBot, CallingFromTheWelcomeByKeysPlaysAWholeGameThroughALineThatDrops) {
    test::Program bot("the bot", "Your opponent left.");
    test::DroppingLine line(Serve(bot, {"--listen", "127.0.0.1"}));
    window->table().UsePort(line.port());
    for (int tab = 0; tab < 3; ++tab) Key(Qt::Key_Tab);
    ASSERT_EQ(window->focusWidget(), window->welcomePanel()->clientButton());
    Key(Qt::Key_Space);
    ASSERT_EQ(PlayUntil(
                  bot, [&] { return MidRound(); }, [&] { ByKeys(); }),
              "");
    ASSERT_TRUE(window->table().KelvaneOpponent());
    const std::uint64_t before = StateDigest(s(), Seat::kRemote);
    line.Drop();
    ASSERT_TRUE(QTest::qWaitFor([&] { return window->linkDialog() != nullptr; }, 5000));
    EXPECT_TRUE(window->table().WaitingForOpponent());
    EXPECT_EQ(window->label("lblStatus")->text(), "Connection lost: calling your opponent again");
    EXPECT_EQ(StateDigest(s(), Seat::kRemote), before);
    window->linkDialog()->reconnectButton()->click();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !window->table().WaitingForOpponent(); }, 5000));
    EXPECT_EQ(line.calls, 2);
    EXPECT_EQ(StateDigest(s(), Seat::kRemote), before);
    QCoreApplication::processEvents();
    EXPECT_EQ(window->linkDialog(), nullptr);
    EXPECT_FALSE(window->label("lblStatus")->text().startsWith("Connection lost"));
    PlayToTheEndAndClose(bot, [&] { ByKeys(); });
    EXPECT_TRUE(bot.err().contains("the opponent is back")) << bot.Story();
}

// A server killed mid-game and started again on its port, serving anew: the window as the old
// client is told the server's game is gone and may start another session, and the new server notes
// a caller who never played and waits on. (A window serving, its callers leaving unplayed, is the
// hundred scanners' game. A bot told a closed session's notice leaves with status 1 by the branch
// HostilePeer.WhileTheBotWaitsForItsClientNobodyElseTakesTheGame takes.)
TEST_F(WindowAgainstBot, AServerStartedAgainAndTheOldClientsCallEndNeither) {
    test::Program first("the first server", "");
    const quint16 port = Serve(first);
    window->table().UsePort(port);
    window->table().mnuClient_Click();
    ASSERT_EQ(PlayUntil(first, [&] { return MidRound(); }), "");
    first.process().kill();
    ASSERT_TRUE(QTest::qWaitFor([&] { return window->table().WaitingForOpponent(); }, 5000));
    window->boxes.clear();
    test::Program again("the server started again", "");
    again.Start(KELVANE_BOT_PATH, {"--serve", "--port", QString::number(port), "--delay", "0"});
    ASSERT_TRUE(QTest::qWaitFor([&] { return !window->boxes.empty(); }, test::kStalledAfterMs))
        << again.Story();
    EXPECT_EQ(window->boxes, std::vector{NoticeBox({NoticeKind::kServerGameGone}).text});
    EXPECT_FALSE(window->table().ended());
    EXPECT_TRUE(window->action("mnuServer")->isEnabled());
    EXPECT_EQ(window->linkDialog(), nullptr);
    again.process().waitForReadyRead(1000);
    again.Gather();
    EXPECT_TRUE(again.running() && again.err().contains("left before playing")) << again.Story();
    // Serving next shows neither the last session's stock nor, in the status line's tip, its
    // opponent.
    window->table().UsePort(test::FreePort());
    window->action("mnuServer")->trigger();
    EXPECT_EQ(window->label("lblCardsleft")->text(), "");
    EXPECT_FALSE(window->label("lblStatus")->toolTip().contains("Your opponent plays"));
    EXPECT_TRUE(window->failures.empty()) << window->failures.front();
}

// The window serves by a click on the welcome: the keys take the table without showing their
// frame to a player of the mouse, until he uses a key. Opening the move history lays the window out
// again, and the waiting text with its address stays; below it, the address "Copy Address" gives,
// which it copies although no router was asked. A hundred callers then connect, hear the deal and
// close at once, as the internet's port scanners do: none ends anything, each is noted in the
// history, the waiting text stays; and a real player plays a whole game, the invitation gone.
TEST_F(WindowAgainstBot, ServingFromTheWelcomeOutlivesAHundredScannersThenPlaysAWholeGame) {
    const quint16 port = test::FreePort();
    window->table().UsePort(port);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    // The invitation's words as the game has them, the third way to play beside them.
    QLabel *scores = window->label("lblScores"), *beside = window->label("lblBesideScores");
    EXPECT_EQ(scores->text(), "Become server or client to begin new game");
    EXPECT_TRUE(beside->isVisible() && beside->text() == "(or play against the computer)");
    EXPECT_GT(beside->x(), scores->x() + scores->fontMetrics().horizontalAdvance(scores->text()));
    QTest::mouseClick(window->welcomePanel()->serverButton(), Qt::LeftButton);
    EXPECT_EQ(window->focusWidget(), window->tableKeys());
    EXPECT_FALSE(window->tableKeys()->framed()) << "no key was used";
    Key(Qt::Key_Right);
    EXPECT_TRUE(window->tableKeys()->framed());
    QLabel* status = window->label("lblStatus");
    const QString waiting = status->text();
    ASSERT_TRUE(waiting.startsWith("Waiting for client to connect... (local IP: "))
        << waiting.toStdString();
    const QSize before = window->centralWidget()->size();
    window->action("mnuHistory")->trigger();
    ASSERT_TRUE(QTest::qWaitFor([&] { return window->centralWidget()->size() != before; }, 5000));
    EXPECT_EQ(status->text(), waiting);
    window->action("mnuCopyAddress")->trigger();
    const QString address = QApplication::clipboard()->text();
    EXPECT_TRUE(address.endsWith(QString(":%1").arg(port))) << address.toStdString();
    // A machine with an IPv6 address a friend reaches gives that one; any other, its own.
    if (!address.startsWith('[')) {
        EXPECT_TRUE(waiting.contains("(local IP: " + address.section(':', 0, 0) + ")"))
            << address.toStdString();
    }
    QLabel* hosting = window->label("lblHosting");
    EXPECT_TRUE(hosting->text().endsWith("Copy Address gives " + address + "."))
        << hosting->text().toStdString();
    for (int scan = 1; scan <= 100; ++scan) {
        QTcpSocket scanner;
        scanner.connectToHost("127.0.0.1", port);
        ASSERT_TRUE(QTest::qWaitFor([&] { return scanner.bytesAvailable() > 0; }, 5000));
        scanner.abort();
        ASSERT_TRUE(QTest::qWaitFor(
            [&] { return window->historyLines().filter("left before playing").size() == scan; },
            5000));
    }
    EXPECT_EQ(window->historyLines().back().toStdString(), CallerLeftText("127.0.0.1"));
    EXPECT_EQ(status->text(), waiting);
    EXPECT_TRUE(window->boxes.empty()) << window->boxes.front();
    EXPECT_FALSE(window->table().ended());
    EXPECT_EQ(s().Role, kRoleNotConnected);
    test::Program bot("the bot", "Your opponent left.");
    bot.Start(KELVANE_BOT_PATH, {"--connect", "127.0.0.1", "--port", QString::number(port),
                                 "--delay", "0", "--seed", "3"});
    ASSERT_EQ(PlayUntil(bot, [&] { return s().Role == kRoleServer; }), "");
    EXPECT_EQ(hosting->text(), "") << "the line below the status has nothing more to say";
    EXPECT_FALSE(beside->isVisible());
    PlayToTheEndAndClose(bot);
}

// The local IPv4 addresses the system lists as listening on `port` ("0100007F:A2B3" is
// 127.0.0.1); one listening on every address, IPv6's too, is not among them.
QStringList ListeningOn(quint16 port) {
    const QString end = QString(":%1").arg(port, 4, 16, QChar('0')).toUpper();
    QStringList addresses;
    QFile file("/proc/net/tcp");
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    for (const QByteArray& line : file.readAll().split('\n')) {
        const QStringList f = QString(line).split(' ', Qt::SkipEmptyParts);
        if (f.size() > 3 && f[3] == "0A" && f[1].endsWith(end)) addresses << f[1];
    }
    return addresses;
}

// The welcome holds the focus: Space plays the computer, whose bot listens on the loopback alone
// and announces itself as a Kelvane program does; the welcome goes and the keys reach the table.
// Stopped, the computer is said to have stopped and, on Yes, a new one deals a new game, with no
// other box and no box calling the old one; it goes with the window.
TEST_F(WindowAgainstBot, TheComputerFromTheWelcomeIsReplacedWhenItStopsAndGoesWithTheWindow) {
    window->UseBotProgram(KELVANE_BOT_PATH, {"--delay", "0"});
    Key(Qt::Key_Space);
    ASSERT_TRUE(window->computerOpponent());
    int botPort = 0;
    QObject::connect(window->computerOpponent(), &ComputerOpponent::listening,
                     [&](int port) { botPort = port; });
    const auto dealt = [&] {
        return window->table().KelvaneOpponent() && s().Role == kRoleClient && s().LocalCount > 0 &&
               !window->table().WaitingForOpponent();
    };
    ASSERT_TRUE(QTest::qWaitFor(dealt, test::kStalledAfterMs)) << "the computer never dealt";
    const qint64 first = window->computerOpponent()->processId();
    const QStringList listening = ListeningOn(static_cast<quint16>(botPort));
    ASSERT_EQ(listening.size(), 1) << listening.join(' ').toStdString();
    EXPECT_TRUE(listening[0].startsWith("0100007F:")) << listening[0].toStdString();
    EXPECT_FALSE(window->welcomePanel()->isVisible());
    EXPECT_EQ(window->focusWidget(), window->tableKeys()) << "the keys do not reach the table";
    EXPECT_EQ(window->historyLines().front(), "Your opponent plays kelvane-bot " KELVANE_VERSION);
    EXPECT_TRUE(window->boxes.empty()) << window->boxes.front();
    // However it stops (a crash, its player's quit, the system's kill), one box tells it, and Yes
    // deals a game with a new one that goes on.
    qint64 last = first;
    for (const int signal : {SIGKILL, SIGTERM, SIGSEGV}) {
        SCOPED_TRACE(signal);
        window->boxes.clear();
        ASSERT_GT(last, 0) << "no computer to stop: kill(0) would stop the test's own group";
        ::kill(static_cast<pid_t>(last), signal);
        ASSERT_TRUE(QTest::qWaitFor([&] { return !window->boxes.empty(); }, 5000));
        ASSERT_TRUE(QTest::qWaitFor(
            [&] { return window->computerOpponent()->processId() != last && dealt(); },
            test::kStalledAfterMs));
        last = window->computerOpponent()->processId();
        QTest::qWait(300);  // time for a second box or a teardown to show
        EXPECT_EQ(window->boxes, std::vector{ComputerStoppedBox().text});
        EXPECT_FALSE(window->table().ended());
        EXPECT_TRUE(dealt());
        EXPECT_EQ(window->linkDialog(), nullptr);
    }
    EXPECT_TRUE(window->failures.empty()) << window->failures.front();
    const qint64 second = window->computerOpponent()->processId();
    window->close();
    window.reset();
    EXPECT_FALSE(QFile::exists(QString("/proc/%1/status").arg(second))) << "the bot is gone";
}

// The window serving behind the lab's home router (tests/portmap/router_lab.sh runs this test in
// the home namespace, naming the router's outside address, the home machine's IPv6 address and
// the far player's namespace): both addresses are told beside the unchanged waiting text and
// copied, and a bot outside plays a round over IPv6, through the pinhole.
using RouterWindow = WindowAgainstBot;
TEST_F(RouterWindow, ServingTellsBothAddressesAndAFarPlayerReachesThePinhole) {
    const char* outside = std::getenv("KELVANE_LAB_OUTSIDE");
    const char* home6 = std::getenv("KELVANE_LAB_HOME6");
    const char* far = std::getenv("KELVANE_LAB_FAR");
    if (!outside || !home6 || !far)
        GTEST_SKIP() << "runs in the router lab (tests/portmap/router_lab.sh)";
    WindowSide plainSocket;
    EXPECT_TRUE(Form1(plainSocket, deck).action("mnuOpenRouter")->isChecked());
    // The window's first layouts rewrite the status line; serving follows them, as a player does.
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    QTest::qWait(200);
    window->action("mnuServer")->trigger();
    QLabel* status = window->label("lblStatus");
    const QString waiting = status->text();
    const QString both =
        QString("Players in other homes connect to %1, or with IPv6 to %2.").arg(outside, home6);
    ASSERT_TRUE(QTest::qWaitFor([&] { return status->toolTip().contains(both); }, 8000))
        << status->toolTip().toStdString();
    EXPECT_EQ(status->text(), waiting);
    EXPECT_TRUE(waiting.startsWith("Waiting for client to connect...")) << waiting.toStdString();
    EXPECT_TRUE(window->historyLines().contains(both));
    window->action("mnuCopyAddress")->trigger();
    EXPECT_EQ(QApplication::clipboard()->text(), QString("%1 or %2").arg(outside, home6));
    test::Program bot("the far bot", "Round 1:");
    bot.Start("ip", {"netns", "exec", far, KELVANE_BOT_PATH, "--connect", home6, "--rounds", "1",
                     "--delay", "0", "--level", "1"});
    EXPECT_EQ(PlayUntil(bot, [&] { return bot.out().contains("Round 1:"); }), "");
    // The program waits for the router to take both doors back on its way out (run_window.cpp);
    // so does the test, whose router the lab looks at next.
    window.reset();
    EXPECT_TRUE(socket->AwaitRouterGiveBacks());
}

// The router's answer for the pinhole to the lab machine's IPv6 address.
DoorReport Pinhole(DoorOutcome outcome) {
    return {outcome, "2001:db8:77::2", 0, 0, "UPnP", 3600, DoorFamily::kIPv6};
}

// The socket of the program with the router played by the test: what the window asks the router
// is answered when the test says.
class RouterByTest : public WindowSide {
  public:
    std::unique_ptr<RouterLease> OpenRouter(int, const std::string& ipv6,
                                            std::function<void(const DoorReport&)> told) override {
        tell = std::move(told);
        pinholeFor = ipv6;
        return std::make_unique<RouterLease>();
    }
    std::function<void(const DoorReport&)> tell;
    std::string pinholeFor;
    // The lab's machine has an IPv6 address whatever the test's machine has.
    std::string GlobalIPv6Address() override { return "2001:db8:77::2"; }
};

// What the router answers for each door, told from its thread, reaches the history and the status
// line's tooltip; only open doors are copied as the addresses to give (else this network's), and a
// door lost later, its lease no longer renewed, is told and no longer copied. A home whose IPv4
// address is shared and whose router opens no pinhole is told that the friend should serve.
TEST(WindowServingBehindARouter, OnlyOpenDoorsAreGivenAndALostOneIsTold) {
    Deck deck;
    RouterByTest socket;
    test::UnattendedWindow window(socket, deck);
    window.action("mnuOpenRouter")->setChecked(true);
    QAction* copy = window.action("mnuCopyAddress");
    const DoorReport open{DoorOutcome::kOpen, "203.0.113.7", 8896, 8895, "UPnP", 3600};
    const DoorReport lost{DoorOutcome::kLost, "203.0.113.7", 8896, 8895, "UPnP", 3600},
        shared{DoorOutcome::kShared, "100.64.0.1", 8896, 8895, "UPnP", 3600};
    const std::string v6 = "[2001:db8:77::2]:@";
    // The router's answers in turn, the address copied after them ("" for the one a friend on
    // this network reaches when no other does; @ the serving port), what the history's last line
    // says, and how many lines the answers add: one each, and what they come to once both have
    // answered (and again after a loss).
    struct Hosting {
        std::vector<DoorReport> answers;
        std::string copied, lastSays;
        qsizetype lines;
    };
    // Which sentence says what is the words' test (router_texts_test.cpp); here, the window's
    // part: either door may answer first, a loss is told again, and a home nobody outside
    // reaches hears it once, when both doors have answered.
    const Hosting hostings[] = {
        {{Pinhole(DoorOutcome::kOpen), open}, "203.0.113.7:8896 or " + v6, "with IPv6 to " + v6, 3},
        {{open, Pinhole(DoorOutcome::kOpen), lost}, v6, "Only players with IPv6", 5},
        {{shared, Pinhole(DoorOutcome::kRefused)}, "", "Let your friend serve", 3},
    };
    for (Hosting hosting : hostings) {
        SCOPED_TRACE(hosting.lastSays);
        const quint16 port = test::FreePort();
        const auto withPort = [port](std::string text) {
            if (const auto at = text.find('@'); at != std::string::npos)
                text.replace(at, 1, std::to_string(port));
            return text;
        };
        window.table().UsePort(port);
        window.table().mnuServer_Click();
        const std::string copied = hosting.copied.empty()
                                       ? FormatServerAddress(socket.LocalIP(0), port)
                                       : withPort(hosting.copied);
        ASSERT_TRUE(socket.tell) << "serving did not ask the router";
        EXPECT_EQ(socket.pinholeFor, "2001:db8:77::2");
        // Until the router lets it in, the IPv6 address is not one to give.
        copy->trigger();
        EXPECT_EQ(QApplication::clipboard()->text().toStdString(),
                  FormatServerAddress(socket.LocalIP(0), port));
        const qsizetype toldBefore = window.historyLines().size();
        for (DoorReport answer : hosting.answers) {
            answer.insidePort = port;
            if (answer.family == DoorFamily::kIPv6) answer.outsidePort = port;
            std::thread([&] { socket.tell(answer); }).join();
            QCoreApplication::processEvents();
            const QString said = QString::fromStdString(DoorSentence(answer));
            EXPECT_TRUE(window.historyLines().contains(said)) << said.toStdString();
            EXPECT_TRUE(window.label("lblStatus")->toolTip().contains(said.toHtmlEscaped()));
        }
        EXPECT_EQ(window.historyLines().size() - toldBefore, hosting.lines);
        const std::string last = window.historyLines().back().toStdString();
        EXPECT_NE(last.find(withPort(hosting.lastSays)), std::string::npos) << last;
        EXPECT_TRUE(window.label("lblHosting")
                        ->text()
                        .toStdString()
                        .ends_with("Copy Address gives " + copied + "."));
        copy->trigger();
        EXPECT_EQ(QApplication::clipboard()->text().toStdString(), copied);
        // The session ends; a late answer of its door is not shown.
        socket.Close(0);
        window.EnableSessionMenus(true);
        const QStringList before = window.historyLines();
        std::thread([&] { socket.tell(open); }).join();
        QCoreApplication::processEvents();
        EXPECT_EQ(window.historyLines(), before);
        socket.tell = nullptr;
    }
    EXPECT_TRUE(window.failures.empty()) << window.failures.front();
}

// A window whose network side is missing or damaged (a broken installation): each command that
// starts a session says so in one sentence that names the file and the repair, and never as a
// program-error report; the window stays on the empty table with every session command enabled.
TEST(WindowWithoutItsNetworkSide, SaysWhatIsMissingAndKeepsEverySessionCommand) {
    QTemporaryDir scratch;
    const QString damaged = scratch.filePath("kelvane-network.so");
    QFile garbage(damaged);
    ASSERT_TRUE(garbage.open(QIODevice::WriteOnly) && garbage.write("not a library") > 0);
    garbage.close();
    for (const QString& module : {scratch.filePath("nowhere/kelvane-network.so"), damaged}) {
        SCOPED_TRACE(module.toStdString());
        Deck deck;
        LazySocket socket(QStringList{module});
        test::UnattendedWindow window(socket, deck);
        const QString status = window.label("lblStatus")->text();
        for (const char* command : {"mnuServer", "mnuClient", "mnuComputerLevel1"}) {
            window.boxes.clear();
            window.action(command)->trigger();
            ASSERT_EQ(window.boxes.size(), 1u) << command;
            const std::string& told = window.boxes.front();
            EXPECT_NE(told.find(" kelvane-network.so is missing or damaged in " +
                                QFileInfo(module).absolutePath().toStdString()),
                      std::string::npos)
                << told;
            EXPECT_NE(told.find("reinstalling the kelvane package repairs it."), std::string::npos)
                << told;
            EXPECT_EQ(window.historyLines().back().toStdString(), told);
            for (const char* session : {"mnuServer", "mnuClient", "mnuComputer"})
                EXPECT_TRUE(window.action(session)->isEnabled()) << command << " " << session;
        }
        EXPECT_TRUE(window.failures.empty()) << window.failures.front();
        EXPECT_EQ(window.label("lblStatus")->text(), status);
        EXPECT_FALSE(socket.loaded());
    }
}

// The cards wearing the last-move mark, where they lie: "opponent's hand | up pile | melds | own
// hand".
std::string MarksOf(Form1& window) {
    const GameState& s = window.table().state();
    std::string marks;
    const auto mark = [&](const CardImage* image, int card) {
        if (image->lastMove()) marks += GetCardName(Int16(card), false) + " ";
    };
    for (int i = 0; i < s.RemoteCount.value(); ++i)
        mark(window.imgRemote(i), s.RemoteHand[i].value());
    marks += "| ";
    for (int i = 0; i < s.UpCount.value(); ++i)
        mark(window.imgUpPile(i), window.imgUpPile(i)->tag());
    marks += "| ";
    for (int j = 0; j < window.meldSlotCount(); ++j)
        mark(window.imgMeld(j), window.imgMeld(j)->tag());
    marks += "| ";
    for (int i = 0; i < s.LocalCount.value(); ++i) mark(window.imgLocal(i), s.LocalHand[i].value());
    return marks;
}

// A window connected to a peer the test plays. One opponent's turn of every kind of move and,
// after the player's turn, a draw from the stack: each move marks its cards where they lie and adds
// its line to the history; the player's draw clears every mark, his selection presses do not. Then
// the peer sends what its program could not have sent: the window tells it in one box, closes the
// connection and stays open on the game with both session commands enabled, never reporting a
// failure of its own. (Each refusal and its wording is the engine's, tests/engine/table_test.cpp.)
using WindowAgainstPeer = WindowAgainstBot;
TEST_F(WindowAgainstPeer, MarksEachReceivedMoveUntilThePlayersNextAndRefusesWhatItCouldNotSend) {
    QTcpServer server;
    server.listen(QHostAddress::LocalHost, 0);
    window->table().UsePort(server.serverPort());
    window->table().mnuClient_Click();
    ASSERT_TRUE(QTest::qWaitFor([&] { return server.hasPendingConnections(); }, 5000));
    QTcpSocket* peer = server.nextPendingConnection();
    ASSERT_TRUE(QTest::qWaitFor([&] { return socket->State(0) == kSocketConnected; }, 5000));
    TablePeer::CheckStates(window->table(), false);
    GameState& s = TablePeer::State(window->table());
    s.GamesPlayed = 1;
    s.RoundInPlay = true;
    test::SetHand(s, "2H 3H 4H 9C KD");
    test::SetRemoteHand(s, "7S 8S 9S TS JS QD 2C");
    test::SetUpPile(s, "AC 5D 6D");
    s.StackCount = test::Fill(s.Stack, "3C 4C 5C 6C 7C 8C TC JC QC KC");
    window->RefreshHands('B');
    window->RefreshUpPile();
    // The message, the marks it leaves and its line in the history.
    const std::tuple<std::string, std::string, const char*> turn[] = {
        {UpPileMessage(2), "6D | | | ", "Your opponent took the Six of Diamonds from the up pile"},
        {NewMeldMessage(test::Meld("7S 8S 9S")), "6D | | 7S 8S 9S | ",
         "Your opponent laid down 7\u2660 8\u2660 9\u2660"},
        {LayOffMessage(0, test::Meld("7S 8S 9S TS")), "6D | | 7S 8S 9S TS | ",
         "Your opponent laid off 10\u2660, making 7\u2660 8\u2660 9\u2660 10\u2660"},
        {DiscardMessage(test::Card("QD")), "6D | QD | 7S 8S 9S TS | ",
         "Your opponent discarded the Queen of Diamonds"},
    };
    for (const auto& [message, marked, line] : turn) {
        window->table().Data_Process(message);
        ASSERT_TRUE(window->boxes.empty()) << message << ": " << window->boxes.front();
        EXPECT_EQ(MarksOf(*window), marked) << message;
        EXPECT_EQ(window->historyLines().back().toStdString(), line);
    }
    ASSERT_TRUE(s.MyTurn);
    const Int16 mine = s.Stack[s.StackCount - 1];
    QTest::mouseClick(window->imgStack(), Qt::LeftButton);
    ASSERT_TRUE(s.HasDrawn);
    EXPECT_EQ(MarksOf(*window), "| | | " + GetCardName(mine, false) + " ")
        << "the player's draw ends the opponent's marks and marks the card it brought";
    QTest::mousePress(window->imgLocal(0), Qt::RightButton);
    ASSERT_FALSE(s.MyTurn);
    const Int16 top = s.Stack[s.StackCount - 1];
    window->table().Data_Process(StackDrawMessage(top));
    const std::string drawn = GetCardName(top, false) + " | | | ";
    EXPECT_EQ(MarksOf(*window), drawn) << "the drawn card, face down; the player's mark gone";
    EXPECT_EQ(window->historyLines().back(), "Your opponent drew from the stack");
    QTest::mouseClick(window->imgLocal(0), Qt::LeftButton);
    EXPECT_EQ(MarksOf(*window), drawn) << "not his turn: nothing moved";
    // His discard gives the turn back; the player takes it from the up pile, marked in his hand.
    window->table().Data_Process(DiscardMessage(test::Card("2C")));
    ASSERT_TRUE(s.MyTurn && !s.HasDrawn);
    QTest::mouseClick(window->imgUpPile(s.UpCount.value() - 1), Qt::LeftButton);
    ASSERT_TRUE(s.HasDrawn);
    EXPECT_EQ(MarksOf(*window), "| | | 2C ");
    window->boxes.clear();  // the discard's question
    peer->write("(M:D:xx)");
    ASSERT_TRUE(QTest::qWaitFor([&] { return !window->boxes.empty(); }, 5000));
    EXPECT_EQ(window->boxes.size(), 1u) << "one box, worded by the engine (table_test.cpp)";
    EXPECT_TRUE(window->failures.empty()) << window->failures.front();
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(window->label("lblStatus")->text(), "Not Connected");
    EXPECT_TRUE(window->action("mnuServer")->isEnabled() &&
                window->action("mnuClient")->isEnabled());
    EXPECT_TRUE(peer->state() == QAbstractSocket::UnconnectedState ||
                peer->waitForDisconnected(5000))
        << "the connection is closed";
}

}  // namespace
}  // namespace kelvane
