// SPDX-License-Identifier: GPL-3.0-or-later
// The window's pictures, views, layout and readability, and two windows playing a scripted round
// over loopback.
// That round is the only test to move the game by the mouse and to watch one window's views follow
// the other's moves, chat and quitting; whole games, by keys and through the handlers, are
// window_vs_bot_test.cpp's.

#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTest>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextEdit>
#include <QTimer>
#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <tuple>
#include <vector>

#include "dropping_line.h"
#include "fakes.h"
#include "qtnet/window_side.h"
#include "ui/card_image.h"
#include "ui/card_layout.h"
#include "ui/deck.h"
#include "ui/form1.h"
#include "ui/geometry.h"
#include "ui/results_dialog.h"
#include "unattended_window.h"
#include "words/texts.h"

namespace kelvane {
namespace {

// Every picture, themed and drawn by hand, drawn once per size however often asked for; only the
// 55 real pictures are kept. On a screen of scale factor 2 a card is drawn from a picture rendered
// at twice the pixels, not from the ordinary one enlarged, and a window dragged through many sizes
// keeps pictures for only the last few.
TEST(CardPictures, DrawnOncePerSizeAndPixelRatioAndKeptForAFewSizes) {
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
        // Codes no card has are drawn blank and never kept, whatever a peer's deal names.
        for (int code : {0, 53, 99, -1, 32767})
            EXPECT_FALSE(deck->Picture(code, sizes[0]).isNull());
        EXPECT_EQ(deck->renders(), int(codes.size() * std::size(sizes)));
    }

    const QSize size = sizes[1];
    const int queen = test::Card("QH").value();
    const QPixmap sharp = themed.Picture(queen, size, 2.0);
    EXPECT_EQ(sharp.size(), size * 2);
    EXPECT_EQ(sharp.deviceIndependentSize(), QSizeF(size));
    const QImage enlarged = themed.Picture(queen, size)
                                .toImage()
                                .scaled(size * 2, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    EXPECT_NE(sharp.toImage().convertToFormat(enlarged.format()), enlarged);
    CardImage card(themed, 0, nullptr);
    card.resize(size);
    card.setPicture(queen);
    const int rendered = themed.renders();
    QPixmap screen(size * 2);
    screen.setDevicePixelRatio(2.0);
    screen.fill(Qt::transparent);
    card.render(&screen, {}, {}, QWidget::DrawChildren);
    EXPECT_EQ(themed.renders(), rendered) << "the picture at ratio 2 was already rendered";
    EXPECT_EQ(screen.toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied),
              sharp.toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied));
    for (int width = 20; width < 120; ++width)
        for (int code : {1, 2, kBackPicture}) themed.Picture(code, {width, width * 3 / 2});
    EXPECT_LE(themed.kept(), 55 * Deck::kSizesKept);
    const int before = themed.renders();
    themed.Picture(1, {119, 178});
    EXPECT_EQ(themed.renders(), before) << "the last size is still kept";
}

// The last move's mark leaves every card's corner index readable: none of the index's ink in the
// top-left corner is painted over, at the sizes the up pile, the melds and the hands take.
TEST(CardPictures, TheLastMovesMarkLeavesTheCornerIndexWhole) {
    Deck deck;
    for (const char* name : {"TD", "TH", "9S"}) {
        for (const QSize size : {QSize(41, 49), QSize(57, 81), QSize(73, 105), QSize(110, 158)}) {
            CardImage card(deck, 0, nullptr);
            card.resize(size);
            card.setPicture(test::Card(name).value());
            const QImage plain = card.grab().toImage();
            card.setLastMove(true);
            const QImage marked = card.grab().toImage();
            ASSERT_NE(plain, marked) << "the mark shows";
            int ink = 0, covered = 0;
            // The corner inside the card's own outline, which the mark may cover.
            for (int y = 2; y < size.height() / 4; ++y)
                for (int x = 2; x < size.width() / 4; ++x) {
                    const QColor c = plain.pixelColor(x, y);
                    // The index's ink, well away from the card's white.
                    if (c.lightness() > 160) continue;
                    ++ink;
                    covered += marked.pixelColor(x, y) != c;
                }
            EXPECT_GT(ink, 0) << name << " " << size.width();
            EXPECT_EQ(covered, 0) << name << " at " << size.width() << " x " << size.height();
        }
    }
}

