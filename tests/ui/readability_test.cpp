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

// On a screen of scale factor 2 a card is drawn from a picture rendered at twice the pixels, not
// from the ordinary picture enlarged; each is rendered once, and a window dragged through many
// sizes keeps pictures for only the last few.
TEST(CardPictures, RenderedForTheDevicePixelRatioAndKeptForAFewSizes) {
    Deck deck;
    const QSize size(73, 105);
    const QPixmap sharp = deck.Picture(test::Card("QH").value(), size, 2.0);
    EXPECT_EQ(sharp.size(), size * 2);
    EXPECT_EQ(sharp.deviceIndependentSize(), QSizeF(size));
    const QImage enlarged = deck.Picture(test::Card("QH").value(), size)
                                .toImage()
                                .scaled(size * 2, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    EXPECT_NE(sharp.toImage().convertToFormat(enlarged.format()), enlarged);

    CardImage card(deck, 0, nullptr);
    card.resize(size);
    card.setPicture(test::Card("QH").value());
    const int rendered = deck.renders();
    QPixmap screen(size * 2);
    screen.setDevicePixelRatio(2.0);
    screen.fill(Qt::transparent);
    card.render(&screen, {}, {}, QWidget::DrawChildren);
    EXPECT_EQ(deck.renders(), rendered) << "the picture at ratio 2 was already rendered";
    EXPECT_EQ(screen.toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied),
              sharp.toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied));

    for (int width = 20; width < 120; ++width)
        for (int code : {1, 2, kBackPicture}) deck.Picture(code, {width, width * 3 / 2});
    EXPECT_LE(deck.kept(), 55 * Deck::kSizesKept);
    const int before = deck.renders();
    deck.Picture(1, {119, 178});
    EXPECT_EQ(deck.renders(), before) << "the last size is still kept";
}

// A selected card in a fanned hand, where each card shows a strip, changes enough of that strip
// for a player to see it: compared in the rendered pixels of the hand, not in the flag.
TEST(HandSelection, ChangesMostOfTheVisibleStripOfAFannedCard) {
    QtSocket socket;
    Deck deck;
    Form1 window(socket, deck);
    test::SetHand(TablePeer::State(window.table()), "AS 2S 3S 4S 5S 6S 7S 8S 9S TS JS QS KS");
    window.RefreshHands('L');
    auto* hand = window.findChild<QGroupBox*>("frLocalHand");
    const QImage plain = hand->grab().toImage();
    window.ShowSelection(5, true);
    const QImage marked = hand->grab().toImage();
    // The strip of card 5 that card 6 leaves uncovered.
    const QRect strip =
        QRect(window.imgLocal(5)->geometry().topLeft(),
              QPoint(window.imgLocal(6)->x() - 1, window.imgLocal(5)->geometry().bottom()))
            .intersected(hand->rect());
    int changed = 0;
    for (int y = strip.top(); y <= strip.bottom(); ++y)
        for (int x = strip.left(); x <= strip.right(); ++x) {
            const QColor a = plain.pixelColor(x, y), b = marked.pixelColor(x, y);
            if (std::abs(a.red() - b.red()) + std::abs(a.green() - b.green()) +
                    std::abs(a.blue() - b.blue()) >=
                40)
                ++changed;
        }
    const int area = strip.width() * strip.height();
    EXPECT_GE(changed * 2, area) << changed << " of " << area << " pixels changed";
}

// The window opens at the design size where it fits, and inside a smaller screen area otherwise,
// never smaller than half the design.
TEST(OpeningSize, InsideTheAvailableArea) {
    QtSocket socket;
    Deck deck;
    const QSize design(Px(11490), Px(8715));
    const struct {
        QRect available;
        bool designFits;
    } screens[] = {
        {{0, 0, 1920, 1080}, true},
        {{0, 0, 800, 500}, false},
        {{100, 40, 700, 560}, false},
        {{0, 0, 300, 200}, false},
    };
    for (const auto& s : screens) {
        Form1 window(socket, deck);
        const QSize opened = window.size();
        ASSERT_EQ(opened.width(), design.width());
        window.FitInto(s.available);
        EXPECT_TRUE(s.available.contains(window.frameGeometry()))
            << s.available.width() << "x" << s.available.height();
        EXPECT_EQ(window.size() == opened, s.designFits);
        EXPECT_LE(window.minimumWidth(), s.available.width());
        EXPECT_GE(window.minimumWidth(), std::min(design.width() / 2, s.available.width()));
    }
}

}  // namespace
}  // namespace kelvane
