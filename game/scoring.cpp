// SPDX-License-Identifier: GPL-3.0-or-later
#include "scoring.h"

namespace kelvane {

Int16 CardPoints(Int16 card, bool meldHoldsTwo) {
    const Int16 rank = GetCardValue(card);
    if (rank == kAce) return meldHoldsTwo ? 5 : 15;
    if (rank < kTen) return 5;
    return 10;
}

bool RoundHasEnded(const GameState& s) {
    return (s.LocalCount == 0 && !s.LocalFloating) || (s.RemoteCount == 0 && !s.RemoteFloating) ||
           s.StackCount == 0;
}

bool NobodyCanDraw(const GameState& s) {
    return s.RoundInPlay && !s.HasDrawn && s.StackCount == 0 && s.UpCount == 0;
}

MeldedPoints MeldedScores(const GameState& s) {
    MeldedPoints points{0, 0};
    for (int card = 1; card <= kCardsInDeck; ++card) {
        const Int16 credit = s.MeldCredit[card];
        if (credit > 0) points.local += credit;
        if (credit < 0) points.remote -= credit;
    }
    return points;
}

namespace {

Int16 HandPoints(const CardArray& hand, Int16 count) {
    Int16 points = 0;
    for (Int16 i = 0; i < count; ++i) points += CardPoints(hand[i]);
    return points;
}

}  // namespace

RoundResult ScoreRound(const GameState& s) {
    const MeldedPoints melded = MeldedScores(s);
    return {melded.local - HandPoints(s.LocalHand, s.LocalCount),
            melded.remote - HandPoints(s.RemoteHand, s.RemoteCount)};
}

RoundResult EndRound(GameState& s) {
    const RoundResult result = ScoreRound(s);
    s.LocalScore += result.local;
    s.RemoteScore += result.remote;
    s.MyTurn = false;
    s.HasDrawn = false;
    s.RoundInPlay = false;
    return result;
}

RoundWinner WinnerOf(const RoundResult& result) {
    return result.local > result.remote   ? RoundWinner::kYou
           : result.local < result.remote ? RoundWinner::kOpponent
                                          : RoundWinner::kTie;
}

std::optional<GameOutcome> GameOver(const GameState& s) {
    const bool reached = s.LocalScore >= kWinningScore || s.RemoteScore >= kWinningScore;
    if (!reached || s.LocalScore == s.RemoteScore) return std::nullopt;
    return s.LocalScore > s.RemoteScore ? GameOutcome::kWon : GameOutcome::kLost;
}

void ResetGame(GameState& s) {
    s.GamesPlayed = 0;
    s.LocalScore = 0;
    s.RemoteScore = 0;
}

}  // namespace kelvane

namespace kelvane {

bool HoldsTwo(const MeldList& meld, Int16 n) {
    for (Int16 i = 0; i < n; ++i)
        if (GetCardValue(meld[i]) == kTwo) return true;
    return false;
}

void CreditMeld(GameState& s, const MeldList& meld, Int16 n, int sign) {
    const bool holdsTwo = HoldsTwo(meld, n);
    for (Int16 i = 0; i < n; ++i) {
        const Int16 card = meld[i];
        if (s.MeldCredit[card] == 0) s.MeldCredit[card] = CardPoints(card, holdsTwo) * sign;
    }
}

}  // namespace kelvane