class WindowViews : public ::testing::Test {
  protected:
    GameState& state() { return TablePeer::State(window.table()); }
    WindowSide socket;
    Deck deck;
    Form1 window{socket, deck};
};

// The figures worked out by hand for the design sizes, in twips. Before the window is first shown
// every control stands at its design place, so the views must put the cards at those figures.
TEST_F(WindowViews, CardsStandAtTheWorkedExamplesAtTheDesignSize) {
    using namespace layout;
    test::SetHand(state(), "2H 3S 4C 5D 6S 7S 8S");
    test::SetRemoteHand(state(), "7D 8D 9D TD JD QD KD");
    test::SetUpPile(state(), "4C 5C");
    window.RefreshHands('B');
    window.RefreshUpPile();
    for (int column = 0; column < 3; ++column) window.CreateMeldColumn(column);
    CardImage* meld = window.imgMeld(2 * 13 + 3);
    // What, the figure the layout gives and the one worked out, where the window put the card in
    // pixels.
    const std::tuple<const char*, double, double, std::optional<int>> cases[] = {
        {"fan of 7 starts", LocalFanLeft(11295, 1095, 7, 0), 4279, window.imgLocal(0)->x()},
        {"second fan card", LocalFanLeft(11295, 1095, 7, 1), 4552.75, window.imgLocal(1)->x()},
        {"38 cards still start inside", LocalFanLeft(11295, 1095, 38, 0), 36, {}},
        {"39 cards start left of the frame", LocalFanLeft(11295, 1095, 39, 0), -101, {}},
        {"hearts stand highest", LocalTop(1215, 'H'), 243, window.imgLocal(0)->y()},
        {"spades stand lowest", LocalTop(1215, 'S'), 607.5, window.imgLocal(1)->y()},
        {"clubs stand second", LocalTop(1215, 'C'), 364.5, window.imgLocal(2)->y()},
        {"diamonds stand third", LocalTop(1215, 'D'), 486, window.imgLocal(3)->y()},
        {"opponent's first of 7", RemoteLeft(5040, 615, 7, 0), 120, window.imgRemote(0)->x()},
        {"opponent's last of 7", RemoteLeft(5040, 615, 7, 6), 4308, window.imgRemote(6)->x()},
        {"a lone opponent card is centred", RemoteLeft(5040, 615, 1, 0), 2212.5, {}},
        {"the second of two ends a margin short", RemoteLeft(5040, 615, 2, 1), 4305, {}},
        {"opponent cards' top", RemoteTop(1095), 219, window.imgRemote(6)->y()},
        {"up-pile margin", UpPileLeft(10215, 855, 0), 120.2, window.imgUpPile(0)->x()},
        {"up-pile second card", UpPileLeft(10215, 855, 1), 462.2, window.imgUpPile(1)->x()},
        {"meld column 2", MeldLeft(11295, 735, 2), 1885.9, meld->x()},
        {"meld row 3", MeldTop(3375, 3), 1003.8, meld->y()},
    };
    for (const auto& [what, got, expected, shown] : cases) {
        EXPECT_NEAR(got, expected, 0.05) << what;
        EXPECT_EQ(shown.value_or(Px(expected)), Px(expected)) << what;
    }
}

