// The first screen, the game by keyboard alone and what a screen reader is told, against a real
// kelvane-bot: the welcome's buttons start what they say, a round is played to its end by keys
// sent to whatever holds the focus, and every card slot, frame and the status line carry the
// names a reader speaks.

#include <gtest/gtest.h>

#include <QAccessible>
#include <QComboBox>
#include <QCoreApplication>
#include <QFile>
#include <QGroupBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>
#include <filesystem>

#include "game/meld_search.h"
#include "game_watch.h"
#include "headless/gestures.h"
#include "qtnet/qt_socket.h"
#include "ui/announcer.h"
#include "ui/card_image.h"
#include "ui/computer_opponent.h"
#include "ui/deck.h"
#include "ui/table_keys.h"
#include "ui/welcome_panel.h"
#include "unattended_window.h"

namespace kelvane {
namespace {

using Row = TableKeys::Row;

// The local addresses a process listens on, as the system lists them ("0100007F:A2B3" is
// 127.0.0.1): its sockets' inodes found in the kernel's TCP tables.
QStringList ListeningOn(qint64 pid) {
    QStringList inodes, addresses;
    for (const auto& fd :
         std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/fd")) {
        std::error_code error;
        const std::string target = std::filesystem::read_symlink(fd, error).string();
        if (target.starts_with("socket:["))
            inodes << QString::fromStdString(target.substr(8)).chopped(1);
    }
    for (const char* table : {"/proc/net/tcp", "/proc/net/tcp6"}) {
        QFile file(table);
        if (!file.open(QIODevice::ReadOnly)) continue;
        for (const QByteArray& line : file.readAll().split('\n')) {
            const QStringList f = QString(line).split(' ', Qt::SkipEmptyParts);
            if (f.size() > 9 && f[3] == "0A" && inodes.contains(f[9])) addresses << f[1];
        }
    }
    return addresses;
}

QString Spoken(QObject* object) {
    return QAccessible::queryAccessibleInterface(object)->text(QAccessible::Name);
}

struct KeyboardGame : ::testing::Test {
    void Key(int key) {
        QWidget* focus = window.focusWidget();
        ASSERT_TRUE(focus) << "nothing holds the keyboard focus";
        QTest::keyClick(focus, static_cast<Qt::Key>(key));
    }
    // From anywhere on the table to a place: up to the top row, down to the row, along it.
    void Go(Row row, int index) {
        for (int k : {Qt::Key_Up, Qt::Key_Up, Qt::Key_Home}) Key(k);
        for (int r = 0; r < static_cast<int>(row); ++r) Key(Qt::Key_Down);
        for (int i = 0; i < index; ++i) Key(Qt::Key_Right);
    }
    // One gesture of a player who draws from the stack (else takes the up pile's top), lays the
    // first meld that leaves a turn able to end, one selection at a time, and else discards.
    void Turn() {
        const GameState seen = SeatView(window.table().state());
        if (!seen.HasDrawn) {
            Go(Row::kPiles, CanDrawFromStack(seen, Seat::kLocal).ok() ? 0 : seen.UpCount.value());
            return Key(Qt::Key_Return);
        }
        for (const MeldMove& m :
             seen.MustMeldCard != 0 ? MeldsWith(seen, seen.MustMeldCard) : AllMelds(seen)) {
            if (!TurnCanEndAfter(seen, m)) continue;
            const std::vector<Int16> presses = PressesToward(window.table(), seen, m);
            if (!presses.empty()) {
                Go(Row::kHand, presses.front().value());
                EXPECT_EQ(
                    Spoken(window.tableKeys()),
                    QString::fromStdString(GetCardName(seen.LocalHand[presses.front()], true)) +
                        (window.table().IsSelected(presses.front()) ? ", selected" : ""));
                return Key(Qt::Key_Space);
            }
            Go(Row::kTable, m.column == kNewColumn ? 0 : m.column + 1);
            return Key(Qt::Key_Enter);
        }
        const std::vector<Int16> discards = Discardable(seen);
        ASSERT_FALSE(discards.empty()) << WhyTurnCannotEnd(seen);
        Go(Row::kHand, HandPosition(seen, Seat::kLocal, discards.front()).value());
        Key(Qt::Key_D);
    }
    // What a reader is told of the opponent's hand, the stack, the frames and the status line.
    void CheckNames() {
        const GameState& s = window.table().state();
        for (int i = 0; i < s.RemoteCount.value() && !s.RevealOpponent; ++i)
            EXPECT_EQ(Spoken(window.imgRemote(i)), "face down");
        EXPECT_EQ(Spoken(window.imgStack()),
                  QString("the stack, %1 cards").arg(s.StackCount.value()));
        EXPECT_EQ(Spoken(window.label("lblStatus")),
                  "Status: " + window.label("lblStatus")->text());
        EXPECT_EQ(Spoken(window.findChild<QGroupBox*>("frLocalHand")), "your hand");
        EXPECT_EQ(Spoken(window.frTable()), "the table");
        // The opponent's last move, as the history words it.
        const QStringList moves = window.historyLines().filter(
            QRegularExpression("^Your opponent (drew|took|laid|discarded)"));
        if (!moves.isEmpty()) {
            EXPECT_EQ(Spoken(window.announcer()).toStdString(), moves.back().toStdString());
        }
    }

