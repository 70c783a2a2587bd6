#include "ui/texts.h"

#include <gtest/gtest.h>

#include <tuple>

#include "game/card_text.h"

namespace kelvane {
namespace {

using test::Card;

// Every word the player reads for what the engine reports: the refusals with the card they
// name, the titles that tell a meld's make-up apart, and the results.
TEST(Texts, BoxesNameTheCardAndCarryTheirTitles) {
    struct Case {
        Notice notice;
        const char* text;
        const char* title;
    };
    const auto refused = [](Refusal r, const char* card = nullptr) {
        return Notice{NoticeKind::kRefused, {r, card ? Card(card) : Int16(0)}};
    };
    for (const Case& c : {
             Case{refused(Refusal::kNotDrawn), "Please Draw First", ""},
             {refused(Refusal::kNotMeldableBelow, "7C"), "You cannot meld the Seven of Clubs", ""},
             {refused(Refusal::kTooFewForNewMeld), "Select at least 3 cards first", "Error"},
             {refused(Refusal::kTooFewForLayOff), "Select at least 1 card first", "Error"},
             {refused(Refusal::kMustMeldFirst, "QH"), "Please meld the Queen of Hearts first",
              "Error"},
             {refused(Refusal::kInvalidMeld), "Not a Valid Meld", "Error"},
             {refused(Refusal::kMustMeldBeforeDiscard, "2D"), "You must meld the Two of Diamonds",
              ""},
             {refused(Refusal::kTakenAlone, "AS"), "You may not discard the Ace of Spades", ""},
             {refused(Refusal::kLastCardMeldable, "TS"),
              "You may not discard the Ten of Spades. It is meldable.", ""},
             {{NoticeKind::kServerTooOld}, "Server's version is too old", ""},
             {{NoticeKind::kUnableToConnect}, "Unable to Connect.", ""},
             {{NoticeKind::kOpponentGone}, "Your opponent just disappeared. Sorry.", ""},
         }) {
        const BoxText box = NoticeBox(c.notice);
        EXPECT_EQ(box, (BoxText{c.text, Buttons::kOk, Icon::kNone, c.title})) << c.text;
    }
    EXPECT_EQ(
        QuestionBox({QuestionKind::kDiscard, Card("9H")}),
        (BoxText{"Discard the Nine of Hearts?", Buttons::kYesNo, Icon::kNone, "Confirm Discard"}));
    EXPECT_EQ(QuestionBox({QuestionKind::kDiscardMeldable, Card("9H")}),
              (BoxText{"The Nine of Hearts is meldable. Are you sure?", Buttons::kYesNo,
                       Icon::kExclamation, "Confirm Discard"}));
}

TEST(Texts, Results) {
    EXPECT_EQ(RoundText({10, 0}), "You won that round");
    EXPECT_EQ(RoundText({0, 10}), "Your opponent won that round");
    EXPECT_EQ(RoundText({-5, -5}), "You tied that round");
    EXPECT_EQ(GameText(GameOutcome::kWon), "You Won the Game!");
    EXPECT_EQ(GameText(GameOutcome::kLost), "You Lost the Game!");
}

TEST(Texts, ScoreBoard) {
    GameState s;
    s.GamesPlayed = 1;
    s.MeldCredit[Card("AH")] = 5;
    s.MeldCredit[Card("2H")] = 5;
    s.MeldCredit[Card("QS")] = -10;
    s.LocalScore = -35;
    s.RemoteScore = 120;
    ScoreBoardTexts t = ScoreBoardText(s);
    EXPECT_EQ(t.scores, "Your Melded Score: 10     Opponent's Melded Score: 10");
    EXPECT_EQ(t.gamesPlayed, "Total Games Played: 0");
    EXPECT_EQ(t.localScore, "Your Score: -35");
    EXPECT_EQ(t.remoteScore, "Your Opponent's Score: 120");
    for (auto [local, remote, text] : {std::tuple{false, false, ""},
                                       {true, false, "You Are Floating"},
                                       {false, true, "Your Opponent is Floating"},
                                       {true, true, "Both Floating"}}) {
        s.LocalFloating = local;
        s.RemoteFloating = remote;
        EXPECT_EQ(ScoreBoardText(s).floating, text);
    }
}

}  // namespace
}  // namespace kelvane
