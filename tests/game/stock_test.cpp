#include "game/stock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <vector>

#include "card_text.h"
#include "game/invariants.h"

namespace kelvane {
namespace {

std::vector<int> Codes(const CardArray& cards, int from = 0, int to = kCardsInDeck) {
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

TEST(Shuffle, DrawsByTheRuleAndRejectsUsedCodes) {
    std::vector<int> draws = {5, 5, 7, 5, 7};
    for (int c = 52; c >= 1; --c) draws.push_back(c);
    std::vector<int> expected = {5, 7};
    for (int c = 52; c >= 1; --c)
        if (c != 5 && c != 7) expected.push_back(c);
    EXPECT_EQ(Codes(ShuffleOrder(DrawingCodes(draws))), expected);
}

// Each seed replays its order, every order holds each card once, and over many seeds every card
// lands on top about equally often.
TEST(Shuffle, EverySeedGivesAReplayablePermutationAndEveryCardTopsEvenly) {
    std::vector<int> deck(kCardsInDeck), onTop(kCardsInDeck + 1, 0);
    std::iota(deck.begin(), deck.end(), 1);
    for (std::uint64_t seed = 0; seed < 52 * 400; ++seed) {
        std::vector<int> codes = Codes(ShuffleOrder(SeededRandom(seed)));
        if (seed % 50 == 0) {
            EXPECT_EQ(codes, Codes(ShuffleOrder(SeededRandom(seed))));
        }
        ++onTop.at(static_cast<std::size_t>(codes.back()));
        std::sort(codes.begin(), codes.end());
        ASSERT_EQ(codes, deck) << "seed " << seed;
    }
    for (int c = 1; c <= 52; ++c) EXPECT_NEAR(onTop[c], 400, 120) << "card " << c;
}

struct Dealt {
    GameState server, client;
};

Dealt DealBothInOrder(int deals = 1) {
    Dealt d;
    for (int i = 0; i < deals; ++i) {
        for (int c = 0; c < kCardsInDeck; ++c) d.server.Stack[c] = d.client.Stack[c] = c + 1;
        DealRound(d.server, kRoleServer);
        DealRound(d.client, kRoleClient);
    }
    return d;
}

TEST(Deal, HandsAlternateFromTheTopServerFirst) {
    Dealt d = DealBothInOrder();
    EXPECT_EQ(Codes(d.server.RemoteHand, 0, 7), (std::vector<int>{51, 49, 47, 45, 43, 41, 39}));
    EXPECT_EQ(Codes(d.client.RemoteHand, 0, 7), (std::vector<int>{52, 50, 48, 46, 44, 42, 40}));
    EXPECT_EQ(test::Names(d.server.LocalHand, 7), "3H 5H 7H 9H JH KH AH");
    EXPECT_EQ(test::Names(d.client.LocalHand, 7), "2H 4H 6H 8H TH QH KC");
    for (const GameState* s : {&d.server, &d.client}) {
        EXPECT_EQ(Codes(s->UpPile, 0, 2), (std::vector<int>{38, 0}));
        EXPECT_EQ(s->StackCount, 37);
        EXPECT_EQ(s->LocalCount, 7);
        EXPECT_EQ(CheckInvariants(*s), "");
    }
    EXPECT_EQ(CheckMirrored(d.server, d.client), "");
}

TEST(Deal, TheClientOpensOddDealsAndTheServerEvenOnes) {
    for (int deals : {1, 2, 3, 4}) {
        Dealt d = DealBothInOrder(deals);
        EXPECT_EQ(d.client.GamesPlayed, deals);
        EXPECT_EQ(d.client.MyTurn, deals % 2 == 1) << deals;
        EXPECT_EQ(d.server.MyTurn, deals % 2 == 0) << deals;
    }
}

}  // namespace
}  // namespace kelvane
