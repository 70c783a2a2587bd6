// SPDX-License-Identifier: GPL-3.0-or-later
// The time a dropped game takes to resume while a stranger knocks on the server's port: two
// kelvane-bot processes play over a line that carries each byte 25 ms late either way; a stranger
// calls from another address (127.0.0.2) this many times a second, holding each call silent for
// a second; the line drops, and the time until both bots say the opponent is back is measured.
//   kelvane_knock_resume BOT [tries] [knocks per second]      (defaults: 10, 50)
// Prints each try's time and how many tries resumed within 5 s; exits 1 if one never resumed.

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QHostAddress>
#include <QProcess>
#include <QRegularExpression>
#include <QTcpSocket>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "dropping_line.h"

namespace {

constexpr int kLineDelayMs = 25;
constexpr int kGiveUpMs = 30000;

// A kelvane-bot, its standard error gathered as it comes.
struct Bot {
    QProcess process;
    QString err;
    void Start(const QString& path, const QStringList& args) {
        process.setProcessChannelMode(QProcess::SeparateChannels);
        process.start(path, args);
    }
    void Gather() { err += QString::fromUtf8(process.readAllStandardError()); }
};

// Runs the event loop until `done` holds or `ms` have passed; whether it holds.
bool Until(const std::function<bool()>& done, int ms, std::vector<Bot*> bots) {
    QElapsedTimer clock;
    clock.start();
    while (!done() && clock.elapsed() < ms) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        for (Bot* bot : bots) bot->Gather();
    }
    return done();
}

// The stranger: a new silent call from 127.0.0.2 every 1000/perSecond ms, each held a second.
class Stranger {
  public:
    Stranger(quint16 port, int perSecond) {
        timer_.setInterval(perSecond > 0 ? 1000 / perSecond : 1000);
        QObject::connect(&timer_, &QTimer::timeout, [this, port] {
            auto* call = new QTcpSocket;
            call->bind(QHostAddress("127.0.0.2"));
            call->connectToHost(QHostAddress::LocalHost, port);
            QTimer::singleShot(1000, call, [call] {
                call->abort();
                call->deleteLater();
            });
            ++knocks;
        });
        if (perSecond > 0) timer_.start();
    }
    long knocks = 0;

  private:
    QTimer timer_;
};

// Drops the line and times until both bots say the opponent is back; negative if they never do.
double TimeToResume(kelvane::test::DroppingLine& line, Bot& server, Bot& client) {
    Until([] { return false; }, 1000, {&server, &client});
    const auto backs = [&] {
        return std::min(server.err.count("the opponent is back"),
                        client.err.count("the opponent is back"));
    };
    const qsizetype before = backs();
    QElapsedTimer clock;
    clock.start();
    line.Drop();
    if (!Until([&] { return backs() > before; }, kGiveUpMs, {&server, &client})) return -1;
    return static_cast<double>(clock.elapsed()) / 1000;
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: kelvane_knock_resume BOT [tries] [knocks per second]\n");
        return 2;
    }
    const QString bot = argv[1];
    const int tries = argc > 2 ? std::stoi(argv[2]) : 10;
    const int knocksPerSecond = argc > 3 ? std::stoi(argv[3]) : 50;

    Bot server, client;
    server.Start(bot, {"--serve", "--port", "0", "--delay", "100", "--resume-timeout", "60"});
    static const QRegularExpression listening("waiting for an opponent on port (\\d+)");
    if (!Until([&] { return listening.match(server.err).hasMatch(); }, 5000, {&server})) {
        std::fprintf(stderr, "the server never listened\n");
        return 1;
    }
    const quint16 port = listening.match(server.err).captured(1).toUShort();
    // A line carrying every arrival kLineDelayMs late either way, dropped when told.
    kelvane::test::DroppingLine line(port, {}, kLineDelayMs);
    client.Start(bot, {"--connect", "127.0.0.1:" + QString::number(line.port()), "--delay", "100",
                       "--resume-timeout", "60"});
    if (!Until([&] { return client.err.contains("playing"); }, 5000, {&server, &client})) {
        std::fprintf(stderr, "the bots never played\n");
        return 1;
    }
    Stranger stranger(port, knocksPerSecond);
    std::vector<double> seconds;
    for (int i = 1; i <= tries; ++i) {
        const double s = TimeToResume(line, server, client);
        std::printf("try %2d: %s after %.2f s\n", i, s >= 0 ? "resumed" : "NOT resumed",
                    s >= 0 ? s : kGiveUpMs / 1000.0);
        if (s < 0) {
            std::fprintf(stderr, "server:\n%s\nclient:\n%s\n", qPrintable(server.err.right(800)),
                         qPrintable(client.err.right(800)));
            return 1;
        }
        seconds.push_back(s);
    }
    std::sort(seconds.begin(), seconds.end());
    const auto within = std::ranges::count_if(seconds, [](double s) { return s <= 5.0; });
    std::printf(
        "%d knocks a second from 127.0.0.2, a %d ms line each way: %ld of %d tries resumed "
        "within 5 s; median %.2f s, slowest %.2f s; %ld knocks in all\n",
        knocksPerSecond, kLineDelayMs, static_cast<long>(within), tries,
        seconds[seconds.size() / 2], seconds.back(), stranger.knocks);
    for (Bot* b : {&server, &client}) b->process.kill(), b->process.waitForFinished();
    return 0;
}
