// The window against a kelvane-bot process, one whole game to 500 points in each seat. Only here
// do the window's own handlers, socket, boxes and results play a whole game, moved by a player at
// either seat; the bot's lines are checked in detail by two_bots_test.cpp, the window's widgets
// and views by the two windows' round (views_test.cpp), and the engines' agreement message by
// message by the in-memory duel (sim_test.cpp). A side that stops playing ends the game within
// seconds, told with whose turn it was (game_watch.h).

#include <gtest/gtest.h>

#include <QAction>
#include <QCoreApplication>
#include <QPointer>
#include <QPushButton>
#include <QRegularExpression>
#include <QStringList>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QTextEdit>
#include <csignal>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "game/stock.h"
#include "game_watch.h"
#include "qtnet/qt_socket.h"
#include "sim/random_policy.h"
#include "ui/computer_opponent.h"
#include "ui/deck.h"
#include "ui/form1.h"
#include "ui/texts.h"
#include "unattended_window.h"
#include "wire/wire.h"

namespace kelvane {
namespace {

// A whole 500-point game between the window, moved by a random legal player through its table's
// handlers, and a kelvane-bot process, with the window serving in one case and connecting in the
// other. The bot's engine refusing a move of the window's, or the reverse, shows as a failure
// report or a box.
class WindowAgainstBot : public ::testing::TestWithParam<bool> {};

TEST_P(WindowAgainstBot, PlaysAWholeGame) {
    const bool windowServes = GetParam();
    Deck deck;
    struct Kelvane {
        explicit Kelvane(Deck& d) : window(socket, d, [] { return SeededRandom(11); }) {}
        QtSocket socket;
        test::UnattendedWindow window;
    };
    auto program = std::make_unique<Kelvane>(deck);
    QtSocket& socket = program->socket;
    test::UnattendedWindow& window = program->window;
    window.show();
    sim::RandomPolicy player(5);
    // Whose turn it is says which side stopped, should the game stop; any change is progress.
    const auto seen = [&] {
        const GameState& s = window.table().state();
        return std::string("the window: ") +
               (!s.MyTurn    ? "the bot's turn"
                : s.HasDrawn ? "its turn, drawn"
                             : "its turn") +
               "; totals " + std::to_string(s.LocalScore.value()) + " to " +
               std::to_string(s.RemoteScore.value()) + "; " + std::to_string(s.StackCount.value()) +
               " in the stock; hands " + std::to_string(s.LocalCount.value()) + " and " +
               std::to_string(s.RemoteCount.value());
    };
    const auto play = [&] {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        if (window.table().state().MyTurn) player.Act(window.table());
    };
    test::Program bot("the bot", "Your opponent left.");
    QStringList args{"--delay", "0", "--seed", "3", "--port"};
    if (windowServes) {
        window.table().UsePort(0);
        window.table().mnuServer_Click();
        bot.Start(KELVANE_BOT_PATH, args << QString::number(socket.LocalPort(0)) << "--connect"
                                         << "127.0.0.1");
    } else {
        bot.Start(KELVANE_BOT_PATH, args << "0"
                                         << "--serve");
        // Told on standard error once it listens, perhaps in pieces.
        static const QRegularExpression listening("on port (\\d+)\n");
        const std::string stopped = test::Watch(
            {&bot}, [&] { return listening.match(bot.err()).hasMatch(); }, play, seen);
        ASSERT_TRUE(stopped.empty()) << stopped;
        window.table().UsePort(listening.match(bot.err()).captured(1).toInt());
        window.table().mnuClient_Click();
    }

    const std::string stopped = test::Watch(
        {&bot}, [&] { return bot.out().contains("Game:") || !window.failures.empty(); }, play,
        seen);
    ASSERT_TRUE(stopped.empty()) << stopped;
    window.close();
    const std::vector<std::string> boxes = window.boxes, failures = window.failures;
    // The program ends with its window, and its connection with it.
    program.reset();
    const std::string lingered = test::Watch(
        {&bot}, [&] { return !bot.running(); },
        [] { QCoreApplication::processEvents(QEventLoop::AllEvents, 5); });
    ASSERT_TRUE(lingered.empty()) << lingered;
    const QString& out = bot.out();
    const QString& err = bot.err();

    EXPECT_TRUE(out.contains(QRegularExpression("^Game: you (won|lost) \\d+ to \\d+\\.$",
                                                QRegularExpression::MultilineOption)))
        << out.toStdString() << err.toStdString();
    EXPECT_TRUE(out.startsWith("Round 1: you ")) << out.toStdString();
    EXPECT_TRUE(out.endsWith("Your opponent left.\n")) << out.toStdString();
    EXPECT_EQ(bot.exitCode(), 0) << err.toStdString();
    EXPECT_FALSE(err.contains("engine failure") || err.contains("the table said"))
        << err.toStdString();
    EXPECT_TRUE(failures.empty()) << failures.front();
    for (const std::string& box : boxes)
        EXPECT_TRUE(box.starts_with("Discard the ") || box == "Sure you want to quit?") << box;
}

INSTANTIATE_TEST_SUITE_P(BothSeats, WindowAgainstBot, ::testing::Bool(), [](const auto& seat) {
    return seat.param ? "WindowServes" : "BotServes";
});

// A line between the window and the bot that the test can drop, resetting both ends.
class Line : public QObject {
  public:
    explicit Line(quint16 to) : to_(to) {
        listener_.listen(QHostAddress::LocalHost, 0);
        connect(&listener_, &QTcpServer::newConnection, this, [this] { Take(); });
    }
    quint16 port() const { return listener_.serverPort(); }
    int calls() const { return calls_; }
    void Drop() {
        for (QTcpSocket* end : {near_.data(), far_.data()})
            if (end) end->abort();
    }

