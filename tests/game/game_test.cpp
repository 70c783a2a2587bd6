// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <numeric>
#include <random>
#include <set>
#include <stdexcept>
#include <tuple>
#include <vector>

#include "fakes.h"
#include "game/card_text.h"
#include "game/meld_rules.h"
#include "game/meld_search.h"
#include "game/meldability.h"
#include "game/scoring.h"

namespace kelvane {
namespace {

using test::Card;
using test::Meld;
using test::Names;
using test::Position;

int NumberOf(auto&& action) {
    try {
        action();
    } catch (const Failure& f) {
        return f.number();
    }
    return 0;
}

TEST(CheckedTypes, LeavingTheRangeIsAFailureNeverAWrap) {
    Int16 max = std::numeric_limits<std::int16_t>::max();
    Int16 min = std::numeric_limits<std::int16_t>::min();
    CardArray cards{};
    MeldTable table;
    EXPECT_EQ(NumberOf([&] { max += 1; }), kOverflow);
    EXPECT_EQ(NumberOf([&] { (void)(min - Int16(1)); }), kOverflow);
    EXPECT_EQ(NumberOf([&] { (void)-min; }), kOverflow);
    EXPECT_EQ(NumberOf([&] { (void)(Int16(200) * Int16(200)); }), kOverflow);
    EXPECT_EQ(NumberOf([] { (void)Int16(std::size_t{70000}); }), kOverflow);
    EXPECT_EQ(NumberOf([&] { (void)(Int16(5) / Int16(0)); }), kDivisionByZero);
    EXPECT_EQ(NumberOf([&] { cards[52] = 1; }), kSubscriptOutOfRange);
    EXPECT_EQ(NumberOf([&] { (void)cards[-1]; }), kSubscriptOutOfRange);
    EXPECT_EQ(NumberOf([&] { (void)table.Column(0); }), kSubscriptOutOfRange);
    EXPECT_EQ(max.value(), 32767) << "a failed step leaves the value as it was";
    EXPECT_EQ(NumberOf([&] { cards[51] = max; }), 0);
}

// Each report names the procedure, the number and the address, and goes to the clipboard too.
TEST(Steps, YesResumesWithTheNextStepNoEndsTheProgram) {
    test::FakeErrorPrompt prompt;
    ErrorReporter reporter(prompt);
    reporter.ReportError("RefreshHands", Failure(0, ""));
    EXPECT_TRUE(prompt.shown.empty()) << "no pending failure shows nothing";
    CardArray hand{};
    std::vector<int> ran;
    Steps steps(reporter, "Discard");
    steps([&] { ran.push_back(1); });
    steps([&] { ran.push_back(hand[60].value()); });
    steps([&] { ran.push_back((Int16(32767) + Int16(1)).value()); });
    steps([&] { throw std::runtime_error("socket refused"); });
    steps([&] { ran.push_back(5); });
    EXPECT_EQ(ran, (std::vector<int>{1, 5}));
    ASSERT_EQ(prompt.shown.size(), 3u);
    EXPECT_EQ(prompt.shown[0],
              "An error has occurred in Discard:\r\n\r\n9: Subscript out of range\r\n\r\n"
              "Continue Program? (Choosing No will end the program.)\r\n"
              "(Also, this error has been copied to the clipboard.\r\n"
              "Please paste into an email to " +
                  std::string(kSupportAddress) + ")");
    EXPECT_EQ(prompt.clipboard, prompt.shown);
    EXPECT_NE(prompt.shown[1].find("6: Overflow"), std::string::npos);
    EXPECT_NE(prompt.shown[2].find("51: socket refused"), std::string::npos);
    EXPECT_FALSE(prompt.ended);
    // No ends the program at once, without reporting again on the way out.
    prompt.answers = {false};
    prompt.shown.clear();
    bool laterStepRan = false;
    auto outer = [&] {
        Steps click(reporter, "imgStack_Click");
        click([&] {
            Steps inner(reporter, "GetTopCardFromStack");
            inner([] { Raise(kSubscriptOutOfRange); });
        });
        click([&] { laterStepRan = true; });
    };
    EXPECT_THROW(outer(), ProgramEnded);
    EXPECT_TRUE(prompt.ended);
    EXPECT_FALSE(laterStepRan);
    ASSERT_EQ(prompt.shown.size(), 1u);
    EXPECT_NE(prompt.shown[0].find("in GetTopCardFromStack:"), std::string::npos);
}

TEST(MeldRules, AWholeSuitAndAHandSortAcesHighAndUnsortedRunsCountOnlyInRankOrder) {
    auto [suit, count] = Meld("KH QH JH TH 9H 8H 7H 6H 5H 4H 3H 2H AH");
    SortMeld(suit, count);
    EXPECT_EQ(Names(suit, count), "2H 3H 4H 5H 6H 7H 8H 9H TH JH QH KH AH");
    // Unsorted, a run counts only in rank order, the ace at the low end or after the king.
    for (auto [given, valid] : {std::pair{"KH AH", true},
                                {"AH KH", false},
                                {"2H 3H AH", false},
                                {"9C 7C 8C", false},
                                {"7H 7S 7C 7D", true}}) {
        auto [meld, n] = Meld(given);
        EXPECT_EQ(ValidMeld(meld, n), valid) << given;
    }
    // A hand sorts from twos to aces, each rank in suit order.
    GameState s;
    test::SetHand(s, "AS KH 2H KS AH 2S TC KD");
    s.LocalHand[s.LocalCount] = test::Card("3S");  // past the count: not the sort's business
    SortHand(s);
    EXPECT_EQ(Names(s.LocalHand, s.LocalCount), "2S 2H TC KS KD KH AS AH");
    EXPECT_EQ(s.LocalHand[s.LocalCount], test::Card("3S"));
}

// The cards in the order the rules judge them.
MeldList Sorted(const std::vector<Int16>& cards) {
    MeldList list{};
    std::copy(cards.begin(), cards.end(), list.begin());
    SortMeld(list, Int16(cards.size()));
    return list;
}

// The independent judge: one rank, or one suit over a window of A 2 ... K A with one ace at most.
bool IsSetOrRun(const std::vector<int>& codes) {
    std::set<int> ranks, suits;
    for (int c : codes) {
        ranks.insert((c - 1) % 13 + 1);
        suits.insert((c - 1) / 13);
    }
    if (ranks.size() == 1) return codes.size() <= 4;
    if (suits.size() != 1) return false;
    const int length = static_cast<int>(codes.size());
    for (int start = 1; start + length - 1 <= 14; ++start) {
        std::set<int> window;
        for (int p = start; p < start + length; ++p) window.insert(p == 14 ? kAce : p);
        if (window == ranks) return true;
    }
    return false;
}

// A stretch of one suit, maybe wrapping past the ace, or cards of one rank; half with one swapped.
std::vector<int> RandomCandidate(std::mt19937_64& random) {
    auto below = [&](std::size_t n) { return random() % n; };
    std::vector<int> codes;
    const int suit = 1 + static_cast<int>(below(4));
    int rank = 1 + static_cast<int>(below(13));
    if (below(2)) {
        for (auto n = 1 + below(13); n > 0; --n, rank = rank % 13 + 1)
            codes.push_back(MakeCard(suit, rank).value());
    } else {
        for (int s = 1; s <= 4; ++s) codes.push_back(MakeCard(s, rank).value());
        std::shuffle(codes.begin(), codes.end(), random);
        codes.resize(1 + below(4));
    }
    const int other = 1 + static_cast<int>(below(kCardsInDeck));
    if (below(2) && std::find(codes.begin(), codes.end(), other) == codes.end())
        codes[below(codes.size())] = other;
    std::shuffle(codes.begin(), codes.end(), random);
    return codes;
}

TEST(MeldRules, AcceptExactlyTheSetsAndRunsOfAnIndependentJudge) {
    std::mt19937_64 random(0x6b656c76);
    const int trials = 4000;
    int accepted = 0;
    for (int trial = 0; trial < trials; ++trial) {
        const std::vector<int> codes = RandomCandidate(random);
        const Int16 n = Int16(codes.size());
        const MeldList meld = Sorted({codes.begin(), codes.end()});
        ASSERT_TRUE(
            std::is_permutation(meld.begin(), meld.begin() + n.value(), codes.begin(), codes.end()))
            << Names(meld, n);
        const bool valid = ValidMeld(meld, n);
        ASSERT_EQ(valid, IsSetOrRun(codes)) << Names(meld, n);
        accepted += valid;
        // Kept in the table's order: a set by suit, a run by rank from whichever end the ace
        // closes.
        for (Int16 i = 1; valid && i < n; ++i) {
            const int a = meld[i - 1].value(), b = meld[i].value();
            ASSERT_TRUE((a - 1) % 13 == (b - 1) % 13 ? a < b : (b - 1) % 13 == a % 13)
                << Names(meld, n);
        }
    }
    EXPECT_GT(accepted, trials / 4);
    EXPECT_LT(accepted, trials * 3 / 4);
}

// A card melds with what its player would hold: the hand, and the up pile from the card upward
// when the card lies there.
TEST(CheckMeld, ByTheHandTheUpPileAndTheTable) {
    // The meld columns in table order, the up pile bottom first, the hand, the card. The up pile
    // stays where it is, and a card from nowhere does not count itself; no run wraps past the ace;
    // a run column never helps a set, nor a set column a run; and, a quick test rather than a
    // search, the ace closing Q K A still counts below the two.
    const std::tuple<const char*, const char*, const char*, const char*, bool> cases[] = {
        {"", "", "7S 7D 7C", "7S", true},          {"", "", "7S 7D 9C", "7S", false},
        {"", "7H 9C", "7S 7D", "7S", false},       {"", "7H", "7S 7D", "7C", false},
        {"", "5H 7H 9S", "6H", "5H", true},        {"", "5H 9S 7H", "6H", "7H", false},
        {"", "", "KC AC 2C", "AC", false},         {"", "", "QC KC AC", "AC", true},
        {"", "AD 2D", "3D", "AD", true},           {"9S 9D 9C", "", "2C 5D", "9H", true},
        {"4C 5C 6C", "", "", "3C", true},          {"4C 5C 6C", "", "", "7D", false},
        {"4C 5C 6C", "", "2D", "8C", false},       {"4C 5C 6C", "", "7C", "8C", true},
        {"8D 9D TD", "", "8S 8C", "8S", false},    {"7S 7D 7H", "", "5H 8H 6H", "6H", false},
        {"4C 5C 6C|9S 9D 9C", "", "", "9H", true}, {"9S 9D 9C|4C 5C 6C", "", "", "7C", true},
        {"QC KC AC", "", "2C", "3C", true}};
    for (const auto& [table, upPile, hand, card, meldable] : cases) {
        EXPECT_EQ(CheckMeld(Position(hand, upPile, table), test::Card(card)), meldable)
            << table << " / " << upPile << " / " << hand << " / " << card;
    }
}

// The search's edges; that it finds exactly the melds the rules accept, each once, is held
// against the simulated round's own search over two thousand rounds (fast_round_test.cpp).
TEST(MeldSearch, OnlyActualMeldsCountNotTheQuickTest) {
    // Q-K-A of clubs on the table: 2C and 3C in the hand neither wrap round it nor meld alone.
    EXPECT_TRUE(MeldsWith(Position("2C 3C 9H", "", "QC KC AC"), Card("3C")).empty());
    EXPECT_EQ(AllMelds(Position("AS", "", "2S 3S 4S 5S 6S 7S 8S 9S TS JS QS KS")).size(), 1u)
        << "the one ace closes two to king at one end or the other, not at both";
    const std::vector<MeldMove> suit = AllMelds(Position("AS 2S 3S 4S 5S 6S 7S 8S 9S TS JS QS KS"));
    EXPECT_EQ(std::ranges::count(suit, 13u, [](const MeldMove& m) { return m.cards.size(); }), 1)
        << "two to the high ace is ace to king again: one meld of the whole suit";
    GameState s = Position("2C 6H", "7H 5H 9S");
    s.HasDrawn = false;
    EXPECT_TRUE(MeldableAfterTake(s, 0)) << "5H comes along and makes 5H 6H 7H";
    EXPECT_FALSE(MeldableAfterTake(s, 1));
}

// With the stock empty the player must take from the up pile a card he can play at once.
TEST(MeldSearch, TurnCanEndUnlessOnlyAnUnplayableCardIsLeft) {
    // The hand, the table, the up pile, the card taken alone, the card to meld; whether the stock
    // is empty and the turn can end.
    using Text = const char*;
    const std::tuple<Text, Text, Text, Text, Text, bool, bool> cases[] = {
        {"9C", "", "", "", "", false, true},
        {"5H", "", "", "5H", "", false, false},
        {"5H", "6H 7H 8H", "", "5H", "", false, true},
        {"5H 9C", "", "", "5H", "", false, true},
        {"7C 2H", "", "", "", "7C", false, false},
        {"7S 7D 7C 2H", "", "", "", "7C", false, true},
        {"7C 2H", "7S 7D 7H", "", "", "7C", false, true},
        {"", "", "", "", "", true, false},
        {"", "", "5H", "", "", true, false},
        {"9C", "", "5H", "", "", true, true}};
    for (const auto& [hand, table, upPile, takenAlone, mustMeld, stockEmpty, canEnd] : cases) {
        GameState s = Position(hand, upPile, table);
        if (*takenAlone) s.TakenUpCard = Card(takenAlone);
        if (*mustMeld) s.MustMeldCard = Card(mustMeld);
        s.HasDrawn = !stockEmpty;
        if (stockEmpty) s.StackCount = 0;
        EXPECT_TRUE(stockEmpty || TurnCanEnd(s) == canEnd) << hand << " / " << table;
        EXPECT_EQ(WhyTurnCannotEnd(s).empty(), canEnd) << hand << " / " << table;
    }
}

TEST(Shuffle, EverySeedGivesAReplayablePermutationAndEveryCardTopsEvenly) {
    std::vector<Int16> deck(kCardsInDeck);
    std::iota(deck.begin(), deck.end(), Int16(1));
    std::vector<int> onTop(kCardsInDeck + 1, 0);
    for (std::uint64_t seed = 0; seed < 52 * 400; ++seed) {
        const CardArray stack = ShuffleOrder(SeededRandom(seed));
        EXPECT_TRUE(seed % 50 != 0 || stack == ShuffleOrder(SeededRandom(seed))) << seed;
        ++onTop.at(stack[kCardsInDeck - 1].value());
        std::vector<Int16> codes(stack.begin(), stack.end());
        std::ranges::sort(codes);
        ASSERT_TRUE(codes == deck) << "seed " << seed;
    }
    for (int c = 1; c <= 52; ++c) EXPECT_NEAR(onTop[c], 400, 120) << "card " << c;
}

// Nobody can draw once the stock and the up pile are both empty, before the mover has drawn.
TEST(Scoring, RoundEndsOnAnEmptyHandNotFloatingOrAnEmptyStock) {
    // The hands' and the piles' counts, who floats; whether the round has ended, nobody can draw.
    const std::tuple<int, int, int, int, bool, bool, bool, bool> cases[] = {
        {3, 4, 10, 2, false, false, false, false}, {0, 4, 10, 2, false, false, true, false},
        {0, 4, 10, 2, true, false, false, false},  {3, 0, 10, 2, false, false, true, false},
        {3, 0, 10, 2, false, true, false, false},  {0, 4, 0, 2, true, false, true, false},
        {0, 4, 0, 0, true, false, true, true}};
    for (const auto& [local, remote, stack, up, localFloats, remoteFloats, ended, stuck] : cases) {
        GameState s;
        s.LocalCount = local;
        s.RemoteCount = remote;
        s.StackCount = stack;
        s.UpCount = up;
        s.LocalFloating = localFloats;
        s.RemoteFloating = remoteFloats;
        s.RoundInPlay = true;
        EXPECT_EQ(RoundHasEnded(s), ended) << local << remote << stack << localFloats;
        EXPECT_EQ(NobodyCanDraw(s), stuck) << stack << " " << up;
    }
}

// A ten and an ace in the hand count 10 and 15 against their holder; the melded credits count as
// they stand.
TEST(Scoring, RoundResultIsMeldedPointsLessTheHandAndTheGameEndsAt500) {
    GameState s;
    for (const auto& [card, credit] : {std::pair{"5S", 5}, {"KS", 10}, {"AD", 15}, {"TH", -10}})
        s.MeldCredit[Card(card)] = credit;
    test::SetHand(s, "TC AC");
    test::SetRemoteHand(s, "KH");
    s.LocalScore = 20;
    s.RemoteScore = -10;
    s.MyTurn = s.HasDrawn = s.RoundInPlay = true;
    const RoundResult r = EndRound(s);
    EXPECT_EQ(r.local, 5);
    EXPECT_EQ(r.remote, 0);
    EXPECT_EQ(s.LocalScore, 25);
    EXPECT_EQ(s.RemoteScore, -10);
    EXPECT_FALSE(s.MyTurn || s.HasDrawn || s.RoundInPlay) << "nobody moves until the next deal";
    // The game ends at 500 with unequal totals; no outcome, the game goes on.
    const std::tuple<int, int, std::optional<GameOutcome>> totals[] = {
        {500, 500, std::nullopt},       {499, 480, std::nullopt},
        {500, 499, GameOutcome::kWon},  {505, 510, GameOutcome::kLost},
        {-20, 500, GameOutcome::kLost},
    };
    for (const auto& [local, remote, outcome] : totals) {
        s.LocalScore = local;
        s.RemoteScore = remote;
        EXPECT_EQ(GameOver(s), outcome) << local << "/" << remote;
    }
}

}  // namespace
}  // namespace kelvane
