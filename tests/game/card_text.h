#pragma once

#include <string_view>
#include <vector>

#include "game/game_state.h"
#include "game/meld_rules.h"

// Cards spelled the way people read them in tests: "7S 7D 7C", "QH KH AH", "TD" for ten.
namespace kelvane::test {

Int16 Card(std::string_view shortName);
std::vector<Int16> Cards(std::string_view shortNames);

// A meld list holding the cards in the order written; second is the count.
std::pair<MeldList, Int16> Meld(std::string_view shortNames);

// The short names of the first n cards of an array, space-separated: for readable failures.
template <typename Array>
std::string Names(const Array& cards, int n);

// Gives the local hand exactly these cards, in this order.
void SetHand(GameState& state, std::string_view shortNames);
void SetRemoteHand(GameState& state, std::string_view shortNames);
void SetUpPile(GameState& state, std::string_view shortNames);
// Opens a column on the table holding these cards in this order; returns its index.
Int16 AddTableMeld(GameState& state, std::string_view shortNames);

template <typename Array>
std::string Names(const Array& cards, int n) {
    std::string text;
    for (int i = 0; i < n; ++i) {
        if (i > 0) text += ' ';
        text += GetCardName(cards[i], false);
    }
    return text;
}

}  // namespace kelvane::test
