#include "sim/meld_search.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <sstream>

#include "game/card_text.h"
#include "game/meld_rules.h"

namespace kelvane::sim {
namespace {

using test::Card;

// The player to move, after drawing, with this hand and up pile and the melds of `table`
// separated by "|": "6H 7H 8H | 9S 9D 9C".
GameState Seat(const char* hand, const char* table = "", const char* upPile = "") {
    GameState s;
    s.MyTurn = true;
    s.HasDrawn = true;
    s.StackCount = 10;
    test::SetHand(s, hand);
    SortHand(s);
    test::SetUpPile(s, upPile);
    test::AddTableMelds(s, table);
    return s;
}

bool RulesAccept(const std::vector<Int16>& cards) {
    MeldList list{};
    for (std::size_t i = 0; i < cards.size(); ++i) list[static_cast<int>(i)] = cards[i];
    SortMeld(list, Int16(cards.size()));
    return ValidMeld(list, Int16(cards.size()));
}

using Found = std::set<std::pair<int, std::vector<int>>>;

Found Keys(const std::vector<MeldMove>& moves) {
    Found keys;
    for (const MeldMove& m : moves) {
        std::vector<int> codes;
        for (Int16 c : m.cards) codes.push_back(c.value());
        keys.insert({m.column, codes});
    }
    return keys;
}

// Every group of hand cards the rules accept, alone or with a column: the slow, sure way.
Found EverySubset(const GameState& s) {
    Found found;
    const int n = s.LocalCount.value();
    for (unsigned mask = 1; mask < (1u << n); ++mask) {
        std::vector<Int16> cards;
        std::vector<int> codes;
        for (int i = 0; i < n; ++i)
            if (mask & (1u << i))
                cards.push_back(s.LocalHand[i]), codes.push_back(cards.back().value());
        std::sort(codes.begin(), codes.end());
        if (cards.size() >= 3 && RulesAccept(cards)) found.insert({kNewColumn, codes});
        for (Int16 col = 0; col < s.TableMelds.ColumnCount(); ++col) {
            std::vector<Int16> whole = cards;
            for (Int16 c : s.TableMelds.Column(col))
                if (c > 0) whole.push_back(c);
            if (RulesAccept(whole)) found.insert({col.value(), codes});
        }
    }
    return found;
}

// Hands and tables drawn from pools where melds are common: two suits (long runs), the ranks
// around the ace (sets, and runs on both sides of it), or the whole deck.
GameState RandomPosition(std::mt19937_64& random) {
    std::vector<Int16> pool;
    const auto kind = random() % 3;
    for (int code = 1; code <= kCardsInDeck; ++code) {
        const int rank = GetCardValue(code).value();
        if (kind == 0 || (kind == 1 && code <= 26) || (kind == 2 && (rank <= 3 || rank >= 11)))
            pool.push_back(code);
    }
    for (std::size_t i = pool.size(); i > 1; --i) std::swap(pool[i - 1], pool[random() % i]);
    auto take = [&](Int16 card) {
        auto it = std::find(pool.begin(), pool.end(), card);
        if (it == pool.end()) return false;
        pool.erase(it);
        return true;
    };
    GameState s = Seat("");
    for (int attempt = 0; attempt < 6 && s.TableMelds.ColumnCount() < 3; ++attempt) {
        const int suit = static_cast<int>(random() % 4) + 1;
        const int rank = static_cast<int>(random() % 12) + 1;
        std::vector<Int16> meld;
        if (random() % 2 == 0) {
            // Mostly three cards, now and then up to the whole suit.
            const int length = random() % 3 == 0 ? 3 + static_cast<int>(random() % 11) : 3;
            for (int r = rank; r < rank + length; ++r)
                meld.push_back(MakeCard(suit, (r - 1) % 13 + 1));
        } else {
            for (int other = 1; other <= 4; ++other)
                if (other != suit) meld.push_back(MakeCard(other, rank));
        }
        if (!RulesAccept(meld) || !std::all_of(meld.begin(), meld.end(), [&](Int16 c) {
                return std::find(pool.begin(), pool.end(), c) != pool.end();
            }))
            continue;
        MeldList list{};
        for (std::size_t i = 0; i < meld.size(); ++i)
            list[static_cast<int>(i)] = meld[i], take(meld[i]);
        SortMeld(list, Int16(meld.size()));
        const Int16 col = s.TableMelds.AddColumn();
        for (int i = 0; i < static_cast<int>(meld.size()); ++i)
            s.TableMelds.Column(col)[i] = list[i];
    }
    const int handSize =
        std::min<int>(static_cast<int>(random() % 9) + 1, static_cast<int>(pool.size()));
    for (int i = 0; i < handSize; ++i) s.LocalHand[i] = pool[static_cast<std::size_t>(i)];
    s.LocalCount = handSize;
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
    EXPECT_TRUE(MeldsWith(Seat("2C 3C 9H", "QC KC AC"), Card("3C")).empty());
    EXPECT_EQ(AllMelds(Seat("2C 3C 4C", "QC KC AC")).size(), 1u);
    EXPECT_EQ(AllMelds(Seat("JC", "QC KC AC")).size(), 1u);
    EXPECT_EQ(AllMelds(Seat("AS", "2S 3S 4S 5S 6S 7S 8S 9S TS JS QS KS")).size(), 1u)
        << "the one ace closes two to king at one end or the other, not at both";
}

TEST(MeldSearch, TakingFromTheUpPile) {
    GameState s = Seat("2C 6H", "", "7H 5H 9S");
    s.HasDrawn = false;
    EXPECT_TRUE(MeldableAfterTake(s, 0)) << "5H comes along and makes 5H 6H 7H";
    EXPECT_FALSE(MeldableAfterTake(s, 1));
    TakeUpCards(s, 0);
    EXPECT_EQ(test::Names(s.LocalHand, s.LocalCount.value()), "2C 5H 6H 7H 9S");
    EXPECT_EQ(s.MustMeldCard, Card("7H"));
    EXPECT_EQ(s.UpCount, 0);
    EXPECT_TRUE(s.HasDrawn);

    GameState top = Seat("2C", "", "7H 5H");
    TakeUpCards(top, 1);
    EXPECT_EQ(top.TakenUpCard, Card("5H"));
    EXPECT_EQ(top.MustMeldCard, 0);
}

TEST(MeldSearch, ApplyingAMeldLeavesTheEnginesPosition) {
    GameState s = Seat("AC 5D", "2C 3C 4C");
    s.MustMeldCard = Card("AC");
    ApplyMeld(s, {{Card("AC")}, 0});
    EXPECT_EQ(test::Names(s.TableMelds.Column(0), 4), "AC 2C 3C 4C");
    EXPECT_EQ(s.MeldCredit[Card("AC")], 5) << "an ace with a two counts low";
    EXPECT_EQ(s.MustMeldCard, 0);
    EXPECT_EQ(test::Names(s.LocalHand, s.LocalCount.value()), "5D");

    GameState out = Seat("9S 9D 9C");
    ApplyMeld(out, NewMelds(out).front());
    EXPECT_TRUE(out.LocalFloating);
    EXPECT_FALSE(out.MyTurn);
}

TEST(MeldSearch, TurnCanEndUnlessOnlyAnUnplayableCardIsLeft) {
    struct Case {
        const char* hand;
        const char* table;
        const char* takenAlone;
        const char* mustMeld;
        bool canEnd;
    };
    const Case cases[] = {
        {"9C", "", "", "", true},
        {"5H", "", "5H", "", false},
        {"5H", "6H 7H 8H", "5H", "", true},
        {"5H 9C", "", "5H", "", true},
        {"7C 2H", "", "", "7C", false},
        {"7S 7D 7C 2H", "", "", "7C", true},
        {"7C 2H", "7S 7D 7H", "", "7C", true},
    };
    for (const Case& c : cases) {
        GameState s = Seat(c.hand, c.table);
        if (*c.takenAlone) s.TakenUpCard = Card(c.takenAlone);
        if (*c.mustMeld) s.MustMeldCard = Card(c.mustMeld);
        EXPECT_EQ(TurnCanEnd(s), c.canEnd) << c.hand << " / " << c.table;
        EXPECT_EQ(WhyTurnCannotEnd(s).empty(), c.canEnd) << c.hand << " / " << c.table;
    }
}

TEST(MeldSearch, DeadEndsBeforeDrawing) {
    GameState bare = Seat("");
    bare.HasDrawn = false;
    bare.StackCount = 0;
    EXPECT_NE(WhyTurnCannotEnd(bare).find("nothing to draw"), std::string::npos);
    GameState onlyTop = Seat("", "", "5H");
    onlyTop.HasDrawn = false;
    onlyTop.StackCount = 0;
    EXPECT_FALSE(WhyTurnCannotEnd(onlyTop).empty())
        << "5H alone could be neither discarded nor laid";
    test::SetHand(onlyTop, "9C");
    EXPECT_EQ(WhyTurnCannotEnd(onlyTop), "");
}

TEST(MeldSearch, TheSeatViewHidesTheStockAndTheOpponentsHand) {
    GameState s = Seat("9C");
    test::SetRemoteHand(s, "2H 3H");
    s.Stack[0] = Card("KS");
    const GameState seen = SeatView(s);
    EXPECT_EQ(seen.Stack, CardArray{});
    EXPECT_EQ(seen.RemoteHand, CardArray{});
    EXPECT_EQ(seen.RemoteCount, 2);
    EXPECT_EQ(seen.LocalHand, s.LocalHand);
}

}  // namespace
}  // namespace kelvane::sim
