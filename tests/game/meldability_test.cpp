#include "game/meldability.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "card_text.h"
#include "game/meld_rules.h"

namespace kelvane {
namespace {

TEST(CheckMeld, ByTheHandTheUpPileAndTheTable) {
    struct Case {
        const char* table;   // the meld columns in table order, separated by "|"
        const char* upPile;  // bottom first
        const char* hand;
        const char* card;
        bool meldable;
    };
    for (const Case& c : {
             Case{"", "", "7S 7D 7C", "7C", true},
             {"", "7H", "7S 7D", "7C", false},  // a card from nowhere does not count itself
             {"", "", "QH AH KH", "KH", true},
             {"", "", "KH 2H AH", "AH", false},
             {"", "5H 7H 6H QS", "8H", "6H", false},  // 5H lies below the card taken
             {"9S 9D 9C", "", "2C 5D", "9H", true},
             {"4C 5C 6C", "", "", "3C", true},
             {"4C 5C 6C", "", "", "7D", false},
             {"4C 5C 6C", "", "2D", "8C", false},
             {"4C 5C 6C", "", "7C", "8C", true},
             // A run column never helps a set, nor a set column a run.
             {"8D 9D TD", "", "8S 8C", "8S", false},
             {"7S 7D 7H", "", "5H 8H 6H", "6H", false},
             {"4C 5C 6C|9S 9D 9C", "", "", "9H", true},
             {"9S 9D 9C|4C 5C 6C", "", "", "7C", true},
             // A quick test, not a search: the ace closing Q K A still counts below the two.
             {"QC KC AC", "", "2C", "3C", true},
         }) {
        GameState s;
        test::AddTableMelds(s, c.table);
        test::SetUpPile(s, c.upPile);
        test::SetHand(s, c.hand);
        EXPECT_EQ(CheckMeld(s, test::Card(c.card)), c.meldable)
            << "table " << c.table << ", up pile " << c.upPile << ", hand " << c.hand << ", card "
            << c.card;
    }
}

// With nothing on the table, a card of the hand or up pile is meldable exactly when it makes a
// valid three-card meld with two of the cards the player would hold.
TEST(CheckMeld, OnAnEmptyTableMatchesTheThreeCardMeldsAtHand) {
    std::mt19937_64 random(0x6d656c64);
    const int trials = 2000;
    int meldable = 0;
    for (int trial = 0; trial < trials; ++trial) {
        // Cards of five neighbouring ranks, wrapping past the king, so that near misses such as
        // K A 2 come up as often as melds.
        const int lowest = static_cast<int>(random() % kRanksPerSuit);
        std::vector<int> deck;
        for (int step = 0; step < 5; ++step)
            for (int suit = kSpades; suit <= kHearts; ++suit)
                deck.push_back(MakeCard(suit, (lowest + step) % kRanksPerSuit + 1).value());
        std::shuffle(deck.begin(), deck.end(), random);
        GameState s;
        s.UpCount = static_cast<int>(random() % 6);
        s.LocalCount = 3 + static_cast<int>(random() % 8);
        const int up = s.UpCount.value(), total = up + s.LocalCount.value();
        for (int i = 0; i < total; ++i) (i < up ? s.UpPile[i] : s.LocalHand[i - up]) = deck[i];
        const int from = static_cast<int>(random() % total);
        const Int16 card = deck[from];

        // Dealt in order, so the held cards are a stretch of the deck: the hand, and before it the
        // up pile from the card upward when the card lies there.
        const std::vector<int> held(deck.begin() + std::min(from, up), deck.begin() + total);
        bool found = false;
        for (std::size_t i = 0; i < held.size(); ++i)
            for (std::size_t j = i + 1; j < held.size(); ++j) {
                if (held[i] == card || held[j] == card) continue;
                MeldList meld{};
                meld[0] = card;
                meld[1] = held[i];
                meld[2] = held[j];
                SortMeld(meld, 3);
                found = found || ValidMeld(meld, 3);
            }
        ASSERT_EQ(CheckMeld(s, card), found)
            << GetCardName(card, false) << " up pile " << test::Names(s.UpPile, s.UpCount)
            << ", hand " << test::Names(s.LocalHand, s.LocalCount);
        meldable += found;
    }
    EXPECT_GT(meldable, trials / 4);
    EXPECT_LT(meldable, trials * 3 / 4);
}

}  // namespace
}  // namespace kelvane
