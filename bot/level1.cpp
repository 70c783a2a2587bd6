// SPDX-License-Identifier: GPL-3.0-or-later
#include "bot/level1.h"

#include <algorithm>
#include <bitset>
#include <cstdint>
#include <limits>

#include "bot/fast_round.h"
#include "game/scoring.h"
#include "game/stock.h"

namespace kelvane::bot {

namespace {

// The weights of the bot's judgement, each in points of the round. They were settled by playing
// thousands of rounds against the random player with kelvane-arena.
// Ending the round now: the opponent's hand counts against him before he can meld it.
constexpr double kGoOut = 25;
// Melding the whole hand: all of it scores, but the round goes on and the bot must draw again.
constexpr double kFloat = 12;
// Floating with the stack (almost) gone can leave a player nothing he may draw.
constexpr double kFloatLate = -1000;
// A draw after which the turn could not end at all.
constexpr double kStuck = -100;
// How much of a card's cost a live chance of melding it later takes away.
constexpr double kProspectRelief = 0.5;
// The share of a discard's points the opponent is expected to gain when he can use it.
constexpr double kDenial = 0.4;
// How likely a card kept now is still in the hand when the round ends, from a full stock to an
// empty one, and once the opponent is down to his last cards.
constexpr double kRiskFullStock = 0.35;
constexpr double kRiskOpponentNearlyOut = 0.8;
constexpr int kOpponentNearlyOut = 2;
// The plan search stops looking at combinations of melds after this many; real hands need far
// fewer.
constexpr int kSearchLimit = 20000;

using CardSet = std::bitset<kCardsInDeck + 1>;

int Points(Int16 card) {
    return CardPoints(card).value();
}

CardSet HandCards(const GameState& s) {
    CardSet cards;
    for (Int16 i = 0; i < s.LocalCount; ++i)
        cards.set(static_cast<std::size_t>(s.LocalHand[i].value()));
    return cards;
}

bool Has(const CardSet& cards, Int16 card) {
    return card != 0 && cards.test(static_cast<std::size_t>(card.value()));
}

// What the seat can tell about the cards it cannot see, and how the hand it keeps is judged.
class Outlook {
  public:
    explicit Outlook(const GameState& seen) : seen_(seen) {
        CardSet visible = HandCards(seen);
        for (Int16 i = 0; i < seen.UpCount; ++i)
            visible.set(static_cast<std::size_t>(seen.UpPile[i].value()));
        for (Int16 col = 0; col < seen.TableMelds.ColumnCount(); ++col)
            for (Int16 card : seen.TableMelds.Cards(col))
                visible.set(static_cast<std::size_t>(card.value()));
        // A card the opponent took face up and that shows nowhere else is still in his hand.
        for (Int16 i = 0; i < seen.KnownCount; ++i)
            if (!Has(visible, seen.KnownCards[i]))
                opponentHolds_.set(static_cast<std::size_t>(seen.KnownCards[i].value()));
        for (int card = 1; card <= kCardsInDeck; ++card)
            if (!visible.test(static_cast<std::size_t>(card)) &&
                !opponentHolds_.test(static_cast<std::size_t>(card)))
                live_.set(static_cast<std::size_t>(card));

        const double stock = std::min(seen.StackCount.value(), kStockAfterDeal);
        risk_ = seen.StackCount == 0
                    ? 1.0
                    : kRiskFullStock + (1 - kRiskFullStock) * (1 - stock / kStockAfterDeal);
        if (seen.RemoteCount <= kOpponentNearlyOut) risk_ = std::max(risk_, kRiskOpponentNearlyOut);
    }

    const CardSet& live() const { return live_; }

    // What the cards kept cost: each card's points, as likely to count as the round is to end
    // first, less the relief of a live chance to meld it later.
    double KeptCost(const std::vector<Int16>& kept) const {
        CardSet keptSet;
        for (Int16 card : kept) keptSet.set(static_cast<std::size_t>(card.value()));
        double cost = 0;
        for (Int16 card : kept)
            cost += Points(card) * (1 - kProspectRelief * Prospect(card, keptSet));
        return risk_ * cost;
    }

    // What the discard is expected to give the opponent: its points when it fits a meld on the
    // table or the cards he is known to hold.
    double Denial(Int16 card) const {
        for (Int16 col = 0; col < seen_.TableMelds.ColumnCount(); ++col)
            if (MakesMeld(seen_, {{card}, col.value()})) return kDenial * Points(card);
        const int rank = GetCardValue(card).value();
        const int suit = GetCardSuit(card).value();
        int sameRank = 0;
        bool neighbour = false;
        for (int other = 1; other <= kCardsInDeck; ++other) {
            if (!opponentHolds_.test(static_cast<std::size_t>(other))) continue;
            if (GetCardValue(Int16(other)) == rank) ++sameRank;
            for (int step : {-1, 1})
                neighbour = neighbour || Int16(other) == CardAt(suit, rank + step) ||
                            (rank == kAce && Int16(other) == CardAt(suit, kKing + 1 + step));
        }
        return sameRank >= 2 || neighbour ? kDenial * Points(card) : 0;
    }