// The opponent's cards show their faces only for cards he took from the up pile, and only once
// the hidden phrase has turned them up; only a redraw of the player's own hand drops his selection.
// A selected card in the fanned hand, where each card shows a strip, changes enough of that strip
// for a player to see it: compared in the rendered pixels of the hand, not in the flag.
TEST_F(WindowViews, RedrawsShowOnlyKnownCardsAndTheSelectionVisiblyUntilTheOwnHandIsRedrawn) {
    test::SetHand(state(), "AS 2S 3S 4S 5S 6S 7S 8S 9S TS JS QS KS");
    test::SetRemoteHand(state(), "9S TS");
    state().KnownCount = test::Fill(state().KnownCards, "TS");
    for (const bool reveal : {false, true}) {
        state().RevealOpponent = reveal;
        window.RefreshHands('R');
        EXPECT_EQ(window.imgRemote(0)->tag(), kBackPicture) << reveal;
        EXPECT_EQ(window.imgRemote(1)->tag(), reveal ? 10 : kBackPicture) << reveal;
        EXPECT_TRUE(window.imgRemote(1)->toolTip().isEmpty());
        EXPECT_TRUE(window.imgRemote(2)->isHidden());
    }
    for (const char which : {'R', 'L', 'B'}) {
        window.RefreshHands('L');
        window.ShowSelection(1, true);
        window.RefreshHands(which);
        EXPECT_EQ(window.imgLocal(1)->selected(), which == 'R') << which;
        EXPECT_EQ(window.imgLocal(1)->toolTip(), "Two of Spades");
    }
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
            changed += std::abs(a.red() - b.red()) + std::abs(a.green() - b.green()) +
                           std::abs(a.blue() - b.blue()) >=
                       40;
        }
    EXPECT_GE(changed * 2, strip.width() * strip.height()) << changed << " pixels changed";
}

// How much of `text` the label cannot show in its font: 0 when it fits whole.
int Overflow(const QLabel* label, const QString& text) {
    const QRect box = label->contentsRect();
    const QFontMetrics metrics(label->font());
    if (!label->wordWrap()) return std::max(0, metrics.horizontalAdvance(text) - box.width());
    const QRect needed = metrics.boundingRect(box, Qt::TextWordWrap | label->alignment(), text);
    return std::max({0, needed.width() - box.width(), needed.height() - box.height()});
}

// Controls scale from the places recorded at the first showing, and return to them exactly; fonts
// from whole points (9.75 from 10, the window's 8.25 from 8); the hand's and the table's cards are
// placed from their scaled frames, not scaled themselves. Every label's longest text stays whole:
// three-digit and negative numbers, the longest of its words. The status line keeps the game's
// font size whatever the window's and is drawn smaller below the design size, so it is measured
// from the design size up.
TEST_F(WindowViews, ResizedControlsScaleFromTheDesignAndEveryLongestTextFits) {
    for (int column = 0; column < 2; ++column) window.CreateMeldColumn(column);
    std::vector<std::pair<QWidget*, QRect>> controls;
    for (QWidget* control :
         std::initializer_list<QWidget*>{window.frTable(), window.txtSay(), window.cmdSend(),
                                         window.rtbConvo(), window.label("lblLocalScore")})
        controls.push_back({control, control->geometry()});
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
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    // Dealt once the window stands: the later cards' slots are made after its layout was taken.
    test::SetHand(state(), "AS 2S 3S AD AC");
    test::SetUpPile(state(), "AH");
    for (const auto& [sx, sy] : {std::pair{2.0, 2.0}, {2.0, 1.0}, {0.5, 0.5}, {1.0, 1.0}}) {
        window.showNormal();
        window.resize(Round(design.width() * sx),
                      Round(design.height() * sy) + window.menuBar()->height());
        QCoreApplication::processEvents();
        const QSize now = window.centralWidget()->size();
        const double rx = double(now.width()) / design.width();
        const double ry = double(now.height()) / design.height();
        for (const auto& [control, at] : controls)
            EXPECT_EQ(control->geometry(), QRect(Round(at.x() * rx), Round(at.y() * ry),
                                                 Round(at.width() * rx), Round(at.height() * ry)))
                << control->objectName().toStdString() << " at " << rx << " x " << ry;
        EXPECT_DOUBLE_EQ(window.label("lblLocalScore")->font().pointSizeF(), 10 * ry);
        EXPECT_DOUBLE_EQ(window.centralWidget()->font().pointSizeF(), 8 * ry);
        EXPECT_EQ(window.imgLocal(4)->x(),
                  Px(layout::LocalFanLeft(Tw(window.findChild<QGroupBox*>("frLocalHand")->width()),
                                          Tw(window.imgLocal(0)->width()), 5, 4)));
        EXPECT_EQ(window.imgLocal(4)->size(), window.imgLocal(0)->size()) << rx << " x " << ry;
        const QGroupBox* table = window.frTable();
        const CardImage* meld = window.imgMeld(0);
        EXPECT_EQ(window.imgMeld(13 + 3)->geometry(),
                  QRect(Px(layout::MeldLeft(Tw(table->width()), Tw(meld->width()), 1)),
                        Px(layout::MeldTop(Tw(table->height()), 3)), meld->width(), meld->height()))
            << rx << " x " << ry;
        // The up pile keeps its top, unless its caption is taller; and stands whole in its frame.
        const QGroupBox* pile = window.findChild<QGroupBox*>("frUpPile");
        const CardImage* upCard = window.imgUpPile(0);
        EXPECT_EQ(upCard->y(), std::max(Px(120), pile->contentsRect().top())) << rx << " x " << ry;
        EXPECT_LE(upCard->geometry().bottom(), pile->height() - 1) << rx << " x " << ry;
        for (const auto& l : longest) {
            if (sx != sy || sx < l.smallest) continue;
            EXPECT_EQ(Overflow(window.label(l.label), l.text), 0)
                << l.label << " at " << sx << ": " << l.text.toStdString();
        }
    }
    EXPECT_EQ(window.centralWidget()->size(), design);
    for (const auto& [control, at] : controls) EXPECT_EQ(control->geometry(), at);
    ResultsDialog dialog(&window);
    for (const char* text : {"You won that round", "Your opponent won that round",
                             "You tied that round", "You Won the Game!", "You Lost the Game!"})
        EXPECT_EQ(Overflow(dialog.findChild<QLabel*>("Label1"), text), 0) << text;
}

