// SPDX-License-Identifier: GPL-3.0-or-later
// What the real window tells the player, and what a stray key does to it: the questions' default
// answers and whole titles, the results with their figures kept while the next deal goes on
// behind, a failed call's reason and the address offered again. The server's waiting text and
// address through a relayout are the scanners' game's (window_vs_bot_test.cpp), the player's own
// draw's mark the peer's game's there, the stale deck after a session the restarted server's, the
// results' final totals the whole games'.

#include <gtest/gtest.h>

#include <QApplication>
#include <QInputDialog>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <functional>
#include <string>
#include <vector>

#include "dropping_line.h"
#include "fakes.h"
#include "qtnet/window_side.h"
#include "ui/deck.h"
#include "ui/form1.h"
#include "ui/results_dialog.h"
#include "words/texts.h"

namespace kelvane {
namespace {

class Window : public Form1 {
  public:
    using Form1::Form1;
    using Form1::ShowBox;
};

class Telling : public ::testing::Test {
  protected:
    GameState& state() { return TablePeer::State(window.table()); }
    WindowSide socket;
    Deck deck;
    Window window{socket, deck};
};

// Acts on each box and host question as it opens, as a player at the keyboard would: presses
// Enter in a box, answers a host question with the next of `typed` (cancels when none is left),
// noting the box's text and width, and what the question offered.
class Player : public QObject {
  public:
    explicit Player(std::vector<QString> typed = {}) : typed_(std::move(typed)) {
        qApp->installEventFilter(this);
    }
    ~Player() override { qApp->removeEventFilter(this); }
    QStringList boxes, offered;
    int boxWidth = 0;

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() != QEvent::Show) return false;
        if (auto* box = qobject_cast<QMessageBox*>(watched)) {
            QTimer::singleShot(0, box, [this, box] {
                boxes << box->text();
                boxWidth = box->width();
                QTest::keyClick(box, Qt::Key_Return);
            });
        } else if (auto* input = qobject_cast<QInputDialog*>(watched)) {
            QTimer::singleShot(0, input, [this, input] {
                offered << input->textValue();
                if (typed_.empty()) return input->reject();
                input->setTextValue(typed_.front());
                typed_.erase(typed_.begin());
                input->accept();
            });
        }
        return false;
    }

  private:
    std::vector<QString> typed_;
};

// A stray Enter gives the answer that loses nothing: No to quitting, to giving up the game in
// progress for a caller, to a discard the player was warned about; a plain discard's question
// confirms the press he has just made. Every box is wide enough for its whole title.
TEST_F(Telling, EnterGivesTheSafeAnswerAndTitlesShowWhole) {
    const std::pair<BoxText, bool> boxes[] = {
        {QuitBox(), false},
        {QuestionBox({QuestionKind::kNewGameWithCaller, 0, "203.0.113.5"}), false},
        {QuestionBox({QuestionKind::kDiscardMeldable, test::Card("7S"), {}}), false},
        {QuestionBox({QuestionKind::kDiscard, test::Card("TD"), {}}), true},
        {ComputerStoppedBox(), true},
        {{"Go?", Buttons::kYesNo, Icon::kNone, "A title far longer than the question it asks"},
         true},
        {{"Gone.", Buttons::kOk, Icon::kNone, "A title far longer than the words of the box"},
         false},
    };
    window.show();
    for (const auto& [box, yes] : boxes) {
        Player player;
        EXPECT_EQ(window.ShowBox(box), yes) << box.text;
        ASSERT_EQ(player.boxes.size(), 1);
        QFont bold = QApplication::font();
        bold.setBold(true);
        const QString title = box.title.empty() ? "Kelvane" : QString::fromStdString(box.title);
        // The title, and beside it room for the title bar's buttons.
        EXPECT_GE(player.boxWidth, QFontMetrics(bold).horizontalAdvance(title) + 100) << box.text;
    }
}

// The round's box keeps the round's figures and the totals, the game's the final totals and who
// reached 500, while the state behind moves on to the next deal of a new game.
TEST_F(Telling, TheResultsKeepTheirFiguresWhateverIsDealtBehind) {
    GameState& s = state();
    for (const auto& [card, credit] : {std::pair{"AH", 15}, {"KH", 10}, {"5S", 5}, {"QS", -10}})
        s.MeldCredit[test::Card(card)] = credit;
    test::SetHand(s, "AD 4C");
    test::SetRemoteHand(s, "KD");
    s.LocalScore = 505;
    s.RemoteScore = 480;
    window.show();
    window.ShowRoundResult({10, 0});
    ResultsDialog* dialog = window.resultsDialog();
    ASSERT_TRUE(dialog);
    const QString round =
        "You Opponent Melded 30 10 Left in hand -20 -10 This round 10 0 Totals "
        "505 480";
    EXPECT_EQ(dialog->message(), "You won that round");
    EXPECT_EQ(dialog->figuresText(), round);
    window.ShowGameResult(GameOutcome::kWon);
    const QString game = round + " Final totals: you 505, your opponent 480. You reached 500.";
    EXPECT_EQ(dialog->message(), "You Won the Game!");
    EXPECT_EQ(dialog->figuresText(), game);
    // The next game is dealt behind the box: totals and credits from zero, new hands.
    ResetGame(s);
    for (int card = 1; card <= kCardsInDeck; ++card) s.MeldCredit[card] = 0;
    test::SetHand(s, "2S 3S 4S 5S 6S 7S 8S");
    window.RefreshScoreBoard();
    window.RefreshHands('B');
    QCoreApplication::processEvents();
    EXPECT_EQ(dialog->figuresText(), game);
    const auto* figures = dialog->findChild<QLabel*>("Figures");
    EXPECT_LE(figures->sizeHint().height(), figures->height()) << "the figures fit their band";
}

// A failed call says why and where, after the game's own words, and the next call offers what the
// player typed, not the loopback again: a refused port, then what is no address at all (neither
// leaves the machine: nothing listens on the port, and the name is refused before any lookup).
TEST_F(Telling, AFailedCallSaysWhyAndOffersWhatWasTypedAgain) {
    const QString refused = QString("127.0.0.1:%1").arg(test::FreePort());
    Player player({refused, "no such place"});
    window.show();
    window.action("mnuClient")->trigger();
    ASSERT_TRUE(QTest::qWaitFor([&] { return player.boxes.size() == 1; }, 5000));
    window.action("mnuClient")->trigger();
    ASSERT_TRUE(QTest::qWaitFor([&] { return player.boxes.size() == 2; }, 5000));
    window.action("mnuClient")->trigger();
    EXPECT_EQ(player.offered, (QStringList{"127.0.0.1", refused, "no such place"}));
    EXPECT_EQ(player.boxes,
              (QStringList{"Unable to Connect. 127.0.0.1, port " + refused.section(':', 1) +
                               ", refused the connection: no game is being served there. Is the "
                               "server's player serving, and is this the right address?",
                           "Unable to Connect. \"no such place\" is not an address. Type the "
                           "server's address, for example 192.168.1.20."}));
    EXPECT_EQ(window.table().state().Role, kRoleNotConnected);
    EXPECT_TRUE(window.action("mnuClient")->isEnabled());
}

}  // namespace
}  // namespace kelvane