    Deck deck;
    QtSocket socket;
    test::UnattendedWindow window{socket, deck};
};

// The welcome offers the submenu's levels and holds the focus: Space plays the computer, whose
// seat is this window's (its bot listens on the loopback alone); the welcome then goes.
TEST_F(KeyboardGame, TheWelcomeStartsTheComputerOnTheLoopback) {
    window.UseBotProgram(KELVANE_BOT_PATH, {"--delay", "0"});
    window.show();
    const QComboBox* levels = window.welcomePanel()->levelChoice();
    ASSERT_EQ(levels->count(), 3);
    EXPECT_EQ(levels->itemText(2), "Level 3: Thinks It Over");
    Key(Qt::Key_Space);
    ASSERT_TRUE(window.computerOpponent());
    QDeadlineTimer soon(test::kStalledAfterMs);
    while (window.table().state().Role != kRoleClient && !soon.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    ASSERT_EQ(window.table().state().Role, kRoleClient) << "the computer never served";
    const QStringList listening = ListeningOn(window.computerOpponent()->processId());
    ASSERT_EQ(listening.size(), 1) << listening.join(' ').toStdString();
    EXPECT_TRUE(listening[0].startsWith("0100007F:"))
        << "not the loopback alone: " << listening[0].toStdString();
    EXPECT_FALSE(window.welcomePanel()->isVisible());
    EXPECT_EQ(window.focusWidget(), window.tableKeys()) << "the keys do not reach the table";
}

// A whole round from the welcome to its result, every gesture a key sent to the focus; at each
// turn a reader finds the names of the cards, the stack, the frames and the opponent's move.
TEST_F(KeyboardGame, ARoundIsPlayedByKeysAlone) {
    test::Program bot("the bot", "Round 1:");
    bot.Start(KELVANE_BOT_PATH, {"--serve", "--listen", "127.0.0.1", "--port", "0", "--delay", "0",
                                 "--seed", "3", "--level", "1", "--rounds", "1"});
    static const QRegularExpression listening("on port (\\d+)\n");
    const auto pump = [] { QCoreApplication::processEvents(QEventLoop::AllEvents, 5); };
    ASSERT_EQ(test::Watch(
                  {&bot}, [&] { return listening.match(bot.err()).hasMatch(); }, pump),
              "");
    window.table().UsePort(listening.match(bot.err()).captured(1).toInt());
    window.show();
    for (int tab = 0; tab < 3; ++tab) Key(Qt::Key_Tab);
    ASSERT_EQ(window.focusWidget(), window.welcomePanel()->clientButton());
    Key(Qt::Key_Space);
    const GameState& s = window.table().state();
    const auto seen = [&] {
        return std::to_string(s.StackCount.value()) + " in the stock, hand " +
               std::to_string(s.LocalCount.value()) + "; " +
               window.label("lblStatus")->text().toStdString();
    };
    const auto play = [&] {
        pump();
        if (!s.MyTurn || window.table().WaitingForOpponent()) return;
        if (!s.HasDrawn) CheckNames();
        Turn();
    };
    ASSERT_EQ(test::Watch(
                  {&bot}, [&] { return window.resultsDialog() != nullptr; }, play, seen),
              "");
    EXPECT_TRUE(window.failures.empty()) << window.failures.front();
}

}  // namespace
}  // namespace kelvane
