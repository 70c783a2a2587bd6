#include <gtest/gtest.h>

#include <QGroupBox>
#include <QInputDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTcpServer>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextEdit>
#include <QTimer>
#include <memory>
#include <vector>

#include "net/qt/qt_socket.h"
#include "ui/card_image.h"
#include "ui/deck.h"
#include "ui/form1.h"
#include "ui/results_dialog.h"

namespace kelvane {
namespace {

// Shuffles that always come out in `order` (Stack[0] first): each draw asks for the next code.
std::function<RandomSource()> FixedShuffle(std::vector<int> order) {
    return [order] {
        return RandomSource([order, next = std::size_t{0}]() mutable {
            const double u = (order[next++ % order.size()] - 0.5) / kCardsInDeck;
            return static_cast<std::uint64_t>(u * 0x1.0p53) << 11;
        });
    };
}

// Stands in for the players at the boxes: answers every message box with Yes or OK and the host
// question with its offered address, and notes every box and results window that appears.
class BoxWatcher : public QObject {
  public:
    struct Seen {
        QWidget* window;
        QString text;
    };
    std::vector<Seen> boxes;
    std::vector<Seen> results;

    BoxWatcher() { qApp->installEventFilter(this); }
    ~BoxWatcher() override { qApp->removeEventFilter(this); }

    bool Saw(const QString& text) const {
        return std::any_of(boxes.begin(), boxes.end(),
                           [&](const Seen& s) { return s.text == text; });
    }
    std::string BoxTexts() const {
        QStringList texts;
        for (const Seen& s : boxes) texts << s.text;
        return texts.join(" | ").toStdString();
    }

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() != QEvent::Show) return false;
        if (auto* box = qobject_cast<QMessageBox*>(watched)) {
            boxes.push_back({box->parentWidget(), box->text()});
            QTimer::singleShot(0, box, [box] {
                QAbstractButton* yes = box->button(QMessageBox::Yes);
                (yes ? yes : box->button(QMessageBox::Ok))->click();
            });
        } else if (auto* input = qobject_cast<QInputDialog*>(watched)) {
            QTimer::singleShot(0, input, [input] { input->accept(); });
        } else if (auto* dialog = qobject_cast<ResultsDialog*>(watched)) {
            results.push_back({dialog->parentWidget(), dialog->message()});
        }
        return false;
    }
};

struct Player {
    Player(Deck& deck, std::function<RandomSource()> shuffles, int port)
        : window(socket, deck, std::move(shuffles)) {
        window.table().UsePort(port);
        window.show();
    }
    const GameState& state() { return window.table().state(); }
    CardImage* Holding(int card) {
        for (int i = 0; i < state().LocalCount.value(); ++i)
            if (window.imgLocal(i)->tag() == card) return window.imgLocal(i);
        return nullptr;
    }
    void Select(std::initializer_list<int> cards) {
        for (int card : cards) {
            CardImage* slot = Holding(card);
            ASSERT_NE(slot, nullptr) << card;
            QTest::mouseClick(slot, Qt::LeftButton);
        }
    }
    // A click on the table's own cloth, below and right of every meld.
    void ClickTable() {
        QGroupBox* table = window.frTable();
        QTest::mouseClick(table, Qt::LeftButton, {},
                          QPoint(table->width() - 4, table->height() - 4));
    }
    QString Label(const char* name) { return window.label(name)->text(); }

    QtSocket socket;
    Form1 window;
};

