// Whole games between two kelvane-bot processes over loopback TCP, on two pairs of seeds. Only
// here does the program we ship as the computer opponent play itself: its options, its socket,
// the lines it prints for each round and game (mirrored on the two sides) and how it leaves, on its
// own after its rounds or on seeing the other leave. Whether two engines keep in step message by
// message is the in-memory duel's (sim_test.cpp), over ten times the rounds; the window's handlers
// are window_vs_bot_test.cpp's. The client that plays on until the server leaves rides along with
// the second pair rather than in a game of its own. A bot that stops playing ends its game within
// seconds (game_watch.h).

#include <gtest/gtest.h>

#include <QProcess>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "game_watch.h"

namespace kelvane {
namespace {

// A line as the other side prints it: "you" and "opponent" exchanged, "won" and "lost" too.
QString Mirrored(QString line) {
    static const QRegularExpression you("you (-?\\d+), opponent (-?\\d+)");
    line.replace(you, "you \\2, opponent \\1");
    static const QRegularExpression game("^Game: you (won|lost) (-?\\d+) to (-?\\d+)\\.$");
    if (const auto g = game.match(line); g.hasMatch())
        line = QString("Game: you %1 %2 to %3.")
                   .arg(g.captured(1) == "won" ? "lost" : "won", g.captured(3), g.captured(2));
    return line;
}

constexpr int kRounds = 200;

// The server always stops after kRounds; a client given no number of rounds plays on until it
// sees the server leave.
struct Pairing {
    int serverSeed, clientSeed;
    bool clientCounts;
    // Both bots play at this level; the second with a small budget, so the suite stays quick.
    int level;
    bool clientPlain = false;  // the game's own messages only
    int serverRounds = kRounds;
    bool overIPv6 = false;  // the client calls "[::1]:port"
    friend void PrintTo(const Pairing& p, std::ostream* os) {
        *os << "seeds " << p.serverSeed << " and " << p.clientSeed
            << (p.clientCounts ? "" : ", the client uncounted") << ", level " << p.level;
    }
};

// A line between the two bots that drops the connection each time the bytes it has carried from
// the server reach the next of `dropAt`: what it holds of that arrival beyond the mark is lost,
// and both ends are reset, as when a router goes down. The client calls again through it.
class DroppingRelay {
  public:
    explicit DroppingRelay(std::vector<qint64> dropAt) : dropAt_(std::move(dropAt)) {
        listener_.listen(QHostAddress::LocalHost, 0);
    }
    quint16 port() const { return listener_.serverPort(); }
    int drops() const { return drops_; }
    void ServeOn(quint16 serverPort) { serverPort_ = serverPort; }

    // Takes a new call, carries what waits either way, drops the line at the next mark, and
    // passes a close on from one end to the other.
    void Pump() {
        if (!client_ && serverPort_ != 0 && listener_.waitForNewConnection(0)) {
            client_.reset(listener_.nextPendingConnection());
            client_->setParent(nullptr);
            server_ = std::make_unique<QTcpSocket>();
            server_->connectToHost(QHostAddress::LocalHost, serverPort_);
            server_->waitForConnected(1000);
            // Each move is a few bytes answered at once; none may wait for an acknowledgement.
            for (QTcpSocket* end : {client_.get(), server_.get()})
                end->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        }
        if (!client_) return;
        client_->waitForReadyRead(1);
        server_->write(client_->readAll());
        server_->flush();
        server_->waitForReadyRead(1);
        QByteArray down = server_->readAll();
        const bool drop = drops_ < static_cast<int>(dropAt_.size()) &&
                          carried_ + down.size() >= dropAt_[static_cast<std::size_t>(drops_)];
        if (drop) down.truncate(dropAt_[static_cast<std::size_t>(drops_)] - carried_);
        carried_ += down.size();
        client_->write(down);
        client_->flush();
        if (drop) {
            ++drops_;
            return Hang(true);
        }
        if (client_->state() != QAbstractSocket::ConnectedState ||
            server_->state() != QAbstractSocket::ConnectedState)
            Hang(false);
    }

