// SPDX-License-Identifier: GPL-3.0-or-later
// kelvane-bot against a peer played by the test over real loopback TCP, in both seats: every
// message its own handlers could not have sent ends the session with the sentence that says why
// and status 1; floods, unknown kinds, chat and knocking strangers leave the game going on; a
// peer that vanishes is told as "Your opponent left."

#include <gtest/gtest.h>

#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>
#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <tuple>

#include "game/cards.h"
#include "game/stock.h"
#include "game_watch.h"
#include "wire/wire.h"

namespace kelvane {
namespace {

constexpr int kWaitMs = 5000;

// One session: the bot, the test's end of the connection, and the game as the test sees it.
struct Session {
    test::Program bot{"the bot", "Your opponent left."};
    std::unique_ptr<QTcpSocket> peer;
    QTcpServer server;
    std::string received;
    GameState game;  // from the test's seat, once dealt

    // Reads what the bot sends and prints until `done` holds, the bot has left, or nothing has
    // come for a while.
    bool Until(const std::function<bool()>& done) {
        const auto read = [&] {
            if (peer && peer->isOpen() && peer->waitForReadyRead(5))
                received += peer->readAll().toStdString();
            bot.process().waitForReadyRead(5);
        };
        test::Watch({&bot}, done, read, [&] { return received; });
        return done();
    }
    void Send(const std::string& bytes) {
        peer->write(bytes.data(), static_cast<qint64>(bytes.size()));
        peer->flush();
    }
    // Whether the bot has sent a frame beginning with `prefix`.
    bool Sent(const std::string& prefix) const {
        return received.find("(" + prefix) != std::string::npos;
    }

    // The bot serves and deals; the test connects, reads the deal and holds the client's seat,
    // whose turn opens the first deal. A caller before it hears a deal and leaves at once, as port
    // scanners do: he never played, and the bot notes him and deals anew to the next.
    void BotServes() {
        bot.Start(KELVANE_BOT_PATH, {"--serve", "--port", "0", "--delay", "0", "--seed", "3"});
        ASSERT_TRUE(Until([&] { return test::ListeningPort(bot) != 0; })) << bot.Story();
        QTcpSocket scanner;
        scanner.connectToHost("127.0.0.1", test::ListeningPort(bot));
        ASSERT_TRUE(scanner.waitForReadyRead(kWaitMs)) << bot.Story();
        scanner.abort();
        ASSERT_TRUE(Until([&] { return bot.err().contains("left before playing"); }))
            << bot.Story();
        peer = std::make_unique<QTcpSocket>();
        peer->connectToHost("127.0.0.1", test::ListeningPort(bot));
        ASSERT_TRUE(peer->waitForConnected(kWaitMs));
        // The bot announces itself first; a peer that speaks only the game's messages, as this
        // one does, passes over that and reads the deal.
        ASSERT_TRUE(Until([&] { return std::ranges::count(received, ')') >= 2; })) << bot.Story();
        const QStringList frames = QString::fromStdString(received).split(')');
        EXPECT_EQ(ReadMessage(frames[0].mid(1).toStdString()).kind, MessageKind::kHello);
        const Received deal = ReadMessage(frames[1].mid(1).toStdString());
        ASSERT_EQ(deal.kind, MessageKind::kDeal);
        game.Stack = deal.stack;
        DealRound(game, kRoleClient);
        ASSERT_TRUE(game.MyTurn);
    }
    // The test serves: the bot connects and waits for a deal, whose first turn is its own.
    void PeerServes() {
        ASSERT_TRUE(server.listen(QHostAddress::LocalHost, 0));
        bot.Start(KELVANE_BOT_PATH, {"--connect", "127.0.0.1", "--port",
                                     QString::number(server.serverPort()), "--delay", "0"});
        ASSERT_TRUE(server.waitForNewConnection(kWaitMs)) << bot.Story();
        peer.reset(server.nextPendingConnection());
        peer->setParent(nullptr);  // ours to delete, not the listener's
    }