  private:
    void Take() {
        QTcpSocket* near = listener_.nextPendingConnection();
        auto* far = new QTcpSocket(this);
        far->connectToHost(QHostAddress::LocalHost, to_);
        connect(near, &QTcpSocket::readyRead, far, [near, far] { far->write(near->readAll()); });
        connect(far, &QTcpSocket::readyRead, near, [near, far] { near->write(far->readAll()); });
        connect(near, &QTcpSocket::disconnected, far, &QTcpSocket::disconnectFromHost);
        connect(far, &QTcpSocket::disconnected, near, &QTcpSocket::disconnectFromHost);
        near_ = near;
        far_ = far;
        ++calls_;
    }

    QTcpServer listener_;
    quint16 to_;
    QPointer<QTcpSocket> near_, far_;
    int calls_ = 0;
};

// What the player sees of the game: both hands, the piles, the table and the scores.
std::string TableView(const GameState& s) {
    std::string view;
    for (const auto& [cards, n] : {std::pair{&s.LocalHand, s.LocalCount},
                                   {&s.RemoteHand, s.RemoteCount},
                                   {&s.UpPile, s.UpCount}}) {
        for (Int16 i = 0; i < n; ++i) view += nformat((*cards)[i]) + ",";
        view += "|";
    }
    for (Int16 c = 0; c < s.TableMelds.ColumnCount(); ++c)
        for (Int16 card : s.TableMelds.Cards(c)) view += nformat(card) + ",";
    return view + "|" + std::to_string(s.StackCount.value()) + "|" +
           std::to_string(s.LocalScore.value()) + ":" + std::to_string(s.RemoteScore.value()) +
           "|" + std::to_string(s.GamesPlayed.value());
}

// The window plays the bot through a line that drops in the middle of a round: the window says
// so and waits with the game as it was, calls again when the player asks, and goes on with the
// same hands, table and scores; the game then runs to its rounds' end and a quit ends the bot.
TEST(WindowAgainstBot, ResumesAfterTheLineDrops) {
    Deck deck;
    auto socket = std::make_unique<QtSocket>();
    auto program = std::make_unique<test::UnattendedWindow>(*socket, deck);
    test::UnattendedWindow& window = *program;
    window.show();
    sim::RandomPolicy player(5);
    test::Program bot("the bot", "Your opponent left.");
    bot.Start(KELVANE_BOT_PATH, {"--serve", "--port", "0", "--delay", "0", "--seed", "3"});
    static const QRegularExpression listening("on port (\\d+)\n");
    const auto pump = [] { QCoreApplication::processEvents(QEventLoop::AllEvents, 5); };
    ASSERT_TRUE(test::Watch(
                    {&bot}, [&] { return listening.match(bot.err()).hasMatch(); }, pump)
                    .empty());
    Line line(listening.match(bot.err()).captured(1).toUShort());
    window.table().UsePort(line.port());
    window.table().mnuClient_Click();
    const GameState& s = window.table().state();
    // Mid-round, the window to move and nothing on its way: the moment to pull the plug.
    bool waitForTheCut = true;
    const auto cutHere = [&] { return s.StackCount < 30 && s.MyTurn && !s.HasDrawn; };
    const auto play = [&] {
        pump();
        if (waitForTheCut && cutHere()) return;
        if (s.MyTurn && !window.table().WaitingForOpponent()) player.Act(window.table());
    };
    ASSERT_TRUE(test::Watch({&bot}, cutHere, play).empty());
    waitForTheCut = false;
    ASSERT_TRUE(window.table().KelvaneOpponent());
    const std::string before = TableView(s);
    line.Drop();
    ASSERT_TRUE(QTest::qWaitFor([&] { return window.linkDialog() != nullptr; }, 5000));
    EXPECT_TRUE(window.table().WaitingForOpponent());
    EXPECT_EQ(window.label("lblStatus")->text(), "Connection lost: calling your opponent again");
    EXPECT_EQ(TableView(s), before);
    EXPECT_TRUE(window.isVisible());
    window.linkDialog()->reconnectButton()->click();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !window.table().WaitingForOpponent(); }, 5000));
    EXPECT_EQ(line.calls(), 2);
    EXPECT_EQ(TableView(s), before);
    QCoreApplication::processEvents();
    EXPECT_EQ(window.linkDialog(), nullptr);
    const std::string stopped = test::Watch(
        {&bot}, [&] { return bot.out().contains("Round 3:"); }, play);
    ASSERT_TRUE(stopped.empty()) << stopped;
    window.close();
    const std::vector<std::string> boxes = window.boxes, failures = window.failures;
    // The program ends with its window, and its connection with it.
    program.reset();
    socket.reset();
    ASSERT_TRUE(test::Watch(
                    {&bot}, [&] { return !bot.running(); }, pump)
                    .empty());
    EXPECT_EQ(bot.exitCode(), 0) << bot.Story();
    EXPECT_TRUE(bot.err().contains("the opponent is back")) << bot.Story();
    EXPECT_TRUE(failures.empty()) << failures.front();
    for (const std::string& box : boxes)
        EXPECT_TRUE(box.starts_with("Discard the ") || box == "Sure you want to quit?") << box;
}

