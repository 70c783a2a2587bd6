#include "game/scoring.h"

#include <gtest/gtest.h>

#include "card_text.h"

namespace kelvane {
namespace {

using test::Card;

TEST(Scoring, CardPointsInHandAndInMelds) {
    struct Case {
        const char* card;
        bool withTwo;
        int points;
    };
    for (Case c : {Case{"AH", false, 15}, {"AH", true, 5}, {"9D", true, 5}, {"TC", false, 10}}) {
        EXPECT_EQ(CardPoints(Card(c.card), c.withTwo), c.points) << c.card << c.withTwo;
    }
}

TEST(Scoring, RoundEndsOnAnEmptyHandNotFloatingOrAnEmptyStock) {
    struct Case {
        int local, remote, stack;
        bool localFloats, remoteFloats, ended;
    };
    for (Case c : {Case{3, 4, 10, false, false, false},
                   {0, 4, 10, false, false, true},
                   {0, 4, 10, true, false, false},
                   {3, 0, 10, false, false, true},
                   {3, 0, 10, false, true, false},
                   {0, 4, 0, true, false, true}}) {
        GameState s;
        s.LocalCount = c.local;
        s.RemoteCount = c.remote;
        s.StackCount = c.stack;
        s.LocalFloating = c.localFloats;
        s.RemoteFloating = c.remoteFloats;
        EXPECT_EQ(RoundHasEnded(s), c.ended)
            << c.local << " " << c.remote << " " << c.stack << c.localFloats << c.remoteFloats;
    }
}

TEST(Scoring, RoundResultIsMeldedPointsLessTheHand) {
    GameState s;
    s.MeldCredit[Card("5S")] = 5;
    s.MeldCredit[Card("KS")] = 10;
    s.MeldCredit[Card("AD")] = 15;
    s.MeldCredit[Card("TH")] = -10;
    test::SetHand(s, "4C AC");
    test::SetRemoteHand(s, "KH");
    const RoundResult r = ScoreRound(s);
    EXPECT_EQ(r.local, 10);
    EXPECT_EQ(r.remote, 0);
    AddToTotals(s, {10, -5});
    AddToTotals(s, {10, -5});
    EXPECT_EQ(s.LocalScore, 20);
    EXPECT_EQ(s.RemoteScore, -10);
    EXPECT_EQ(RoundMessage({10, 0}), "You won that round");
    EXPECT_EQ(RoundMessage({0, 10}), "Your opponent won that round");
    EXPECT_EQ(RoundMessage({-5, -5}), "You tied that round");
}

TEST(Scoring, GameEndsAtFiveHundredWithUnequalTotals) {
    struct Case {
        int local, remote;
        const char* message;  // nullptr: the game goes on
    };
    for (Case c : {Case{500, 500, nullptr},
                   {499, 480, nullptr},
                   {500, 499, "You Won the Game!"},
                   {505, 510, "You Lost the Game!"},
                   {-20, 500, "You Lost the Game!"}}) {
        GameState s;
        s.LocalScore = c.local;
        s.RemoteScore = c.remote;
        EXPECT_EQ(GameOverMessage(s), c.message ? std::optional<std::string>(c.message)
                                                : std::nullopt)
            << c.local << "/" << c.remote;
    }
}

TEST(Scoring, ScoreBoardTexts) {
    GameState s;
    s.GamesPlayed = 1;
    s.MeldCredit[Card("AH")] = 5;
    s.MeldCredit[Card("2H")] = 5;
    s.MeldCredit[Card("QS")] = -10;
    s.LocalScore = -35;
    s.RemoteScore = 120;
    ScoreBoardTexts t = ScoreBoard(s);
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
        EXPECT_EQ(ScoreBoard(s).floating, text);
    }
}

}  // namespace
}  // namespace kelvane
