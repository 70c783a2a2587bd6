#include "ui/texts.h"

#include <gtest/gtest.h>

#include <tuple>

#include "game/card_text.h"

namespace kelvane {
namespace {

using test::Card;

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

// The move history's line for each kind of move, and the round's points at its end: the drawn
// card is never named.
TEST(Texts, History) {
    using K = OpponentMoveKind;
    const struct {
        OpponentMove move;
        const char* line;
    } moves[] = {
        {{K::kStackDraw, test::Cards("QH"), {}}, "Your opponent drew from the stack"},
        {{K::kUpPileTake, test::Cards("AC"), {}},
         "Your opponent took the Ace of Clubs from the up pile"},
        {{K::kUpPileTake, test::Cards("5D 6D TH 2S"), {}},
         "Your opponent took 4 cards from the up pile: 5\u2666 6\u2666 10\u2665 2\u2660"},
        {{K::kNewMeld, test::Cards("9S TS JS"), test::Cards("9S TS JS")},
         "Your opponent laid down 9\u2660 10\u2660 J\u2660"},
        {{K::kLayOff, test::Cards("KC"), test::Cards("JC QC KC")},
         "Your opponent laid off K\u2663, making J\u2663 Q\u2663 K\u2663"},
        {{K::kDiscard, test::Cards("AC"), {}}, "Your opponent discarded the Ace of Clubs"},
    };
    for (const auto& m : moves) EXPECT_EQ(OpponentMoveText(m.move), m.line);

    GameState s;
    s.MeldCredit[Card("AH")] = 15;
    s.MeldCredit[Card("KH")] = 10;
    s.MeldCredit[Card("QS")] = -10;
    // Melded 25, held 10; the opponent melded 10, held 25.
    EXPECT_EQ(RoundSummaryText(s, {15, -15}),
              "Round over. You melded 25 and held 10 in hand: 15. Your opponent melded 10 and "
              "held 25 in hand: -15. You won that round.");
}

// The results as the player reads them (their boxes are read through the handlers that show them,
// tests/engine), and what a screen reader says for a slot, the stack and a meld: the edges are the
// back, an empty slot, one card left and a lay-off's grown meld.
TEST(Texts, ResultsAndSpokenNames) {
    const struct {
        std::string got, said;
    } names[] = {
        {RoundText({10, 0}), "You won that round"},
        {RoundText({0, 10}), "Your opponent won that round"},
        {RoundText({-5, -5}), "You tied that round"},
        {GameText(GameOutcome::kWon), "You Won the Game!"},
        {GameText(GameOutcome::kLost), "You Lost the Game!"},
        {CardSlotName(Card("QH").value(), false), "Queen of Hearts"},
        {CardSlotName(Card("AS").value(), true), "Ace of Spades, selected"},
        {CardSlotName(kBackPicture, false), "face down"},
        {CardSlotName(0, false), ""},
        {StackName(30), "the stack, 30 cards"},
        {StackName(0), "the stack, empty"},
    };
    for (const auto& n : names) EXPECT_EQ(n.got, n.said);
    GameState s;
    s.TableMelds.AddColumn();
    const Int16 second = s.TableMelds.AddColumn();
    int slot = 0;
    for (const char* card : {"TC", "JC", "QC"}) s.TableMelds.Column(second)[slot++] = Card(card);
    EXPECT_EQ(MeldName(second, s), "meld 2: Ten of Clubs, Jack of Clubs, Queen of Clubs");
}

}  // namespace
}  // namespace kelvane
