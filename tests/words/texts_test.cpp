// SPDX-License-Identifier: GPL-3.0-or-later
#include "words/texts.h"

#include <gtest/gtest.h>

#include "game/card_text.h"

namespace kelvane {
namespace {

using test::Card;

// What the player reads and a screen reader says, each from the game it describes. The melded
// scores come from the melds' credits, the opponent's being the negative ones; the games played
// count only finished games. The history names the cards of a take of several (the other moves'
// lines, the drawn card unnamed, are read through the window, window_vs_bot_test.cpp). A slot's
// spoken name has the edges of an empty slot and a selected card (a card's back is heard at every
// turn of the keys' game); a meld's, its column. The results' boxes are read through the handlers
// that show them, tests/engine, and the two windows' round.
TEST(Texts, WhatThePlayerReadsAndHears) {
    GameState s;
    s.GamesPlayed = 1;
    for (const auto& [card, credit] : {std::pair{"AH", 15}, {"KH", 10}, {"QS", -10}})
        s.MeldCredit[Card(card)] = credit;
    s.TableMelds.AddColumn();
    const Int16 second = test::AddTableMelds(s, "TC JC QC");
    auto floating = [s](bool local, bool remote) mutable {
        s.LocalFloating = local;
        s.RemoteFloating = remote;
        return ScoreBoardText(s).floating;
    };
    const std::pair<std::string, std::string> texts[] = {
        {ScoreBoardText(s).scores, "Your Melded Score: 25     Opponent's Melded Score: 10"},
        {ScoreBoardText(s).gamesPlayed, "Total Games Played: 0"},
        {floating(false, false), ""},
        {floating(true, false), "You Are Floating"},
        {floating(false, true), "Your Opponent is Floating"},
        {floating(true, true), "Both Floating"},
        {OpponentMoveText({OpponentMoveKind::kUpPileTake, test::Cards("5D 6D TH 2S"), {}}),
         "Your opponent took 4 cards from the up pile: 5\u2666 6\u2666 10\u2665 2\u2660"},
        // Melded 25, held 10; the opponent melded 10, held 25.
        {RoundSummaryText(s, {15, -15}),
         "Round over. You melded 25 and held 10 in hand: 15. Your opponent melded 10 and held 25 "
         "in hand: -15. You won that round."},
        {RoundText({-5, -5}), "You tied that round"},
        {CardSlotName(Card("QH").value(), false), "Queen of Hearts"},
        {CardSlotName(Card("AS").value(), true), "Ace of Spades, selected"},
        {CardSlotName(0, false), ""},
        {MeldName(second, s), "meld 2: Ten of Clubs, Jack of Clubs, Queen of Clubs"},
    };
    for (const auto& [got, said] : texts) EXPECT_EQ(got, said);
}

// A failed call keeps the game's words first and says what happened and where: a machine that
// does not answer, a name no machine has. (A reason the socket could not tell is the engine's
// Session.ConnectingAsTheClient; a refused port and what is no address are the window's test,
// telling_test.cpp, through a real socket.)
TEST(Texts, AFailedCallSaysWhyAndWhere) {
    const auto told = [](ConnectFailure failure, const std::string& host) {
        return NoticeBox({.kind = NoticeKind::kUnableToConnect,
                          .failure = failure,
                          .host = host,
                          .port = 8895})
            .text;
    };
    const std::pair<std::string, std::string> texts[] = {
        {told(ConnectFailure::kNoAnswer, "10.0.0.5"),
         "Unable to Connect. Nothing answered at 10.0.0.5, port 8895, in time: the machine may be "
         "off or out of reach, or the server's home may not let players in. Its player can check "
         "Options > Open the Router When Serving and give you the address the window then tells; "
         "or you serve, and your friend connects to you."},
        {told(ConnectFailure::kUnknownHost, "nonsense"),
         "Unable to Connect. No machine named \"nonsense\" could be found. Check the name, or type "
         "the server's address (for example 192.168.1.20)."},
        {told(ConnectFailure::kRefused, ""), "Unable to Connect."},
    };
    for (const auto& [got, said] : texts) EXPECT_EQ(got, said);
}

// A decided game's closing line: who reached 500, or that both did and the higher total won. (The
// rows, and that the box keeps them, are the window's test, telling_test.cpp.)
TEST(Texts, WhoReachedTheGoal) {
    GameState s;
    using Row = ResultFigures::Row;
    const std::tuple<int, int, std::string> games[] = {
        {505, 480, "Final totals: you 505, your opponent 480. You reached 500."},
        {495, 510, "Final totals: you 495, your opponent 510. Your opponent reached 500."},
        {505, 510,
         "Final totals: you 505, your opponent 510. Both reached 500: the higher "
         "total wins."},
    };
    for (const auto& [you, them, closing] : games) {
        s.LocalScore = you;
        s.RemoteScore = them;
        const ResultFigures game = GameFigures(s, {10, 0});
        EXPECT_EQ(game.closing, closing);
        EXPECT_EQ(game.rows.back(), (Row{"Totals", std::to_string(you), std::to_string(them)}));
    }
}

}  // namespace
}  // namespace kelvane
