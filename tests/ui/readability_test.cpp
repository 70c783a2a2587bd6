// What a player reads and sees at a glance: every label's longest text whole at any window size,
// card pictures sharp on a high-density screen, the selection visible in a fanned hand, and a
// window that opens inside the screen it is given.

#include <gtest/gtest.h>

#include <QApplication>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPointer>
#include <QPushButton>
#include <QTest>

#include "fakes.h"
#include "qtnet/qt_socket.h"
#include "ui/card_image.h"
#include "ui/deck.h"
#include "ui/form1.h"
#include "ui/geometry.h"
#include "ui/results_dialog.h"

namespace kelvane {
namespace {

// How much of `text` the label cannot show in its font: 0 when it fits whole.
int Overflow(const QLabel* label, const QString& text) {
    const QRect box = label->contentsRect();
    const QFontMetrics metrics(label->font());
    if (!label->wordWrap()) return std::max(0, metrics.horizontalAdvance(text) - box.width());
    const QRect needed = metrics.boundingRect(box, Qt::TextWordWrap | label->alignment(), text);
    return std::max({0, needed.width() - box.width(), needed.height() - box.height()});
}

// The longest text each label can be given: three-digit and negative numbers, the longest of its
// words. The status line keeps the game's font size whatever the window's; below the design size
// it is drawn smaller instead, so it is measured from the design size up.
TEST(LabelsFit, EveryLongestTextAtDesignHalfAndDoubleSize) {
    QtSocket socket;
    Deck deck;
    Form1 window(socket, deck);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    const struct {
        const char* label;
        QString text;
        double smallest = 0.5;
    } longest[] = {
        {"lblScores", "Your Melded Score: 380     Opponent's Melded Score: 380"},
        {"lblTotGamesPlayed", "Total Games Played: 999"},
        {"lblLocalScore", "Your Score: -999"},
        {"lblRemoteScore", "Your Opponent's Score: -999"},
        {"lblFloat", "Your Opponent is Floating"},
        {"lblCardsleft", "Deck (52)"},
        {"Label1", "Chat with Opponent:"},
        {"lblStatus", "Waiting for your opponent to discard", 1.0},
    };
    const QSize design(Px(11490), Px(8715));
    for (const double scale : {1.0, 0.5, 2.0}) {
        window.showNormal();
        window.resize(Round(design.width() * scale),
                      Round(design.height() * scale) + window.menuBar()->height());
        QCoreApplication::processEvents();
        for (const auto& l : longest) {
            if (scale < l.smallest) continue;
            EXPECT_EQ(Overflow(window.label(l.label), l.text), 0)
                << l.label << " at " << scale << ": " << l.text.toStdString();
        }
    }

    ResultsDialog dialog(&window);
    const QLabel* message = dialog.findChild<QLabel*>("Label1");
    for (const char* text : {"You won that round", "Your opponent won that round",
                             "You tied that round", "You Won the Game!", "You Lost the Game!"})
        EXPECT_EQ(Overflow(message, text), 0) << text;
}

// The results window goes when its button loses the focus to another control of the program, not
// when the player turns to another program.
TEST(ResultsWindow, StaysWhileAnotherProgramIsActiveAndGoesWhenTheTableIsUsed) {
    QtSocket socket;
    Deck deck;
    Form1 window(socket, deck);
    window.show();
    window.ShowRoundResult({10, 0});
    const QPointer<ResultsDialog> dialog = window.resultsDialog();
    ASSERT_TRUE(dialog);
    ASSERT_TRUE(QTest::qWaitForWindowActive(dialog));
    ASSERT_TRUE(dialog->okButton()->hasFocus());
    QApplication::setActiveWindow(nullptr);
    QCoreApplication::processEvents();
    EXPECT_TRUE(dialog && dialog->isVisible()) << "another program is active";
    QApplication::setActiveWindow(dialog);
    QCoreApplication::processEvents();
    ASSERT_TRUE(dialog && dialog->okButton()->hasFocus());
    QApplication::setActiveWindow(&window);
    window.txtSay()->setFocus();
    QCoreApplication::processEvents();
    EXPECT_TRUE(!dialog || !dialog->isVisible()) << "the player went back to the table";
}

}  // namespace
}  // namespace kelvane
