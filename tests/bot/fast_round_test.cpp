// SPDX-License-Identifier: GPL-3.0-or-later
// The simulated round against the rules as the engine applies them (game/moves.h on a
// GameState, for both seats): thousands of seeded rounds are played move by move through both,
// and after every move the two states must be the same and agree on every legal move. The melds
// the engine offers are its meld search's (game/meld_search.h), each listed once: this is that
// search's test against an independent one, over the positions real play reaches.

#include "bot/fast_round.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <ostream>
#include <random>
#include <set>
#include <tuple>
#include <utility>
#include <vector>

#include "game/meld_search.h"
#include "game/moves.h"
#include "game/scoring.h"
#include "game/stock.h"

namespace kelvane::bot {

void PrintTo(const FastRound& r, std::ostream* os) {
    *os << "hands " << r.hand[0] << "/" << r.hand[1] << " stack " << r.stackCount << " up "
        << r.upCount << " columns " << r.columns << " melded " << r.melded[0] << "/" << r.melded[1]
        << " known " << r.known << " turn " << r.myTurn << r.roundInPlay << r.hasDrawn << " must "
        << r.mustMeld[0] << "/" << r.mustMeld[1] << " taken " << r.takenUp[0] << "/" << r.takenUp[1]
        << " floating " << r.floating[0] << r.floating[1];
}

namespace {

using Moves = std::array<FastMove, kMostMelds + 2 * kCardsInDeck>;
using MeldKey = std::pair<CardSet, int>;

// The simulation's seats 0 and 1 as the engine names them.
constexpr Seat kSeat[] = {Seat::kLocal, Seat::kRemote};

MeldMove ToMeldMove(const FastMeld& m) {
    std::vector<Int16> cards;
    for (int card = 1; card <= kCardsInDeck; ++card)
        if (m.cards & Bit(card)) cards.push_back(Int16(card));
    return {cards, m.column == kNoColumn ? kNewColumn : m.column};
}

// A round dealt by the server as the engine deals it; odd seeds give the client the first move.
GameState Dealt(std::uint64_t seed) {
    GameState s;
    s.Role = kRoleServer;
    s.GamesPlayed = Int16(static_cast<int>(seed % 2));
    s.Stack = ShuffleOrder(SeededRandom(seed));
    DealRound(s, kRoleServer);
    return s;
}

// What the engine lets the seat to move do, in the simulation's terms.
std::set<MeldKey> EngineMelds(const GameState& s, int seat) {
    // The meld search reads the local hand: the opponent's is put in its place.
    GameState hers = s;
    hers.LocalHand = s.RemoteHand;
    hers.LocalCount = s.RemoteCount;
    const GameState& view = seat == 0 ? s : hers;
    std::set<MeldKey> melds;
    for (const MeldMove& m : AllMelds(view)) {
        if (!CanMeld(s, kSeat[seat], m).ok()) continue;
        CardSet cards = 0;
        for (Int16 card : m.cards) cards |= Bit(card.value());
        EXPECT_TRUE(melds.insert({cards, m.column == kNewColumn ? kNoColumn : m.column}).second)
            << "the meld search lists a meld twice";
    }
    return melds;
}

// Every legal move of the simulation is one the engine accepts, and the engine accepts no other.
void ExpectSameMoves(const GameState& s, const FastRound& r, const Moves& moves, int n) {
    const int seat = r.Mover();
    const Seat which = kSeat[seat];
    // A draw from the stack as -100, from the up pile as minus one less its position, a discard as
    // the card.
    std::set<MeldKey> melds;
    std::set<int> steps, engineSteps;
    for (int i = 0; i < n; ++i) {
        const FastMove& m = moves[static_cast<std::size_t>(i)];
        if (m.kind == FastMove::kStack) steps.insert(-100);
        if (m.kind == FastMove::kUpPile) steps.insert(-1 - m.position);
        if (m.kind == FastMove::kMeld) melds.insert({m.meld.cards, m.meld.column});
        if (m.kind == FastMove::kDiscard) steps.insert(m.card);
    }
    if (CanDrawFromStack(s, which).ok()) engineSteps.insert(-100);
    for (Int16 p = 0; p < s.UpCount; ++p)
        if (CanTakeFromUpPile(s, which, p).ok()) engineSteps.insert(-1 - p.value());
    for (Int16 i = 0; i < HandCount(s, which); ++i)
        if (CanDiscard(s, which, Hand(s, which)[i]).ok())
            engineSteps.insert(Hand(s, which)[i].value());
    EXPECT_EQ(steps, engineSteps);
    EXPECT_EQ(melds, s.HasDrawn ? EngineMelds(s, seat) : std::set<MeldKey>{});
}

// The move through the engine's own transitions, the round scored as the engine scores it.
void ApplyToEngine(GameState& s, int seat, const FastMove& m) {
    const Seat which = kSeat[seat];
    if (m.kind == FastMove::kStack) DrawFromStack(s, which);
    if (m.kind == FastMove::kUpPile) TakeFromUpPile(s, which, Int16(m.position));
    if (m.kind == FastMove::kMeld) Meld(s, which, ToMeldMove(m.meld));
    if (m.kind == FastMove::kDiscard) Discard(s, which, Int16(m.card));
    if (m.kind == FastMove::kDiscard && RoundHasEnded(s)) EndRound(s);
}

struct Replay {
    int rounds = 0, moves = 0, melds = 0, layOffs = 0, deepTakes = 0, floats = 0;
};

// Plays one seeded round through both, by uniform choice among the legal moves or by the
// simulation's greedy player, and compares after every move.
void ReplayRound(std::uint64_t seed, bool greedy, Replay& tally) {
    GameState s = Dealt(seed);
    FastRound r = FastRound::From(s);
    std::mt19937_64 random(seed);
    MeldBuffer melds, scratch;
    Moves moves;
    ++tally.rounds;
    while (r.roundInPlay) {
        const int n = r.LegalMoves(melds, moves);
        ExpectSameMoves(s, r, moves, n);
        if (::testing::Test::HasFailure()) return;
        FastMove m;
        if (greedy) {
            if (!r.GreedyMove(scratch, m)) return;
            ASSERT_TRUE(r.Legal(m)) << "seed " << seed << ": greedy move " << m.kind;
        } else {
            if (n == 0) return;
            m = moves[static_cast<std::size_t>(random() % static_cast<unsigned>(n))];
        }
        const int seat = r.Mover();
        tally.moves += 1;
        tally.melds += m.kind == FastMove::kMeld;
        tally.layOffs += m.kind == FastMove::kMeld && m.meld.column != kNoColumn;
        tally.deepTakes += m.kind == FastMove::kUpPile && m.position != r.upCount - 1;
        ApplyToEngine(s, seat, m);
        r.Apply(m);
        tally.floats += r.floating[0] + r.floating[1];
        ASSERT_EQ(FastRound::From(s), r) << "seed " << seed << " after move " << tally.moves;
    }
    const RoundResult result = ScoreRound(s);
    EXPECT_EQ(r.Score(0), result.local.value()) << "seed " << seed;
    EXPECT_EQ(r.Score(1), result.remote.value()) << "seed " << seed;
}

TEST(FastRound, AgreesWithTheEngineOnEveryStateAndEveryLegalMove) {
    Replay tally;
    for (std::uint64_t seed = 1; seed <= 2000 && !HasFailure(); ++seed)
        ReplayRound(seed, seed % 4 == 0, tally);
    EXPECT_EQ(tally.rounds, 2000);
    // The rounds reach every kind of move the rules have.
    EXPECT_GT(tally.melds, 1000);
    EXPECT_GT(tally.layOffs, 300);
    EXPECT_GT(tally.deepTakes, 100);
    EXPECT_GT(tally.floats, 0);
}

// Melding the whole hand as the stack runs out can leave both players nothing to draw; the greedy
// player keeps a card back then, and melds out while the stack lasts. Level 3's greedy players
// keep a pair only while the rest of its rank can be had: not with the other kings buried.
TEST(FastRound, GreedyPlayerMeldsOutWhileTheStackLastsAndKeepsLivePairs) {
    const CardSet run = Bit(3) | Bit(4) | Bit(5);       // three, four and five of spades
    const CardSet kings = Bit(13) | Bit(26) | Bit(28);  // two kings and a two
    // The hand, the cards in the stack, whether pairs are kept only while live; the move, the card.
    const std::tuple<CardSet, int, bool, FastMove::Kind, int> cases[] = {
        {run, 5, false, FastMove::kDiscard, 3},
        {run, 6, false, FastMove::kMeld, 0},
        {kings, 30, false, FastMove::kDiscard, 28},
        {kings, 30, true, FastMove::kDiscard, 13},
    };
    for (const auto& [hand, stack, live, kind, thrown] : cases) {
        FastRound r = FastRound::From(Dealt(1));
        r.hand[0] = hand;
        r.up = {39, 52, 5};
        r.upCount = 3;
        r.myTurn = r.hasDrawn = true;
        r.takenUp = {0, 0};
        r.stackCount = stack;
        MeldBuffer scratch;
        FastMove m;
        ASSERT_TRUE(r.GreedyMove(scratch, m, live));
        EXPECT_EQ(m.kind, kind) << stack << " cards in the stack";
        EXPECT_EQ(m.card, thrown) << (live ? "live" : "plain");
    }
}

}  // namespace
}  // namespace kelvane::bot
