// SPDX-License-Identifier: GPL-3.0-or-later
// What a screen reader finds in the window and what it is told, read through Qt's accessibility
// interfaces as the desktop's bridge reads them. Whether Orca itself speaks it is
// screen_reader_round.py's.

#include <gtest/gtest.h>

#include <QAccessible>
#include <QAction>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTest>
#include <QTextEdit>

#include "engine/transcript.h"
#include "fakes.h"
#include "qtnet/window_side.h"
#include "ui/announcer.h"
#include "ui/card_image.h"
#include "ui/deck.h"
#include "ui/form1.h"
#include "ui/table_keys.h"
#include "unattended_window.h"

namespace kelvane {
namespace {

QAccessibleInterface* Reader(QObject* object) {
    return QAccessible::queryAccessibleInterface(object);
}

QString Name(QObject* object) {
    return Reader(object)->text(QAccessible::Name);
}

class ScreenReader : public ::testing::Test {
  protected:
    GameState& state() { return TablePeer::State(window.table()); }
    QStringList notices() {
        window.announcer()->Flush();
        return window.announcer()->notices();
    }
    // A round in play: the player's hand, the opponent's, the turn.
    void InPlay(bool myTurn, bool drawn) {
        state().Role = kRoleClient;
        state().GamesPlayed = 1;
        test::SetHand(state(), "2S 5D 9H");
        test::SetRemoteHand(state(), "3C 4C 5C 6C 7C 8C 9C");
        state().MyTurn = myTurn;
        state().HasDrawn = drawn;
    }

