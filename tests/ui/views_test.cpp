#include <gtest/gtest.h>

#include <QDir>
#include <QGroupBox>
#include <QLineEdit>
#include <QMenuBar>
#include <QPushButton>
#include <QTest>
#include <QTextEdit>
#include <initializer_list>

#include "fakes.h"
#include "net/qt/qt_socket.h"
#include "ui/card_image.h"
#include "ui/card_layout.h"
#include "ui/deck.h"
#include "ui/form1.h"
#include "ui/geometry.h"

namespace kelvane {
namespace {

// The figures worked out by hand for the design sizes, in twips.
TEST(CardLayout, WorkedExamplesAtTheDesignSizes) {
    using namespace layout;
    const struct {
        const char* what;
        double got;
        double expected;
    } cases[] = {
        {"fan of 7 starts", LocalFanLeft(11295, 1095, 7, 0), 4279},
        {"second fan card", LocalFanLeft(11295, 1095, 7, 1), 4552.75},
        {"third fan card", LocalFanLeft(11295, 1095, 7, 2), 4826.5},
        {"38 cards still start inside", LocalFanLeft(11295, 1095, 38, 0), 36},
        {"39 cards start left of the frame", LocalFanLeft(11295, 1095, 39, 0), -101},
        {"hearts stand highest", LocalTop(1215, 'H'), 243},
        {"spades stand lowest", LocalTop(1215, 'S'), 607.5},
        {"opponent's first of 7", RemoteLeft(5040, 615, 7, 0), 120},
        {"opponent's second of 7", RemoteLeft(5040, 615, 7, 1), 818},
        {"opponent's last of 7", RemoteLeft(5040, 615, 7, 6), 4308},
        {"a lone opponent card is centred", RemoteLeft(5040, 615, 1, 0), 2212.5},
        {"the second of two ends a margin short of the edge", RemoteLeft(5040, 615, 2, 1), 4305},
        {"opponent cards' top", RemoteTop(1095), 219},
        {"up-pile margin", UpPileLeft(10215, 855, 0), 120.2},
        {"up-pile step", UpPileLeft(10215, 855, 1) - UpPileLeft(10215, 855, 0), 342},
        {"meld column 2", MeldLeft(11295, 735, 2), 1885.9},
        {"meld row 3", MeldTop(3375, 3), 1003.8},
    };
    for (const auto& c : cases) EXPECT_NEAR(c.got, c.expected, 0.05) << c.what;
    // 28 cards fit the up pile's frame; the 29th runs past its right edge.
    EXPECT_LE(UpPileLeft(10215, 855, 27) + 855, 10215);
    EXPECT_GT(UpPileLeft(10215, 855, 28) + 855, 10215);
}

// Every picture code the views ask for, from the installed theme and from the deck drawn by hand,
// each drawn once per size however often it is asked for.
TEST(CardPictures, EveryCodeDrawsOncePerSize) {
    Deck themed;
    Deck drawn(QDir::tempPath() + "/kelvane-no-theme-here");
    EXPECT_TRUE(themed.usesTheme()) << "install kdegames-card-data-kf5";
    EXPECT_FALSE(drawn.usesTheme());
    std::vector<int> codes = {kBackPicture, kEmptyStackPicture};
    for (int code = 1; code <= kCardsInDeck; ++code) codes.push_back(code);
    const QSize sizes[] = {{41, 49}, {73, 105}, {146, 210}};
    for (Deck* deck : {&themed, &drawn}) {
        for (int round = 0; round < 2; ++round)
            for (QSize size : sizes)
                for (int code : codes) {
                    const QPixmap picture = deck->Picture(code, size);
                    ASSERT_EQ(picture.size(), size) << code;
                    ASSERT_FALSE(picture.toImage().allGray() && code <= kCardsInDeck &&
                                 (code - 1) / 13 % 2 == 1)
                        << "red suits must show red: " << code;
                }
        EXPECT_EQ(deck->renders(), int(codes.size() * std::size(sizes)));
    }
}

class WindowViews : public ::testing::Test {
  protected:
    GameState& state() { return TablePeer::State(window.table()); }

    static void Fill(CardArray& cards, Int16& count, std::initializer_list<int> codes) {
        count = 0;
        for (int code : codes) cards[count++] = code;
    }

