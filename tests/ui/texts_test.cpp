#include "ui/texts.h"

#include <gtest/gtest.h>

#include <tuple>

#include "game/card_text.h"

namespace kelvane {
namespace {

using test::Card;

// The results and the scoreboard as the player reads them; the boxes are read through the
// handlers that show them (tests/engine).
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