  private:
    bool Live(Int16 card) const { return Has(live_, card); }

    // 1 for a card that already pairs with a kept card and can still be completed, less for a
    // card one gap away from a kept card of its suit, 0 for a card on its own.
    double Prospect(Int16 card, const CardSet& kept) const {
        const int rank = GetCardValue(card).value();
        const int suit = GetCardSuit(card).value();
        int pairs = 0;
        int liveOfRank = 0;
        for (int s = kSpades; s <= kHearts; ++s) {
            const Int16 other = MakeCard(s, rank);
            if (other == card) continue;
            pairs += Has(kept, other) ? 1 : 0;
            liveOfRank += Live(other) ? 1 : 0;
        }
        if (pairs > 0 && liveOfRank > 0) return 1;
        double best = 0;
        // The ace sits below the two and above the king.
        for (int r : rank == kAce ? std::vector<int>{kAce, kKing + 1} : std::vector<int>{rank}) {
            for (int dir : {-1, 1}) {
                if (Has(kept, CardAt(suit, r + dir)) &&
                    (Live(CardAt(suit, r - dir)) || Live(CardAt(suit, r + 2 * dir))))
                    return 1;
                if (Has(kept, CardAt(suit, r + 2 * dir)) && Live(CardAt(suit, r + dir))) best = 0.6;
            }
        }
        return best;
    }

    const GameState& seen_;
    CardSet opponentHolds_;
    CardSet live_;
    double risk_ = 1;
};

struct Candidate {
    MeldMove move;
    CardSet cards;
    int points = 0;
};

// Tries every set of melds that share no card and no column, each with every way to end the
// turn, and keeps the best. Melding a card never costs the bot anything it could keep, so the
// only reasons to hold cards back are the discard that ends the turn and the rules around it.
class Planner {
  public:
    Planner(const GameState& seen, std::size_t keep) : seen_(seen), outlook_(seen), keep_(keep) {
        for (MeldMove& move : AllMelds(seen)) {
            Candidate c;
            for (Int16 card : move.cards) c.cards.set(static_cast<std::size_t>(card.value()));
            c.points = MeldPoints(seen, move).value();
            c.move = std::move(move);
            moves_.push_back(std::move(c));
        }
    }

    // The best plans, best first; of plans judged equal, the one found first.
    std::vector<TurnPlan> Best() {
        Search(0, CardSet{}, 0, 0);
        return std::move(best_);
    }

  private:
    void Search(std::size_t from, const CardSet& used, std::uint64_t columns, int points) {
        if (++nodes_ > kSearchLimit) return;
        Judge(used, points);
        for (std::size_t i = from; i < moves_.size(); ++i) {
            const Candidate& c = moves_[i];
            const std::uint64_t column =
                c.move.column == kNewColumn ? 0 : std::uint64_t{1} << c.move.column;
            if ((used & c.cards).any() || (columns & column) != 0) continue;
            chosen_.push_back(i);
            Search(i + 1, used | c.cards, columns | column, points + c.points);
            chosen_.pop_back();
        }
    }

    // Every way to end the turn once the chosen melds are laid.
    void Judge(const CardSet& used, int points) {
        std::vector<Int16> left;
        for (Int16 i = 0; i < seen_.LocalCount; ++i)
            if (!Has(used, seen_.LocalHand[i])) left.push_back(seen_.LocalHand[i]);
        if (left.empty()) {
            const bool late = seen_.StackCount < kFloatLateStack;
            return Offer(0, points + (late ? kFloatLate : kFloat));
        }
        // The rules judge each discard once the chosen melds are down (a must-meld duty left
        // open, the card taken alone, a last card that looks meldable).
        const GameState after = AfterMelds();
        for (std::size_t k = 0; k < left.size(); ++k) {
            const Int16 card = left[k];
            if (!CanDiscard(after, Seat::kLocal, card).ok()) continue;
            if (left.size() == 1) {
                Offer(card, points + kGoOut);
                continue;
            }
            std::vector<Int16> kept = left;
            kept.erase(kept.begin() + static_cast<std::ptrdiff_t>(k));
            if (seen_.StackCount == 0) {
                // Any discard from an empty stock ends the round: what is kept counts in full.
                double cost = 0;
                for (Int16 c : kept) cost += Points(c);
                Offer(card, points - cost + kGoOut);
            } else {
                Offer(card, points - outlook_.KeptCost(kept) - outlook_.Denial(card));
            }
        }
    }