    // A draw of the stack's top card, and a valid turn: that draw and a discard of our first card.
    std::string Draw() const { return "(M:N:" + nformat(game.Stack[game.StackCount - 1]) + ")"; }
    std::string Turn() const { return Draw() + "(M:D:" + nformat(game.LocalHand[0]) + ")"; }
    // The bot left with status 1, telling why in the sentence the window shows.
    void ExpectRefused(const std::string& why) {
        ASSERT_TRUE(Until([&] { return !bot.running(); })) << "still playing";
        EXPECT_EQ(bot.exitCode(), 1) << bot.Story();
        const QRegularExpression said("Your opponent's program sent .*" +
                                      QRegularExpression::escape(QString::fromStdString(why)) +
                                      ".*This game cannot go on\\.");
        EXPECT_TRUE(bot.err().contains(said)) << why << "\n" << bot.Story();
    }
};

// Serving, the bot refuses what its client could not have sent in the turn that opens the deal;
// connecting, a deal that does not hold each card once. Floods, kinds it does not know, chat and
// knocking strangers leave the game going on, until the peer vanishes. Each rule is the moves'
// tests'; here the bot leaves on it, and says why in the words no other test checks. (A discard
// before drawing, a draw below the top, a second deal, unreadable and too long messages are worded
// in the engine's refusals, table_test.cpp, and every refusal leaves the bot the same way.)
TEST(HostilePeer, InEitherSeatTheBotRefusesWhatThePeerCouldNotHaveSentAndBearsTheRest) {
    const std::string deal = DealMessage(ShuffleOrder(SeededRandom(9)));
    const auto fixed = [](std::string bytes) { return [=](const Session&) { return bytes; }; };
    // Whether the bot serves, what the peer sends, and why the bot refuses it (empty: it does not).
    using Bytes = std::function<std::string(const Session&)>;
    const std::tuple<bool, const char*, Bytes, const char*> cases[] = {
        {true, "a meld of the bot's cards",
         [](auto& s) {
             const auto& theirs = s.game.RemoteHand;
             return s.Draw() + "(M:M:N:" + nformat(theirs[0]) + "," + nformat(theirs[1]) + "," +
                    nformat(theirs[2]) + ",)";
         },
         // A meld names the card it does not hold; a discard is that card.
         ", with the "},
        {true, "a lay-off onto no column",
         [](auto& s) { return s.Draw() + "(M:M:00:" + nformat(s.game.LocalHand[0]) + ",)"; },
         "onto a column the table does not have"},
        {true, "a second draw", [](auto& s) { return s.Draw() + "(M:U:00)"; },
         "after it had drawn"},
        {true, "a discard of the bot's card",
         [](auto& s) { return s.Draw() + "(M:D:" + nformat(s.game.RemoteHand[0]) + ")"; },
         "which it does not hold"},
        {true, "a deal from the client", fixed("(" + deal + ")"), "which only the server deals"},
        {true, "a million empty frames", fixed(QByteArray("()").repeated(1'000'000).toStdString()),
         ""},
        {true, "kinds it does not know", fixed("(X:1)(M:Q:01)(c:x)"), ""},
        {true, "chat with parentheses", fixed("(C:{LPAREN}hi))"), ""},
        {true, "chat with a terminal's commands",
         fixed("(C:\x1b[2J\x1b]0;owned\x07\rkelvane-bot: the opponent conceded)"), ""},
        {false, "a deal holding a card twice",
         fixed("(s:" + deal.substr(5, 3) + deal.substr(5) + ")"),
         "that does not hold each card once"},
    };
    for (const auto& [botServes, what, bytes, why] : cases) {
        SCOPED_TRACE(what);
        Session s;
        ASSERT_NO_FATAL_FAILURE(botServes ? s.BotServes() : s.PeerServes());
        s.Send(bytes(s));
        if (*why) {
            s.ExpectRefused(why);
            ASSERT_FALSE(HasFailure()) << "one case failing is enough to wait for";
            continue;
        }
        // The game goes on: a stranger knocking is turned away, the bot answers a whole turn of
        // ours with its own, and our vanishing is the opponent leaving.
        QTcpSocket stranger;
        stranger.connectToHost("127.0.0.1", test::ListeningPort(s.bot));
        EXPECT_TRUE(stranger.state() == QAbstractSocket::UnconnectedState ||
                    stranger.waitForDisconnected(kWaitMs));
        s.Send(s.Turn());
        EXPECT_TRUE(s.Until([&] { return s.Sent("M:"); })) << s.bot.Story();
        // The peer's words reach the terminal as text: no byte of them is a control character.
        for (const QChar c : s.bot.err())
            EXPECT_TRUE(c == '\n' || c.isPrint())
                << "a control character " << static_cast<int>(c.unicode());
        s.peer->close();
        ASSERT_TRUE(s.Until([&] { return !s.bot.running(); }));
        EXPECT_EQ(s.bot.exitCode(), 0) << s.bot.Story();
        EXPECT_TRUE(s.bot.out().contains("Your opponent left.")) << s.bot.Story();
    }
}

// The bot serving, its Kelvane client gone: a new Kelvane player is told the bot keeps its game.
// How the client that left proves itself is the Session tests' and the two bots' whose line drops.
TEST(HostilePeer, WhileTheBotWaitsForItsClientNobodyElseTakesTheGame) {
    Session s;
    ASSERT_NO_FATAL_FAILURE(s.BotServes());
    s.Send("(K:HELLO:2:-:0:0:" + std::string(kKeyDigits, '7') + ":the test)" + s.Turn());
    ASSERT_TRUE(s.Until([&] { return s.Sent("M:D:"); })) << s.bot.Story();
    s.peer->abort();
    ASSERT_TRUE(s.Until([&] { return s.bot.err().contains("the connection was lost"); }));
    test::Program newcomer{"a new player", ""};
    newcomer.Start(KELVANE_BOT_PATH, {"--connect", "127.0.0.1", "--port",
                                      QString::number(test::ListeningPort(s.bot))});
    ASSERT_TRUE(newcomer.process().waitForFinished(kWaitMs));
    newcomer.Gather();
    EXPECT_EQ(newcomer.exitCode(), 1);
    EXPECT_TRUE(newcomer.err().contains("keeping the game in progress")) << newcomer.Story();
    EXPECT_TRUE(s.bot.running()) << s.bot.Story();
}

}  // namespace
}  // namespace kelvane
