// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "game/game_state.h"
#include "game/meld_rules.h"
#include "game/moves.h"
#include "game/stock.h"

// Cards spelled the way people read them in tests: "7S 7D 7C", "QH KH AH", "TD" for ten.
namespace kelvane::test {

inline Int16 Card(std::string_view name) {
    const auto rank = std::string_view("A23456789TJQK").find(name.substr(0, 1));
    const auto suit = std::string_view("SDCH").find(name.substr(1, 1));
    if (name.size() != 2 || rank == std::string_view::npos || suit == std::string_view::npos)
        throw std::invalid_argument("unknown card " + std::string(name));
    return MakeCard(static_cast<int>(suit) + 1, static_cast<int>(rank) + 1);
}

inline std::vector<Int16> Cards(std::string_view names) {
    std::vector<Int16> cards;
    std::istringstream in{std::string(names)};
    for (std::string word; in >> word;) cards.push_back(Card(word));
    return cards;
}

// Writes the cards from slot 0 on and blanks the rest; returns how many there are.
template <typename Array>
Int16 Fill(Array& slots, std::string_view names) {
    slots.fill(0);
    int n = 0;
    for (Int16 c : Cards(names)) slots[n++] = c;
    return n;
}

// A meld list holding the cards in the order written, with its count.
inline MeldContent Meld(std::string_view names) {
    MeldContent meld;
    meld.count = Fill(meld.list, names);
    return meld;
}

inline void SetHand(GameState& s, std::string_view names) {
    s.LocalCount = Fill(s.LocalHand, names);
}
inline void SetRemoteHand(GameState& s, std::string_view names) {
    s.RemoteCount = Fill(s.RemoteHand, names);
}
inline void SetUpPile(GameState& s, std::string_view names) {
    s.UpCount = Fill(s.UpPile, names);
}

// Opens a column for each meld of "4C 5C 6C | 9S 9D 9C", in order; returns the last one.
inline Int16 AddTableMelds(GameState& s, std::string_view melds) {
    Int16 col = -1;
    std::istringstream in{std::string(melds)};
    for (std::string meld; std::getline(in, meld, '|');)
        if (!Cards(meld).empty()) Fill(s.TableMelds.Column(col = s.TableMelds.AddColumn()), meld);
    return col;
}

// A round in play, the seat to move having drawn or not: its hand, the up pile (bottom first) and
// the table ("6H 7H 8H | 9S 9D 9C") as given, the other hand KC and five cards in the stock.
inline GameState Position(std::string_view hand, std::string_view upPile = "",
                          std::string_view table = "", Seat seat = Seat::kLocal,
                          bool drawn = true) {
    GameState s;
    s.RoundInPlay = true;
    s.MyTurn = seat == Seat::kLocal;
    s.HasDrawn = drawn;
    SetHand(s, seat == Seat::kLocal ? hand : "KC");
    SortHand(s);
    SetRemoteHand(s, seat == Seat::kRemote ? hand : "KC");
    SetUpPile(s, upPile);
    AddTableMelds(s, table);
    s.StackCount = Fill(s.Stack, "2S 3S 4S 5S 6S");
    return s;
}

// Draws landing on the given card codes in turn, so that a shuffle comes out as planned.
inline RandomSource DrawingCodes(std::vector<int> codes) {
    return [codes = std::move(codes), i = std::size_t{0}]() mutable {
        const double u = (codes[i++ % codes.size()] - 0.5) / kCardsInDeck;
        return static_cast<std::uint64_t>(u * 0x1.0p53) << 11;
    };
}

// The short names of the first n cards of an array, space-separated: for readable failures.
template <typename Array>
std::string Names(const Array& cards, Int16 n) {
    std::string text;
    for (Int16 i = 0; i < n; ++i) {
        if (i > 0) text += ' ';
        text += GetCardName(cards[i], false);
    }
    return text;
}

}  // namespace kelvane::test