    QtSocket socket;
    Deck deck;
    Form1 window{socket, deck};
};

// Before the window is first shown every control stands at its design place, so the views must
// put the cards where the worked examples say.
TEST_F(WindowViews, CardsStandAtTheWorkedExamplesAtTheDesignSize) {
    const int h2 = MakeCard(kHearts, 2).value();
    Fill(state().LocalHand, state().LocalCount, {h2, 3, 4, 5, 6, 7, 8});
    Fill(state().RemoteHand, state().RemoteCount, {20, 21, 22, 23, 24, 25, 26});
    Fill(state().UpPile, state().UpCount, {30, 31});
    window.RefreshHands('B');
    window.RefreshUpPile();
    for (int column = 0; column < 3; ++column) window.CreateMeldColumn(column);

    EXPECT_EQ(window.imgLocal(0)->pos(), QPoint(Px(4279), Px(243)));
    EXPECT_EQ(window.imgLocal(1)->pos(), QPoint(Px(4552.75), Px(607.5)));
    EXPECT_EQ(window.imgLocal(2)->x(), Px(4826.5));
    EXPECT_EQ(window.imgRemote(1)->pos(), QPoint(Px(818), Px(219)));
    EXPECT_EQ(window.imgRemote(6)->pos(), QPoint(Px(4308), Px(219)));
    EXPECT_EQ(window.imgUpPile(0)->pos(), QPoint(Px(120.2), Px(120)));
    EXPECT_EQ(window.imgUpPile(1)->pos(), QPoint(Px(462.2), Px(120)));
    EXPECT_EQ(window.imgMeld(2 * 13 + 3)->pos(), QPoint(Px(1885.9), Px(1003.8)));
    EXPECT_EQ(window.meldSlotCount(), 39);
    EXPECT_EQ(window.findChild<QGroupBox*>("frRemoteHand")->title(), "Your Opponent's Hand (7)");
}

// The opponent's cards show their faces only for cards he took from the up pile, and only once
// the hidden phrase has turned them up.
TEST_F(WindowViews, OpponentCardsTurnUpOnlyWhenKnownAndRevealed) {
    Fill(state().RemoteHand, state().RemoteCount, {9, 10});
    Fill(state().KnownCards, state().KnownCount, {10});
    const struct {
        bool reveal;
        int knownSlotTag;
    } cases[] = {{false, kBackPicture}, {true, 10}};
    for (const auto& c : cases) {
        state().RevealOpponent = c.reveal;
        window.RefreshHands('R');
        EXPECT_EQ(window.imgRemote(0)->tag(), kBackPicture) << c.reveal;
        EXPECT_EQ(window.imgRemote(1)->tag(), c.knownSlotTag) << c.reveal;
        EXPECT_TRUE(window.imgRemote(1)->toolTip().isEmpty());
        EXPECT_TRUE(window.imgRemote(2)->isHidden());
    }
}

// Redrawing the player's own hand drops every selection; redrawing only the opponent's keeps it.
TEST_F(WindowViews, OnlyARedrawOfTheOwnHandDropsTheSelection) {
    Fill(state().LocalHand, state().LocalCount, {1, 2, 3});
    const struct {
        char which;
        bool stillSelected;
    } cases[] = {{'R', true}, {'L', false}, {'B', false}};
    for (const auto& c : cases) {
        window.RefreshHands('L');
        window.ShowSelection(1, true);
        window.RefreshHands(c.which);
        EXPECT_EQ(window.imgLocal(1)->selected(), c.stillSelected) << c.which;
        EXPECT_EQ(window.imgLocal(1)->toolTip(), "Two of Spades");
    }
}

// Every control follows the window from the layout recorded at its first showing: left and width
// with the width, top, height and font size with the height, and back to the design exactly.
TEST_F(WindowViews, ResizingScalesFromTheRecordedDesign) {
    Fill(state().LocalHand, state().LocalCount, {1, 2, 3, 14, 27});
    Fill(state().UpPile, state().UpCount, {40});
    const QSize design(Px(11490), Px(8715));
    const struct {
        QWidget* control;
        QRect at;
    } controls[] = {
        {window.frTable(), Twips(120, 3000, 11295, 3375)},
        {window.txtSay(), Twips(120, 7920, 3255, 735)},
        {window.cmdSend(), Twips(3480, 8160, 615, 375)},
        {window.rtbConvo(), Twips(4320, 7655, 7095, 1000)},
        {window.label("lblLocalScore"), Twips(120, 480, 2895, 255)},
    };
    const double scoreFont = window.label("lblLocalScore")->font().pointSizeF();

    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    const struct { double rx, ry; } sizes[] = {{2, 2}, {2, 1}, {0.5, 0.75}, {1.25, 1.5}, {1, 1}};
    for (const auto& s : sizes) {
        window.showNormal();
        window.resize(Round(design.width() * s.rx),
                      Round(design.height() * s.ry) + window.menuBar()->height());
        QCoreApplication::processEvents();
        const QSize now = window.centralWidget()->size();
        const double rx = double(now.width()) / design.width();
        const double ry = double(now.height()) / design.height();
        for (const auto& c : controls) {
            const QRect want(Round(c.at.x() * rx), Round(c.at.y() * ry), Round(c.at.width() * rx),
                             Round(c.at.height() * ry));
            EXPECT_EQ(c.control->geometry(), want)
                << c.control->objectName().toStdString() << " at " << rx << " x " << ry;
        }
        EXPECT_DOUBLE_EQ(window.label("lblLocalScore")->font().pointSizeF(), scoreFont * ry);
        // The hand cards are placed by their fan from the scaled frame, not scaled themselves.
        EXPECT_EQ(window.imgLocal(4)->x(),
                  Px(layout::LocalFanLeft(Tw(window.findChild<QGroupBox*>("frLocalHand")->width()),
                                          Tw(window.imgLocal(0)->width()), 5, 4)));
        // The up pile's cards keep their top whatever the height.
        EXPECT_EQ(window.imgUpPile(0)->y(), Px(120));
    }
    EXPECT_EQ(window.centralWidget()->size(), design);
    for (const auto& c : controls) EXPECT_EQ(c.control->geometry(), c.at);
}

}  // namespace
}  // namespace kelvane