// The window opens at the design size where it fits, and inside a smaller screen area otherwise,
// never smaller than half the design.
TEST_F(WindowViews, OpensInsideTheAvailableArea) {
    const int designWidth = Px(11490);
    ASSERT_EQ(window.width(), designWidth);
    for (const auto& [available, designFits] : {std::pair{QRect(0, 0, 1920, 1080), true},
                                                {QRect(0, 0, 800, 500), false},
                                                {QRect(100, 40, 700, 560), false},
                                                {QRect(0, 0, 300, 200), false}}) {
        Form1 opened(socket, deck);
        opened.FitInto(available);
        EXPECT_TRUE(available.contains(opened.frameGeometry())) << available.width();
        EXPECT_EQ(opened.size() == window.size(), designFits) << available.width();
        EXPECT_LE(opened.minimumWidth(), available.width());
        EXPECT_GE(opened.minimumWidth(), std::min(designWidth / 2, available.width()));
    }
}

// What the opponent's program wrote shows as its characters, wherever it appears: his program's
// name in the history and the status line's tooltip, his chat, the excerpt of an unreadable message
// in the warning box, and no label on the table reads markup.
TEST_F(WindowViews, MarkupFromThePeerShowsAsItsCharacters) {
    window.show();
    const std::string link = "<a href=http://x.io>Click to fix</a>";
    window.table().Data_Process("K:HELLO:2:-:0:0:" + std::string(kKeyDigits, '7') + ":<b>" + link);
    window.table().Data_Process("C:" + link);
    EXPECT_TRUE(
        window.historyLines().contains(QString::fromStdString("Your opponent plays <b>" + link)))
        << window.historyLines().join('\n').toStdString();
    EXPECT_TRUE(window.rtbConvo()->toPlainText().endsWith(QString::fromStdString(link)));
    // The status line's tooltip names his program, line by line, as a tooltip reads what it is
    // given.
    const auto tip = [&] {
        const QString given = window.label("lblStatus")->toolTip();
        QTextDocument read;
        Qt::mightBeRichText(given) ? read.setHtml(given) : read.setPlainText(given);
        return read.toPlainText().toStdString();
    };
    EXPECT_EQ(tip(), PeerProgramText("<b>" + link));
    const std::string lines = "kelvane 1.0.42\nsecond & <b>more</b>";
    window.ShowPeerProgram(lines);
    EXPECT_EQ(tip(), PeerProgramText(lines));
    std::optional<Qt::TextFormat> format;
    QString shown;
    QTimer::singleShot(0, [&] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box) return;
        format = box->textFormat();
        shown = box->text();
        box->accept();
    });
    window.table().Data_Process("M:D:" + link);
    EXPECT_EQ(format, Qt::PlainText);
    EXPECT_TRUE(shown.contains("M:D:<a href=http://x.io>Click")) << shown.toStdString();
    for (const QLabel* label : window.findChild<QWidget*>("client")->findChildren<QLabel*>()) {
        EXPECT_EQ(label->textFormat(), Qt::PlainText) << label->objectName().toStdString();
    }
}

