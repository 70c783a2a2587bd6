// Whole games between two kelvane-bot processes over loopback TCP, on two pairs of seeds. Only
// here does the program we ship as the computer opponent play itself: its options, its socket,
// the lines it prints for each round and game (mirrored on the two sides, totals adding up, a game
// decided at 500) and how it leaves, on its own after its rounds or on seeing the other leave.
// Whether two engines keep in step message by message is the in-memory duel's (sim_test.cpp),
// over ten times the rounds; the window's handlers are window_vs_bot_test.cpp's. The client that
// plays on until the server leaves rides along with the second pair rather than in a game of its
// own. A bot that stops playing ends its game within seconds (game_watch.h).

#include <gtest/gtest.h>

#include <QProcess>
#include <QRegularExpression>
#include <algorithm>
#include <ostream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "game_watch.h"

namespace kelvane {
namespace {

// One result line: a round's points and totals, or a decided game (round 0) with its totals.
struct Line {
    bool won = false;
    int round = 0, you = 0, opponent = 0, totalYou = 0, totalOpponent = 0;
};

struct Output {
    int exitCode = -1;
    std::vector<Line> lines;
    QStringList other;  // what else it printed on standard output
    std::string err;
};

Output Parse(const test::Program& bot) {
    static const QRegularExpression round(
        "^Round (\\d+): you (-?\\d+), opponent (-?\\d+)\\. Totals: you (-?\\d+), opponent "
        "(-?\\d+)\\.$");
    static const QRegularExpression game("^Game: you (won|lost) (-?\\d+) to (-?\\d+)\\.$");
    Output run{bot.exitCode(), {}, {}, bot.err().toStdString()};
    const auto n = [](const QRegularExpressionMatch& m, int i) { return m.captured(i).toInt(); };
    for (const QString& text : bot.out().split('\n', Qt::SkipEmptyParts)) {
        if (const auto r = round.match(text); r.hasMatch())
            run.lines.push_back({false, n(r, 1), n(r, 2), n(r, 3), n(r, 4), n(r, 5)});
        else if (const auto g = game.match(text); g.hasMatch())
            run.lines.push_back({g.captured(1) == "won", 0, 0, 0, n(g, 2), n(g, 3)});
        else
            run.other << text;
    }
    return run;
}

constexpr int kRounds = 200;

// The server always stops after kRounds; a client given no number of rounds plays on until it
// sees the server leave.
struct Pairing {
    int serverSeed, clientSeed;
    bool clientCounts;
    friend void PrintTo(const Pairing& p, std::ostream* os) {
        *os << "seeds " << p.serverSeed << " and " << p.clientSeed
            << (p.clientCounts ? "" : ", the client uncounted");
    }
};

struct Game {
    std::string stopped;  // why the watch called the game off; empty when both left as they should
    Output server, client;
};

// A serving and a connecting kelvane-bot over loopback, the client sent to the port the server
// names. A bot that stops playing or leaves early ends the game at once, told with both stories.
Game PlayTwoBots(const Pairing& pairing) {
    const QString lastRound = QString("Round %1: ").arg(kRounds);
    test::Program server("the server", lastRound);
    test::Program client("the client", pairing.clientCounts ? lastRound : "Your opponent left.");
    const auto rounds = [](bool counts) {
        return counts ? QStringList{"--rounds", QString::number(kRounds)} : QStringList{};
    };
    server.Start(KELVANE_BOT_PATH, QStringList{"--serve", "--port", "0", "--delay", "0", "--seed",
                                               QString::number(pairing.serverSeed)} +
                                       rounds(true));
    const auto wait = [&] {
        for (test::Program* bot : {&server, &client})
            if (bot->running()) bot->process().waitForReadyRead(20);
    };
    static const QRegularExpression listening("waiting for an opponent on port (\\d+)");
    Game game;
    game.stopped = test::Watch(
        {&server}, [&] { return listening.match(server.err()).hasMatch(); }, wait);
    if (!game.stopped.empty()) return game;
    client.Start(KELVANE_BOT_PATH, QStringList{"--connect", "127.0.0.1", "--port",
                                               listening.match(server.err()).captured(1), "--delay",
                                               "0", "--seed", QString::number(pairing.clientSeed)} +
                                       rounds(pairing.clientCounts));
    game.stopped = test::Watch(
        {&server, &client}, [&] { return !server.running() && !client.running(); }, wait);
    game.server = Parse(server);
    game.client = Parse(client);
    return game;
}

// A bot that left on its own after `rounds` rounds, numbered from 1, whose totals add up the
// game's rounds; a game is told exactly when a total has reached 500 with the totals apart, and
// then both return to 0. A move refused shows on the other side as an engine failure or a box;
// "no move" would mean the rules left a bot stuck.
void ExpectCleanEnd(const Output& run, int rounds) {
    EXPECT_EQ(run.exitCode, 0) << run.err;
    for (const char* trouble : {"engine failure", "the table said", "no move"})
        EXPECT_EQ(run.err.find(trouble), std::string::npos) << run.err;
    int round = 0, you = 0, opponent = 0;
    bool decided = false;
    for (const Line& l : run.lines) {
        SCOPED_TRACE("after round " + std::to_string(round));
        ASSERT_EQ(l.round == 0, decided);
        if (l.round != 0) {
            ASSERT_EQ(l.round, ++round);
            you += l.you;
            opponent += l.opponent;
        }
        ASSERT_EQ(std::pair(l.totalYou, l.totalOpponent), std::pair(you, opponent));
        if (l.round == 0) {
            ASSERT_EQ(l.won, you > opponent);
            you = opponent = 0;
        }
        decided = l.round != 0 && std::max(you, opponent) >= 500 && you != opponent;
    }
    EXPECT_EQ(round, rounds);
}

class TwoBots : public ::testing::TestWithParam<Pairing> {};

TEST_P(TwoBots, PlayTwoHundredRoundsAndTellTheSameStory) {
    const Pairing pairing = GetParam();
    const Game game = PlayTwoBots(pairing);
    ASSERT_TRUE(game.stopped.empty()) << game.stopped;
    const Output& server = game.server;
    const Output& client = game.client;
    ExpectCleanEnd(server, kRounds);
    ExpectCleanEnd(client, kRounds);
    EXPECT_EQ(server.other.join('\n').toStdString(), "");
    EXPECT_EQ(client.other.join('\n').toStdString(),
              pairing.clientCounts ? "" : "Your opponent left.");
    ASSERT_EQ(server.lines.size(), client.lines.size());
    for (std::size_t k = 0; k < server.lines.size(); ++k) {
        const Line& a = server.lines[k];
        const Line& b = client.lines[k];
        ASSERT_EQ(std::tuple(a.round, a.you, a.opponent, a.totalYou, a.totalOpponent),
                  std::tuple(b.round, b.opponent, b.you, b.totalOpponent, b.totalYou))
            << "line " << k + 1;
    }
}

// The seeds are ones whose 200 rounds never leave a bot with nothing it may draw.
INSTANTIATE_TEST_SUITE_P(Seeds, TwoBots,
                         ::testing::Values(Pairing{1, 101, true}, Pairing{7, 2, false}),
                         [](const auto& p) {
                             return "Server" + std::to_string(p.param.serverSeed) + "Client" +
                                    std::to_string(p.param.clientSeed) +
                                    (p.param.clientCounts ? "" : "Uncounted");
                         });

}  // namespace
}  // namespace kelvane
