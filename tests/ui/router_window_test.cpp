// The window serving behind the lab's home router (tests/portmap/router_lab.sh runs it in the
// home namespace, naming the router's outside address and the far player's namespace): the
// outside address is told beside the unchanged waiting text and copied, and a bot outside plays a
// round through it.

#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QTest>
#include <cstdlib>

#include "game_watch.h"
#include "qtnet/qt_socket.h"
#include "sim/random_policy.h"
#include "ui/deck.h"
#include "unattended_window.h"

namespace kelvane {
namespace {

TEST(RouterWindow, ServingTellsTheOutsideAddressAndAFarPlayerReachesIt) {
    const char* outside = std::getenv("KELVANE_LAB_OUTSIDE");
    const char* far = std::getenv("KELVANE_LAB_FAR");
    if (!outside || !far) GTEST_SKIP() << "runs in the router lab (tests/portmap/router_lab.sh)";
    QtSocket socket;
    Deck deck;
    {
        Form1 plain(socket, deck);
        EXPECT_TRUE(plain.action("mnuOpenRouter")->isChecked());
    }
    test::UnattendedWindow window(socket, deck);
    window.show();
    // The window's first layouts rewrite the status line; serving follows them, as a player does.
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    QTest::qWait(200);
    window.action("mnuServer")->trigger();
    QLabel* status = window.label("lblStatus");
    const QString waiting = status->text();
    ASSERT_TRUE(QTest::qWaitFor([&] { return status->toolTip().contains(outside); }, 5000))
        << status->toolTip().toStdString();
    EXPECT_EQ(status->text(), waiting);
    EXPECT_TRUE(waiting.startsWith("Waiting for client to connect...")) << waiting.toStdString();
    EXPECT_TRUE(window.historyLines().join('\n').contains(outside));
    window.action("mnuCopyAddress")->trigger();
    EXPECT_EQ(QApplication::clipboard()->text(), outside);

    test::Program bot("the far bot", "Round 1:");
    bot.Start("ip", {"netns", "exec", far, KELVANE_BOT_PATH, "--connect", outside, "--rounds", "1",
                     "--delay", "0", "--level", "1"});
    sim::RandomPolicy player(5);
    const std::string stopped = test::Watch(
        {&bot}, [&] { return bot.out().contains("Round 1:"); },
        [&] {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
            if (window.table().state().MyTurn) player.Act(window.table());
        });
    EXPECT_TRUE(stopped.empty()) << stopped;
}

}  // namespace
}  // namespace kelvane