    WindowSide socket;
    Deck deck;
    test::UnattendedWindow window{socket, deck};
};

// Every input, text area and frame is heard by a name of its own; none is left nameless.
TEST_F(ScreenReader, EveryInputTextAreaAndFrameHasItsName) {
    window.action("mnuHistory")->trigger();
    const std::pair<QWidget*, const char*> names[] = {
        {window.txtSay(), "chat message to your opponent"},
        {window.rtbConvo(), "chat with your opponent"},
        {window.findChild<QPlainTextEdit*>("HistoryText"), "move history"},
        {window.frTable(), "the table"},
        {window.findChild<QGroupBox*>("frLocalHand"), "your hand"},
        {window.findChild<QGroupBox*>("frUpPile"), "the up pile"},
        {window.findChild<QGroupBox*>("frmScores"), "the scores"},
        {window.imgStack(), "the stack, empty"},
    };
    for (const auto& [widget, name] : names) {
        ASSERT_TRUE(widget) << name;
        EXPECT_EQ(Name(widget), name);
    }
    for (QWidget* w : window.findChildren<QWidget*>()) {
        const bool input = qobject_cast<QLineEdit*>(w) || qobject_cast<QTextEdit*>(w) ||
                           qobject_cast<QPlainTextEdit*>(w) || qobject_cast<QComboBox*>(w);
        if (input) {
            EXPECT_FALSE(Name(w).isEmpty()) << w->objectName().toStdString();
        }
    }
    EXPECT_FALSE(Reader(window.tableKeys())->text(QAccessible::Description).isEmpty());
    // The opponent's hand says how many cards he holds, as its caption does.
    auto* hand = window.findChild<QGroupBox*>("frRemoteHand");
    for (const auto& [cards, name] : {std::pair{"3C 4C 5C 6C 7C 8C 9C", "7 cards"},
                                      std::pair{"KD", "1 card"}, std::pair{"", "0 cards"}}) {
        test::SetRemoteHand(state(), cards);
        window.RefreshHands('R');
        EXPECT_EQ(Name(hand), QString("your opponent's hand, ") + name);
    }
}

// A meld column shows its cards and nothing else: its ten or so empty positions take clicks but
// are not there for a reader walking the table.
TEST_F(ScreenReader, TheTableShowsOnlyTheMeldsCards) {
    const auto heard = [&] {
        QStringList names;
        QAccessibleInterface* table = Reader(window.frTable());
        for (int i = 0; i < table->childCount(); ++i) {
            names << table->child(i)->text(QAccessible::Name);
            EXPECT_EQ(table->indexOfChild(table->child(i)), i);
        }
        return names;
    };
    EXPECT_EQ(heard(), QStringList());
    const Int16 first = test::AddTableMelds(state(), "7S 8S 9S");
    window.CreateMeldColumn(first);
    window.ShowMeldColumn(first);
    const Int16 second = test::AddTableMelds(state(), "QH QD QC");
    window.CreateMeldColumn(second);
    window.ShowMeldColumn(second);
    ASSERT_EQ(window.meldSlotCount(), 26);
    EXPECT_EQ(heard(), QStringList({"Seven of Spades", "Eight of Spades", "Nine of Spades",
                                    "Queen of Hearts", "Queen of Diamonds", "Queen of Clubs"}));
    EXPECT_EQ(Reader(window.frTable())->indexOfChild(Reader(window.imgMeld(3))), -1);
}

// The news of one handler is one notice, the turn last and only as it stands at the end; the
// turn is told when it changes, and again at a new deal; the card drawn, the opponent's chat and
// the results are told.
TEST_F(ScreenReader, TheNewsIsToldOncePerHandlerWithTheTurnLast) {
    InPlay(false, false);
    window.RefreshHands('B');
    EXPECT_EQ(notices(), QStringList({"Status: Waiting for your opponent to draw."}));
    window.OpponentMoved({OpponentMoveKind::kStackDraw, {}, {}});
    state().HasDrawn = true;
    window.RefreshHands('R');
    window.OpponentMoved({OpponentMoveKind::kDiscard, {test::Card("KD")}, {}});
    state().MyTurn = true;
    state().HasDrawn = false;
    window.RefreshHands('R');
    EXPECT_EQ(notices().back(),
              "Your opponent drew from the stack. Your opponent discarded the King of Diamonds. "
              "Status: Draw.");
    const qsizetype told = notices().size();
    window.RefreshHands('B');
    EXPECT_EQ(notices().size(), told) << "an unchanged turn is not told again";
    window.ClearTable();
    window.RefreshHands('B');
    EXPECT_EQ(notices().back(), "Status: Draw.") << "a new deal tells its first turn";
    EXPECT_TRUE(notices().contains(
        "Your opponent drew from the stack. Your opponent discarded the King of Diamonds. "
        "Status: Draw."))
        << "the news before stays for a reader that lags";
    window.ShowStack(test::Card("7H"));
    window.ShowStack(kBackPicture);
    state().HasDrawn = true;
    window.RefreshHands('L');
    EXPECT_EQ(notices().back(), "You drew the Seven of Hearts. Status: Discard.");
    Transcript chat;
    chat.AddLine("OPPONENT: well played");
    window.ChatLineAdded(chat, Speaker::kOpponent);
    EXPECT_EQ(notices().back(), "OPPONENT: well played.");
    window.ShowRoundResult({15, -15});
    EXPECT_TRUE(notices().back().startsWith("Round over. ")) << notices().back().toStdString();
    EXPECT_TRUE(notices().back().endsWith("You won that round."));
    window.ShowGameResult(GameOutcome::kLost);
    EXPECT_TRUE(notices().back().startsWith("You Lost the Game! Totals: you "));
}

// A new game starts with no notice of the last one for a reader to find; news not yet told, the
// last game's result among it, is still told. A new round of the same game keeps them.
TEST_F(ScreenReader, ANewGameForgetsTheLastGamesNotices) {
    InPlay(true, false);
    window.OpponentMoved({OpponentMoveKind::kStackDraw, {}, {}});
    ASSERT_EQ(notices().size(), 1);
    window.ClearTable();
    EXPECT_EQ(notices().size(), 1) << "a new round of the same game";
    window.OpponentMoved({OpponentMoveKind::kDiscard, {test::Card("KD")}, {}});
    state().GamesPlayed = 0;
    window.ClearTable();
    EXPECT_EQ(notices(), QStringList({"Your opponent discarded the King of Diamonds."}));
    window.ClearTable();
    EXPECT_EQ(notices(), QStringList());
}

// Each key that moves the frame moves a reader's focus to another place object, named as the
// frame now is; the place left keeps the name it had, for a reader still reading it.
TEST_F(ScreenReader, EachMoveOfTheKeysFocusesAPlaceNamedAsTheFrame) {
    InPlay(true, true);
    window.show();
    window.activateWindow();
    window.tableKeys()->setFocus();
    window.RefreshHands('B');
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    TableKeys* keys = window.tableKeys();
    QAccessibleInterface* reader = Reader(keys);
    ASSERT_EQ(reader->childCount(), 2);
    QString before = Name(keys);
    EXPECT_EQ(before, "Two of Spades");
    for (const auto& [key, now] : {std::pair{Qt::Key_Right, "Five of Diamonds"},
                                   std::pair{Qt::Key_Space, "Five of Diamonds, selected"},
                                   std::pair{Qt::Key_Up,
                                             "the table's free space: lay the "
                                             "selected cards down as a new meld"}}) {
        const int left = keys->currentPlace();
        QTest::keyClick(keys, key);
        const int place = keys->currentPlace();
        ASSERT_NE(place, left) << now;
        EXPECT_EQ(reader->child(place)->text(QAccessible::Name), now);
        EXPECT_TRUE(reader->child(place)->state().focused) << now;
        EXPECT_EQ(reader->child(left)->text(QAccessible::Name), before);
        EXPECT_FALSE(reader->child(left)->state().focused) << now;
        EXPECT_EQ(reader->focusChild(), reader->child(place));
        EXPECT_EQ(reader->indexOfChild(reader->child(place)), place);
        before = now;
    }
}

}  // namespace
}  // namespace kelvane
