#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QStringList>
#include <memory>
#include <string>
#include <vector>

#include "qtnet/qt_socket.h"
#include "sim/random_policy.h"
#include "ui/deck.h"
#include "ui/form1.h"

namespace kelvane {
namespace {

// The real window with a player who answers every box with Yes or OK, names 127.0.0.1 as the
// server and does not sit through the one-second holds. Everything else is the program's own.
class UnattendedWindow : public Form1 {
  public:
    using Form1::Form1;

    bool ShowBox(const BoxText& box) override {
        boxes.push_back(box.text);
        return true;
    }
    std::string AskHost() override { return "127.0.0.1"; }
    void Pause(int) override {}
    bool AskToContinue(const std::string& text) override {
        failures.push_back(text);
        return true;
    }

    std::vector<std::string> boxes;
    std::vector<std::string> failures;
};

// A whole 500-point game between the window, moved by a random legal player through its table's
// handlers, and a kelvane-bot process, with the window serving in one case and connecting in the
// other. The bot's engine refusing a move of the window's, or the reverse, shows as a failure
// report or a box.
class WindowAgainstBot : public ::testing::TestWithParam<bool> {};

TEST_P(WindowAgainstBot, PlaysAWholeGame) {
    const bool windowServes = GetParam();
    Deck deck;
    struct Program {
        explicit Program(Deck& d) : window(socket, d, [] { return SeededRandom(11); }) {}
        QtSocket socket;
        UnattendedWindow window;
    };
    auto program = std::make_unique<Program>(deck);
    QtSocket& socket = program->socket;
    UnattendedWindow& window = program->window;
    window.show();
    sim::RandomPolicy player(5);
    QProcess bot;
    bot.setReadChannel(QProcess::StandardError);
    QStringList args{"--delay", "0", "--seed", "3", "--port"};
    if (windowServes) {
        window.table().UsePort(0);
        window.table().mnuServer_Click();
        bot.start(KELVANE_BOT_PATH, args << QString::number(socket.LocalPort(0)) << "--connect"
                                         << "127.0.0.1");
    } else {
        bot.start(KELVANE_BOT_PATH, args << "0"
                                         << "--serve");
        // Told on standard error once it listens, perhaps in pieces.
        QString told;
        QRegularExpressionMatch port;
        while (!port.hasMatch() && bot.waitForReadyRead(10'000)) {
            told += bot.readAllStandardError();
            port = QRegularExpression("on port (\\d+)\n").match(told);
        }
        ASSERT_TRUE(port.hasMatch()) << told.toStdString();
        window.table().UsePort(port.captured(1).toInt());
        window.table().mnuClient_Click();
    }

    ASSERT_TRUE(bot.waitForStarted(10'000));
    bot.setReadChannel(QProcess::StandardOutput);
    QString out;
    const QDeadlineTimer deadline(120'000);
    while (!out.contains("Game:") && bot.state() == QProcess::Running && !deadline.hasExpired() &&
           window.failures.empty()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        bot.waitForReadyRead(0);
        out += bot.readAllStandardOutput();
        if (window.table().state().MyTurn) player.Act(window.table());
    }
    window.close();
    const std::vector<std::string> boxes = window.boxes, failures = window.failures;
    // The program ends with its window, and its connection with it.
    program.reset();
    while (bot.state() == QProcess::Running && !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        bot.waitForFinished(5);
    }
    ASSERT_EQ(bot.state(), QProcess::NotRunning);
    out += bot.readAllStandardOutput();
    const QString err = bot.readAllStandardError();

    EXPECT_TRUE(out.contains(QRegularExpression("^Game: you (won|lost) \\d+ to \\d+\\.$",
                                                QRegularExpression::MultilineOption)))
        << out.toStdString() << err.toStdString();
    EXPECT_TRUE(out.startsWith("Round 1: you ")) << out.toStdString();
    EXPECT_TRUE(out.endsWith("Your opponent left.\n")) << out.toStdString();
    EXPECT_EQ(bot.exitCode(), 0);
    EXPECT_FALSE(err.contains("engine failure") || err.contains("the table said"))
        << err.toStdString();
    EXPECT_TRUE(failures.empty()) << failures.front();
    for (const std::string& box : boxes)
        EXPECT_TRUE(box.starts_with("Discard the ") || box == "Sure you want to quit?") << box;
}

INSTANTIATE_TEST_SUITE_P(BothSeats, WindowAgainstBot, ::testing::Bool(), [](const auto& seat) {
    return seat.param ? "WindowServes" : "BotServes";
});

}  // namespace
}  // namespace kelvane
