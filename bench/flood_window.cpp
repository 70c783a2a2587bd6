// SPDX-License-Identifier: GPL-3.0-or-later
// The window connected to a peer that floods it: how far the window's peak resident memory grows.
//   QT_QPA_PLATFORM=offscreen kelvane_flood_window [megabytes]
//     a frame that never closes, and what the player is told;
//   QT_QPA_PLATFORM=offscreen kelvane_flood_window chat [seconds]
//     chat lines of 8,000 characters as fast as the window takes them, and how long the window
//     took at most to handle one event meanwhile.

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTextDocument>
#include <QTextEdit>
#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>

#include "game/stock.h"
#include "qtnet/window_side.h"
#include "ui/deck.h"
#include "ui/form1.h"
#include "wire/wire.h"

namespace {

double PeakMegabytes() {
    QFile status("/proc/self/status");
    status.open(QIODevice::ReadOnly);
    const auto match = QRegularExpression("VmHWM:\\s+(\\d+)").match(status.readAll());
    return match.captured(1).toDouble() / 1024;
}

class FloodedWindow : public kelvane::Form1 {
  public:
    using Form1::Form1;
    bool ShowBox(const kelvane::BoxText& box) override {
        told = box.text;
        return true;
    }
    std::string AskHost() override { return "127.0.0.1"; }
    std::string told;
};

}  // namespace

namespace {

// Chat lines as long as a frame allows, for `seconds`; the transcript and its view keep only the
// newest, so the peak must level off however long it runs.
int ChatFlood(FloodedWindow& window, QTcpSocket& peer, int seconds) {
    const std::string line = kelvane::Frame("C:" + std::string(8000, 'y'));
    const double before = PeakMegabytes();
    qint64 sent = 0, longestMs = 0;
    QElapsedTimer clock, event;
    clock.start();
    while (clock.elapsed() < seconds * 1000 && peer.state() == QAbstractSocket::ConnectedState) {
        if (peer.bytesToWrite() < 64 * 1024)
            sent += peer.write(line.data(), static_cast<qint64>(line.size()));
        event.start();
        QCoreApplication::processEvents();
        longestMs = std::max(longestMs, event.elapsed());
    }
    std::printf("chat flood for %d s: %.1f MB sent in lines of 8,000 characters\n", seconds,
                static_cast<double>(sent) / (1 << 20));
    std::printf("window peak resident memory before the flood: %.1f MB\n", before);
    std::printf("window peak resident memory after:            %.1f MB (grew %.1f MB)\n",
                PeakMegabytes(), PeakMegabytes() - before);
    std::printf("longest the window took over one round of events: %lld ms\n",
                static_cast<long long>(longestMs));
    std::printf("the chat view holds %lld characters\n",
                static_cast<long long>(window.rtbConvo()->document()->characterCount()));
    return window.table().transcript().text().empty() ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    const bool chat = argc > 1 && std::string(argv[1]) == "chat";
    const int megabytes = argc > 1 && !chat ? std::stoi(argv[1]) : 200;
    QTcpServer server;
    server.listen(QHostAddress::LocalHost, 0);
    kelvane::WindowSide socket;
    kelvane::Deck deck;
    FloodedWindow window(socket, deck);
    window.show();
    window.table().UsePort(server.serverPort());
    window.table().mnuClient_Click();
    while (!server.hasPendingConnections()) QCoreApplication::processEvents();
    std::unique_ptr<QTcpSocket> peer(server.nextPendingConnection());
    const std::string deal =
        kelvane::Frame(kelvane::DealMessage(kelvane::ShuffleOrder(kelvane::SeededRandom(9))));
    peer->write(deal.data(), static_cast<qint64>(deal.size()));
    while (window.table().state().LocalCount < 7) QCoreApplication::processEvents();
    if (chat) return ChatFlood(window, *peer, argc > 2 ? std::stoi(argv[2]) : 60);
    const double before = PeakMegabytes();

    const QByteArray chunk(64 * 1024, 'x');
    peer->write("(");
    qint64 sent = 0;
    QElapsedTimer clock;
    clock.start();
    while (sent < qint64(megabytes) << 20 && peer->state() == QAbstractSocket::ConnectedState &&
           clock.elapsed() < 60'000) {
        if (peer->bytesToWrite() < 4 * chunk.size()) sent += peer->write(chunk);
        QCoreApplication::processEvents();
    }
    QElapsedTimer settle;
    settle.start();
    while (settle.elapsed() < 500) QCoreApplication::processEvents();
    std::printf("window peak resident memory before the flood: %.1f MB\n", before);
    std::printf("window peak resident memory after:            %.1f MB (grew %.1f MB)\n",
                PeakMegabytes(), PeakMegabytes() - before);
    std::printf("bytes written before the window closed the connection: %lld\n",
                static_cast<long long>(sent));
    std::printf("the player was told: %s\n", window.told.c_str());
    // A window that never refused the endless frame is what this program exists to catch.
    return window.told.empty() ? 1 : 0;
}
