// The window against a kelvane-bot process, one whole game to 500 points in each seat. Only here
// do the window's own handlers, socket, boxes and results play a whole game, moved by a player at
// either seat; the bot's lines are checked in detail by two_bots_test.cpp, the window's widgets
// and views by the two windows' round (views_test.cpp), and the engines' agreement message by
// message by the in-memory duel (sim_test.cpp). A side that stops playing ends the game within
// seconds, told with whose turn it was (game_watch.h).

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QRegularExpression>
#include <QStringList>
#include <memory>
#include <string>
#include <vector>

#include "game_watch.h"
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
    struct Kelvane {
        explicit Kelvane(Deck& d) : window(socket, d, [] { return SeededRandom(11); }) {}
        QtSocket socket;
        UnattendedWindow window;
    };
    auto program = std::make_unique<Kelvane>(deck);
    QtSocket& socket = program->socket;
    UnattendedWindow& window = program->window;
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

}  // namespace
}  // namespace kelvane
