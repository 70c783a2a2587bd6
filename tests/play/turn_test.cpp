#include <gtest/gtest.h>

#include "fakes.h"
#include "game/card_text.h"

namespace kelvane {
namespace {

using test::Card;
using test::ScriptedPrompts;

// A connected client in the middle of its own turn, with a hand, an up pile and a stock.
struct Turn : test::TableUnderTest {
    GameState& s = TablePeer::State(table);

    explicit Turn(const char* hand, const char* upPile = "9D", bool drawn = false) {
        s.Role = kRoleClient;
        socket.states[0] = kSocketConnected;
        s.MyTurn = true;
        s.HasDrawn = drawn;
        test::SetHand(s, hand);
        test::SetUpPile(s, upPile);
        for (int i = 0; i < 10; ++i) s.Stack[i] = Card("KS") - i;  // KS down to 4S
        s.StackCount = 10;
    }
    void Select(const char* cards) {
        for (Int16 c : test::Cards(cards))
            for (Int16 i = 0; i < s.LocalCount; ++i)
                if (s.LocalHand[i] == c) TablePeer::Select(table, i.value());
    }
    Int16 Position(const char* card) const {
        for (Int16 i = 0; i < s.LocalCount; ++i)
            if (s.LocalHand[i] == Card(card)) return i;
        return -1;
    }
    std::string Hand() const { return test::Names(s.LocalHand, s.LocalCount.value()); }
    std::vector<std::string> Boxes() const {
        std::vector<std::string> texts;
        for (const auto& b : prompts.boxes) texts.push_back(b.text);
        return texts;
    }
};

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
}

TEST(Draw, TheLastStackCardLeavesTheEmptyMark) {
    Turn t("2C");
    t.s.StackCount = 1;
    t.table.imgStack_Click();
    EXPECT_EQ(t.s.StackCount, 0);
    EXPECT_EQ(t.screen.log[0], "ShowStack 56");
    EXPECT_EQ(t.screen.log[3], "ShowStack 56") << "after the pause the stack shows it is empty";
    Turn empty("2C");
    empty.s.StackCount = 0;
    empty.table.imgStack_Click();
    EXPECT_FALSE(empty.s.HasDrawn);
    EXPECT_TRUE(empty.socket.sent.empty());
}

TEST(Draw, OutsideTheMustDrawStageNothingHappens) {
    for (bool myTurn : {false, true}) {
        Turn t("2C 9H", "3D 4D", /*drawn=*/myTurn);
        t.s.MyTurn = myTurn;
        const GameState before = t.s;
        t.table.imgStack_Click();
        t.table.imgUpPile_Click(1);
        t.table.imgUpPile_Click(0);
        EXPECT_TRUE(t.socket.sent.empty());
        EXPECT_TRUE(t.prompts.boxes.empty());
        EXPECT_EQ(t.s.LocalCount, before.LocalCount);
        EXPECT_EQ(t.s.UpCount, before.UpCount);
    }
}

TEST(Draw, FromTheUpPile) {
    struct Case {
        const char* pile;
        int index;
        const char* message;  // nullptr: refused
        const char* hand;
        const char* mustMeld;
        const char* takenUp;
    };
    const Case cases[] = {
        {"3D 4D 5H 8C JS", 4, "(M:U:04)", "7S 7H JS", "", "JS"},
        {"3D 4D 7C 8C JS", 2, "(M:U:02)", "7S 7C 7H 8C JS", "7C", ""},
        {"3D 4D 5H 8C JS", 2, nullptr, "7H 7S", "", ""},
    };
    for (const Case& c : cases) {
        Turn t("7H 7S", c.pile);
        t.s.TakenUpCard = Card("2S");
        t.table.imgUpPile_Click(c.index);
        EXPECT_EQ(t.Hand(), c.hand) << c.pile;
        if (!c.message) {
            EXPECT_EQ(t.Boxes(), std::vector<std::string>{"You cannot meld the Five of Hearts"});
            EXPECT_EQ(t.prompts.boxes[0].title, "");
            EXPECT_TRUE(t.socket.sent.empty());
            EXPECT_FALSE(t.s.HasDrawn);
            continue;
        }
        EXPECT_EQ(t.socket.sent, std::vector<std::string>{c.message});
        EXPECT_EQ(t.s.UpCount, c.index);
        EXPECT_TRUE(t.s.HasDrawn);
        EXPECT_EQ(t.s.MustMeldCard, *c.mustMeld ? Card(c.mustMeld) : Int16(0));
        EXPECT_EQ(t.s.TakenUpCard, *c.takenUp ? Card(c.takenUp) : Int16(0));
        EXPECT_EQ(t.screen.log.front(), "MarkUpPileSlot " + std::to_string(c.index) + " on");
        EXPECT_EQ(t.prompts.pauses, std::vector<int>{1000});
    }
}

struct Refusal {
    const char* selected;
    const char* text;
    const char* title;
};

TEST(Meld, LayingDownRefusalsComeInOrderAndChangeNothing) {
    const Refusal cases[] = {
        {"5H 6H", "Select at least 3 cards first", "Error"},
        {"5H 6H 8H", "Please meld the Queen of Clubs first", "Error"},
        {"5H 6H", "Select at least 3 cards first", "Error"},
        {"5H 6H 9S QC", "Not a Valid Meld", "Error"},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        Turn t("5H 6H 8H 9S QC", "9D", true);
        if (i < 3) t.s.MustMeldCard = Card("QC");
        t.Select(cases[i].selected);
        t.table.frTable_Click();
        ASSERT_EQ(t.prompts.boxes.size(), 1u) << i;
        EXPECT_EQ(t.prompts.boxes[0].text, cases[i].text);
        EXPECT_EQ(t.prompts.boxes[0].title, cases[i].title);
        EXPECT_EQ(t.prompts.boxes[0].icon, Icon::kNone);
        EXPECT_EQ(t.Hand(), "5H 6H 8H 9S QC");
        EXPECT_TRUE(t.socket.sent.empty());
        EXPECT_EQ(t.s.TableMelds.ColumnCount(), 0);
        EXPECT_TRUE(t.table.IsSelected(t.Position("5H"))) << "the selection stays";
    }
    Turn notDrawn("5H 6H 7H");
    notDrawn.Select("5H 6H 7H");
    notDrawn.table.frTable_Click();
    notDrawn.table.imgLocal_MouseDown(0, kMouseLeft);
    EXPECT_EQ(notDrawn.Boxes(),
              (std::vector<std::string>{"Please Draw First", "Please Draw First"}));
    EXPECT_EQ(notDrawn.prompts.boxes[0].title, "");
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
}

TEST(Meld, LayingDownTheWholeHandFloats) {
    Turn t("KS KD KC", "9D", true);
    t.Select("KS KD KC");
    t.table.frTable_Click();
    EXPECT_EQ(t.socket.sent, std::vector<std::string>{"(M:M:N:13,26,39,)"});
    EXPECT_TRUE(t.s.LocalFloating);
    EXPECT_FALSE(t.s.MyTurn);
    EXPECT_FALSE(t.s.HasDrawn);
    EXPECT_EQ(t.screen.scoreBoard.floating, "You Are Floating");
    EXPECT_EQ(t.s.MeldCredit[Card("KC")], 10);
}

TEST(Meld, LayingOffRewritesTheColumnAndCreditsOnlyTheNewCards) {
    Turn t("4S 8S AD", "9D", true);
    test::AddTableMeld(t.s, "JD QD KD");
    const Int16 col = test::AddTableMeld(t.s, "5S 6S 7S");
    for (const char* c : {"5S", "6S", "7S"}) t.s.MeldCredit[Card(c)] = -5;
    t.s.MeldCredit[Card("JD")] = t.s.MeldCredit[Card("QD")] = t.s.MeldCredit[Card("KD")] = 10;
    t.Select("4S 8S");
    t.table.imgMeld_Click(col * 13 + 7);
    EXPECT_EQ(t.socket.sent, std::vector<std::string>{"(M:M:01:04,05,06,07,08,)"});
    EXPECT_EQ(test::Names(t.s.TableMelds.Column(col), 5), "4S 5S 6S 7S 8S");
    EXPECT_EQ(t.s.MeldCredit[Card("5S")], -5);
    EXPECT_EQ(t.s.MeldCredit[Card("8S")], 5);
    t.Select("AD");
    t.table.imgMeld_Click(0);
    EXPECT_EQ(t.socket.sent.back(), "(M:M:00:24,25,26,14,)");
    EXPECT_EQ(t.s.MeldCredit[Card("AD")], 15) << "an ace above the king counts 15";
    EXPECT_TRUE(t.s.LocalFloating);

    Turn none("4S", "9D", true);
    test::AddTableMeld(none.s, "5S 6S 7S");
    none.table.imgMeld_Click(3);
    EXPECT_EQ(none.Boxes(), std::vector<std::string>{"Select at least 1 card first"});
    none.Select("4S");
    none.s.MustMeldCard = Card("9D");
    none.table.imgMeld_Click(3);
    EXPECT_EQ(none.Boxes().back(), "Please meld the Nine of Diamonds first");
}

TEST(Discard, RefusalsAndQuestionsInTheirOrder) {
    struct Case {
        const char* hand;
        const char* card;
        const char* mustMeld;
        const char* takenUp;
        bool warn;
        const char* text;
        Buttons buttons;
        Icon icon;
        const char* title;
    };
    const Case cases[] = {
        {"2C 5D 9H", "5D", "9H", "5D", false, "You must meld the Nine of Hearts", Buttons::kOk,
         Icon::kNone, ""},
        {"2C 5D 9H", "5D", "", "5D", false, "You may not discard the Five of Diamonds",
         Buttons::kOk, Icon::kNone, ""},
        {"5D", "5D", "", "", false, "You may not discard the Five of Diamonds. It is meldable.",
         Buttons::kOk, Icon::kNone, ""},
        {"2C 5D 9H", "5D", "", "", true, "The Five of Diamonds is meldable. Are you sure?",
         Buttons::kYesNo, Icon::kExclamation, "Confirm Discard"},
        {"2C 5D 9H", "5D", "", "", false, "Discard the Five of Diamonds?", Buttons::kYesNo,
         Icon::kNone, "Confirm Discard"},
        {"2C 5D 9H", "9H", "", "", true, "Discard the Nine of Hearts?", Buttons::kYesNo,
         Icon::kNone, "Confirm Discard"},
    };
    for (const Case& c : cases) {
        Turn t(c.hand, "5C", true);
        test::AddTableMeld(t.s, "5H 5S 5C");
        if (*c.mustMeld) t.s.MustMeldCard = Card(c.mustMeld);
        if (*c.takenUp) t.s.TakenUpCard = Card(c.takenUp);
        if (c.warn) t.table.mnuWarnMeld_Click();
        t.prompts.answers = {Answer::kNo};
        t.table.imgLocal_MouseDown(t.Position(c.card), kMouseRight);
        ASSERT_EQ(t.prompts.boxes.size(), 1u) << c.text;
        EXPECT_EQ(t.prompts.boxes[0].text, c.text);
        EXPECT_EQ(t.prompts.boxes[0].buttons, c.buttons) << c.text;
        EXPECT_EQ(t.prompts.boxes[0].icon, c.icon) << c.text;
        EXPECT_EQ(t.prompts.boxes[0].title, c.title) << c.text;
        EXPECT_EQ(t.Hand(), c.hand) << "refusing or answering No changes nothing";
        EXPECT_TRUE(t.socket.sent.empty());
        EXPECT_TRUE(t.s.MyTurn);
    }
}

TEST(Discard, YesEndsTheTurnAndALastCardEndsTheRound) {
    Turn t("2C 5D 9H", "5C", true);
    t.table.imgLocal_MouseDown(t.Position("9H"), kMouseLeft);
    EXPECT_TRUE(t.table.IsSelected(t.Position("9H")));
    t.table.imgLocal_MouseDown(t.Position("9H"), kMouseRight);
    EXPECT_EQ(t.socket.sent, std::vector<std::string>{"(M:D:48)"});
    EXPECT_EQ(t.Hand(), "2C 5D");
    EXPECT_EQ(t.s.UpPile[t.s.UpCount - 1], Card("9H"));
    EXPECT_FALSE(t.s.MyTurn);
    EXPECT_FALSE(t.table.IsSelected(0));

    Turn out("9H", "5C", true);
    out.s.RemoteCount = 1;
    out.s.RemoteHand[0] = Card("KD");
    out.table.imgLocal_MouseDown(0, kMouseRight);
    EXPECT_EQ(out.s.LocalCount, 0);
    EXPECT_EQ(out.s.RemoteScore, -10);
    EXPECT_EQ(out.screen.log.back(), "ShowResult You won that round");
    EXPECT_EQ(out.socket.sent.size(), 1u) << "the client never deals";
}

}  // namespace
}  // namespace kelvane
