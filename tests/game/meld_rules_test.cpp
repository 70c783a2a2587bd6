#include "game/meld_rules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <vector>

#include "card_text.h"

namespace kelvane {
namespace {

using test::Meld;
using test::Names;

// Every code's short name, suit and rank agree with code = (suit - 1) * 13 + rank.
TEST(Cards, NamesSuitsRanksAndNumbers) {
    const std::string_view ranks = "A23456789TJQK", suits = "SDCH";
    for (int code = 1; code <= kCardsInDeck; ++code) {
        const std::string name = GetCardName(code, false);
        ASSERT_EQ(name.size(), 2u) << code;
        EXPECT_EQ(static_cast<int>(suits.find(name[1]) * 13 + ranks.find(name[0])) + 1, code) << name;
        EXPECT_EQ(GetCardSuit(code), (code - 1) / 13 + 1) << code;
        EXPECT_EQ(GetCardValue(code), (code - 1) % 13 + 1) << code;
    }
    const std::pair<int, const char*> longNames[] = {
        {1, "Ace of Spades"},   {23, "Ten of Diamonds"}, {25, "Queen of Diamonds"},
        {29, "Three of Clubs"}, {50, "Jack of Hearts"},  {52, "King of Hearts"},
        {0, "??"},              {53, "??"},              {-1, "??"},
    };
    for (const auto& [code, name] : longNames) EXPECT_EQ(GetCardName(code, true), name) << code;
    EXPECT_EQ(GetCardName(0, false), "??");
    const std::pair<int, const char*> numbers[] = {
        {0, "00"}, {7, "07"}, {10, "10"}, {52, "52"}, {100, "100"}, {-5, "-5"}};
    for (const auto& [n, text] : numbers) EXPECT_EQ(nformat(n), text) << n;
}

TEST(MeldRules, SortMeldPutsCardsInTheOrderValidMeldJudges) {
    struct Case {
        const char *given, *sorted;
        bool valid;
    };
    for (Case c : {
             Case{"7C 7S 7D", "7S 7D 7C", true},
             {"9H 5H 7H 6H 8H", "5H 6H 7H 8H 9H", true},
             {"3H AH 2H", "AH 2H 3H", true},
             {"KH AH QH", "QH KH AH", true},
             {"KH AH 2H", "2H KH AH", false},
             {"5H 6D 7H", "6D 5H 7H", false},
             {"KH QH JH TH 9H 8H 7H 6H 5H 4H 3H 2H AH", "2H 3H 4H 5H 6H 7H 8H 9H TH JH QH KH AH",
              true},
             {"8C", "8C", true},
         }) {
        auto [meld, n] = Meld(c.given);
        SortMeld(meld, n);
        EXPECT_EQ(Names(meld, n), c.sorted) << c.given;
        EXPECT_EQ(ValidMeld(meld, n), c.valid) << c.given;
    }
    // Unsorted, a run counts only in rank order, the ace at the low end or after the king.
    for (auto [given, valid] : {std::pair{"KH AH", true},
                                {"AH KH", false},
                                {"2H 3H AH", false},
                                {"9C 7C 8C", false},
                                {"7H 7S 7C 7D", true}}) {
        auto [meld, n] = Meld(given);
        EXPECT_EQ(ValidMeld(meld, n), valid) << given;
    }
}

TEST(MeldRules, SortHandRunsFromTwosToAcesInSuitOrder) {
    GameState s;
    test::SetHand(s, "AS KH 2H KS AH 2S TC KD");
    s.LocalHand[s.LocalCount] = test::Card("3S");  // past the count: not the sort's business
    SortHand(s);
    EXPECT_EQ(Names(s.LocalHand, s.LocalCount), "2S 2H TC KS KD KH AS AH");
    EXPECT_EQ(s.LocalHand[s.LocalCount], test::Card("3S"));
}

// The independent judge: one rank, or one suit covering a window of A 2 3 ... K A that holds
// the ace at most once.
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

// Distinct cards: a stretch of one suit that may wrap past the ace, or a group of one rank; half
// of them with one card swapped for another, so that both verdicts come up often.
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
        MeldList meld{};
        for (std::size_t i = 0; i < codes.size(); ++i) meld[static_cast<int>(i)] = codes[i];
        const Int16 n = Int16(codes.size());
        SortMeld(meld, n);
        const std::vector<Int16> kept(meld.begin(), meld.begin() + n.value());
        ASSERT_TRUE(std::is_permutation(kept.begin(), kept.end(), codes.begin(), codes.end()))
            << Names(meld, n);
        const bool valid = ValidMeld(meld, n);
        ASSERT_EQ(valid, IsSetOrRun(codes)) << Names(meld, n);
        accepted += valid;
    }
    EXPECT_GT(accepted, trials / 4);
    EXPECT_LT(accepted, trials * 3 / 4);
}

}  // namespace
}  // namespace kelvane