// The window's opponent gone for good or replaced, each told truly: the computer player killed is
// said to have stopped and a new game against it is offered; a server waiting for its client says
// so on its status line, tells a stranger nothing but the challenge, takes its client back, and
// asked about a new player who calls without the game, starts a new one with him, its box gone.
TEST(WindowAgainstBot, AnOpponentGoneOrReplacedEndsInATrueBoxAndStatusLine) {
    Deck deck;
    const auto dealt = [](test::UnattendedWindow& w, const std::string& role) {
        return w.table().KelvaneOpponent() && w.table().state().Role == role &&
               w.table().state().LocalCount > 0 && !w.table().WaitingForOpponent();
    };
    {
        QtSocket socket;
        test::UnattendedWindow window(socket, deck);
        window.show();
        window.UseBotProgram(KELVANE_BOT_PATH, {"--delay", "0"});
        window.PlayAgainstComputer(1);
        ASSERT_TRUE(QTest::qWaitFor([&] { return dealt(window, kRoleClient); }, 10000));
        const qint64 first = window.computerOpponent()->processId();
        ::kill(static_cast<pid_t>(first), SIGKILL);
        ASSERT_TRUE(QTest::qWaitFor([&] { return !window.boxes.empty(); }, 5000));
        EXPECT_EQ(window.boxes, std::vector<std::string>{ComputerStoppedBox().text});
        // Yes: a new game against a new computer player, and no box calling the old one.
        ASSERT_TRUE(QTest::qWaitFor(
            [&] {
                return window.computerOpponent()->processId() != first &&
                       dealt(window, kRoleClient);
            },
            10000));
        EXPECT_EQ(window.linkDialog(), nullptr);
        EXPECT_TRUE(window.failures.empty()) << window.failures.front();
    }
    QtSocket socket;
    test::UnattendedWindow window(socket, deck);
    window.show();
    const quint16 port = [] {
        QTcpServer probe;
        probe.listen(QHostAddress::LocalHost, 0);
        return probe.serverPort();
    }();
    window.table().UsePort(port);
    window.table().mnuServer_Click();
    Line line(port);
    test::Program bot("the bot", "");
    bot.Start(KELVANE_BOT_PATH,
              {"--connect", "127.0.0.1", "--port", QString::number(line.port()), "--delay", "0"});
    ASSERT_TRUE(QTest::qWaitFor([&] { return dealt(window, kRoleServer); }, 10000));
    const auto pid = static_cast<pid_t>(bot.process().processId());
    line.Drop();
    ::kill(pid, SIGSTOP);
    ASSERT_TRUE(QTest::qWaitFor([&] { return window.linkDialog() != nullptr; }, 5000));
    EXPECT_EQ(window.label("lblStatus")->text(),
              "Connection lost: waiting for your opponent to come back");
    QTcpSocket stranger;
    stranger.connectToHost("127.0.0.1", port);
    std::string heard;
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            heard += stranger.readAll().toStdString();
            return heard.ends_with(")");
        },
        5000));
    EXPECT_EQ(ReadMessage(heard.substr(1, heard.size() - 2)).kind, MessageKind::kChallenge);
    stranger.write("(K:HELLO:2:0123456789abcdef:1:1:-:a stranger)");
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return stranger.state() == QAbstractSocket::UnconnectedState; }, 5000));
    EXPECT_TRUE(window.boxes.empty()) << window.boxes.front();
    EXPECT_TRUE(window.table().WaitingForOpponent());
    ::kill(pid, SIGCONT);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !window.table().WaitingForOpponent(); }, 5000));
    EXPECT_FALSE(window.label("lblStatus")->text().startsWith("Connection lost"));
    // The client is killed; a new player calls without the game and the player says Yes.
    ::kill(pid, SIGKILL);
    ASSERT_TRUE(QTest::qWaitFor([&] { return window.table().WaitingForOpponent(); }, 5000));
    test::Program newcomer("a new player", "");
    newcomer.Start(KELVANE_BOT_PATH,
                   {"--connect", "127.0.0.1", "--port", QString::number(port), "--delay", "0"});
    ASSERT_TRUE(QTest::qWaitFor([&] { return !window.boxes.empty(); }, 5000));
    EXPECT_EQ(window.boxes[0], QuestionBox({QuestionKind::kNewGameWithCaller}).text);
    ASSERT_TRUE(QTest::qWaitFor([&] { return dealt(window, kRoleServer); }, 5000));
    QCoreApplication::processEvents();
    EXPECT_EQ(window.linkDialog(), nullptr);
    newcomer.Gather();
    EXPECT_TRUE(newcomer.err().contains("This server is waiting for its opponent"))
        << newcomer.Story();
    EXPECT_TRUE(window.failures.empty()) << window.failures.front();
}

