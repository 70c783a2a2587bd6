// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>

#include "game/game_state.h"

// Where each card view puts its cards, in twips, from the current sizes of its frame and its
// first card. The formulas work in the window's design unit so that their roundings fall where
// the design's own arithmetic puts them; the views turn the results into pixels last.
namespace kelvane::layout {

// Halves go to the even neighbour, as everywhere in the window's arithmetic.
inline double RoundHalfEven(double v) {
    return std::nearbyint(v);
}

// The local hand: a fan of `count` cards, a quarter card apart, centred in the frame.
inline double LocalFanLeft(double frameWidth, double cardWidth, int count, int i) {
    const double step = cardWidth / 4;
    return RoundHalfEven((frameWidth - step * (count + 3)) / 2) + i * step;
}

// How far down a local card stands: hearts highest, then clubs, diamonds and spades lowest.
inline double LocalTop(double frameHeight, char suitLetter) {
    switch (suitLetter) {
        case 'H':
            return frameHeight * 0.2;
        case 'C':
            return frameHeight * 0.3;
        case 'D':
            return frameHeight * 0.4;
        default:
            return frameHeight * 0.5;
    }
}

// The opponent's hand: spread evenly between margins of a 42nd of the frame, or centred alone.
inline double RemoteLeft(double frameWidth, double cardWidth, int count, int i) {
    if (count == 1) return (frameWidth - cardWidth) / 2;
    const double margin = frameWidth / 42;
    return margin + i * RoundHalfEven((frameWidth - 2 * margin - cardWidth) / (count - 1));
}

inline double RemoteTop(double frameHeight) {
    return frameHeight / 5;
}

// The up pile: from an 85th of the frame's width, each card 0.4 of a card right of the one below.
inline double UpPileLeft(double frameWidth, double cardWidth, int i) {
    return frameWidth / 85 + cardWidth * 0.4 * i;
}

// The up pile's cards all stand this far down, whatever the window's size.
inline constexpr double kUpPileTop = 120;

// The melds: columns 1.1 cards apart from a 42nd of the table's width, a row for each of a
// column's 13 slots.
inline double MeldLeft(double tableWidth, double cardWidth, int column) {
    return tableWidth / 42 + column * cardWidth * 1.1;
}

inline double MeldTop(double tableHeight, int row) {
    return tableHeight / 15 + row * (tableHeight / kSlotsPerColumn);
}

}  // namespace kelvane::layout
