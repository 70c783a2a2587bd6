// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <random>
#include <vector>

#include "bot/fast_round.h"
#include "bot/level1.h"
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

// What the seat reads of the opponent's hand from his play this round, for the deals to follow.
struct HandReading {
    // Whether to read at all: a player who has had a turn lays what he can, so his hand holds no
    // meld, and one who drew past the up card could not meld it.
    bool read = false;
    int passedUp = 0;  // the up card he drew past at his last draw, 0 for none
};

// The cards the seat cannot see dealt in at random over the opponent's hand and the stack: the
// opponent keeps the cards he is known to hold (taken face up, seen nowhere since). With a
// reading, the opponent's hand is dealt again (a few times at most) while it contradicts it.
class HiddenDeals {
  public:
    explicit HiddenDeals(const SeatView& seen, const HandReading& reading = {});
    // One deal; the stack's order is random too.
    FastRound Deal(std::mt19937_64& random) const;

  private:
    FastRound DealOnce(std::mt19937_64& random) const;

    FastRound base_;
    bool settled_ = false;  // the opponent's hand holds nothing he could lay
    CardSet passedUp_ = 0;
    std::array<std::uint8_t, kCardsInDeck> unseen_{};
    int unseenCount_ = 0;
    int dealtToOpponent_ = 0;  // the opponent's cards not known to him
};

// Makes candidate `c`'s own moves in a dealt round; the play-out does the rest.
using PlayCandidate = std::function<void(FastRound& round, std::size_t c)>;
// Plays `count` candidates out in deals of the seat's hidden cards within the budget and returns
// the index of the best; among equals the first, the candidates coming in order of preference.
using JudgeByPlayOuts = std::size_t (*)(const SeatView& seen, const HandReading& reading,
                                        const LookaheadBudget& budget, std::uint64_t seed,
                                        std::size_t count, const PlayCandidate& play);
// The second level's judge: every candidate in `playouts` deals, the best average margin wins.
std::size_t EqualPlayOuts(const SeatView& seen, const HandReading& reading,
                          const LookaheadBudget& budget, std::uint64_t seed, std::size_t count,
                          const PlayCandidate& play);

// How widely a level looks and how it spends its play-outs.
struct LookaheadSearch {
    std::size_t plans = kCandidatePlans;  // the first level's best plans weighed after a draw
    JudgeByPlayOuts judge = EqualPlayOuts;
    bool readsHand = false;  // deals the hidden cards by what the opponent's play tells
};

// Where to draw, from the seat's view; nothing when no draw lets the turn end. `passedUp` is the up
// card the opponent drew past at his last draw, for a level that reads his hand.
std::optional<DrawChoice> ChooseDrawAhead(const SeatView& seen, const LookaheadBudget& budget,
                                          std::uint64_t seed, const LookaheadSearch& search = {},
                                          int passedUp = 0);
// The rest of the turn after the draw, from the seat's view; nothing when it cannot end.
std::optional<TurnPlan> PlanTurnAhead(const SeatView& seen, const LookaheadBudget& budget,
                                      std::uint64_t seed, const LookaheadSearch& search = {},
                                      int passedUp = 0);

// The second level at the table: it decides from its seat's view alone, once per draw and once
// per turn's plan, and plays the plan's melds and discard one gesture at a time as the first level
// does. One seed gives one game when the budget has no time limit.
class LookaheadPolicy : public MovePlayer {
  public:
    LookaheadPolicy(LookaheadBudget budget, std::uint64_t seed, LookaheadSearch search = {})
        : budget_(budget), search_(search), random_(seed) {}

  private:
    std::optional<DrawChoice> PickDraw(const SeatView& seen) override;
    std::optional<TurnStep> PickStep(const SeatView& seen) override;

    LookaheadBudget budget_;
    LookaheadSearch search_;
    std::mt19937_64 random_;
    // The plan chosen after this turn's draw and how much of it is laid.
    std::optional<TurnPlan> plan_;
    std::size_t laid_ = 0;
    // The positions this round's draws were chosen in, to see the players circling.
    std::vector<FastRound> drawnAt_;
    // The stack once this seat had drawn, to see whether the opponent drew from it next.
    int stackAfterDraw_ = -1;
    int passedUp_ = 0;
};

}  // namespace kelvane::bot
