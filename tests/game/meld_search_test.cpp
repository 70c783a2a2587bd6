// SPDX-License-Identifier: GPL-3.0-or-later
// The search for actual melds against the rules themselves, and whether a turn can still end.

#include "game/meld_search.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include "game/card_text.h"
#include "game/meld_rules.h"

namespace kelvane {
namespace {

using test::Card;
using test::Position;

// The cards in the order the rules judge them.
MeldList Sorted(const std::vector<Int16>& cards) {
    MeldList list{};
    std::copy(cards.begin(), cards.end(), list.begin());
    SortMeld(list, Int16(cards.size()));
    return list;
}

bool RulesAccept(const std::vector<Int16>& cards) {
    return ValidMeld(Sorted(cards), Int16(cards.size()));
}

// Each meld by its column and its cards in ascending code.
using Found = std::set<std::pair<int, std::vector<Int16>>>;

Found Keys(const std::vector<MeldMove>& moves) {
    Found keys;
    for (const MeldMove& m : moves) keys.insert({m.column, m.cards});
    return keys;
}

// Every group of hand cards the rules accept, alone or with a column: the slow, sure way.
Found EverySubset(const GameState& s) {
    Found found;
    const int n = s.LocalCount.value();
    for (unsigned mask = 1; mask < (1u << n); ++mask) {
        std::vector<Int16> cards;
        for (int i = 0; i < n; ++i)
            if (mask & (1u << i)) cards.push_back(s.LocalHand[i]);
        std::ranges::sort(cards);
        if (cards.size() >= 3 && RulesAccept(cards)) found.insert({kNewColumn, cards});
        for (Int16 col = 0; col < s.TableMelds.ColumnCount(); ++col) {
            std::vector<Int16> whole = cards;
            for (Int16 c : s.TableMelds.Column(col))
                if (c > 0) whole.push_back(c);
            if (RulesAccept(whole)) found.insert({col.value(), cards});
        }
    }
    return found;
}

// Positions from pools where melds are common: two suits, the ranks around the ace, or all.
GameState RandomPosition(std::mt19937_64& random) {
    std::vector<Int16> pool;
    const auto kind = random() % 3;
    for (int code = 1; code <= kCardsInDeck; ++code) {
        const int rank = GetCardValue(code).value();
        if (kind == 0 || (kind == 1 && code <= 26) || (kind == 2 && (rank <= 3 || rank >= 11)))
            pool.push_back(code);
    }
    std::shuffle(pool.begin(), pool.end(), random);
    GameState s = Position("");
    for (int attempt = 0; attempt < 6 && s.TableMelds.ColumnCount() < 3; ++attempt) {
        const int suit = static_cast<int>(random() % 4) + 1;
        const int rank = static_cast<int>(random() % 12) + 1;
        // A run, mostly of three cards but now and then up to the whole suit, or a set of three.
        const bool run = random() % 2 == 0;
        const int length = run && random() % 3 == 0 ? 3 + static_cast<int>(random() % 11) : 3;
        std::vector<Int16> meld;
        for (int i = 0; i < length; ++i)
            meld.push_back(run ? MakeCard(suit, (rank + i - 1) % 13 + 1)
                               : MakeCard((suit + i) % 4 + 1, rank));
        const auto taken = [&](Int16 c) { return std::ranges::count(pool, c) == 0; };
        if (!RulesAccept(meld) || std::ranges::any_of(meld, taken)) continue;
        for (Int16 c : meld) pool.erase(std::find(pool.begin(), pool.end(), c));
        test::AddTableMelds(s, test::Names(Sorted(meld), Int16(meld.size())));
    }
    const auto handSize = std::min<std::size_t>(random() % 9 + 1, pool.size());
    std::copy_n(pool.begin(), handSize, s.LocalHand.begin());
    s.LocalCount = Int16(handSize);
    SortHand(s);
    return s;
}

TEST(MeldSearch, FindsExactlyTheMeldsTheRulesAccept) {
    std::mt19937_64 random(2024);
    for (int position = 0; position < 250; ++position) {
        const GameState s = RandomPosition(random);
        const std::vector<MeldMove> found = AllMelds(s);
        const std::string hand = test::Names(s.LocalHand, s.LocalCount.value());
        EXPECT_EQ(Keys(found), EverySubset(s)) << "position " << position << ", hand " << hand;
        EXPECT_EQ(Keys(found).size(), found.size()) << "a meld listed twice, hand " << hand;
    }
}

TEST(MeldSearch, OnlyActualMeldsCountNotTheQuickTest) {
    // Q-K-A of clubs on the table: 2C and 3C in the hand neither wrap round it nor meld alone.
    EXPECT_TRUE(MeldsWith(Position("2C 3C 9H", "", "QC KC AC"), Card("3C")).empty());
    EXPECT_EQ(AllMelds(Position("AS", "", "2S 3S 4S 5S 6S 7S 8S 9S TS JS QS KS")).size(), 1u)
        << "the one ace closes two to king at one end or the other, not at both";
    GameState s = Position("2C 6H", "7H 5H 9S");
    s.HasDrawn = false;
    EXPECT_TRUE(MeldableAfterTake(s, 0)) << "5H comes along and makes 5H 6H 7H";
    EXPECT_FALSE(MeldableAfterTake(s, 1));
}

// With the stock empty the player must take from the up pile a card he can play at once.
TEST(MeldSearch, TurnCanEndUnlessOnlyAnUnplayableCardIsLeft) {
    struct Case {
        const char *hand, *table, *upPile, *takenAlone, *mustMeld;
        bool stockEmpty, canEnd;
    };
    const Case cases[] = {
        {"9C", "", "", "", "", false, true},
        {"5H", "", "", "5H", "", false, false},
        {"5H", "6H 7H 8H", "", "5H", "", false, true},
        {"5H 9C", "", "", "5H", "", false, true},
        {"7C 2H", "", "", "", "7C", false, false},
        {"7S 7D 7C 2H", "", "", "", "7C", false, true},
        {"7C 2H", "7S 7D 7H", "", "", "7C", false, true},
        {"", "", "", "", "", true, false},
        {"", "", "5H", "", "", true, false},
        {"9C", "", "5H", "", "", true, true},
    };
    for (const Case& c : cases) {
        GameState s = Position(c.hand, c.upPile, c.table);
        if (*c.takenAlone) s.TakenUpCard = Card(c.takenAlone);
        if (*c.mustMeld) s.MustMeldCard = Card(c.mustMeld);
        s.HasDrawn = !c.stockEmpty;
        if (c.stockEmpty) s.StackCount = 0;
        EXPECT_TRUE(c.stockEmpty || TurnCanEnd(s) == c.canEnd) << c.hand << " / " << c.table;
        EXPECT_EQ(WhyTurnCannotEnd(s).empty(), c.canEnd) << c.hand << " / " << c.table;
    }
}

}  // namespace
}  // namespace kelvane
