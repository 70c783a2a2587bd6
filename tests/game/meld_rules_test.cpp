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

TEST(MeldRules, SortMeldPutsCardsInTheOrderValidMeldJudges) {
    struct Case {
        const char* given;
        const char* sorted;
        bool valid;
    };
    for (Case c : {
             Case{"7C 7S 7D", "7S 7D 7C", true},
             {"7H 7C 7D 7S", "7S 7D 7C 7H", true},
             {"9H 5H 7H 6H 8H", "5H 6H 7H 8H 9H", true},
             {"JD AD QD KD", "JD QD KD AD", true},
             {"5H 6D 7H", "6D 5H 7H", false},
             {"5H 6H 8H", "5H 6H 8H", false},
             {"3H AH 2H", "AH 2H 3H", true},
             {"AH KH QH", "QH KH AH", true},
             {"KH QH AH", "QH KH AH", true},
             {"KH AH 2H", "2H KH AH", false},
             {"AS KD 5C", "KD 5C AS", false},
             {"KH QH JH TH 9H 8H 7H 6H 5H 4H 3H 2H AH", "2H 3H 4H 5H 6H 7H 8H 9H TH JH QH KH AH",
              true},
             {"8C", "8C", true},
             {"8D 8S", "8S 8D", true},
         }) {
        auto [meld, n] = Meld(c.given);
        SortMeld(meld, n);
        EXPECT_EQ(Names(meld, n.value()), c.sorted) << c.given;
        EXPECT_EQ(ValidMeld(meld, n), c.valid) << c.given;
    }
}

TEST(MeldRules, ValidMeldJudgesARunInTheOrderGiven) {
    struct Case {
        const char* meld;
        bool valid;
    };
    for (Case c : {Case{"AH 2H 3H 4H 5H 6H 7H 8H 9H TH JH QH KH", true},
                   {"KH AH", true},
                   {"AH KH", false},
                   {"QH AH KH", false},
                   {"2H 3H AH", false},
                   {"9C 7C 8C", false},
                   {"7H 7S 7C 7D", true}}) {
        auto [meld, n] = Meld(c.meld);
        EXPECT_EQ(ValidMeld(meld, n), c.valid) << c.meld;
    }
}

TEST(MeldRules, SortHandRunsFromTwosToAcesInSuitOrder) {
    struct Case {
        const char* hand;
        const char* sorted;
    };
    for (Case c : {Case{"AS 2H KD 2S TC", "2S 2H TC KD AS"},
                   {"", ""},
                   {"KH KS AH KC AS KD", "KS KD KC KH AS AH"}}) {
        GameState s;
        test::SetHand(s, c.hand);
        // Past the count the hand is not the sort's business.
        s.LocalHand[s.LocalCount] = test::Card("3S");
        SortHand(s);
        EXPECT_EQ(Names(s.LocalHand, s.LocalCount.value()), c.sorted) << c.hand;
        EXPECT_EQ(s.LocalHand[s.LocalCount], test::Card("3S")) << c.hand;
    }
}

// One rank, or one suit covering a window of A 2 3 ... K A that holds the ace at most once.
bool IsSetOrRun(const std::vector<int>& codes) {
    std::set<int> ranks, suits;
    for (int c : codes) {
        ranks.insert(GetCardValue(c).value());
        suits.insert(GetCardSuit(c).value());
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

// Distinct cards, most of them a window of one suit or a group of one rank, some of those
// spoiled by one card swapped, dropped or added, so that both verdicts come up often.
std::vector<int> RandomCandidate(std::mt19937_64& random) {
    auto below = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    auto absent = [](const std::vector<int>& cs, int c) {
        return std::find(cs.begin(), cs.end(), c) == cs.end();
    };
    std::vector<int> codes;
    const int suit = 1 + below(4);
    switch (below(3)) {
        case 0: {
            const int length = 1 + below(13);
            const int start = 1 + below(15 - length);
            for (int p = start; p < start + length; ++p)
                codes.push_back(MakeCard(suit, p == 14 ? kAce : p).value());
            break;
        }
        case 1: {
            const int rank = 1 + below(13);
            for (int s = 1; s <= 4; ++s) codes.push_back(MakeCard(s, rank).value());
            std::shuffle(codes.begin(), codes.end(), random);
            codes.resize(static_cast<std::size_t>(1 + below(4)));
            break;
        }
        default:
            for (int n = 1 + below(13); static_cast<int>(codes.size()) < n;) {
                const int c = 1 + below(kCardsInDeck);
                if (absent(codes, c)) codes.push_back(c);
            }
    }
    const int other = 1 + below(kCardsInDeck);
    const auto pick = static_cast<std::size_t>(below(static_cast<int>(codes.size())));
    switch (below(6)) {
        case 0:
            if (absent(codes, other)) codes[pick] = other;
            break;
        case 1:
            if (codes.size() > 1) codes.erase(codes.begin() + static_cast<std::ptrdiff_t>(pick));
            break;
        case 2:
            if (codes.size() < 13 && absent(codes, other)) codes.push_back(other);
            break;
        default:
            break;
    }
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

        std::vector<int> kept;
        for (int i = 0; i < n.value(); ++i) kept.push_back(meld[i].value());
        ASSERT_TRUE(std::is_permutation(kept.begin(), kept.end(), codes.begin(), codes.end()))
            << Names(meld, n.value());
        const bool valid = ValidMeld(meld, n);
        ASSERT_EQ(valid, IsSetOrRun(codes)) << Names(meld, n.value());
        accepted += valid;
    }
    EXPECT_GT(accepted, trials / 4);
    EXPECT_LT(accepted, trials * 3 / 4);
}

}  // namespace
}  // namespace kelvane
