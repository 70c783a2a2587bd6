#include "game/cards.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace kelvane {
namespace {

TEST(Cards, SuitAndValueOfEveryBoundary) {
    struct Case {
        int code, suit, value;
    };
    for (Case c : {Case{1, 1, 1},
                   {13, 1, 13},
                   {14, 2, 1},
                   {26, 2, 13},
                   {27, 3, 1},
                   {39, 3, 13},
                   {40, 4, 1},
                   {52, 4, 13}}) {
        EXPECT_EQ(GetCardSuit(c.code), c.suit) << c.code;
        EXPECT_EQ(GetCardValue(c.code), c.value) << c.code;
    }
}

TEST(Cards, NamesInBothForms) {
    struct Case {
        int code;
        const char* longName;
        const char* shortName;
    };
    for (Case c : {Case{1, "Ace of Spades", "AS"},
                   {10, "Ten of Spades", "TS"},
                   {23, "Ten of Diamonds", "TD"},
                   {25, "Queen of Diamonds", "QD"},
                   {29, "Three of Clubs", "3C"},
                   {40, "Ace of Hearts", "AH"},
                   {50, "Jack of Hearts", "JH"},
                   {52, "King of Hearts", "KH"},
                   {0, "??", "??"},
                   {53, "??", "??"},
                   {-1, "??", "??"}}) {
        EXPECT_EQ(GetCardName(c.code, true), c.longName) << c.code;
        EXPECT_EQ(GetCardName(c.code, false), c.shortName) << c.code;
    }
}

TEST(Cards, EveryCardHasADistinctTwoCharacterShortName) {
    std::set<std::string> names;
    for (int code = 1; code <= kCardsInDeck; ++code) {
        const std::string name = GetCardName(code, false);
        EXPECT_EQ(name.size(), 2u);
        EXPECT_EQ(name[1], "SDCH"[GetCardSuit(code).value() - 1]);
        names.insert(name);
    }
    EXPECT_EQ(names.size(), 52u);
}

TEST(Cards, NformatPadsOnlySingleCharacters) {
    struct Case {
        int n;
        const char* text;
    };
    for (Case c : {Case{0, "00"},
                   {7, "07"},
                   {9, "09"},
                   {10, "10"},
                   {52, "52"},
                   {100, "100"},
                   {-5, "-5"},
                   {-32768, "-32768"}}) {
        EXPECT_EQ(nformat(c.n), c.text) << c.n;
    }
}

}  // namespace
}  // namespace kelvane
