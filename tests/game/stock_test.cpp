#include "game/stock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "card_text.h"
#include "game/invariants.h"

namespace kelvane {
namespace {

std::vector<int> Codes(const CardArray& cards, int from, int to) {
    std::vector<int> codes;
    for (int i = from; i < to; ++i) codes.push_back(cards[i].value());
    return codes;
}

// A generator whose draws land on the given card codes, in turn.
RandomSource DrawingCodes(std::vector<int> codes) {
    return [codes, i = std::size_t{0}]() mutable {
        const double u = (codes[i++ % codes.size()] - 1 + 0.5) / 52.0;
        return static_cast<std::uint64_t>(u * 0x1.0p53) << 11;
    };
}

CardArray InOrder() {
    CardArray order{};
    for (int i = 0; i < 52; ++i) order[i] = i + 1;
    return order;
}

TEST(Shuffle, DrawsByTheRuleAndRejectsUsedCodes) {
    std::vector<int> draws = {5, 5, 7, 5, 7};
    for (int c = 52; c >= 1; --c) draws.push_back(c);
    const CardArray order = ShuffleOrder(DrawingCodes(draws));
    std::vector<int> expected = {5, 7};
    for (int c = 52; c >= 1; --c)
        if (c != 5 && c != 7) expected.push_back(c);
    EXPECT_EQ(Codes(order, 0, 52), expected);
}

TEST(Shuffle, EverySeedGivesAPermutationAndReplays) {
    for (std::uint64_t seed = 0; seed < 200; ++seed) {
        std::vector<int> codes = Codes(ShuffleOrder(SeededRandom(seed)), 0, 52);
        EXPECT_EQ(codes, Codes(ShuffleOrder(SeededRandom(seed)), 0, 52));
        std::sort(codes.begin(), codes.end());
        ASSERT_EQ(codes, Codes(InOrder(), 0, 52)) << "seed " << seed;
    }
}

TEST(Shuffle, EveryCardReachesTheTopEvenly) {
    constexpr int kShuffles = 52 * 400;
    std::vector<int> onTop(53, 0);
    auto random = SeededRandom(99);
    for (int i = 0; i < kShuffles; ++i) ++onTop[ShuffleOrder(random)[51].value()];
    for (int c = 1; c <= 52; ++c) EXPECT_NEAR(onTop[c], 400, 120) << "card " << c;
}

TEST(Shuffle, DeckTextListsTheStockBottomFirst) {
    const std::string text = DeckText(InOrder());
    EXPECT_EQ(text.size(), 156u);
    EXPECT_EQ(text.substr(0, 12), "01,02,03,04,");
    EXPECT_EQ(text.substr(147), "50,51,52,");
}

struct Dealt {
    GameState server, client;
};

Dealt DealBothFrom(const CardArray& order, int deals = 1) {
    Dealt d;
    for (int i = 0; i < deals; ++i) {
        d.server.Stack = order;
        d.client.Stack = order;
        DealRound(d.server, kRoleServer);
        DealRound(d.client, kRoleClient);
    }
    return d;
}

TEST(Deal, HandsAlternateFromTheTopServerFirst) {
    Dealt d = DealBothFrom(InOrder());
    EXPECT_EQ(Codes(d.server.RemoteHand, 0, 7), (std::vector<int>{51, 49, 47, 45, 43, 41, 39}));
    EXPECT_EQ(Codes(d.client.RemoteHand, 0, 7), (std::vector<int>{52, 50, 48, 46, 44, 42, 40}));
    EXPECT_EQ(test::Names(d.server.LocalHand, 7), "3H 5H 7H 9H JH KH AH");
    EXPECT_EQ(test::Names(d.client.LocalHand, 7), "2H 4H 6H 8H TH QH KC");
    for (const GameState* s : {&d.server, &d.client}) {
        EXPECT_EQ(Codes(s->UpPile, 0, 2), (std::vector<int>{38, 0}));
        EXPECT_EQ(s->StackCount, 37);
        EXPECT_EQ(s->UpCount, 1);
        EXPECT_EQ(s->KnownCount, 0);
        EXPECT_EQ(s->LocalCount, 7);
        EXPECT_FALSE(CardIsKnown(*s, 38));
        EXPECT_EQ(CheckInvariants(*s), "");
    }
    EXPECT_EQ(CheckMirrored(d.server, d.client), "");
}

TEST(Deal, TheClientOpensOddDealsAndTheServerEvenOnes) {
    for (int deals : {1, 2, 3, 4}) {
        Dealt d = DealBothFrom(InOrder(), deals);
        EXPECT_EQ(d.client.GamesPlayed, deals);
        EXPECT_EQ(d.client.MyTurn, deals % 2 == 1) << deals;
        EXPECT_EQ(d.server.MyTurn, deals % 2 == 0) << deals;
    }
}

TEST(Stock, TakingTheLastCardThenNothing) {
    GameState s;
    s.Stack[0] = 17;
    s.StackCount = 1;
    EXPECT_EQ(GetTopCardFromStack(s), 17);
    EXPECT_EQ(s.StackCount, 0);
    EXPECT_EQ(GetTopCardFromStack(s), 0);
    EXPECT_EQ(s.StackCount, 0);
    EXPECT_EQ(s.Stack[0], 17) << "drawing leaves the entry in place";
}

TEST(Stock, RemovingAHandCardClosesTheGap) {
    struct Case {
        int position;
        const char* left;
    };
    for (Case c : {Case{0, "3C 9H"}, {1, "2S 9H"}, {2, "2S 3C"}}) {
        GameState s;
        test::SetHand(s, "2S 3C 9H");
        test::SetRemoteHand(s, "2S 3C 9H");
        RemoveCard(s, c.position);
        RemoveRCard(s, c.position);
        EXPECT_EQ(s.LocalCount, 2);
        EXPECT_EQ(test::Names(s.LocalHand, 2), c.left);
        EXPECT_EQ(test::Names(s.RemoteHand, 2), c.left);
        EXPECT_EQ(s.LocalHand[2], 0);
        EXPECT_EQ(s.RemoteHand[2], 0);
    }
}

}  // namespace
}  // namespace kelvane