int FreePort() {
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

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

// Two windows in one process play a round over loopback TCP, every move made by the widget events
// a player's mouse and keyboard make: the client draws, lays down two melds, lays a card off,
// chats and goes out with its discard, while the server's views follow each move.
TEST(TwoWindows, PlayARoundOverLoopbackThroughTheirWidgets) {
    // The client's seven (every second card from the top, after the server's), then the up card
    // and the client's draw: a spade run, three nines, the spade that extends the run, a king.
    const int s3 = MakeCard(kSpades, 3).value(), s4 = s3 + 1, s5 = s3 + 2, s6 = s3 + 3;
    const int h9 = MakeCard(kHearts, 9).value(), d9 = MakeCard(kDiamonds, 9).value(),
              c9 = MakeCard(kClubs, 9).value(), dK = MakeCard(kDiamonds, kKing).value();
    const int upCard = MakeCard(kHearts, 5).value();
    const int serverHand[] = {MakeCard(kHearts, 7).value(),    MakeCard(kClubs, 8).value(),
                              MakeCard(kDiamonds, 10).value(), MakeCard(kSpades, 11).value(),
                              MakeCard(kHearts, 12).value(),   MakeCard(kDiamonds, 2).value(),
                              MakeCard(kClubs, 4).value()};
    const int clientHand[] = {s3, s4, s5, h9, d9, c9, dK};
    std::vector<int> order(kCardsInDeck, 0);
    for (int k = 0; k < 7; ++k) {
        order[static_cast<std::size_t>(51 - 2 * k)] = serverHand[k];
        order[static_cast<std::size_t>(50 - 2 * k)] = clientHand[k];
    }
    order[37] = upCard;
    order[36] = s6;
    std::vector<bool> used(kCardsInDeck + 1, false);
    for (int card : order) used[static_cast<std::size_t>(card)] = true;
    for (std::size_t i = 0, card = 1; i < 36; ++i) {
        while (used[card]) ++card;
        order[i] = static_cast<int>(card++);
    }

    BoxWatcher boxes;
    Deck deck;
    const int port = FreePort();
    Player server(deck, FixedShuffle(order), port);
    auto client = std::make_unique<Player>(deck, ClockSeededRandom, port);

    server.window.action("mnuServer")->trigger();
    EXPECT_TRUE(server.Label("lblStatus").startsWith("Waiting for client to connect..."));
    EXPECT_FALSE(server.window.action("mnuServer")->isEnabled());
    client->window.action("mnuClient")->trigger();
    ASSERT_TRUE(WaitFor([&] { return client->state().LocalCount == 7; }));

    // The first deal is the client's to open.
    EXPECT_EQ(client->Label("lblStatus"), "Draw");
    EXPECT_EQ(server.Label("lblStatus"), "Waiting for your opponent to draw");
    EXPECT_EQ(client->window.imgUpPile(0)->tag(), upCard);
    EXPECT_EQ(server.window.imgUpPile(0)->tag(), upCard);
    EXPECT_EQ(client->Label("lblCardsleft"), "Deck (37)");

    QTest::mouseClick(client->window.imgStack(), Qt::LeftButton);
    ASSERT_TRUE(WaitFor([&] { return server.state().RemoteCount == 8; }));
    EXPECT_EQ(server.window.findChild<QGroupBox*>("frRemoteHand")->title(),
              "Your Opponent's Hand (8)");
    EXPECT_EQ(server.Label("lblCardsleft"), "Deck (36)");
    EXPECT_NE(client->Holding(s6), nullptr);

    client->Select({s5, s3, s4});
    client->ClickTable();
    ASSERT_TRUE(WaitFor([&] { return server.window.imgMeld(2) != nullptr; }));
    EXPECT_EQ(server.window.imgMeld(0)->tag(), s3);
    EXPECT_EQ(server.window.imgMeld(2)->tag(), s5);

    client->Select({h9, d9, c9});
    client->ClickTable();
    ASSERT_TRUE(WaitFor([&] { return server.window.meldSlotCount() == 26; }));
    EXPECT_TRUE(server.window.imgMeld(13)->isVisible());

    // Laying off: the selected card and a click anywhere in the run's column.
    client->Select({s6});
    QTest::mouseClick(client->window.imgMeld(7), Qt::LeftButton);
    ASSERT_TRUE(WaitFor([&] { return server.window.imgMeld(3)->tag() == s6; }));
    EXPECT_EQ(server.window.findChild<QGroupBox*>("frRemoteHand")->title(),
              "Your Opponent's Hand (1)");

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
    EXPECT_EQ(client->window.rtbConvo()->toPlainText(), "YOU: " + said);
    EXPECT_EQ(StyleAt(client->window.rtbConvo(), 0), std::make_pair(QColor(0, 0, 255), true));
    EXPECT_TRUE(client->window.txtSay()->text().isEmpty());

    // The last card goes with a right press: the round ends on both sides.
    QTest::mousePress(client->Holding(dK), Qt::RightButton);
    ASSERT_TRUE(WaitFor([&] { return boxes.results.size() == 2; }));
    EXPECT_EQ(boxes.results[0].window, &client->window);
    EXPECT_EQ(boxes.results[0].text, "You won that round");
    EXPECT_EQ(boxes.results[1].window, &server.window);
    EXPECT_EQ(boxes.results[1].text, "Your opponent won that round");
    // The server has dealt the next round, which the server opens.
    ASSERT_TRUE(WaitFor([&] { return client->state().LocalCount == 7; }));
    EXPECT_EQ(client->Label("lblStatus"), "Waiting for your opponent to draw");

    client->window.action("mnuQuit")->trigger();
    EXPECT_TRUE(boxes.Saw("Sure you want to quit?"));
    EXPECT_FALSE(client->window.isVisible());
    client.reset();
    ASSERT_TRUE(WaitFor([&] { return boxes.Saw("Your opponent just disappeared. Sorry."); }));
    EXPECT_TRUE(WaitFor([&] { return !server.window.isVisible(); }));
    // Only the questions a player meets on this way: no move was refused, nothing failed.
    EXPECT_EQ(boxes.BoxTexts(),
              "Discard the King of Diamonds? | Sure you want to quit? | "
              "Your opponent just disappeared. Sorry.");
}

}  // namespace
}  // namespace kelvane