// The window connected to a peer played by the test over loopback: what the peer's program could
// not have sent is told in one box, the connection closed, the window left open on the game with
// both session commands enabled; a flood of empty frames changes nothing. Never a failure report.
TEST(WindowAgainstHostilePeer, RefusesInOneBoxAndStaysOpenForANewSession) {
    const std::string deal = Frame(DealMessage(ShuffleOrder(SeededRandom(9))));
    std::string flood, ones;
    for (int i = 0; i < 1'000'000; ++i) flood += "()";
    for (int i = 0; i < kCardsInDeck; ++i) ones += "01,";
    const std::pair<std::string, std::string> cases[] = {
        {deal + "(M:D:xx)", "a message this game cannot read (\"M:D:xx\")"},
        {deal + "(" + std::string(1 << 20, 'x'), "a message longer than 8192 bytes"},
        {"(s:" + ones + ")",
         "a move the rules do not allow (a deal, that does not hold each card once)"},
        {deal + flood + "(C:still here)", ""},
    };
    Deck deck;
    for (const auto& [bytes, told] : cases) {
        SCOPED_TRACE(told);
        QTcpServer server;
        ASSERT_TRUE(server.listen(QHostAddress::LocalHost, 0));
        QtSocket socket;
        test::UnattendedWindow window(socket, deck);
        window.show();
        window.table().UsePort(server.serverPort());
        window.table().mnuClient_Click();
        ASSERT_TRUE(QTest::qWaitFor([&] { return server.hasPendingConnections(); }, 5000));
        std::unique_ptr<QTcpSocket> peer(server.nextPendingConnection());
        peer->setParent(nullptr);
        peer->write(bytes.data(), static_cast<qint64>(bytes.size()));
        // Copied in: a lambda may not capture a structured binding before Clang 16.
        const auto settled = [&, quiet = told.empty()] {
            return quiet ? window.rtbConvo()->toPlainText().contains("still here")
                         : !window.boxes.empty();
        };
        ASSERT_TRUE(QTest::qWaitFor(settled, 5000));
        EXPECT_TRUE(window.failures.empty()) << window.failures.front();
        EXPECT_TRUE(window.isVisible());
        if (told.empty()) {
            EXPECT_TRUE(window.boxes.empty()) << window.boxes.front();
            EXPECT_EQ(window.table().state().LocalCount, 7) << "the game goes on";
            continue;
        }
        ASSERT_EQ(window.boxes.size(), 1u);
        EXPECT_EQ(window.boxes[0],
                  "Your opponent's program sent " + told + ". This game cannot go on.");
        EXPECT_EQ(window.label("lblStatus")->text(), "Not Connected");
        EXPECT_TRUE(window.action("mnuServer")->isEnabled());
        EXPECT_TRUE(window.action("mnuClient")->isEnabled());
        EXPECT_TRUE(peer->state() == QAbstractSocket::UnconnectedState ||
                    peer->waitForDisconnected(5000))
            << "the connection is closed";
    }
}

}  // namespace
}  // namespace kelvane