    void Offer(Int16 discard, double value) {
        if (best_.size() == keep_ && value <= best_.back().value) return;
        TurnPlan plan;
        plan.discard = discard;
        plan.value = value;
        for (std::size_t i : chosen_) plan.melds.push_back(moves_[i].move);
        // While the duty is open every meld must hold the must-meld card: that meld goes first.
        const Int16 must = seen_.MustMeldCard;
        std::stable_partition(plan.melds.begin(), plan.melds.end(),
                              [&](const MeldMove& m) { return must != 0 && m.Contains(must); });
        const auto at = std::find_if(best_.begin(), best_.end(),
                                     [&](const TurnPlan& p) { return p.value < value; });
        best_.insert(at, std::move(plan));
        if (best_.size() > keep_) best_.pop_back();
    }

    GameState AfterMelds() const {
        GameState after = seen_;
        std::vector<MeldMove> melds;
        for (std::size_t i : chosen_) melds.push_back(moves_[i].move);
        const Int16 must = seen_.MustMeldCard;
        std::stable_partition(melds.begin(), melds.end(),
                              [&](const MeldMove& m) { return must != 0 && m.Contains(must); });
        for (const MeldMove& m : melds) Meld(after, Seat::kLocal, m);
        return after;
    }

    const GameState& seen_;
    Outlook outlook_;
    std::vector<Candidate> moves_;
    std::vector<std::size_t> chosen_;
    std::size_t keep_;
    std::vector<TurnPlan> best_;
    int nodes_ = 0;
};

// The seat after drawing `card` from the stack: the seat does not know the stack's order, so the
// card is put on top of its blank copy of the stack and drawn from there.
GameState AfterStackDraw(const GameState& seen, Int16 card) {
    GameState after = seen;
    after.Stack[after.StackCount - 1] = card;
    DrawFromStack(after, Seat::kLocal);
    return after;
}

// The stack's card is unknown: every card the seat cannot see is as likely as the next, and
// cards the opponent is known to hold are not in the stack.
double StackValue(const GameState& seen) {
    const CardSet live = Outlook(seen).live();
    double total = 0;
    int count = 0;
    for (int card = 1; card <= kCardsInDeck; ++card) {
        if (!live.test(static_cast<std::size_t>(card))) continue;
        const std::optional<TurnPlan> plan = PlanTurn(AfterStackDraw(seen, Int16(card)));
        total += plan ? plan->value : kStuck;
        ++count;
    }
    return count > 0 ? total / count : kStuck;
}

}  // namespace

std::optional<TurnPlan> PlanTurn(const GameState& seen) {
    std::vector<TurnPlan> best = Planner(seen, 1).Best();
    if (best.empty()) return std::nullopt;
    return std::move(best.front());
}

std::vector<TurnPlan> BestPlans(const GameState& seen, std::size_t count) {
    return Planner(seen, count).Best();
}

std::optional<DrawChoice> ChooseDraw(const SeatView& view) {
    const GameState seen = view.Pictured();
    std::optional<DrawChoice> best;
    double bestValue = std::numeric_limits<double>::lowest();
    if (CanDrawFromStack(seen, Seat::kLocal).ok()) {
        best = DrawChoice{true, 0};
        bestValue = StackValue(seen);
    }
    const Int16 top = seen.UpCount - 1;
    for (Int16 p = top; p >= 0; --p) {
        // The rules' quick test guards a card below the top; the plan proves it melds.
        if (!CanTakeFromUpPile(seen, Seat::kLocal, p).ok()) continue;
        GameState after = seen;
        TakeFromUpPile(after, Seat::kLocal, p);
        const std::optional<TurnPlan> plan = PlanTurn(after);
        if (plan && plan->value > bestValue) {
            best = DrawChoice{false, p};
            bestValue = plan->value;
        }
    }
    return best;
}

std::optional<DrawChoice> BotPolicy::PickDraw(const SeatView& seen) {
    return ChooseDraw(seen);
}

std::optional<TurnStep> BotPolicy::PickStep(const SeatView& seen) {
    std::optional<TurnPlan> plan = PlanTurn(seen.Pictured());
    if (!plan) return std::nullopt;
    if (plan->melds.empty()) return TurnStep::Throw(plan->discard);
    return TurnStep::Lay(std::move(plan->melds.front()));
}

}  // namespace kelvane::bot
