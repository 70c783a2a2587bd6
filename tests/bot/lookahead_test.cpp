// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "bot/level1.h"
#include "bot/level2.h"
#include "bot/level3.h"
#include "engine/table.h"
#include "headless/policy.h"
#include "sim/duel.h"

namespace kelvane::bot {
namespace {

// A computer player that notes the engine's whole state whenever it is about to decide a draw or
// a plan: each gesture with nothing selected (before each meld and before the discard).
template <typename Player>
class Watched : public Actor {
  public:
    template <typename... Args>
    explicit Watched(std::vector<GameState>& states, Args&&... args)
        : states_(states), player_(std::forward<Args>(args)...) {}
    void Act(Table& table) override {
        bool selecting = false;
        for (Int16 i = 0; i < table.state().LocalCount; ++i) selecting |= table.IsSelected(i);
        if (!selecting) states_.push_back(table.state());
        player_.Act(table);
    }

  private:
    std::vector<GameState>& states_;
    Player player_;
};

// Whether a player given `View` could name the opponent's hand or the stack's order.
template <typename View>
constexpr bool kShowsHiddenCards = requires(const View& v) {
    v.RemoteHand;
}
|| requires(const View& v) {
    v.Stack;
};
static_assert(kShowsHiddenCards<GameState>);
static_assert(!kShowsHiddenCards<SeatView>);

// The table as the seat pictures it: the whole state but the stack's cards and the opponent's.
GameState Blanked(GameState s) {
    s.Stack.fill(0);
    s.RemoteHand.fill(0);
    s.RevealOpponent = false;
    return s;
}

constexpr LookaheadBudget kRepeatable{24, 0};

// The cards the player cannot see: the opponent's hand and the stock.
CardSet Hidden(const FastRound& r) {
    CardSet cards = r.hand[1];
    for (int p = 0; p < r.stackCount; ++p) cards |= Bit(r.stack[static_cast<std::size_t>(p)]);
    return cards;
}

// What level 2 or 3 would do next, in words.
std::string Decision(const SeatView& s, int level, std::uint64_t seed) {
    const LookaheadSearch search = level == 3 ? kLevel3Search : LookaheadSearch{};
    if (!s.HasDrawn) {
        const std::optional<DrawChoice> d = ChooseDrawAhead(s, kRepeatable, seed, search);
        return !d             ? "no draw"
               : d->fromStack ? "stack"
                              : "up " + std::to_string(d->position.value());
    }
    const std::optional<TurnPlan> plan = PlanTurnAhead(s, kRepeatable, seed, search);
    if (!plan) return "stuck";
    std::string text;
    for (const MeldMove& m : plan->melds) {
        for (Int16 card : m.cards) text += std::to_string(card.value()) + " ";
        text += "on " + std::to_string(m.column) + "; ";
    }
    return text + "discard " + std::to_string(plan->discard.value());
}

// Every level plays through the engine's handlers without one refused gesture or a turn left
// unplayed (the duel fails on either: a card taken from below the top of the up pile and not
// melded is one). What it decides from pictures everything its seat sees of each position and
// nothing else, and the seed of levels 2 and 3 changes some decisions: their play-outs matter.
TEST(Levels, PlayThroughTheEngineAndDecideFromTheirSeatAlone) {
    for (const int level : {1, 2, 3}) {
        SCOPED_TRACE("level " + std::to_string(level));
        std::vector<GameState> states;
        for (const std::uint64_t seed : {3u, 4u, 5u}) {
            BotPolicy other;
            Watched<BotPolicy> first(states), second(states);
            Watched<LookaheadPolicy> ahead(states, kRepeatable, seed,
                                           level == 3 ? kLevel3Search : LookaheadSearch{});
            Actor& player = level == 1 ? static_cast<Actor&>(first) : ahead;
            Actor& opponent = level == 1 ? static_cast<Actor&>(second) : other;
            const sim::DuelResult r = seed % 2 ? sim::PlayDuel(seed, player, opponent, 6)
                                               : sim::PlayDuel(seed, opponent, player, 6);
            EXPECT_EQ(r.failure, "") << "seed " << seed;
        }
        ASSERT_GT(states.size(), 100u);
        int changedBySeed = 0;
        for (std::size_t i = 0; i < states.size(); i += 2) {
            const SeatView seen(states[i]);
            ASSERT_EQ(seen.Pictured(), Blanked(states[i])) << "state " << i;
            if (level > 1) changedBySeed += Decision(seen, level, 5) != Decision(seen, level, 6);
        }
        EXPECT_TRUE(level == 1 || changedBySeed > 0);
    }
}

// The clicks a player makes, in words.
struct Clicks : Gestures {
    std::vector<std::string> made;
    void imgStack_Click() override { made.push_back("stack"); }
    void imgUpPile_Click(Int16 p) override { made.push_back("up " + std::to_string(p.value())); }
    void imgLocal_MouseDown(Int16 p, int button) override {
        made.push_back("hand " + std::to_string(p.value()) + " " + std::to_string(button));
    }
    void frTable_Click() override { made.push_back("table"); }
    void imgMeld_Click(Int16 slot) override {
        made.push_back("meld " + std::to_string(slot.value()));
    }
};

// A level played on a view the test makes, with no table at all.
template <typename Player>
struct OnItsOwn : Player {
    using Player::Play;
    using Player::Player;
};

// Two players who each take the other's discard back could circle for ever: a level that meets a
// position again at its draw, the stack no shorter, draws from the stack, though it took from the
// up pile there the first time.
TEST(Levels, MeetingAPositionAgainAtTheDrawTheyDrawFromTheStack) {
    std::vector<GameState> states;
    Watched<BotPolicy> a(states), b(states);
    ASSERT_EQ(sim::PlayDuel(9, a, b, 2).failure, "");
    for (const LookaheadSearch& search : {LookaheadSearch{}, kLevel3Search}) {
        int circles = 0;
        for (std::size_t i = 0; i < states.size() && circles < 3; ++i) {
            const SeatView seen(states[i]);
            if (!seen.MyTurn || seen.HasDrawn || seen.StackCount == 0) continue;
            OnItsOwn<LookaheadPolicy> player(kRepeatable, 1, search);
            Clicks clicks;
            player.Play(seen, clicks);
            if (clicks.made.back() == "stack") continue;
            player.Play(seen, clicks);
            EXPECT_EQ(clicks.made.back(), "stack") << "state " << i;
            ++circles;
        }
        EXPECT_EQ(circles, 3);
    }
}

// Level 3's judge keeps the candidate that plays out best however wide the field and wherever it
// stands in it, takes the first of equals, and spends no more play-outs than level 2 would.
TEST(Lookahead, HalvingFindsTheBestCandidateWithinTheSameBudget) {
    std::vector<GameState> states;
    Watched<BotPolicy> a(states), b(states);
    ASSERT_EQ(sim::PlayDuel(9, a, b, 1).failure, "");
    const GameState& s = states.at(states.size() / 2);
    // How many candidates, the one that gains 5 points a deal (`count` for none), the one chosen.
    const std::size_t cases[][3] = {{2, 1, 1},  {3, 2, 2},   {6, 5, 5},   {16, 0, 0},
                                    {16, 9, 9}, {16, 16, 0}, {17, 16, 16}};
    for (const auto& [count, better, expected] : cases) {
        long long played = 0;
        const std::size_t chosen = HalvingPlayOuts(SeatView(s), {}, kRepeatable, 1, count,
                                                   [&](FastRound& round, std::size_t i) {
                                                       ++played;
                                                       if (i == better) round.melded[0] += 5;
                                                   });
        EXPECT_EQ(chosen, expected) << count << " candidates, better " << better;
        EXPECT_LE(played, static_cast<long long>(count) * kRepeatable.playouts) << count;
        EXPECT_GT(played, static_cast<long long>(count) * kRepeatable.playouts / 2) << count;
    }
}

// The hidden cards are dealt consistently with what the seat saw: its own cards, the piles and
// the table stay where they are, the opponent keeps what he took face up and still holds, and
// every card is somewhere exactly once. Read by his play, his hand seldom holds a meld he would
// have laid once he has had a turn.
TEST(Lookahead, DealsTheHiddenCardsConsistentlyWithWhatWasSeen) {
    std::vector<GameState> states;
    Watched<LookaheadPolicy> a(states, kRepeatable, 1), b(states, kRepeatable, 2);
    ASSERT_EQ(sim::PlayDuel(9, a, b, 3).failure, "");
    std::mt19937_64 random(3);
    int knownKept = 0;
    std::array<int, 2> holdingMelds{};
    for (const GameState& s : states)
        for (const bool read : {false, true}) {
            const FastRound seen = FastRound::From(s);
            std::mt19937_64 before = random;
            const FastRound dealt = HiddenDeals(SeatView(s), {read, 0}).Deal(random);
            // Before the opponent's first turn (the opener about to draw) his hand is as dealt.
            if (read && s.StackCount == 37 && s.KnownCount == 0 && !s.HasDrawn) {
                std::mt19937_64 plain = before;
                for (int k = 0; k < 8; ++k)
                    EXPECT_EQ(HiddenDeals(SeatView(s), {true, 0}).Deal(before),
                              HiddenDeals(SeatView(s)).Deal(plain));
            }
            holdingMelds[read] += dealt.HoldsMeld(1);
            // Only his hand and the stock change, sharing out the same cards as before.
            FastRound rest = dealt;
            rest.hand[1] = seen.hand[1];
            rest.stack = seen.stack;
            EXPECT_TRUE(rest == seen);
            EXPECT_EQ(std::popcount(dealt.hand[1]), std::popcount(seen.hand[1]));
            EXPECT_EQ(Hidden(dealt), Hidden(seen));
            const CardSet held = seen.known & seen.hand[1];
            EXPECT_EQ(dealt.hand[1] & held, held);
            knownKept += held != 0;
        }
    EXPECT_GT(knownKept, 0);
    EXPECT_LT(holdingMelds[1] * 4, holdingMelds[0]);
}

}  // namespace
}  // namespace kelvane::bot