// The results window goes when its button loses the focus to another control of the program, not
// when the player turns to another program.
TEST_F(WindowViews, TheResultsStayWhileAnotherProgramIsActiveAndGoWhenTheTableIsUsed) {
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

// One side of the two windows' round: an unattended window on its own socket, the server's
// dealing from `shuffles`.
struct Player {
    Player(Deck& deck, std::function<RandomSource()> shuffles, int port)
        : window(socket, deck, std::move(shuffles)) {
        window.table().UsePort(port);
        window.show();
    }
    const GameState& state() { return window.table().state(); }
    CardImage* Holding(const char* card) {
        for (int i = 0; i < state().LocalCount.value(); ++i)
            if (window.imgLocal(i)->tag() == test::Card(card).value()) return window.imgLocal(i);
        return nullptr;
    }
    void Select(const std::vector<const char*>& cards) {
        for (const char* card : cards) {
            ASSERT_NE(Holding(card), nullptr) << card;
            QTest::mouseClick(Holding(card), Qt::LeftButton);
        }
    }
    // A click on the table's own cloth, below and right of every meld.
    void ClickTable() {
        QGroupBox* table = window.frTable();
        QTest::mouseClick(table, Qt::LeftButton, {},
                          QPoint(table->width() - 4, table->height() - 4));
    }
    QString Label(const char* name) { return window.label(name)->text(); }
    QString Theirs() { return window.findChild<QGroupBox*>("frRemoteHand")->title(); }
    // Whether a line of the move history ends with `text`.
    bool Told(const char* text) {
        return std::ranges::any_of(window.historyLines(),
                                   [&](const QString& line) { return line.endsWith(text); });
    }
    WindowSide socket;
    test::UnattendedWindow window;
};

bool WaitFor(const std::function<bool()>& condition) {
    return QTest::qWaitFor(condition, 15000);
}

// The colour and weight of the transcript's character at `position`.
std::pair<QColor, bool> StyleAt(QTextEdit* convo, int position) {
    QTextCursor cursor(convo->document());
    cursor.setPosition(position + 1);
    const QTextCharFormat format = cursor.charFormat();
    return {format.foreground().color(), format.fontWeight() == QFont::Bold};
}

// Two windows play a round over loopback TCP through mouse and keyboard events: the client draws,
// melds twice, lays off, chats and goes out, while the server's views follow.
TEST(TwoWindows, PlayARoundOverLoopbackThroughTheirWidgets) {
    // From the top, dealt in turn from the server, then the up card and the client's draw: the
    // client holds a spade run, three nines and a king, and draws the spade that extends the run.
    const std::vector<Int16> top = test::Cards("7H 3S 8C 4S TD 5S JS 9H QH 9D 2D 9C 4C KD 5H 6S");
    std::vector<int> order;
    for (int card = 1; card <= kCardsInDeck; ++card)
        if (std::find(top.begin(), top.end(), Int16(card)) == top.end()) order.push_back(card);
    for (auto card = top.rbegin(); card != top.rend(); ++card) order.push_back(card->value());
    Deck deck;
    const int port = test::FreePort();
    Player server(deck, std::bind(test::DrawingCodes, order), port);
    auto client = std::make_unique<Player>(deck, ClockSeededRandom, port);
    server.window.action("mnuServer")->trigger();
    client->window.action("mnuClient")->trigger();
    ASSERT_TRUE(WaitFor([&] { return client->state().LocalCount == 7; }));
    // The first deal is the client's to open.
    EXPECT_EQ(client->Label("lblStatus"), "Draw");
    EXPECT_EQ(server.Label("lblStatus"), "Waiting for your opponent to draw");
    EXPECT_EQ(client->window.imgUpPile(0)->tag(), test::Card("5H").value());
    QTest::mouseClick(client->window.imgStack(), Qt::LeftButton);
    ASSERT_TRUE(WaitFor([&] { return server.state().RemoteCount == 8; }));
    EXPECT_EQ(server.Theirs(), "Your Opponent's Hand (8)");
    EXPECT_EQ(server.Label("lblCardsleft"), "Deck (36)");
    client->Select({"5S", "3S", "4S"});
    client->ClickTable();
    ASSERT_TRUE(WaitFor([&] { return server.window.imgMeld(2) != nullptr; }));
    EXPECT_EQ(server.window.imgMeld(2)->tag(), test::Card("5S").value());
    client->Select({"9H", "9D", "9C"});
    client->ClickTable();
    ASSERT_TRUE(WaitFor([&] { return server.window.meldSlotCount() == 26; }));
    // Laying off: the selected card and a click anywhere in the run's column.
    client->Select({"6S"});
    QTest::mouseClick(client->window.imgMeld(7), Qt::LeftButton);
    ASSERT_TRUE(
        WaitFor([&] { return server.window.imgMeld(3)->tag() == test::Card("6S").value(); }));
    EXPECT_EQ(server.Theirs(), "Your Opponent's Hand (1)");
    const QString said = QString::fromUtf8("hi (again) caf\u00e9");
    QTest::keyClicks(client->window.txtSay(), said.chopped(1));
    QTest::sendKeyEvent(QTest::Click, client->window.txtSay(), Qt::Key_Eacute, said.right(1),
                        Qt::NoModifier);
    QTest::mouseClick(client->window.cmdSend(), Qt::LeftButton);
    QTextEdit* heard = server.window.rtbConvo();
    ASSERT_TRUE(WaitFor([&] { return !heard->toPlainText().isEmpty(); }));
    EXPECT_EQ(heard->toPlainText(), "OPPONENT: " + said);
    EXPECT_EQ(StyleAt(heard, 0), std::make_pair(QColor(255, 0, 0), true));
    EXPECT_EQ(StyleAt(heard, 10), std::make_pair(QColor(0, 0, 0), false));
    EXPECT_TRUE(client->window.txtSay()->text().isEmpty());
    // The last card goes with a right press: the round ends on both sides.
    QTest::mousePress(client->Holding("KD"), Qt::RightButton);
    ASSERT_TRUE(WaitFor([&] {
        return client->Told("You won that round.") && server.Told("Your opponent won that round.");
    }));
    // The server has dealt the next round, which the server opens.
    ASSERT_TRUE(WaitFor([&] { return client->state().LocalCount == 7; }));
    EXPECT_EQ(client->Label("lblStatus"), "Waiting for your opponent to draw");
    client->window.action("mnuQuit")->trigger();
    EXPECT_FALSE(client->window.isVisible());
    // Only the questions a player meets on this way: no move was refused, nothing failed.
    EXPECT_EQ(client->window.boxes, (std::vector<std::string>{"Discard the King of Diamonds?",
                                                              "Sure you want to quit?"}));
    EXPECT_TRUE(client->window.failures.empty() && server.window.failures.empty());
    client.reset();
    EXPECT_TRUE(WaitFor([&] { return !server.window.isVisible(); }));
    EXPECT_EQ(server.window.boxes,
              std::vector<std::string>{"Your opponent just disappeared. Sorry."});
}

}  // namespace
}  // namespace kelvane
