// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QRect>
#include <cmath>

namespace kelvane {

// The window is designed in twips; 15 twips make one pixel at 96 dots per inch.
inline constexpr double kTwipsPerPixel = 15.0;

// Fractions become whole pixels by rounding to the nearest, halves to the even neighbour.
inline int Round(double v) {
    return static_cast<int>(std::nearbyint(v));
}

inline int Px(double twips) {
    return Round(twips / kTwipsPerPixel);
}

// A size measured on the screen, back in the design unit.
inline double Tw(int pixels) {
    return pixels * kTwipsPerPixel;
}

inline QRect Twips(double left, double top, double width, double height) {
    return {Px(left), Px(top), Px(width), Px(height)};
}

}  // namespace kelvane
