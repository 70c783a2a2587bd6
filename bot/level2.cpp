// SPDX-License-Identifier: GPL-3.0-or-later
#include "bot/level2.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <functional>
#include <vector>

#include "game/moves.h"
#include "game/stock.h"

namespace kelvane::bot {

namespace {

using Clock = std::chrono::steady_clock;
// Deals tried for an opponent's hand that holds no meld; a hand that cannot be had is dealt anyway.
constexpr int kRedeals = 20;

CardSet CardsOf(const std::vector<Int16>& cards) {
    CardSet set = 0;
    for (Int16 card : cards) set |= Bit(card.value());
    return set;
}

// Lays the plan's melds and makes its discard in a simulated round, where it is the local
// seat's turn after the draw. A step the round refuses stops the plan there; the play-out then
// finishes the turn greedily.
void PlayPlan(FastRound& round, const TurnPlan& plan) {
    for (const MeldMove& m : plan.melds) {
        const FastMeld meld{CardsOf(m.cards), m.column == kNewColumn ? kNoColumn : m.column};
        if (!round.CanMeld(0, meld)) return;
        round.Meld(0, meld);
    }
    if (plan.discard != 0 && round.CanDiscard(0, plan.discard.value()))
        round.Discard(0, plan.discard.value());
}

}  // namespace

// Every candidate meets the same deals until the budget is spent.
std::size_t EqualPlayOuts(const SeatView& seen, const HandReading& reading,
                          const LookaheadBudget& budget, std::uint64_t seed, std::size_t candidates,
                          const PlayCandidate& play) {
    if (candidates <= 1) return 0;
    const HiddenDeals deals(seen, reading);
    std::mt19937_64 random(seed);
    std::vector<long long> margin(candidates, 0);
    MeldBuffer scratch;
    const auto start = Clock::now();
    for (int n = 0; n < budget.playouts; ++n) {
        const FastRound dealt = deals.Deal(random);
        for (std::size_t c = 0; c < candidates; ++c) {
            FastRound round = dealt;
            play(round, c);
            round.PlayOut(scratch);
            margin[c] += round.Score(0) - round.Score(1);
        }
        if (budget.thinkMs > 0 && Clock::now() - start >= std::chrono::milliseconds(budget.thinkMs))
            break;
    }
    // The first of equal margins: the candidates come in the first level's order of preference.
    return static_cast<std::size_t>(std::max_element(margin.begin(), margin.end()) -
                                    margin.begin());
}

HiddenDeals::HiddenDeals(const SeatView& state, const HandReading& reading)
    : base_(FastRound::From(state.Pictured())) {
    // Until the opponent's first turn of the round his hand is as dealt. Before this turn's draw
    // the stack held all that the deal left it unless he drew from it or took the up card.
    const bool drewFromStack = state.HasDrawn && state.TakenUpCard == 0 && state.MustMeldCard == 0;
    const int stackBefore = state.StackCount.value() + (drewFromStack ? 1 : 0);
    settled_ = reading.read && (stackBefore < kStockAfterDeal || state.KnownCount > 0);
    if (reading.read && reading.passedUp != 0) passedUp_ = Bit(reading.passedUp);
    CardSet visible = base_.hand[0];
    for (int p = 0; p < base_.upCount; ++p) visible |= Bit(base_.up[static_cast<std::size_t>(p)]);
    for (int col = 0; col < base_.columns; ++col)
        visible |= base_.column[static_cast<std::size_t>(col)];
    // A card the opponent took face up and that shows nowhere else is still in his hand.
    const CardSet held = base_.known & ~visible;
    base_.hand[1] = held;
    dealtToOpponent_ = state.RemoteCount.value() - std::popcount(held);
    for (int card = 1; card <= kCardsInDeck; ++card)
        if (((visible | held) & Bit(card)) == 0)
            unseen_[static_cast<std::size_t>(unseenCount_++)] = static_cast<std::uint8_t>(card);
}

FastRound HiddenDeals::Deal(std::mt19937_64& random) const {
    FastRound round = DealOnce(random);
    const auto contradicts = [&] {
        return (settled_ && round.HoldsMeld(1)) ||
               (passedUp_ != 0 && HoldsNewMeld(round.hand[1] | passedUp_));
    };
    for (int again = 0; again < kRedeals && contradicts(); ++again) round = DealOnce(random);
    return round;
}

FastRound HiddenDeals::DealOnce(std::mt19937_64& random) const {
    FastRound round = base_;
    std::array<std::uint8_t, kCardsInDeck> cards = unseen_;
    // Fisher-Yates over the unseen cards: the first ones go to the opponent, the rest make the
    // stack.
    for (int i = unseenCount_ - 1; i > 0; --i) {
        const auto j = static_cast<int>(random() % static_cast<std::uint64_t>(i + 1));
        std::swap(cards[static_cast<std::size_t>(i)], cards[static_cast<std::size_t>(j)]);
    }
    for (int i = 0; i < dealtToOpponent_; ++i)
        round.hand[1] |= Bit(cards[static_cast<std::size_t>(i)]);
    round.stackCount = unseenCount_ - dealtToOpponent_;
    for (int i = 0; i < round.stackCount; ++i)
        round.stack[static_cast<std::size_t>(i)] =
            cards[static_cast<std::size_t>(dealtToOpponent_ + i)];
    return round;
}

std::optional<DrawChoice> ChooseDrawAhead(const SeatView& view, const LookaheadBudget& budget,
                                          std::uint64_t seed, const LookaheadSearch& search,
                                          int passedUp) {
    const GameState seen = view.Pictured();
    const HandReading reading{search.readsHand, passedUp};
    // Each candidate draw is followed by the first level's plan for the turn: for a take the plan
    // is known now, for the stack it is made for each card the stack could give.
    struct Candidate {
        DrawChoice draw;
        TurnPlan plan;
    };
    std::vector<Candidate> candidates;
    const bool stack = CanDrawFromStack(seen, Seat::kLocal).ok();
    if (stack) candidates.push_back({{true, 0}, {}});
    for (Int16 p = seen.UpCount - 1; p >= 0; --p) {
        if (!CanTakeFromUpPile(seen, Seat::kLocal, p).ok()) continue;
        GameState after = seen;
        TakeFromUpPile(after, Seat::kLocal, p);
        if (std::optional<TurnPlan> plan = PlanTurn(after))
            candidates.push_back({{false, p}, std::move(*plan)});
    }
    if (candidates.empty()) return std::nullopt;
    std::array<std::optional<TurnPlan>, kCardsInDeck + 1> stackPlans;
    std::array<bool, kCardsInDeck + 1> planned{};
    const std::size_t best = search.judge(
        view, reading, budget, seed, candidates.size(), [&](FastRound& round, std::size_t c) {
            const Candidate& candidate = candidates[c];
            if (!candidate.draw.fromStack) {
                round.TakeFromUpPile(0, candidate.draw.position.value());
                return PlayPlan(round, candidate.plan);
            }
            const int card = round.stack[static_cast<std::size_t>(round.stackCount - 1)];
            round.DrawFromStack(0);
            const auto k = static_cast<std::size_t>(card);
            if (!planned[k]) {
                GameState after = seen;
                after.Stack[after.StackCount - 1] = Int16(card);
                DrawFromStack(after, Seat::kLocal);
                stackPlans[k] = PlanTurn(after);
                planned[k] = true;
            }
            if (stackPlans[k]) PlayPlan(round, *stackPlans[k]);
        });
    return candidates[best].draw;
}

std::optional<TurnPlan> PlanTurnAhead(const SeatView& seen, const LookaheadBudget& budget,
                                      std::uint64_t seed, const LookaheadSearch& search,
                                      int passedUp) {
    const HandReading reading{search.readsHand, passedUp};
    std::vector<TurnPlan> plans = BestPlans(seen.Pictured(), search.plans);
    if (plans.empty()) return std::nullopt;
    // Floating with the stack nearly gone can leave both players nothing to draw, a round only
    // quitting ends; the play-outs would score such a round as it stands, so it is not offered.
    // The first level floats late only when it must; then every plan stays.
    if (seen.StackCount < kFloatLateStack && plans.front().discard != 0)
        std::erase_if(plans, [](const TurnPlan& p) { return p.discard == 0; });
    const std::size_t best =
        search.judge(seen, reading, budget, seed, plans.size(),
                     [&](FastRound& round, std::size_t c) { PlayPlan(round, plans[c]); });
    return std::move(plans[best]);
}

std::optional<DrawChoice> LookaheadPolicy::PickDraw(const SeatView& seen) {
    plan_.reset();
    laid_ = 0;
    // Two players who each take the other's discard back can pass the same cards to and fro for
    // ever while the stack waits. A position met before at this round's draw, with the stack no
    // shorter, is such a circle: the stack's card breaks it, and the stack shrinks each time, so
    // the round goes on.
    const GameState pictured = seen.Pictured();
    const FastRound here = FastRound::From(pictured);
    if (!drawnAt_.empty() && here.stackCount > drawnAt_.back().stackCount) drawnAt_.clear();
    const bool circling = std::find(drawnAt_.begin(), drawnAt_.end(), here) != drawnAt_.end();
    drawnAt_.push_back(here);
    // An opponent who drew from the stack drew past the up card this seat left him: under his
    // discard, or on top when he melded out without one.
    const int under = seen.RemoteFloating ? 1 : 2;
    passedUp_ = seen.StackCount == stackAfterDraw_ - 1 && seen.UpCount >= under
                    ? seen.UpPile[seen.UpCount - under].value()
                    : 0;
    if (circling && CanDrawFromStack(pictured, Seat::kLocal).ok()) return DrawChoice{true, 0};
    return ChooseDrawAhead(seen, budget_, random_(), search_, passedUp_);
}

std::optional<TurnStep> LookaheadPolicy::PickStep(const SeatView& seen) {
    // The turn's plan is chosen once, after the draw, and then laid meld by meld.
    const GameState pictured = seen.Pictured();
    const bool onCourse = plan_ && laid_ < plan_->melds.size() &&
                          CanMeld(pictured, Seat::kLocal, plan_->melds[laid_]).ok();
    const bool discardDue = plan_ && laid_ == plan_->melds.size() &&
                            CanDiscard(pictured, Seat::kLocal, plan_->discard).ok();
    if (!onCourse && !discardDue) {
        stackAfterDraw_ = seen.StackCount.value();
        plan_ = PlanTurnAhead(seen, budget_, random_(), search_, passedUp_);
        laid_ = 0;
        if (!plan_) return std::nullopt;
    }
    if (laid_ < plan_->melds.size()) return TurnStep::Lay(plan_->melds[laid_++]);
    return TurnStep::Throw(plan_->discard);
}

}  // namespace kelvane::bot
