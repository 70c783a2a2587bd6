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
#include <ostream>
#include <string>

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
    friend void PrintTo(const Pairing& p, std::ostream* os) {
        *os << "seeds " << p.serverSeed << " and " << p.clientSeed
            << (p.clientCounts ? "" : ", the client uncounted") << ", level " << p.level;
    }
};

// A serving and a connecting kelvane-bot over loopback, the client sent to the port the server
// names. A bot that stops playing or leaves early ends the game at once: the reason, told with
// both stories, is returned; empty when both left as they should.
std::string PlayTwoBots(const Pairing& pairing, test::Program& server, test::Program& client) {
    const QStringList level =
        pairing.level == 1 ? QStringList{"--level", "1"}
                           : QStringList{"--level", "2", "--playouts", "16", "--think-ms", "0"};
    const auto rounds = [&](bool counts) {
        return level + (counts ? QStringList{"--rounds", QString::number(kRounds)} : QStringList{});
    };
    server.Start(KELVANE_BOT_PATH, QStringList{"--serve", "--port", "0", "--delay", "0", "--seed",
                                               QString::number(pairing.serverSeed)} +
                                       rounds(true));
    const auto wait = [&] {
        for (test::Program* bot : {&server, &client})
            if (bot->running()) bot->process().waitForReadyRead(20);
    };
    static const QRegularExpression listening("waiting for an opponent on port (\\d+)");
    const std::string stopped = test::Watch(
        {&server}, [&] { return listening.match(server.err()).hasMatch(); }, wait);
    if (!stopped.empty()) return stopped;
    client.Start(KELVANE_BOT_PATH, QStringList{"--connect", "127.0.0.1", "--port",
                                               listening.match(server.err()).captured(1), "--delay",
                                               "0", "--seed", QString::number(pairing.clientSeed)} +
                                       rounds(pairing.clientCounts));
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

// The seeds are ones whose 200 rounds never leave a bot with nothing it may draw.
INSTANTIATE_TEST_SUITE_P(Seeds, TwoBots,
                         ::testing::Values(Pairing{1, 101, true, 1}, Pairing{7, 2, false, 2}),
                         [](const auto& p) {
                             return "Server" + std::to_string(p.param.serverSeed) + "Client" +
                                    std::to_string(p.param.clientSeed) +
                                    (p.param.clientCounts ? "" : "Uncounted") + "Level" +
                                    std::to_string(p.param.level);
                         });

}  // namespace
}  // namespace kelvane
