// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>

#include "int16.h"

namespace kelvane {

// The game's fixed-size, zero-based arrays. An index outside the array is a failure the player
// is told about (Subscript out of range), never a read or write past the end: a hostile or
// confused peer can name any position, and it must not reach memory it does not own.
template <typename T, std::size_t N>
class CheckedArray {
  public:
    static constexpr int kSize = static_cast<int>(N);

    constexpr T& operator[](Int16 i) { return items_[Checked(i)]; }
    constexpr const T& operator[](Int16 i) const { return items_[Checked(i)]; }

    constexpr void fill(const T& v) { items_.fill(v); }
    static constexpr int size() { return kSize; }
    constexpr auto begin() { return items_.begin(); }
    constexpr auto end() { return items_.end(); }
    constexpr auto begin() const { return items_.begin(); }
    constexpr auto end() const { return items_.end(); }

    friend constexpr bool operator==(const CheckedArray&, const CheckedArray&) = default;

  private:
    static constexpr std::size_t Checked(Int16 i) {
        if (i.value() < 0 || i.value() >= kSize) Raise(kSubscriptOutOfRange);
        return static_cast<std::size_t>(i.value());
    }

    std::array<T, N> items_{};
};

}  // namespace kelvane
