// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

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

// The player to move has not drawn and the stack and the up pile are both empty: he can draw
// nothing, and no move of either player can change that, so the round cannot go on. Only a
// player melding his last card out while both piles are empty leaves a round so.
bool NobodyCanDraw(const GameState& state);

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

// Scores a round that has ended into the game totals and returns its result. Nobody holds a
// turn until the next deal: a click in that gap would send a move of the old round into the new
// one on the other side.
RoundResult EndRound(GameState& state);

// Who won a round, from this program's side.
enum class RoundWinner { kYou, kOpponent, kTie };
RoundWinner WinnerOf(const RoundResult& result);

enum class GameOutcome { kWon, kLost };
// Decided when a total has reached 500 and the totals differ; equal totals, however high, decide
// nothing and another round is dealt.
std::optional<GameOutcome> GameOver(const GameState& state);

// A decided game starts over: totals and the deal count return to 0.
void ResetGame(GameState& state);

}  // namespace kelvane

namespace kelvane {

// Credits the cards of a meld that are not credited yet: the local player's with their points,
// the opponent's (sign -1) with minus their points. An ace is valued by the whole meld, so laying
// an ace off onto a run that holds a two credits it 5.
void CreditMeld(GameState& state, const MeldList& meld, Int16 n, int sign);
// Whether the meld's first n cards hold a two, so that an ace in it counts low.
bool HoldsTwo(const MeldList& meld, Int16 n);

}  // namespace kelvane
