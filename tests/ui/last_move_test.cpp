// The opponent's moves as the window shows them: the marks on the cards of his last moves, set by
// each received move and gone at the player's next move, and the history's lines; and the
// computer opponent started from the menu.

#include <gtest/gtest.h>

#include <QAction>
#include <QDockWidget>
#include <QFile>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <memory>

#include "fakes.h"
#include "qtnet/qt_socket.h"
#include "ui/card_image.h"
#include "ui/computer_opponent.h"
#include "ui/deck.h"
#include "ui/form1.h"
#include "unattended_window.h"
#include "wire/wire.h"

namespace kelvane {
namespace {

using test::Card;

// A window connected to a peer that says nothing; the test hands it the peer's moves.
struct ConnectedWindow {
    ConnectedWindow() {
        peer.listen(QHostAddress::LocalHost, 0);
        window.table().UsePort(peer.serverPort());
        window.table().mnuClient_Click();
        connected = QTest::qWaitFor([&] { return socket.State(0) == kSocketConnected; }, 5000);
        TablePeer::CheckStates(window.table(), false);
    }
    GameState& state() { return TablePeer::State(window.table()); }
    QTcpServer peer;
    QtSocket socket;
    Deck deck;
    test::UnattendedWindow window{socket, deck};
    bool connected = false;
};

// Which cards wear the last-move mark, by where they lie.
struct Marked {
    std::vector<int> remote, upPile, meld;
    friend bool operator==(const Marked&, const Marked&) = default;
};
std::ostream& operator<<(std::ostream& out, const Marked& m) {
    auto list = [&](const char* where, const std::vector<int>& cards) {
        out << where << ":";
        for (int c : cards) out << " " << GetCardName(c, false);
        out << "; ";
    };
    list("hand", m.remote);
    list("up pile", m.upPile);
    list("melds", m.meld);
    return out;
}
Marked MarksOf(Form1& window) {
    const GameState& s = window.table().state();
    Marked m;
    for (int i = 0; i < s.RemoteCount.value(); ++i)
        if (window.imgRemote(i)->lastMove()) m.remote.push_back(s.RemoteHand[i].value());
    for (int i = 0; i < s.UpCount.value(); ++i)
        if (window.imgUpPile(i)->lastMove()) m.upPile.push_back(window.imgUpPile(i)->tag());
    for (int j = 0; j < window.meldSlotCount(); ++j)
        if (window.imgMeld(j)->lastMove()) m.meld.push_back(window.imgMeld(j)->tag());
    return m;
}
std::vector<int> Codes(const char* names) {
    std::vector<int> codes;
    for (Int16 c : test::Cards(names)) codes.push_back(c.value());
    return codes;
}
MeldContent Meld(const char* names) {
    MeldContent content;
    for (Int16 c : test::Cards(names)) content.list[content.count++] = c;
    return content;
}

// One opponent's turn of every kind of move and, after the player's turn, a draw from the stack:
// each move marks its cards where they lie and adds its line to the history; the player's draw
// clears every mark, his selection presses do not.
TEST(LastMove, MarkedByEachReceivedMoveUntilThePlayersNextMove) {
    ConnectedWindow w;
    ASSERT_TRUE(w.connected);
    GameState& s = w.state();
    s.GamesPlayed = 1;
    s.RoundInPlay = true;
    test::SetHand(s, "2H 3H 4H 9C KD");
    test::SetRemoteHand(s, "7S 8S 9S TS JS QD 2C");
    test::SetUpPile(s, "AC 5D 6D");
    const std::vector<Int16> stack = test::Cards("3C 4C 5C 6C 7C 8C TC JC QC KC");
    for (std::size_t i = 0; i < stack.size(); ++i) s.Stack[static_cast<int>(i)] = stack[i];
    s.StackCount = static_cast<int>(stack.size());
    w.window.RefreshHands('B');
    w.window.RefreshUpPile();

    const struct {
        std::string message;
        Marked marked;
        const char* line;
    } turn[] = {
        {UpPileMessage(2),
         {Codes("6D"), {}, {}},
         "Your opponent took the Six of Diamonds from the up pile"},
        {NewMeldMessage(Meld("7S 8S 9S")),
         {Codes("6D"), {}, Codes("7S 8S 9S")},
         "Your opponent laid down 7\u2660 8\u2660 9\u2660"},
        {LayOffMessage(0, Meld("7S 8S 9S TS")),
         {Codes("6D"), {}, Codes("7S 8S 9S TS")},
         "Your opponent laid off 10\u2660, making 7\u2660 8\u2660 9\u2660 10\u2660"},
        {DiscardMessage(Card("QD")),
         {Codes("6D"), Codes("QD"), Codes("7S 8S 9S TS")},
         "Your opponent discarded the Queen of Diamonds"},
    };
    for (const auto& move : turn) {
        w.window.table().Data_Process(move.message);
        ASSERT_TRUE(w.window.boxes.empty()) << move.message << ": " << w.window.boxes.front();
        EXPECT_EQ(MarksOf(w.window), move.marked) << move.message;
        EXPECT_EQ(w.window.historyLines().back().toStdString(), move.line);
    }
    ASSERT_TRUE(s.MyTurn);
    QTest::mouseClick(w.window.imgStack(), Qt::LeftButton);
    ASSERT_TRUE(s.HasDrawn);
    EXPECT_EQ(MarksOf(w.window), Marked{}) << "the player's draw ends the marks";

    QTest::mousePress(w.window.imgLocal(0), Qt::RightButton);
    ASSERT_FALSE(s.MyTurn);
    const Int16 top = s.Stack[s.StackCount - 1];
    w.window.table().Data_Process(StackDrawMessage(top));
    const Marked drawn{{top.value()}, {}, {}};
    EXPECT_EQ(MarksOf(w.window), drawn) << "the drawn card, face down";
    EXPECT_EQ(w.window.historyLines().back(), "Your opponent drew from the stack");
    QTest::mouseClick(w.window.imgLocal(0), Qt::LeftButton);
    EXPECT_EQ(MarksOf(w.window), drawn) << "not his turn: nothing moved";
    ASSERT_EQ(w.window.boxes.size(), 1u);
    EXPECT_TRUE(w.window.boxes[0].starts_with("Discard the ")) << w.window.boxes[0];
}

// "Play Against the Computer" starts kelvane-bot and connects to it without a question; the bot
// announces itself as a Kelvane program does and goes with the window. Whole games against it are
// window_vs_bot_test.cpp's.
TEST(PlayAgainstTheComputer, TheBotAnnouncesItselfAndGoesWithTheWindow) {
    Deck deck;
    QtSocket socket;
    auto window = std::make_unique<test::UnattendedWindow>(socket, deck);
    window->UseBotProgram(KELVANE_BOT_PATH, {"--delay", "0"});
    window->show();
    window->action("mnuComputerLevel1")->trigger();
    ASSERT_TRUE(QTest::qWaitFor([&] { return window->table().state().LocalCount > 0; }, 15000))
        << "the bot dealt";
    EXPECT_EQ(window->historyLines().front(), "Your opponent plays kelvane-bot " KELVANE_VERSION);
    EXPECT_TRUE(window->boxes.empty()) << window->boxes.front();
    ASSERT_NE(window->computerOpponent(), nullptr);
    const qint64 pid = window->computerOpponent()->processId();
    ASSERT_GT(pid, 0);
    window->close();
    window.reset();
    EXPECT_FALSE(QFile::exists(QString("/proc/%1/status").arg(pid))) << "the bot is gone";
}

}  // namespace
}  // namespace kelvane
