#pragma once

#include <optional>
#include <string>

#include "game_state.h"
#include "meld_rules.h"

namespace kelvane {

inline constexpr int kWinningScore = 500;

// What a card is worth: ace 15, two to nine 5, ten to king 10. A melded ace counts 5 when the meld
// it is laid in holds a two (the ace played low).
Int16 CardPoints(Int16 card, bool meldHoldsTwo = false);

// A round ends after a discard that leaves a non-floating player with an empty hand, or any
// discard made once the stock is empty.
bool RoundHasEnded(const GameState& state);

// Points melded this round by each player, cards still in hand not subtracted.
struct MeldedPoints {
    Int16 local;
    Int16 remote;
};
MeldedPoints MeldedScores(const GameState& state);

// The round's result from this program's side: melded points less the cards left in each hand.
struct RoundResult {
    Int16 local;
    Int16 remote;
};
RoundResult ScoreRound(const GameState& state);

// Adds the round's result to the game totals.
void AddToTotals(GameState& state, const RoundResult& result);

// "You won that round", "Your opponent won that round" or "You tied that round".
std::string RoundMessage(const RoundResult& result);

// When a total has reached 500 and the totals differ: "You Won the Game!" or "You Lost the Game!".
std::optional<std::string> GameOverMessage(const GameState& state);

// A decided game starts over: totals and the deal count return to 0.
void ResetGame(GameState& state);

// The five scoreboard labels.
struct ScoreBoardTexts {
    std::string scores;       // lblScores
    std::string gamesPlayed;  // lblTotGamesPlayed
    std::string localScore;   // lblLocalScore
    std::string remoteScore;  // lblRemoteScore
    std::string floating;     // lblFloat
};
ScoreBoardTexts ScoreBoard(const GameState& state);

}  // namespace kelvane

namespace kelvane {

// Credits the cards of a meld that are not credited yet: the local player's with their points,
// the opponent's (sign -1) with minus their points. An ace is valued by the whole meld, so laying
// an ace off onto a run that holds a two credits it 5.
void CreditMeld(GameState& state, const MeldList& meld, Int16 n, int sign);

}  // namespace kelvane
