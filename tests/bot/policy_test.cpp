#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "bot/bot_policy.h"
#include "engine/table.h"
#include "sim/duel.h"
#include "watched_seat.h"

namespace kelvane::bot {
namespace {

// What the bot would do next, and what it judges that worth, in words.
std::string Decision(const GameState& s) {
    if (!s.HasDrawn) {
        const std::optional<Draw> d = ChooseDraw(s);
        return !d             ? "no draw"
               : d->fromStack ? "stack"
                              : "up " + std::to_string(d->position.value());
    }
    const std::optional<TurnPlan> plan = PlanTurn(s);
    if (!plan) return "stuck";
    std::string text;
    for (const MeldMove& m : plan->melds) {
        for (Int16 card : m.cards) text += std::to_string(card.value()) + " ";
        text += "on " + std::to_string(m.column) + "; ";
    }
    return text + "discard " + std::to_string(plan->discard.value()) + " for " +
           std::to_string(plan->value);
}

// Over positions from real rounds between two bots, at both seats: what the seat cannot see
// never changes what the bot does nor what it judges that worth, and it takes a card from
// below the top of the up pile, paying with every card above it, only to meld it this turn.
TEST(BotPolicy, DecidesFromItsSeatAloneAndDigsIntoThePileOnlyToMeld) {
    std::vector<GameState> states;
    for (std::uint64_t seed : {3u, 4u, 5u}) {
        test::Watched<BotPolicy> server(states), client(states);
        EXPECT_EQ(sim::PlayDuel(seed, server, client, 12).failure, "") << "seed " << seed;
    }
    std::mt19937_64 random(17);
    int deepTakes = 0;
    for (const GameState& s : states) {
        for (int deal = 0; deal < 3; ++deal)
            ASSERT_EQ(Decision(s), Decision(test::Rescrambled(s, random)));
        const GameState seen = SeatView(s);
        const std::optional<Draw> d = seen.HasDrawn ? std::nullopt : ChooseDraw(seen);
        if (!d || d->fromStack || d->position == seen.UpCount - 1) continue;
        ++deepTakes;
        GameState after = seen;
        TakeFromUpPile(after, Seat::kLocal, d->position);
        const std::optional<TurnPlan> plan = PlanTurn(after);
        ASSERT_TRUE(plan);
        EXPECT_TRUE(
            std::any_of(plan->melds.begin(), plan->melds.end(),
                        [&](const auto& m) { return m.Contains(seen.UpPile[d->position]); }))
            << "took from " << d->position.value() << " and does not meld it";
    }
    EXPECT_GT(states.size(), 1000u);
    EXPECT_GT(deepTakes, 0);
}

}  // namespace
}  // namespace kelvane::bot
