#include <gtest/gtest.h>

#include <tuple>

#include "fakes.h"

namespace kelvane {
namespace {

using test::Card;

// A connected client in the middle of its own turn, with a hand, an up pile and a stock.
struct Turn : test::TableUnderTest {
    explicit Turn(const char* hand, const char* upPile = "9D", bool drawn = false) {
        MidRound(hand, upPile);
        s.MyTurn = true;
        s.HasDrawn = drawn;
    }
    void Select(const char* cards) {
        for (Int16 c : test::Cards(cards)) TablePeer::Select(table, Position(c).value());
    }
    Int16 Position(Int16 card) const {
        for (Int16 i = 0; i < s.LocalCount; ++i)
            if (s.LocalHand[i] == card) return i;
        return -1;
    }
    std::string Hand() const { return test::Names(s.LocalHand, s.LocalCount); }
};

// Everything a refused gesture must leave as it was.
auto Snapshot(const GameState& s) {
    return std::tuple(s.LocalHand, s.LocalCount, s.UpPile, s.UpCount, s.StackCount, s.TableMelds,
                      s.MeldCredit, s.MyTurn, s.HasDrawn, s.MustMeldCard, s.TakenUpCard);
}

TEST(Gestures, RefusalsAndQuestionsComeInOrderAndChangeNothing) {
    enum Gesture { kDraw, kTakeUp, kLayDown, kLayOff, kDiscard };
    enum Stage { kNotMine, kToDraw, kDrawn };
    using enum Buttons;
    using enum Icon;
    struct Case {
        Gesture gesture;
        Stage stage;
        const char* hand;
        const char* cards;  // selected, or for a discard the card clicked
        const char* mustMeld;
        const char* takenUp;
        bool warn;
        test::ScriptedPrompts::Box box;  // no text: no box at all
    };
    const Case cases[] = {
        {kDraw, kNotMine, "2C 5D 9H", "", "", "", false, {}},
        {kDraw, kDrawn, "2C 5D 9H", "", "", "", false, {}},
        {kTakeUp, kNotMine, "2C 5D 9H", "", "", "", false, {}},
        {kTakeUp, kDrawn, "2C 5D 9H", "", "", "", false, {}},
        {kTakeUp, kToDraw, "2C 5D 9H", "", "", "", false,
         {"You cannot meld the Six of Hearts", kOk, kNone, ""}},
        {kLayDown, kNotMine, "5H 6H 7H", "5H 6H 7H", "", "", false, {}},
        {kLayDown, kToDraw, "5H 6H 7H", "5H 6H 7H", "", "", false,
         {"Please Draw First", kOk, kNone, ""}},
        {kLayDown, kDrawn, "5H 6H 8H 9S QC", "5H 6H", "QC", "", false,
         {"Select at least 3 cards first", kOk, kNone, "Error"}},
        {kLayDown, kDrawn, "5H 6H 8H 9S QC", "5H 6H 8H", "QC", "", false,
         {"Please meld the Queen of Clubs first", kOk, kNone, "Error"}},
        {kLayDown, kDrawn, "5H 6H 8H 9S QC", "5H 6H 9S QC", "", "", false,
         {"Not a Valid Meld", kOk, kNone, "Error"}},
        {kLayOff, kDrawn, "4S 9S", "", "", "", false,
         {"Select at least 1 card first", kOk, kNone, "Error"}},
        {kLayOff, kDrawn, "4S 9S", "4S", "9S", "", false,
         {"Please meld the Nine of Spades first", kOk, kNone, "Error"}},
        {kLayOff, kDrawn, "4S 9S", "9S", "", "", false, {"Not a Valid Meld", kOk, kNone, "Error"}},
        {kDiscard, kNotMine, "2C 5D 9H", "5D", "", "", false, {}},
        {kDiscard, kToDraw, "2C 5D 9H", "5D", "", "", false, {"Please Draw First", kOk, kNone, ""}},
        {kDiscard, kDrawn, "2C 5D 9H", "5D", "9H", "5D", false,
         {"You must meld the Nine of Hearts", kOk, kNone, ""}},
        {kDiscard, kDrawn, "2C 5D 9H", "5D", "", "5D", false,
         {"You may not discard the Five of Diamonds", kOk, kNone, ""}},
        {kDiscard, kDrawn, "5D", "5D", "", "", false,
         {"You may not discard the Five of Diamonds. It is meldable.", kOk, kNone, ""}},
        // Answered No.
        {kDiscard, kDrawn, "2C 5D 9H", "5D", "", "", true,
         {"The Five of Diamonds is meldable. Are you sure?", kYesNo, kExclamation,
          "Confirm Discard"}},
        {kDiscard, kDrawn, "2C 5D 9H", "5D", "", "", false,
         {"Discard the Five of Diamonds?", kYesNo, kNone, "Confirm Discard"}},
        {kDiscard, kDrawn, "2C 5D 9H", "9H", "", "", true,
         {"Discard the Nine of Hearts?", kYesNo, kNone, "Confirm Discard"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.gesture << " " << c.stage << " " << c.hand);
        // 6H, second from the top of the up pile, would meld with nothing; the fives on the
        // table make 5D meldable.
        Turn t(c.hand, "3D 4D 6H 8C JS", c.stage == kDrawn);
        t.s.MyTurn = c.stage != kNotMine;
        test::AddTableMelds(t.s, "5H 5S 5C");
        if (*c.mustMeld) t.s.MustMeldCard = Card(c.mustMeld);
        if (*c.takenUp) t.s.TakenUpCard = Card(c.takenUp);
        if (c.warn) t.table.mnuWarnMeld_Click();
        if (c.gesture != kDiscard) t.Select(c.cards);
        t.prompts.answers = {Answer::kNo};
        const auto before = Snapshot(t.s);
        switch (c.gesture) {
            case kDraw:
                t.table.imgStack_Click();
                break;
            case kTakeUp:
                t.table.imgUpPile_Click(c.stage == kToDraw ? 2 : 4);
                break;
            case kLayDown:
                t.table.frTable_Click();
                break;
            case kLayOff:
                t.table.imgMeld_Click(3);
                break;
            case kDiscard:
                t.table.imgLocal_MouseDown(t.Position(Card(c.cards)), kMouseRight);
        }
        if (c.box.text.empty()) {
            EXPECT_TRUE(t.prompts.boxes.empty());
        } else {
            EXPECT_EQ(t.prompts.boxes, std::vector{c.box});
        }
        EXPECT_TRUE(Snapshot(t.s) == before);
        EXPECT_TRUE(t.socket.sent.empty());
        for (Int16 card : test::Cards(c.gesture == kDiscard ? "" : c.cards))
            EXPECT_TRUE(t.table.IsSelected(t.Position(card))) << "the selection stays";
    }
}

TEST(Draw, FromTheStackShowsTheCardThenSortsItIn) {
    Turn t("2C 9H");
    t.table.imgStack_Click();
    EXPECT_EQ(t.Hand(), "2C 4S 9H");
    EXPECT_TRUE(t.s.HasDrawn);
    EXPECT_EQ(t.s.StackCount, 9);
    EXPECT_EQ(t.socket.sent, std::vector<std::string>{"(M:N:04)"});
    EXPECT_EQ(t.prompts.pauses, std::vector<int>{1000});
    const std::vector<std::string> expected = {"ShowCardsLeft", "ShowStack 4", "ShowStack 62",
                                               "RefreshHands L"};
    EXPECT_EQ(t.screen.log, expected);

    Turn last("2C");
    last.s.StackCount = 1;
    last.table.imgStack_Click();
    EXPECT_EQ(last.screen.log[3], "ShowStack 56") << "after the pause the stack shows it is empty";
    last.s.HasDrawn = false;
    last.table.imgStack_Click();
    EXPECT_FALSE(last.s.HasDrawn) << "an empty stack draws nothing";
    EXPECT_EQ(last.socket.sent.size(), 1u);
}

TEST(Draw, FromTheUpPile) {
    struct Case {
        int index;
        const char *message, *hand, *mustMeld, *takenUp;
    };
    for (const Case& c : {Case{4, "(M:U:04)", "7S 7H JS", "", "JS"},
                          {2, "(M:U:02)", "7S 7C 7H 8C JS", "7C", ""}}) {
        Turn t("7H 7S", "3D 4D 7C 8C JS");
        t.s.TakenUpCard = Card("2S");
        t.table.imgUpPile_Click(c.index);
        EXPECT_EQ(t.Hand(), c.hand);
        EXPECT_EQ(t.socket.sent, std::vector<std::string>{c.message});
        EXPECT_EQ(t.s.UpCount, c.index);
        EXPECT_TRUE(t.s.HasDrawn);
        EXPECT_EQ(t.s.MustMeldCard, *c.mustMeld ? Card(c.mustMeld) : Int16(0));
        EXPECT_EQ(t.s.TakenUpCard, *c.takenUp ? Card(c.takenUp) : Int16(0));
        EXPECT_EQ(t.screen.log.front(), "MarkUpPileSlot " + std::to_string(c.index) + " on");
        EXPECT_EQ(t.prompts.pauses, std::vector<int>{1000});
    }
}

TEST(Meld, LayingDownSortsCreditsAndTellsTheOpponent) {
    Turn t("AH 2H 3H 7C KD", "9D", true);
    t.s.MustMeldCard = Card("2H");
    t.Select("3H AH 2H");
    t.table.frTable_Click();
    EXPECT_EQ(t.socket.sent, std::vector<std::string>{"(M:M:N:40,41,42,)"});
    EXPECT_EQ(t.Hand(), "7C KD");
    EXPECT_EQ(test::Names(t.s.TableMelds.Column(0), 4), "AH 2H 3H ??");
    EXPECT_EQ(t.s.MeldCredit[Card("AH")], 5) << "an ace played low counts 5";
    EXPECT_EQ(t.s.MeldCredit[Card("3H")], 5);
    EXPECT_EQ(t.s.MustMeldCard, 0);
    EXPECT_TRUE(t.s.MyTurn);
    EXPECT_EQ(t.screen.scoreBoard.scores, "Your Melded Score: 15     Opponent's Melded Score: 0");

    Turn out("KS KD KC", "9D", true);
    out.Select("KS KD KC");
    out.table.frTable_Click();
    EXPECT_EQ(out.socket.sent, std::vector<std::string>{"(M:M:N:13,26,39,)"});
    EXPECT_TRUE(out.s.LocalFloating) << "melding the whole hand floats";
    EXPECT_FALSE(out.s.MyTurn);
    EXPECT_FALSE(out.s.HasDrawn);
}

TEST(Meld, LayingOffRewritesTheColumnAndCreditsOnlyTheNewCards) {
    Turn t("4S 8S AD", "9D", true);
    test::AddTableMelds(t.s, "JD QD KD | 5S 6S 7S");
    for (const char* c : {"5S", "6S", "7S"}) t.s.MeldCredit[Card(c)] = -5;
    for (const char* c : {"JD", "QD", "KD"}) t.s.MeldCredit[Card(c)] = 10;
    t.Select("4S 8S");
    t.table.imgMeld_Click(1 * 13 + 7);
    EXPECT_EQ(t.socket.sent, std::vector<std::string>{"(M:M:01:04,05,06,07,08,)"});
    EXPECT_EQ(test::Names(t.s.TableMelds.Column(1), 5), "4S 5S 6S 7S 8S");
    EXPECT_EQ(t.s.MeldCredit[Card("5S")], -5);
    EXPECT_EQ(t.s.MeldCredit[Card("8S")], 5);
    t.Select("AD");
    t.table.imgMeld_Click(0);
    EXPECT_EQ(t.socket.sent.back(), "(M:M:00:24,25,26,14,)");
    EXPECT_EQ(t.s.MeldCredit[Card("AD")], 15) << "an ace above the king counts 15";
    EXPECT_TRUE(t.s.LocalFloating);
}

TEST(Discard, YesEndsTheTurnAndALastCardEndsTheRound) {
    Turn t("2C 5D 9H", "5C", true);
    t.table.imgLocal_MouseDown(2, kMouseLeft);
    EXPECT_TRUE(t.table.IsSelected(2));
    t.table.imgLocal_MouseDown(2, kMouseRight);
    EXPECT_EQ(t.socket.sent, std::vector<std::string>{"(M:D:48)"});
    EXPECT_EQ(t.Hand(), "2C 5D");
    EXPECT_EQ(test::Names(t.s.UpPile, t.s.UpCount), "5C 9H");
    EXPECT_FALSE(t.s.MyTurn);
    EXPECT_FALSE(t.table.IsSelected(2));

    Turn out("9H", "5C", true);
    test::SetRemoteHand(out.s, "KD");
    out.table.imgLocal_MouseDown(0, kMouseRight);
    EXPECT_EQ(out.s.LocalCount, 0);
    EXPECT_EQ(out.s.RemoteScore, -10);
    EXPECT_EQ(out.screen.log.back(), "ShowResult You won that round");
    EXPECT_EQ(out.socket.sent.size(), 1u) << "the client never deals";
}

}  // namespace
}  // namespace kelvane
