#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <random>
#include <vector>

#include "bot/bot_policy.h"
#include "bot/fast_round.h"
#include "game/game_state.h"

namespace kelvane::bot {

// Level 2: the first level's judgement proposes, play-outs of the rest of the round decide. For
// each decision (where to draw; which melds to lay and what to throw) it deals the cards its seat
// cannot see in many ways consistent with everything seen, plays each candidate and the rest of
// the round out in every one of those deals, and keeps the candidate with the best average margin
// of its round score over the opponent's.
struct LookaheadBudget {
    // Deals of the hidden cards each candidate is played out in. Every candidate meets the same
    // deals, so their averages differ by the decision and not by luck.
    int playouts = 200;
    // Milliseconds a decision may take before it settles on the deals played so far; 0 for no
    // limit, which makes a seed repeat the same game on any machine.
    int thinkMs = 300;
};

// How many of the first level's best plans after a draw are played out against each other.
inline constexpr std::size_t kCandidatePlans = 6;

// The cards the seat cannot see dealt in at random over the opponent's hand and the stack: the
// opponent keeps the cards he is known to hold (taken face up, seen nowhere since). What the
// state holds of the stack and the opponent's hand is blanked first and never read.
class HiddenDeals {
  public:
    explicit HiddenDeals(const GameState& state);
    // One deal; the stack's order is random too.
    FastRound Deal(std::mt19937_64& random) const;

  private:
    FastRound base_;
    std::array<std::uint8_t, kCardsInDeck> unseen_{};
    int unseenCount_ = 0;
    int dealtToOpponent_ = 0;  // the opponent's cards not known to him
};

// Makes candidate `c`'s own moves in a dealt round; the play-out does the rest.
using PlayCandidate = std::function<void(FastRound& round, std::size_t c)>;
// Plays `count` candidates out in deals of the seat's hidden cards within the budget and returns
// the index of the best; among equals the first, the candidates coming in order of preference.
using JudgeByPlayOuts = std::size_t (*)(const GameState& seen, const LookaheadBudget& budget,
                                        std::uint64_t seed, std::size_t count,
                                        const PlayCandidate& play);
// The second level's judge: every candidate in `playouts` deals, the best average margin wins.
std::size_t EqualPlayOuts(const GameState& seen, const LookaheadBudget& budget, std::uint64_t seed,
                          std::size_t count, const PlayCandidate& play);

// How widely a level looks and how it spends its play-outs.
struct LookaheadSearch {
    std::size_t plans = kCandidatePlans;  // the first level's best plans weighed after a draw
    JudgeByPlayOuts judge = EqualPlayOuts;
};

// Where to draw, from the seat's view; nothing when no draw lets the turn end.
std::optional<Draw> ChooseDrawAhead(const GameState& seen, const LookaheadBudget& budget,
                                    std::uint64_t seed, const LookaheadSearch& search = {});
// The rest of the turn after the draw, from the seat's view; nothing when it cannot end.
std::optional<TurnPlan> PlanTurnAhead(const GameState& seen, const LookaheadBudget& budget,
                                      std::uint64_t seed, const LookaheadSearch& search = {});

// The second level at the table: it decides from its seat's view alone, once per draw and once
// per turn's plan, and plays the plan's melds and discard one gesture at a time as the first level
// does. One seed gives one game when the budget has no time limit.
class LookaheadPolicy : public MovePlayer {
  public:
    LookaheadPolicy(LookaheadBudget budget, std::uint64_t seed, LookaheadSearch search = {})
        : budget_(budget), search_(search), random_(seed) {}

  private:
    void Draw(Table& table, const GameState& seen) override;
    void Choose(Table& table, const GameState& seen) override;

    LookaheadBudget budget_;
    LookaheadSearch search_;
    std::mt19937_64 random_;
    // The plan chosen after this turn's draw and how much of it is laid.
    std::optional<TurnPlan> plan_;
    std::size_t laid_ = 0;
    // The positions this round's draws were chosen in, to see the players circling.
    std::vector<FastRound> drawnAt_;
};

}  // namespace kelvane::bot
