#include <gtest/gtest.h>

#include "fakes.h"
#include "game/card_text.h"
#include "game/invariants.h"
#include "game/stock.h"

namespace kelvane {
namespace {

using test::Card;

// A connected client during the opponent's turn.
struct Opponent : test::TableUnderTest {
    GameState& s = TablePeer::State(table);

    explicit Opponent(const char* theirHand = "2C 5D 9H AS",
                      const char* upPile = "3D 4D 7C 8C JS") {
        s.Role = kRoleClient;
        socket.states[0] = kSocketConnected;
        test::SetRemoteHand(s, theirHand);
        test::SetHand(s, "6S");
        test::SetUpPile(s, upPile);
        for (int i = 0; i < 10; ++i) s.Stack[i] = Card("KS") - i;
        s.StackCount = 10;
    }
    void Arrive(const std::string& bytes) {
        socket.waiting[0] += bytes;
        table.tcpTalker_DataArrival(0);
    }
    std::string Theirs() const { return test::Names(s.RemoteHand, s.RemoteCount.value()); }
};

TEST(OpponentMoves, DiscardDrawAndTake) {
    Opponent o;
    o.Arrive("(M:D:18)");
    EXPECT_EQ(o.Theirs(), "2C 9H AS");
    EXPECT_EQ(o.s.UpPile[5], Card("5D"));
    EXPECT_TRUE(o.s.MyTurn);
    EXPECT_FALSE(o.s.HasDrawn);

    Opponent draw;
    draw.Arrive("(M:N:99)");
    EXPECT_EQ(draw.Theirs(), "2C 5D 9H AS 4S") << "the top of our own stock, whatever the code";
    EXPECT_TRUE(draw.s.HasDrawn);

    Opponent take;
    take.Arrive("(M:U:02)");
    EXPECT_EQ(take.Theirs(), "2C 5D 9H AS JS 8C 7C");
    EXPECT_EQ(test::Names(take.s.KnownCards, take.s.KnownCount.value()), "JS 8C 7C");
    EXPECT_EQ(take.s.UpCount, 2);
    EXPECT_EQ(take.prompts.pauses, std::vector<int>{1000});
    const std::vector<std::string> marks(take.screen.log.begin(), take.screen.log.begin() + 3);
    EXPECT_EQ(marks, (std::vector<std::string>{"MarkUpPileSlot 2 on", "MarkUpPileSlot 3 on",
                                               "MarkUpPileSlot 4 on"}));
}

TEST(OpponentMoves, MeldsAndLayOffsCreditNegativePoints) {
    Opponent o("AH 2H 3H 4H 9S");
    o.Arrive("(M:M:N:40,41,42,)");
    EXPECT_EQ(o.Theirs(), "4H 9S");
    EXPECT_EQ(test::Names(o.s.TableMelds.Column(0), 3), "AH 2H 3H");
    EXPECT_EQ(o.s.MeldCredit[Card("AH")], -5);
    EXPECT_EQ(o.s.MeldCredit[Card("2H")], -5);
    o.s.MeldCredit[Card("AH")] = -15;  // already credited: a lay-off must not change it
    o.Arrive("(M:M:00:40,41,42,43,)");
    EXPECT_EQ(o.Theirs(), "9S");
    EXPECT_EQ(o.s.MeldCredit[Card("AH")], -15);
    EXPECT_EQ(o.s.MeldCredit[Card("4H")], -5);
    EXPECT_EQ(o.screen.scoreBoard.scores, "Your Melded Score: 0     Opponent's Melded Score: 30");

    Opponent out("KS KD KC");
    out.Arrive("(M:M:N:13,26,39,)");
    EXPECT_TRUE(out.s.RemoteFloating);
    EXPECT_TRUE(out.s.MyTurn);
    EXPECT_EQ(out.screen.scoreBoard.floating, "Your Opponent is Floating");
}

TEST(OpponentMoves, BadInputIsIgnoredOrReportedNeverTrusted) {
    struct Case {
        const char* bytes;
        const char* report;  // nullptr: ignored without a word
    };
    const Case cases[] = {
        {"(X:whatever)", nullptr},
        {"(M:Q:01)", nullptr},
        {"(M:D:33)", nullptr},
        {"(M:U:77)", nullptr},
        {"(M:U:-3)", "9: Subscript out of range"},
        {"(M:M:09:05,06,07,)", "9: Subscript out of range"},
        {"(M:M:N:99,98,97,)", "9: Subscript out of range"},
        {"(M:M:N:05,06,07)", "9: Subscript out of range"},
        {"(M:D:99999)", "6: Overflow"},
    };
    for (const Case& c : cases) {
        Opponent o;
        o.Arrive(c.bytes);
        if (!c.report) {
            EXPECT_TRUE(o.errors.shown.empty()) << c.bytes;
            continue;
        }
        ASSERT_FALSE(o.errors.shown.empty()) << c.bytes;
        EXPECT_NE(o.errors.shown[0].find("in Data_Process:\r\n\r\n" + std::string(c.report)),
                  std::string::npos)
            << c.bytes << "\n"
            << o.errors.shown[0];
    }
}

TEST(OpponentMoves, ADealWithABadElementIsReportedAndTheProcedureGoesOn) {
    for (const char* deal : {"s:01,02,xx,", "s:01,02,"}) {
        test::TableUnderTest t;
        t.table.Data_Process(deal);
        ASSERT_EQ(t.errors.shown.size(), 1u) << deal;
        EXPECT_EQ(t.errors.shown[0].rfind("An error has occurred in Data_Process:\r\n\r\n", 0), 0u);
        EXPECT_EQ(t.errors.clipboard, t.errors.shown);
        EXPECT_EQ(t.screen.log.back(), "RefreshScoreBoard") << "the deal still runs to its end";
    }
}

TEST(OpponentMoves, TheOldVersionMessageOnlySaysSo) {
    Opponent o;
    const GameState before = o.s;
    o.Arrive("(S:01,02,)");
    ASSERT_EQ(o.prompts.boxes.size(), 1u);
    EXPECT_EQ(o.prompts.boxes[0].text, "Server's version is too old");
    EXPECT_EQ(o.s.UpCount, before.UpCount);
    EXPECT_EQ(o.s.StackCount, before.StackCount);
}

// A box shown while a message is applied runs its own event loop; data that arrives meanwhile
// must wait until the whole message, box included, is done.
class ArrivingDuringBox : public test::ScriptedPrompts {
  public:
    std::function<void()> duringBox;
    Answer MessageBox(const std::string& text, Buttons b, Icon i, const std::string& t) override {
        if (duringBox) std::exchange(duringBox, nullptr)();
        return ScriptedPrompts::MessageBox(text, b, i, t);
    }
};

TEST(Receiving, DataArrivingDuringAModalBoxWaitsForTheHandler) {
    test::RecordingScreen screen;
    ArrivingDuringBox prompts;
    test::MemorySocket socket;
    test::FakeErrorPrompt errors;
    Table table({screen, prompts, socket, errors});
    socket.states[0] = kSocketConnected;
    int countDuringBox = -1;
    prompts.duringBox = [&] {
        socket.waiting[0] += "(C:second)";
        table.tcpTalker_DataArrival(0);
        countDuringBox = screen.chatLines;
    };
    socket.waiting[0] = "(S:)(C:third)";
    table.tcpTalker_DataArrival(0);
    EXPECT_EQ(countDuringBox, 0);
    EXPECT_EQ(table.transcript().text(), "OPPONENT: third\r\nOPPONENT: second");
}

TEST(Session, ServerListensAndDealsOnTheFirstRequestOnly) {
    test::TableUnderTest t;
    t.table.mnuServer_Click();
    EXPECT_EQ(t.screen.log, (std::vector<std::string>{
                                "SetStatus Waiting for client to connect... (local IP: 192.0.2.7)",
                                "DisableMenus"}));
    EXPECT_EQ(t.table.state().Role, kRoleNotConnected);
    t.table.tcpTalker_ConnectionRequest(0, 42);
    EXPECT_EQ(t.table.state().Role, kRoleServer);
    ASSERT_EQ(t.socket.sent.size(), 1u);
    EXPECT_EQ(t.socket.sent[0].size(), 160u);
    EXPECT_EQ(t.socket.sent[0].substr(0, 3), "(s:");
    EXPECT_EQ(t.table.state().StackCount, 37);
    EXPECT_EQ(CheckInvariants(t.table.state()), "");
    const GameState dealt = t.table.state();
    t.table.tcpTalker_ConnectionRequest(0, 43);
    EXPECT_EQ(t.socket.calls.back(), "Refuse 0");
    EXPECT_TRUE(t.errors.shown.empty());
    EXPECT_EQ(t.socket.sent.size(), 1u);
    EXPECT_TRUE(t.table.state().Stack == dealt.Stack);
}

TEST(Session, ConnectingAsTheClient) {
    struct Case {
        const char* answer;
        int stateAfterConnect;
        const char* role;
        bool unable;
    };
    for (Case c : {Case{"", kSocketConnecting, "Not Connected", false},
                   {"127.0.0.1", kSocketConnecting, "Client", false},
                   {"127.0.0.1", kSocketConnected, "Client", false},
                   {"nowhere", kSocketError, "Not Connected", true},
                   {"nowhere", kSocketClosed, "Not Connected", true}}) {
        test::TableUnderTest t;
        t.prompts.inputAnswer = c.answer;
        t.socket.stateAfterConnect = c.stateAfterConnect;
        t.table.mnuClient_Click();
        EXPECT_EQ(t.table.state().Role, c.role) << c.answer << c.stateAfterConnect;
        EXPECT_EQ(t.prompts.boxes.size(), c.unable ? 1u : 0u);
        if (c.unable) {
            EXPECT_EQ(t.prompts.boxes[0].text, "Unable to Connect.");
            EXPECT_EQ(t.socket.calls.back(), "Close 0");
        }
    }
}

TEST(Session, LosingTheOpponentEndsTheGame) {
    Opponent o;
    o.table.tcpTalker_Close(0);
    ASSERT_EQ(o.prompts.boxes.size(), 1u);
    EXPECT_EQ(o.prompts.boxes[0].text, "Your opponent just disappeared. Sorry.");
    EXPECT_EQ(o.screen.log.back(), "CloseWindow");
    EXPECT_TRUE(o.table.ended());

    test::TableUnderTest listening;
    listening.table.mnuServer_Click();
    listening.table.cmdSend_Click("hello?");
    EXPECT_EQ(listening.prompts.boxes.size(), 1u);
    EXPECT_TRUE(listening.table.ended());
    EXPECT_TRUE(listening.socket.sent.empty());
}

TEST(Chat, EscapedOnTheWireShownAsTyped) {
    Opponent o;
    o.table.cmdSend_Click("a (b) c");
    o.table.cmdSend_Click("");
    o.table.cmdSend_Click("peekatthehands");
    o.table.cmdSend_Click(" peekatthehands");
    EXPECT_EQ(o.socket.sent, (std::vector<std::string>{"(C:a {LPAREN}b{RPAREN} c)", "(C:)",
                                                       "(C: peekatthehands)"}));
    EXPECT_TRUE(o.s.RevealOpponent);
    o.Arrive("(C:   x {LPAREN}y{RPAREN})");
    EXPECT_EQ(o.table.transcript().text(),
              "YOU: a (b) c\r\nYOU: \r\nYOU:  peekatthehands\r\nOPPONENT: x (y)");
}

}  // namespace
}  // namespace kelvane
