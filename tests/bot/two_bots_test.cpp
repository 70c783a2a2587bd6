// SPDX-License-Identifier: GPL-3.0-or-later
// Whole games between two kelvane-bot processes over loopback TCP. Only here does the program we
// ship as the computer opponent play itself: its options, its socket over IPv4 and IPv6, the lines
// it prints for each round and game (mirrored on the two sides), how it leaves, on its own after
// its rounds or on seeing the other leave, and how it resumes a game whose line dropped. Whether
// two engines keep in step message by message is the in-memory duel's (sim_test.cpp), over ten
// times the rounds; the window's handlers are window_vs_bot_test.cpp's. The client that plays on
// until the server leaves rides along with the second pairing rather than in a game of its own. A
// bot that stops playing ends its game within seconds (game_watch.h).

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QProcess>
#include <QRegularExpression>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "dropping_line.h"
#include "game_watch.h"

namespace kelvane {
namespace {

// A line as the other side prints it: "you" and "opponent" exchanged, "won" and "lost" too.
QString Mirrored(QString line) {
    static const QRegularExpression you("you (-?\\d+), opponent (-?\\d+)"),
        to("(-?\\d+) to (-?\\d+)");
    line.replace(you, "you \\2, opponent \\1").replace(to, "\\2 to \\1");
    return line.replace("won", "w=n").replace("lost", "won").replace("w=n", "lost");
}

// The server stops after its rounds; a client given no number of rounds plays on until it sees
// the server leave.
struct Pairing {
    const char* name;
    int serverSeed, clientSeed;
    bool clientCounts;
    int level;                 // the second with a small budget, so the suite stays quick
    int rounds = 200;          // the server's, and a counting client's
    int played = rounds;       // fewer when a round leaves nobody anything to draw
    bool clientPlain = false;  // the game's own messages only
    bool overIPv6 = false;     // the client calls "[::1]:port"
    // Where the line between them drops: the bytes it has carried from the server.
    std::vector<qint64> dropAt = {};
    friend void PrintTo(const Pairing& p, std::ostream* os) { *os << p.name; }
};

// A serving and a connecting kelvane-bot over loopback, the client sent to the port the server
// names, or through a line that drops at `dropAt`. A bot that stops playing or leaves
// early ends the game at once: the reason, told with both stories, is returned; empty when both
// left as they should.
std::string PlayTwoBots(const Pairing& pairing, test::Program& server, test::Program& client,
                        const std::vector<qint64>& dropAt) {
    const QStringList level =
        pairing.level == 1 ? QStringList{"--level", "1"}
                           : QStringList{"--level", "2", "--playouts", "16", "--think-ms", "0"};
    const QString rounds = QString::number(pairing.rounds);
    server.Start(KELVANE_BOT_PATH,
                 QStringList{"--serve", "--port", "0", "--delay", "0", "--seed",
                             QString::number(pairing.serverSeed), "--rounds", rounds} +
                     level);
    std::optional<test::DroppingLine> line;
    const auto wait = [&] {
        QCoreApplication::processEvents();
        for (test::Program* bot : {&server, &client})
            if (bot->running()) bot->process().waitForReadyRead(line ? 1 : 20);
    };
    const std::string stopped = test::Watch(
        {&server}, [&] { return test::ListeningPort(server) != 0; }, wait);
    if (!stopped.empty()) return stopped;
    quint16 port = test::ListeningPort(server);
    if (!dropAt.empty()) port = line.emplace(port, dropAt).port();
    client.Start(KELVANE_BOT_PATH,
                 QStringList{"--connect",
                             (pairing.overIPv6 ? "[::1]:" : "127.0.0.1:") + QString::number(port),
                             "--delay", "0", "--seed", QString::number(pairing.clientSeed)} +
                     level +
                     (pairing.clientCounts ? QStringList{"--rounds", rounds} : QStringList{}) +
                     (pairing.clientPlain ? QStringList{"--plain"} : QStringList{}));
    return test::Watch(
        {&server, &client}, [&] { return !server.running() && !client.running(); }, wait);
}

class TwoBots : public ::testing::TestWithParam<Pairing> {};

// Both leave cleanly after their rounds (with status 0 and their last line, or the watch calls the
// game off), the client that plays on on seeing the server leave;
// nothing was refused or failed on either side, and each printed the other's story mirrored. A
// line that drops is told on both sides each time, both resume where they were, and their story
// is that of bots with the same seeds whose line never dropped.
TEST_P(TwoBots, PlayTheirRoundsAndTellOneStory) {
    const Pairing pairing = GetParam();
    const QString lastRound = QString("Round %1: ").arg(pairing.played);
    test::Program server("the server", lastRound);
    test::Program client("the client", pairing.clientCounts ? lastRound : "Your opponent left.");
    ASSERT_EQ(PlayTwoBots(pairing, server, client, pairing.dropAt), "");
    QStringList told[2];
    for (const test::Program* bot : {&server, &client}) {
        for (const char* trouble : {"engine failure", "the table", "no move", "sent a"})
            EXPECT_FALSE(bot->err().contains(trouble)) << bot->Story();
        const auto drops = static_cast<qsizetype>(pairing.dropAt.size());
        EXPECT_EQ(bot->err().count("the connection was lost"), drops) << bot->Story();
        EXPECT_EQ(bot->err().count("the opponent is back"), drops) << bot->Story();
        told[bot == &client] = bot->out().split('\n', Qt::SkipEmptyParts);
        EXPECT_EQ(told[bot == &client].filter(QRegularExpression("^Round \\d+: ")).size(),
                  pairing.played);
    }
    if (!pairing.clientCounts) {
        EXPECT_EQ(told[1].takeLast(), "Your opponent left.");
    }
    for (QString& line : told[1]) line = Mirrored(line);
    EXPECT_EQ(told[1].join('\n').toStdString(), told[0].join('\n').toStdString());
    // Scripts read these lines: each round's points, the bot's own first, then the totals, which
    // are the sums of the game's rounds; the game's line tells them again, and who won.
    static const QRegularExpression round("^Round \\d+: you (-?\\d+), opponent (-?\\d+)\\.");
    int you = 0, opponent = 0;
    for (const QString& line : told[0]) {
        const QRegularExpressionMatch r = round.match(line);
        if (r.hasMatch()) you += r.captured(1).toInt(), opponent += r.captured(2).toInt();
        const QString totals = QString("you %1, opponent %2.").arg(you).arg(opponent);
        const QString game = QString("you %1 %2 to %3.").arg(you > opponent ? "won" : "lost");
        const QString expected = r.hasMatch() ? r.captured(0) + " Totals: " + totals
                                              : "Game: " + game.arg(you).arg(opponent);
        EXPECT_EQ(line.toStdString(), expected.toStdString());
        if (!r.hasMatch()) you = opponent = 0;
    }
    if (!pairing.dropAt.empty()) {
        test::Program uncutServer("the server", lastRound), uncutClient("the client", lastRound);
        ASSERT_EQ(PlayTwoBots(pairing, uncutServer, uncutClient, {}), "");
        EXPECT_EQ(server.out().toStdString(), uncutServer.out().toStdString());
    }
    // With a program that knows nothing of Kelvane's messages, nobody announces himself both
    // ways, and a round that leaves nobody anything to draw ends the game.
    if (pairing.clientPlain) {
        EXPECT_TRUE(server.err().contains("neither player can draw")) << server.Story();
        for (const test::Program* bot : {&server, &client})
            EXPECT_FALSE(bot->err().contains("playing ")) << "nobody announced both ways";
    }
}

// Seeds whose 200 rounds never leave a bot with nothing it may draw. With 8 and 1008 the 240th
// round leaves nobody anything to draw: facing a bot that speaks only the game's own messages, the
// Kelvane bot says so and leaves after its last round line; the plain one, which knows no end for
// such a round, waits until then and sees it leave. The line drops in rounds 9, 24 and 39.
const std::vector<qint64> kThreeDrops = {4000, 11000, 18000};
INSTANTIATE_TEST_SUITE_P(Seeds, TwoBots,
                         ::testing::Values(Pairing{"Level1", 1, 101, true, 1},
                                           Pairing{"Level2UncountedClientOverIPv6", 7, 2, false, 2,
                                                   200, 200, false, true},
                                           Pairing{"ThroughALineThatDropsThrice", 8, 1008, true, 1,
                                                   50, 50, false, false, kThreeDrops},
                                           Pairing{"KelvaneAgainstPlainLeavesWhenNobodyCanDraw", 8,
                                                   1008, false, 1, 400, 239, true}),
                         [](const auto& p) { return std::string(p.param.name); });

}  // namespace
}  // namespace kelvane
