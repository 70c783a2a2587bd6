// SPDX-License-Identifier: GPL-3.0-or-later
#include "qtnet/qt_socket.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QTcpSocket>
#include <QTest>
#include <functional>
#include <tuple>

#include "dropping_line.h"
#include "game/failure.h"

namespace kelvane {
namespace {

using namespace std::chrono_literals;

bool Until(const std::function<bool()>& done) {
    return QTest::qWaitFor(done, 2000);
}

// One program's end, recording its socket's reports; as a server it serves only the first client.
struct Peer {
    QtSocket socket;
    int refused = 0, stateAtAccept = -1, arrivals = 0, connectFailures = 0;
    std::vector<int> closes;
    bool readOnArrival = true;
    std::string received;
    Peer() {
        socket.onConnectionRequest = [this](int index, long id) {
            try {
                socket.Accept(1, id);
                stateAtAccept = socket.State(1);
            } catch (const Failure&) {
                ++refused;
                socket.Refuse(index, id);
            }
        };
        socket.onDataArrival = [this](int index) {
            ++arrivals;
            if (readOnArrival) received += socket.Read(index);
        };
        socket.onClose = [this](int index) { closes.push_back(index); };
        socket.onConnectFailed = [this] { ++connectFailures; };
    }
    // What the engine takes for an attempt under way, read at once after Connect.
    bool Started() { return StillConnecting(socket.State(0)); }
};

struct Session {
    Peer server, client;
    int port = 0;
    Session() {
        server.socket.Listen(0, 0);
        port = server.socket.LocalPort(0);
    }
    bool Join() {
        client.socket.Connect(0, "127.0.0.1", port);
        return client.Started() && Until([&] {
                   return client.socket.State(0) == kSocketConnected &&
                          server.socket.State(1) == kSocketConnected;
               });
    }
};

// An undecided request must not hold its client; a move must leave before the game pauses.
TEST(QtSocketSession, RawClientsSeeUndecidedRequestsClosedAndMovesSentAtOnce) {
    Session s;
    QTcpSocket undecided, served;
    const auto onRequest = std::exchange(s.server.socket.onConnectionRequest, [](int, long) {});
    undecided.connectToHost("127.0.0.1", static_cast<quint16>(s.port));
    EXPECT_TRUE(Until([&] { return undecided.state() == QAbstractSocket::UnconnectedState; }));
    s.server.socket.onConnectionRequest = onRequest;
    served.connectToHost("127.0.0.1", static_cast<quint16>(s.port));
    ASSERT_TRUE(Until([&] { return s.server.socket.State(1) == kSocketConnected; }));
    s.server.socket.Send(1, "(M:U:02)");
    ASSERT_TRUE(served.waitForReadyRead(1000));
    EXPECT_EQ(served.readAll(), "(M:U:02)");
}

// Misuse throws a failure; the server serves the first client and turns the next away; every byte
// value travels both ways untouched, in more than one read's worth, bytes left unread wait for a
// later read, and a close reaches only the peer, after the last bytes.
TEST(QtSocketSession, CarriesEveryByteBothWaysUntilOneSideCloses) {
    std::string everyByte(300'000, '\0');
    for (std::size_t i = 0; i < everyByte.size(); ++i) everyByte[i] = static_cast<char>(i * 7);
    for (const bool serverCloses : {true, false}) {
        Session s;
        // Operations that cannot be done throw a failure and change nothing.
        Peer other;
        const std::pair<const char*, std::function<void()>> operations[] = {
            {"listen on no port", [&] { other.socket.Listen(0, 65536); }},
            {"listen twice", [&] { s.server.socket.Listen(0, 0); }},
            {"connect while listening", [&] { s.server.socket.Connect(0, "127.0.0.1", s.port); }},
            {"send with no connection", [&] { s.server.socket.Send(1, "(C:)"); }},
            {"read with no connection", [&] { s.server.socket.Read(1); }},
            {"accept a request never made", [&] { s.server.socket.Accept(1, 42); }},
            {"refuse a request never made", [&] { s.server.socket.Refuse(0, 42); }},
            {"a socket past the array", [&] { s.server.socket.State(kSockets); }},
        };
        for (const auto& [name, operation] : operations) EXPECT_THROW(operation(), Failure) << name;
        try {
            other.socket.Listen(0, s.port);
            ADD_FAILURE() << "listened on a port in use";
        } catch (const Failure& failure) {
            EXPECT_NE(failure.description().find(std::to_string(s.port)), std::string::npos)
                << failure.description();
        }
        EXPECT_EQ(other.socket.State(0), kSocketClosed);
        EXPECT_EQ(s.server.socket.State(0), kSocketListening);
        ASSERT_TRUE(s.Join());
        EXPECT_EQ(s.server.stateAtAccept, kSocketConnected) << "the deal goes out in the handler";
        EXPECT_EQ(s.server.socket.State(0), kSocketListening);
        const QHostAddress ip(QString::fromStdString(s.server.socket.LocalIP(0)));
        EXPECT_EQ(ip.protocol(), QAbstractSocket::IPv4Protocol);
        Peer intruder;
        intruder.socket.Connect(0, "127.0.0.1", s.port);
        ASSERT_TRUE(Until([&] { return !intruder.closes.empty() || intruder.connectFailures; }));
        EXPECT_EQ(s.server.refused, 1) << "socket 1 cannot be created twice";
        Peer& closer = serverCloses ? s.server : s.client;
        Peer& peer = serverCloses ? s.client : s.server;
        const int index = serverCloses ? 1 : 0;
        const auto carries = [&](Peer& from, int at, Peer& to) {
            to.received.clear();
            from.socket.Send(at, everyByte);
            return Until([&] { return to.received.size() >= everyByte.size(); }) &&
                   to.received == everyByte;
        };
        EXPECT_TRUE(carries(closer, index, peer));
        EXPECT_TRUE(carries(peer, 1 - index, closer));
        peer.readOnArrival = false;
        for (const char* message : {"(M:N:12)", "(M:D:40)"}) {
            const int before = peer.arrivals;
            closer.socket.Send(index, message);
            ASSERT_TRUE(Until([&] { return peer.arrivals > before; }));
        }
        EXPECT_EQ(peer.socket.Read(1 - index), "(M:N:12)(M:D:40)");
        EXPECT_EQ(peer.socket.Read(1 - index), "");
        peer.readOnArrival = true;
        peer.received.clear();
        closer.socket.Send(index, "(M:D:40)");
        closer.socket.Close(index);
        EXPECT_TRUE(Until([&] { return !peer.closes.empty() && peer.received == "(M:D:40)"; }));
        EXPECT_EQ(peer.closes, std::vector<int>{1 - index});
        EXPECT_EQ(peer.socket.State(1 - index), kSocketClosed);
        EXPECT_TRUE(closer.closes.empty());
        EXPECT_EQ(closer.socket.State(index), kSocketClosed);
    }
}

// Bytes arriving while a handler waits in a modal box must still be announced, or the opponent's
// move would wait for his next one.
TEST(QtSocketSession, AnnouncesBytesArrivingWhileAnArrivalIsHandled) {
    Session s;
    ASSERT_TRUE(s.Join());
    int depth = 0;
    bool held = false;
    s.client.socket.onDataArrival = [&](int index) {
        if (depth > 0) {
            held = true;
            return;
        }
        ++depth;
        s.client.received += s.client.socket.Read(index);
        if (s.client.received == "(S:)") {
            s.server.socket.Send(1, "(M:D:40)");
            QTest::qWait(200);
        }
        --depth;
        if (std::exchange(held, false)) s.client.received += s.client.socket.Read(index);
    };
    s.server.socket.Send(1, "(S:)");
    EXPECT_TRUE(Until([&] { return s.client.received == "(S:)(M:D:40)"; })) << s.client.received;
}

TEST(QtSocketConnect, ReportsAnAttemptThatFailsLaterOnceAndAllowsAnother) {
    // A listener whose queue one client already fills never answers a further attempt.
    const int full = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    ::bind(full, reinterpret_cast<sockaddr*>(&address), length);
    ::listen(full, 0);
    ::getsockname(full, reinterpret_cast<sockaddr*>(&address), &length);
    QTcpSocket filler;
    filler.connectToHost("127.0.0.1", ntohs(address.sin_port));
    ASSERT_TRUE(filler.waitForConnected(1000));
    const std::tuple<const char*, int, const char*> attempts[] = {
        {"127.0.0.1", test::FreePort(), "refused"},
        {"localhost", test::FreePort(), "refused after a lookup"},
        {"127.0.0.1", ntohs(address.sin_port), "timed out"}};
    for (const auto& [host, port, why] : attempts) {
        Session s;
        s.client.socket.SetConnectTimeout(100ms);
        s.client.socket.Connect(0, host, port);
        EXPECT_TRUE(s.client.Started()) << why;
        EXPECT_TRUE(Until([&] { return s.client.connectFailures > 0; })) << why;
        QTest::qWait(150);
        EXPECT_EQ(s.client.connectFailures, 1) << why;
        EXPECT_EQ(s.client.socket.State(0), kSocketError) << why;
        ASSERT_TRUE(s.Join()) << why << ": the player may try again";
        QTest::qWait(150);
        EXPECT_EQ(s.client.socket.State(0), kSocketConnected) << why;
    }
    ::close(full);
}

}  // namespace
}  // namespace kelvane
