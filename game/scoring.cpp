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

void AddToTotals(GameState& s, const RoundResult& result) {
    s.LocalScore += result.local;
    s.RemoteScore += result.remote;
}

std::string RoundMessage(const RoundResult& result) {
    const char* who = result.local > result.remote   ? "You won"
                      : result.local < result.remote ? "Your opponent won"
                                                     : "You tied";
    return std::string(who) + " that round";
}

std::optional<std::string> GameOverMessage(const GameState& s) {
    // Equal totals decide nothing, however high: another round is dealt until they differ.
    const bool reached = s.LocalScore >= kWinningScore || s.RemoteScore >= kWinningScore;
    if (!reached || s.LocalScore == s.RemoteScore) return std::nullopt;
    return s.LocalScore > s.RemoteScore ? "You Won the Game!" : "You Lost the Game!";
}

void ResetGame(GameState& s) {
    s.GamesPlayed = 0;
    s.LocalScore = 0;
    s.RemoteScore = 0;
}

ScoreBoardTexts ScoreBoard(const GameState& s) {
    const MeldedPoints melded = MeldedScores(s);
    auto text = [](Int16 n) { return std::to_string(n.value()); };
    const char* floating = s.LocalFloating && s.RemoteFloating ? "Both Floating"
                           : s.LocalFloating                   ? "You Are Floating"
                           : s.RemoteFloating                  ? "Your Opponent is Floating"
                                                               : "";
    return {
        "Your Melded Score: " + text(melded.local) +
            "     Opponent's Melded Score: " + text(melded.remote),
        "Total Games Played: " + text(s.GamesPlayed - 1),
        "Your Score: " + text(s.LocalScore),
        "Your Opponent's Score: " + text(s.RemoteScore),
        floating,
    };
}

}  // namespace kelvane

namespace kelvane {

void CreditMeld(GameState& s, const MeldList& meld, Int16 n, int sign) {
    bool holdsTwo = false;
    for (Int16 i = 0; i < n; ++i) holdsTwo = holdsTwo || GetCardValue(meld[i]) == kTwo;
    for (Int16 i = 0; i < n; ++i) {
        const Int16 card = meld[i];
        if (s.MeldCredit[card] == 0) s.MeldCredit[card] = CardPoints(card, holdsTwo) * sign;
    }
}

}  // namespace kelvane
