// kelvane-bot against a peer played by the test over real loopback TCP, in both seats: every
// message its own handlers could not have sent ends the session with the sentence that says why
// and status 1; floods, unknown kinds, chat and knocking strangers leave the game going on; a
// peer that vanishes is told as "Your opponent left."

#include <gtest/gtest.h>

#include <QDeadlineTimer>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "engine/credential.h"
#include "game/cards.h"
#include "game/stock.h"
#include "game_watch.h"
#include "wire/wire.h"

namespace kelvane {
namespace {

constexpr int kWaitMs = 5000;

std::string CardList(const std::vector<Int16>& cards) {
    std::string list;
    for (Int16 c : cards) list += nformat(c) + ",";
    return list;
}

// One session: the bot, the test's end of the connection, and the game as the test sees it.
struct Session {
    test::Program bot{"the bot", "Your opponent left."};
    std::unique_ptr<QTcpSocket> peer;
    QTcpServer server;
    std::string received;
    GameState game;  // from the test's seat, once dealt

    // Reads what the bot sends and prints until `done` holds, the bot has left, or 5 s passed.
    bool Until(const std::function<bool()>& done) {
        const QDeadlineTimer deadline(kWaitMs);
        for (;;) {
            if (peer && peer->isOpen()) {
                peer->waitForReadyRead(5);
                received += peer->readAll().toStdString();
            }
            bot.process().waitForReadyRead(5);
            bot.Gather();
            if (done()) return true;
            if (deadline.hasExpired()) return false;
            if (!bot.running()) {
                bot.Gather();
                return done();
            }
        }
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
    // whose turn opens the first deal.
    void BotServes() {
        bot.Start(KELVANE_BOT_PATH, {"--serve", "--port", "0", "--delay", "0", "--seed", "3"});
        static const QRegularExpression listening("waiting for an opponent on port (\\d+)");
        ASSERT_TRUE(Until([&] { return listening.match(bot.err()).hasMatch(); })) << bot.Story();
        peer = std::make_unique<QTcpSocket>();
        peer->connectToHost("127.0.0.1", listening.match(bot.err()).captured(1).toUShort());
        ASSERT_TRUE(peer->waitForConnected(kWaitMs));
        // The bot announces itself first; a peer that speaks only the game's messages, as this
        // one does, passes over that and reads the deal.
        const auto second = [&] { return received.find(')', received.find(')') + 1); };
        ASSERT_TRUE(Until([&] { return second() != std::string::npos; }));
        const std::size_t start = received.find(')') + 1;
        EXPECT_EQ(ReadMessage(received.substr(1, start - 2)).kind, MessageKind::kHello);
        const Received deal = ReadMessage(received.substr(start + 1, second() - start - 1));
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
        game.Stack = ShuffleOrder(SeededRandom(9));
    }

    // The next card of the stack, and a valid turn: that draw and the discard of our first card.
    Int16 Top() const { return game.Stack[game.StackCount - 1]; }
    std::string Turn() const {
        return "(M:N:" + nformat(Top()) + ")(M:D:" + nformat(game.LocalHand[0]) + ")";
    }
    // The bot left with status 1, telling why in the sentence the window shows.
    void ExpectRefused(const std::string& why) {
        ASSERT_TRUE(Until([&] { return !bot.running(); })) << "still playing";
        EXPECT_EQ(bot.exitCode(), 1) << bot.Story();
        EXPECT_TRUE(bot.err().contains("Your opponent's program sent ")) << bot.Story();
        EXPECT_TRUE(bot.err().contains(QString::fromStdString(why))) << why << "\n" << bot.Story();
        EXPECT_TRUE(bot.err().contains("This game cannot go on.")) << bot.Story();
    }
};

const char* const kUnreadable = "a message this game cannot read";
const char* const kTooLong = "a message longer than 8192 bytes";

// The test holds the client's seat and opens the first deal.
TEST(HostilePeer, TheBotServingRefusesWhatTheClientCouldNotHaveSent) {
    struct Case {
        const char* what;
        std::function<std::string(const GameState&)> bytes;
        const char* why;  // empty: the game goes on
    };
    const auto mine = [](const GameState& g) { return g.LocalHand[0]; };
    const auto theirs = [](const GameState& g) { return g.RemoteHand[0]; };
    const auto top = [](const GameState& g) { return g.Stack[g.StackCount - 1]; };
    const auto drawn = [top](const GameState& g) { return "(M:N:" + nformat(top(g)) + ")"; };
    const Case cases[] = {
        {"a discard before drawing", [&](auto& g) { return "(M:D:" + nformat(mine(g)) + ")"; },
         "before drawing"},
        {"a discard of 53", [](auto&) { return "(M:D:53)"; }, kUnreadable},
        {"a draw naming a card below the top",
         [](auto& g) { return "(M:N:" + nformat(g.Stack[0]) + ")"; }, "not the top card"},
        {"a draw of 53", [](auto&) { return "(M:N:53)"; }, kUnreadable},
        {"a take from position 99", [](auto&) { return "(M:U:99)"; }, "holds no card"},
        {"a meld before drawing",
         [&](auto& g) {
             return "(M:M:N:" + CardList({mine(g), g.LocalHand[1], g.LocalHand[2]}) + ")";
         },
         "before drawing"},
        {"a meld of the bot's cards",
         [&](auto& g) {
             return drawn(g) + "(M:M:N:" + CardList({theirs(g), g.RemoteHand[1], g.RemoteHand[2]}) +
                    ")";
         },
         "which it does not hold"},
        {"a meld naming one card thrice",
         [&](auto& g) {
             return drawn(g) + "(M:M:N:" + CardList({mine(g), mine(g), mine(g)}) + ")";
         },
         "which it does not hold"},
        {"a lay-off onto no column",
         [&](auto& g) { return drawn(g) + "(M:M:00:" + CardList({mine(g)}) + ")"; },
         "onto a column the table does not have"},
        {"a second draw", [&](auto& g) { return drawn(g) + "(M:U:00)"; }, "after it had drawn"},
        {"a discard of the bot's card",
         [&](auto& g) { return drawn(g) + "(M:D:" + nformat(theirs(g)) + ")"; },
         "which it does not hold"},
        {"a deal from the client",
         [](auto&) { return "(" + DealMessage(ShuffleOrder(SeededRandom(4))) + ")"; },
         "which only the server deals"},
        {"a deal of 51 cards",
         [](auto&) {
             return "(" + DealMessage(ShuffleOrder(SeededRandom(4))).substr(0, 155) + ")";
         },
         kUnreadable},
        {"a frame that never closes", [](auto&) { return "(" + std::string(1 << 20, 'x'); },
         kTooLong},
        {"a 1 MB chat line", [](auto&) { return "(C:" + std::string(1 << 20, 'y') + ")"; },
         kTooLong},
        {"a million empty frames",
         [](auto&) {
             std::string frames;
             for (int i = 0; i < 1'000'000; ++i) frames += "()";
             return frames;
         },
         ""},
        {"kinds it does not know", [](auto&) { return std::string("(X:1)(M:Q:01)(c:x)"); }, ""},
        {"chat with parentheses", [](auto&) { return std::string("(C:{LPAREN}hi))"); }, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Session s;
        ASSERT_NO_FATAL_FAILURE(s.BotServes());
        s.Send(c.bytes(s.game));
        if (*c.why) {
            s.ExpectRefused(c.why);
            ASSERT_FALSE(HasFailure()) << "one case failing is enough to wait for";
            continue;
        }
        // The game goes on: a whole turn of ours, and the bot answers with its own.
        s.Send(s.Turn());
        EXPECT_TRUE(s.Until([&] { return s.Sent("M:"); })) << s.bot.Story();
        EXPECT_TRUE(s.bot.running()) << s.bot.Story();
    }
}

// The test deals: every deal but a shuffle of the 52 cards is refused, and so is anything the
// server could not have sent after one.
TEST(HostilePeer, TheBotConnectingRefusesWhatTheServerCouldNotHaveSent) {
    const std::string deal = DealMessage(ShuffleOrder(SeededRandom(9)));
    const std::string stock = deal.substr(2);
    const std::pair<std::string, const char*> cases[] = {
        {"(s:)", kUnreadable},
        {"(s:" + stock.substr(3) + ")", kUnreadable},
        {"(s:" + stock + "01,)", kUnreadable},
        {"(s:xx," + stock.substr(3) + ")", kUnreadable},
        {"(s:" +
             [] {
                 std::string s;
                 for (int i = 0; i < 52; ++i) s += "01,";
                 return s;
             }() +
             ")",
         "that does not hold each card once"},
        {"(s:" + stock.substr(3, 3) + stock.substr(3) + ")", "that does not hold each card once"},
        {"(" + deal + ")(M:M:N:53,)", kUnreadable},
        {"(" + deal + ")(" + deal + ")", "in the middle of a round"},
        {"(" + deal + ")(M:D:xx)", kUnreadable},
    };
    for (const auto& [bytes, why] : cases) {
        SCOPED_TRACE(bytes.substr(0, 40));
        Session s;
        ASSERT_NO_FATAL_FAILURE(s.PeerServes());
        s.Send(bytes);
        s.ExpectRefused(why);
        ASSERT_FALSE(HasFailure()) << "one case failing is enough to wait for";
    }
}

// Strangers knocking during a game are turned away and the game goes on; the peer vanishing at
// any point is told as the opponent leaving.
TEST(HostilePeer, KnockingStrangersChangeNothingAndAVanishingPeerIsTheOpponentLeaving) {
    {
        Session s;
        ASSERT_NO_FATAL_FAILURE(s.BotServes());
        static const QRegularExpression listening("on port (\\d+)");
        const quint16 port = listening.match(s.bot.err()).captured(1).toUShort();
        std::vector<std::unique_ptr<QTcpSocket>> strangers;
        for (int i = 0; i < 20; ++i) {
            strangers.push_back(std::make_unique<QTcpSocket>());
            strangers.back()->connectToHost("127.0.0.1", port);
        }
        for (auto& stranger : strangers)
            EXPECT_TRUE(stranger->state() == QAbstractSocket::UnconnectedState ||
                        stranger->waitForDisconnected(kWaitMs));
        s.Send(s.Turn());
        EXPECT_TRUE(s.Until([&] { return s.Sent("M:"); })) << s.bot.Story();
    }
    const std::function<void(Session&)> stages[] = {
        [](Session&) {},
        [](Session& s) { s.Send("(M:N:" + nformat(s.Top()) + ")"); },
        [](Session& s) { s.Send(s.Turn()); },
    };
    for (const auto& stage : stages) {
        Session s;
        ASSERT_NO_FATAL_FAILURE(s.BotServes());
        stage(s);
        s.peer->close();
        ASSERT_TRUE(s.Until([&] { return !s.bot.running(); }));
        EXPECT_EQ(s.bot.exitCode(), 0) << s.bot.Story();
        EXPECT_TRUE(s.bot.out().contains("Your opponent left.")) << s.bot.Story();
    }
}

// The bot serving, its Kelvane client gone: a stranger who calls (one who saw the first
// connection and names its game and counts, or answers with a made-up proof) hears only the
// challenge and is closed; a new Kelvane player is told the bot keeps its game; the client that
// left proves itself with the session's secret and the game goes on.
TEST(HostilePeer, WhileTheBotWaitsForItsClientNobodyElseLearnsOrTakesTheGame) {
    Session s;
    ASSERT_NO_FATAL_FAILURE(s.BotServes());
    const std::string ourKey(kKeyDigits, '7');
    const Received hello = ReadMessage(s.received.substr(1, s.received.find(')') - 1));
    ASSERT_EQ(hello.hello.key.size(), kKeyDigits) << s.received;
    s.Send("(K:HELLO:2:-:0:0:" + ourKey + ":the test)" + s.Turn());
    ASSERT_TRUE(s.Until([&] { return s.Sent("M:D:"); })) << s.bot.Story();
    s.peer->abort();
    ASSERT_TRUE(s.Until([&] { return s.bot.err().contains("the connection was lost"); }));
    static const QRegularExpression listening("on port (\\d+)");
    const quint16 port = listening.match(s.bot.err()).captured(1).toUShort();
    // A caller, and the one frame the bot says to him: its challenge.
    const auto call = [&](QTcpSocket& caller) {
        caller.connectToHost("127.0.0.1", port);
        std::string heard;
        EXPECT_TRUE(caller.waitForConnected(kWaitMs));
        while (heard.find(')') == std::string::npos && caller.waitForReadyRead(kWaitMs))
            heard += caller.readAll().toStdString();
        const Received r =
            ReadMessage(heard.size() < 2 ? heard : heard.substr(1, heard.size() - 2));
        EXPECT_EQ(r.kind, MessageKind::kChallenge) << "heard \"" << heard << "\"\n"
                                                   << s.bot.Story();
        return r.nonce;
    };
    const std::string lies[] = {
        "(K:HELLO:2:0123456789abcdef:1:2:-:the test)",
        "(K:PROOF:1:2:" + std::string(kProofDigits, 'e') + ")",
    };
    for (const std::string& lie : lies) {
        QTcpSocket stranger;
        call(stranger);
        stranger.write(lie.data(), static_cast<qint64>(lie.size()));
        EXPECT_TRUE(stranger.waitForDisconnected(kWaitMs)) << lie;
        EXPECT_EQ(stranger.readAll().size(), 0) << "nothing after the challenge";
    }
    test::Program newcomer{"a new player", ""};
    newcomer.Start(KELVANE_BOT_PATH, {"--connect", "127.0.0.1", "--port", QString::number(port)});
    ASSERT_TRUE(newcomer.process().waitForFinished(kWaitMs));
    newcomer.Gather();
    EXPECT_EQ(newcomer.exitCode(), 1);
    EXPECT_TRUE(newcomer.err().contains("keeping the game in progress")) << newcomer.Story();
    ASSERT_TRUE(s.bot.running()) << s.bot.Story();
    // The client that left: the keyed hash of this challenge under both halves of the secret.
    s.peer = std::make_unique<QTcpSocket>();
    const std::string nonce = call(*s.peer);
    s.received.clear();
    s.Send("(" + ProofMessage({1, 2, ProofMac(hello.hello.key, ourKey, nonce, 1, 2)}) + ")");
    ASSERT_TRUE(s.Until([&] { return s.bot.err().contains("the opponent is back"); }))
        << s.bot.Story();
    EXPECT_EQ(ReadMessage(s.received.substr(1, s.received.find(')') - 1)).kind,
              MessageKind::kHello);
}

}  // namespace
}  // namespace kelvane
