// SPDX-License-Identifier: GPL-3.0-or-later
// Takes the README's screenshots: the window against the computer opponent, started from its own
// menu, with a simple player who draws from the stack, selects two cards and discards through the
// mouse, as a person would. Run it on a display (Xvfb) with the screen's whole picture taken, as a
// screenshot tool would:
//   DISPLAY=:7 build/release/bench/kelvane_screenshots docs [prefix [delay]]
// (delay: the computer's pause before each move in milliseconds, 300 unless given; a check that
// the program still runs gives 0).
// It writes <prefix>welcome.png (the first screen), <prefix>round.png (a round in progress, the
// opponent's last move marked), <prefix>selection.png (two cards selected after the draw),
// <prefix>keyboard.png (the keyboard's frame on a hand card), <prefix>results.png (the results
// window) and <prefix>history.png (the move history open).

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QPixmap>
#include <QScreen>
#include <QTest>
#include <QThread>
#include <functional>
#include <iostream>
#include <random>

#include "qtnet/window_side.h"
#include "sim/random_policy.h"
#include "ui/card_image.h"
#include "ui/computer_opponent.h"
#include "ui/deck.h"
#include "ui/form1.h"
#include "ui/results_dialog.h"
#include "ui/run_window.h"
#include "ui/table_keys.h"

namespace kelvane {
namespace {

// Answers Yes to each discard question; a refusal leaves the random player to find a move.
class Player : public Form1 {
  public:
    using Form1::Form1;
    bool ShowBox(const BoxText& box) override {
        refused = box.buttons == Buttons::kOk;
        return true;
    }
    bool refused = false;
};

void Wait(const std::function<bool()>& done, int ms = 60000) {
    QElapsedTimer timer;
    timer.start();
    while (!done() && timer.elapsed() < ms)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
}

void Settle(int ms) {
    Wait([] { return false; }, ms);
}

bool Shoot(Form1& window, const QString& path) {
    QRect area = window.frameGeometry();
    if (ResultsDialog* d = window.resultsDialog(); d && d->isVisible())
        area = area.united(d->frameGeometry());
    const QPixmap shot =
        window.screen()->grabWindow(0, area.x(), area.y(), area.width(), area.height());
    std::cout << path.toStdString() << " " << shot.width() << "x" << shot.height() << "\n";
    return shot.save(path);
}

// Where the pictures go: the folder and the prefix of their names.
struct Album {
    QDir out;
    QString prefix;
    QString Path(const char* name) const { return out.filePath(prefix + name); }
};

// After the draw: two cards selected, as a player gathering a meld would, then put down again,
// and the keyboard's frame on the hand's fourth card. Whether the selection was taken.
bool ShootSelectionAndKeys(Player& window, const Album& album) {
    QTest::mouseClick(window.imgLocal(1), Qt::LeftButton);
    QTest::mouseClick(window.imgLocal(2), Qt::LeftButton);
    Settle(300);
    const bool shot = Shoot(window, album.Path("selection.png"));
    QTest::mouseClick(window.imgLocal(1), Qt::LeftButton);
    QTest::mouseClick(window.imgLocal(2), Qt::LeftButton);
    window.activateWindow();
    Settle(200);
    window.tableKeys()->setFocus(Qt::TabFocusReason);
    for (Qt::Key key :
         {Qt::Key_Down, Qt::Key_Down, Qt::Key_Home, Qt::Key_Right, Qt::Key_Right, Qt::Key_Right})
        QTest::keyClick(window.tableKeys(), key);
    Settle(300);
    Shoot(window, album.Path("keyboard.png"));
    return shot;
}

bool ResultsShown(Player& window) {
    return window.resultsDialog() && window.resultsDialog()->isVisible();
}

// The player's side until the results show, through the mouse: the stack, then a card at random
// thrown, and the random player's move when the window refuses that. The round's pictures are
// taken on the way, once the table holds a meld; whether they were.
bool PlayToResults(Player& window, const Album& album) {
    const GameState& s = window.table().state();
    sim::RandomPolicy fallback(3);
    std::mt19937 random(9);
    bool shotRound = false;
    int turns = 0;
    while (!ResultsShown(window)) {
        Wait([&] { return s.MyTurn || ResultsShown(window); });
        if (!s.MyTurn) break;
        ++turns;
        const bool shoot =
            !shotRound && turns >= 4 && s.TableMelds.ColumnCount() > 0 && s.LocalCount >= 6;
        // The opponent's last turn still marked, before the player's draw ends the marks.
        if (shoot) Settle(300), Shoot(window, album.Path("round.png"));
        if (!s.HasDrawn) QTest::mouseClick(window.imgStack(), Qt::LeftButton);
        Settle(200);
        if (shoot) shotRound = ShootSelectionAndKeys(window, album);
        window.refused = false;
        const int pick = std::uniform_int_distribution<int>(0, s.LocalCount.value() - 1)(random);
        QTest::mousePress(window.imgLocal(pick), Qt::RightButton);
        if (window.refused || s.MyTurn) fallback.Act(window.table());
        Settle(100);
    }
    return shotRound;
}

}  // namespace
}  // namespace kelvane

int main(int argc, char** argv) {
    using namespace kelvane;
    QApplication app(argc, argv);
    const Album album{QDir(argc > 1 ? argv[1] : "."), argc > 2 ? argv[2] : ""};
    const QString delay = argc > 3 ? argv[3] : "300";
    UseTheWindowsFace();
    Deck deck;
    WindowSide socket;
    Player window(socket, deck);
    window.UseBotProgram(ComputerOpponent::FindProgram(), {"--seed", "4", "--delay", delay});
    window.show();
    // The newcomer's first screen: the welcome on the empty table.
    Settle(800);
    Shoot(window, album.Path("welcome.png"));
    window.action("mnuComputerLevel2")->trigger();
    Wait([&] { return window.table().state().LocalCount > 0; });
    const bool shotRound = PlayToResults(window, album);
    Settle(500);
    Shoot(window, album.Path("results.png"));
    if (ResultsDialog* d = window.resultsDialog()) d->close();
    window.action("mnuHistory")->trigger();
    Settle(500);
    Shoot(window, album.Path("history.png"));
    return shotRound ? 0 : 1;
}
