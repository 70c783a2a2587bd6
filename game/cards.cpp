// SPDX-License-Identifier: GPL-3.0-or-later
#include "cards.h"

#include <array>
#include <string_view>

namespace kelvane {

namespace {

constexpr std::array<std::string_view, 13> kRankWords = {
    "Ace of ",   "Two of ",  "Three of ", "Four of ", "Five of ",  "Six of ", "Seven of ",
    "Eight of ", "Nine of ", "Ten of ",   "Jack of ", "Queen of ", "King of "};
constexpr std::array<std::string_view, 4> kSuitWords = {"Spades", "Diamonds", "Clubs", "Hearts"};
constexpr std::string_view kRankMarks = "A23456789TJQK";
constexpr std::string_view kSuitLetters = "SDCH";

}  // namespace

std::string GetCardName(Int16 code, bool longForm) {
    if (!IsCard(code)) return "??";
    const auto suit = static_cast<std::size_t>(GetCardSuit(code).value() - 1);
    const auto rank = static_cast<std::size_t>(GetCardValue(code).value() - 1);
    if (longForm) return std::string(kRankWords[rank]).append(kSuitWords[suit]);
    return {kRankMarks[rank], kSuitLetters[suit]};
}

std::string nformat(Int16 n) {
    std::string text = std::to_string(n.value());
    return text.size() == 1 ? '0' + text : text;
}

}  // namespace kelvane
