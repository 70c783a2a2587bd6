// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <compare>
#include <concepts>
#include <cstdint>
#include <utility>

#include "failure.h"

namespace kelvane {

// Counts, card codes, positions and scores of the game are signed 16-bit integers. Leaving that
// range is a failure the player is told about (Overflow), never a silent wrap: both programs of a
// session must reach the same numbers, and a wrapped score or position would quietly split them.
class Int16 {
  public:
    constexpr Int16() = default;

    template <std::integral T>
    constexpr Int16(T v) : v_(Narrow(v)) {}  // NOLINT(google-explicit-constructor): reads like int

    constexpr int value() const { return v_; }

    friend constexpr Int16 operator+(Int16 a, Int16 b) { return Int16(a.v_ + b.v_); }
    friend constexpr Int16 operator-(Int16 a, Int16 b) { return Int16(a.v_ - b.v_); }
    friend constexpr Int16 operator*(Int16 a, Int16 b) { return Int16(a.v_ * b.v_); }
    // Integer division truncating toward zero, as the game's column arithmetic uses it.
    friend constexpr Int16 operator/(Int16 a, Int16 b) {
        if (b.v_ == 0) Raise(kDivisionByZero);
        return Int16(a.v_ / b.v_);
    }
    friend constexpr Int16 operator%(Int16 a, Int16 b) {
        if (b.v_ == 0) Raise(kDivisionByZero);
        return Int16(a.v_ % b.v_);
    }
    constexpr Int16 operator-() const { return Int16(-v_); }

    constexpr Int16& operator+=(Int16 b) { return *this = *this + b; }
    constexpr Int16& operator-=(Int16 b) { return *this = *this - b; }
    constexpr Int16& operator*=(Int16 b) { return *this = *this * b; }
    constexpr Int16& operator++() { return *this += 1; }
    constexpr Int16& operator--() { return *this -= 1; }
    constexpr Int16 operator++(int) {
        Int16 before = *this;
        *this += 1;
        return before;
    }
    constexpr Int16 operator--(int) {
        Int16 before = *this;
        *this -= 1;
        return before;
    }

    friend constexpr bool operator==(Int16, Int16) = default;
    friend constexpr auto operator<=>(Int16, Int16) = default;

  private:
    template <std::integral T>
    static constexpr std::int16_t Narrow(T v) {
        if (!std::in_range<std::int16_t>(v)) Raise(kOverflow);
        return static_cast<std::int16_t>(v);
    }

    std::int16_t v_ = 0;
};

}  // namespace kelvane