  private:
    void Hang(bool reset) {
        for (QTcpSocket* end : {client_.get(), server_.get()}) {
            if (reset) {
                end->abort();
            } else {
                end->disconnectFromHost();
                if (end->state() != QAbstractSocket::UnconnectedState)
                    end->waitForDisconnected(100);
            }
        }
        client_.reset();
        server_.reset();
    }

    QTcpServer listener_;
    std::unique_ptr<QTcpSocket> client_, server_;
    quint16 serverPort_ = 0;
    std::vector<qint64> dropAt_;
    qint64 carried_ = 0;
    int drops_ = 0;
};

// A serving and a connecting kelvane-bot over loopback, the client sent to the port the server
// names, or through `relay`. A bot that stops playing or leaves early ends the game at once: the
// reason, told with both stories, is returned; empty when both left as they should.
std::string PlayTwoBots(const Pairing& pairing, test::Program& server, test::Program& client,
                        DroppingRelay* relay = nullptr) {
    const QStringList level =
        pairing.level == 1 ? QStringList{"--level", "1"}
                           : QStringList{"--level", "2", "--playouts", "16", "--think-ms", "0"};
    const auto rounds = [&](bool counts) {
        return level + (counts ? QStringList{"--rounds", QString::number(kRounds)} : QStringList{});
    };
    server.Start(KELVANE_BOT_PATH, QStringList{"--serve", "--port", "0", "--delay", "0", "--seed",
                                               QString::number(pairing.serverSeed), "--rounds",
                                               QString::number(pairing.serverRounds)} +
                                       level);
    const auto wait = [&] {
        if (relay) relay->Pump();
        for (test::Program* bot : {&server, &client})
            if (bot->running()) bot->process().waitForReadyRead(relay ? 1 : 20);
    };
    static const QRegularExpression listening("waiting for an opponent on port (\\d+)");
    const std::string stopped = test::Watch(
        {&server}, [&] { return listening.match(server.err()).hasMatch(); }, wait);
    if (!stopped.empty()) return stopped;
    const QString port = listening.match(server.err()).captured(1);
    if (relay) relay->ServeOn(port.toUShort());
    const QStringList calls = pairing.overIPv6
                                  ? QStringList{"--connect", "[::1]:" + port}
                                  : QStringList{"--connect", "127.0.0.1", "--port",
                                                relay ? QString::number(relay->port()) : port};
    client.Start(KELVANE_BOT_PATH,
                 calls +
                     QStringList{"--delay", "0", "--seed", QString::number(pairing.clientSeed)} +
                     rounds(pairing.clientCounts) +
                     (pairing.clientPlain ? QStringList{"--plain"} : QStringList{}));
    return test::Watch(
        {&server, &client}, [&] { return !server.running() && !client.running(); }, wait);
}

class TwoBots : public ::testing::TestWithParam<Pairing> {};

// Both leave cleanly after their rounds, the client that plays on on seeing the server leave;
// nothing was refused or failed on either side, and each printed the other's story mirrored.
TEST_P(TwoBots, PlayTwoHundredRoundsAndTellTheSameStory) {
    const Pairing pairing = GetParam();
    const QString lastRound = QString("Round %1: ").arg(kRounds);
    test::Program server("the server", lastRound);
    test::Program client("the client", pairing.clientCounts ? lastRound : "Your opponent left.");
    const std::string stopped = PlayTwoBots(pairing, server, client);
    ASSERT_TRUE(stopped.empty()) << stopped;
    QStringList told[2];
    for (const test::Program* bot : {&server, &client}) {
        EXPECT_EQ(bot->exitCode(), 0) << bot->Story();
        for (const char* trouble : {"engine failure", "the table", "no move", "sent a"})
            EXPECT_FALSE(bot->err().contains(trouble)) << bot->Story();
        QStringList& lines = told[bot == &client];
        lines = bot->out().split('\n', Qt::SkipEmptyParts);
        EXPECT_EQ(lines.filter(QRegularExpression("^Round \\d+: ")).size(), kRounds);
    }
    if (!pairing.clientCounts) {
        EXPECT_EQ(told[1].takeLast(), "Your opponent left.");
    }
    ASSERT_EQ(told[0].size(), told[1].size());
    for (qsizetype k = 0; k < told[0].size(); ++k)
        ASSERT_EQ(told[0][k].toStdString(), Mirrored(told[1][k]).toStdString()) << "line " << k + 1;
}

// The line between the bots drops three times in the middle of their game; each time the client
// calls again, both resume where they were, and they finish their rounds telling the same story
// as bots with the same seeds whose line never dropped.
TEST(TwoBotsThroughADroppingLine, ResumeAndTellTheStoryOfAnUncutGame) {
    const Pairing pairing{8, 1008, true, 1};
    const QString lastRound = QString("Round %1: ").arg(kRounds);
    QStringList uncut, cut[2];
    {
        test::Program server("the server", lastRound), client("the client", lastRound);
        const std::string stopped = PlayTwoBots(pairing, server, client);
        ASSERT_TRUE(stopped.empty()) << stopped;
        uncut = server.out().split('\n', Qt::SkipEmptyParts);
    }
    DroppingRelay relay({4000, 15000, 30000});
    test::Program server("the server", lastRound), client("the client", lastRound);
    const std::string stopped = PlayTwoBots(pairing, server, client, &relay);
    ASSERT_TRUE(stopped.empty()) << stopped;
    EXPECT_EQ(relay.drops(), 3);
    for (const test::Program* bot : {&server, &client}) {
        EXPECT_EQ(bot->exitCode(), 0) << bot->Story();
        EXPECT_EQ(bot->err().count("the connection was lost"), 3) << bot->Story();
        EXPECT_EQ(bot->err().count("the opponent is back"), 3) << bot->Story();
        cut[bot == &client] = bot->out().split('\n', Qt::SkipEmptyParts);
    }
    EXPECT_EQ(cut[0], uncut);
    ASSERT_EQ(cut[0].size(), cut[1].size());
    for (qsizetype k = 0; k < cut[0].size(); ++k)
        ASSERT_EQ(cut[0][k].toStdString(), Mirrored(cut[1][k]).toStdString()) << "line " << k + 1;
}

// With these seeds the 240th round leaves nobody anything to draw. Facing a bot that speaks only
// the game's own messages, the Kelvane bot says so and leaves after its last round line; the
// plain one, which knows no end for such a round, waits until then and sees it leave.
TEST(TwoBots, AKelvaneBotFacingAPlainOneLeavesWhenNobodyCanDraw) {
    const Pairing pairing{8, 1008, false, 1, true, 400};
    test::Program server("the server", "Round 239: ");
    test::Program client("the client", "Your opponent left.");
    const std::string stopped = PlayTwoBots(pairing, server, client);
    ASSERT_TRUE(stopped.empty()) << stopped;
    EXPECT_EQ(server.exitCode(), 0) << server.Story();
    EXPECT_EQ(client.exitCode(), 0) << client.Story();
    EXPECT_TRUE(server.err().contains("neither player can draw")) << server.Story();
    EXPECT_TRUE(server.out().split('\n', Qt::SkipEmptyParts).last().startsWith("Round 239: "))
        << server.Story();
    for (const test::Program* bot : {&server, &client})
        EXPECT_FALSE(bot->err().contains("playing ")) << "nobody announced both ways";
}

// The seeds are ones whose 200 rounds never leave a bot with nothing it may draw.
INSTANTIATE_TEST_SUITE_P(Seeds, TwoBots,
                         ::testing::Values(Pairing{1, 101, true, 1},
                                           Pairing{7, 2, false, 2, false, kRounds, true}),
                         [](const auto& p) {
                             return "Server" + std::to_string(p.param.serverSeed) + "Client" +
                                    std::to_string(p.param.clientSeed) +
                                    (p.param.clientCounts ? "" : "Uncounted") + "Level" +
                                    std::to_string(p.param.level) +
                                    (p.param.overIPv6 ? "OverIPv6" : "");
                         });

}  // namespace
}  // namespace kelvane
