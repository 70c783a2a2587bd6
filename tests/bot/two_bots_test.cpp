#include <gtest/gtest.h>

#include <QDeadlineTimer>
#include <QProcess>
#include <QRegularExpression>
#include <algorithm>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

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

Output Collect(QProcess& p) {
    static const QRegularExpression round(
        "^Round (\\d+): you (-?\\d+), opponent (-?\\d+)\\. Totals: you (-?\\d+), opponent "
        "(-?\\d+)\\.$");
    static const QRegularExpression game("^Game: you (won|lost) (-?\\d+) to (-?\\d+)\\.$");
    Output run{p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1,
               {},
               {},
               p.readAllStandardError().toStdString()};
    const auto n = [](const QRegularExpressionMatch& m, int i) { return m.captured(i).toInt(); };
    for (const QString& text :
         QString::fromUtf8(p.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts)) {
        if (const auto r = round.match(text); r.hasMatch())
            run.lines.push_back({false, n(r, 1), n(r, 2), n(r, 3), n(r, 4), n(r, 5)});
        else if (const auto g = game.match(text); g.hasMatch())
            run.lines.push_back({g.captured(1) == "won", 0, 0, 0, n(g, 2), n(g, 3)});
        else
            run.other << text;
    }
    return run;
}

// A serving and a connecting kelvane-bot over loopback, the client sent to the port the server
// names; both are killed if they outlast a generous deadline.
std::pair<Output, Output> PlayTwoBots(const QStringList& serverArgs,
                                      const QStringList& clientArgs) {
    const QDeadlineTimer deadline(120'000);
    QProcess server, client;
    server.start(KELVANE_BOT_PATH,
                 QStringList{"--serve", "--port", "0", "--delay", "0"} + serverArgs);
    server.setReadChannel(QProcess::StandardError);
    QString told;
    QRegularExpressionMatch port;
    while (!port.hasMatch() && server.waitForReadyRead(10'000)) {
        told += QString::fromUtf8(server.readAllStandardError());
        port = QRegularExpression("waiting for an opponent on port (\\d+)").match(told);
    }
    EXPECT_TRUE(port.hasMatch()) << told.toStdString();
    client.start(KELVANE_BOT_PATH,
                 QStringList{"--connect", "127.0.0.1", "--port", port.captured(1), "--delay", "0"} +
                     clientArgs);
    for (QProcess* p : {&server, &client}) {
        while (p->state() != QProcess::NotRunning && !deadline.hasExpired())
            p->waitForFinished(100);
        if (p->state() == QProcess::NotRunning) continue;
        ADD_FAILURE() << "a bot was still playing at the deadline";
        p->kill();
        p->waitForFinished();
    }
    std::pair<Output, Output> runs{Collect(server), Collect(client)};
    runs.first.err.insert(0, told.toStdString());
    return runs;
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

class TwoBots : public ::testing::TestWithParam<std::pair<int, int>> {};

// The seeds are ones whose 200 rounds never leave a bot with nothing it may draw.
TEST_P(TwoBots, PlayTwoHundredRoundsAndTellTheSameStory) {
    const auto [serverSeed, clientSeed] = GetParam();
    const auto [server, client] =
        PlayTwoBots({"--rounds", "200", "--seed", QString::number(serverSeed)},
                    {"--rounds", "200", "--seed", QString::number(clientSeed)});
    ExpectCleanEnd(server, 200);
    ExpectCleanEnd(client, 200);
    EXPECT_EQ((server.other + client.other).join('\n').toStdString(), "");
    ASSERT_EQ(server.lines.size(), client.lines.size());
    for (std::size_t k = 0; k < server.lines.size(); ++k) {
        const Line& a = server.lines[k];
        const Line& b = client.lines[k];
        ASSERT_EQ(std::tuple(a.round, a.you, a.opponent, a.totalYou, a.totalOpponent),
                  std::tuple(b.round, b.opponent, b.you, b.totalOpponent, b.totalYou))
            << "line " << k + 1;
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, TwoBots, ::testing::Values(std::pair(1, 101), std::pair(7, 2)));

// Given no number of rounds, the client plays on until the server leaves after its three.
TEST(TwoBots, AClientWithoutRoundsSeesItsOpponentLeave) {
    const auto [server, client] = PlayTwoBots({"--rounds", "3", "--seed", "4"}, {"--seed", "5"});
    ExpectCleanEnd(server, 3);
    ExpectCleanEnd(client, 3);
    EXPECT_EQ(client.other.join('\n').toStdString(), "Your opponent left.");
}

}  // namespace
}  // namespace kelvane
