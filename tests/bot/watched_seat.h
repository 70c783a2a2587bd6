// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <random>
#include <utility>
#include <vector>

#include "engine/table.h"
#include "headless/policy.h"

// For the tests of what a computer player may see: its decisions, watched, and the same positions
// with what its seat cannot see dealt out afresh.
namespace kelvane::test {

// A computer player that notes the engine's whole state whenever it is about to decide a draw or
// a plan: each gesture with nothing selected (before each meld and before the discard).
template <typename Player>
class Watched : public Policy {
  public:
    template <typename... Args>
    explicit Watched(std::vector<GameState>& states, Args&&... args)
        : states_(states), player_(std::forward<Args>(args)...) {}
    void Act(Table& table) override {
        bool selecting = false;
        for (Int16 i = 0; i < table.state().LocalCount; ++i) selecting |= table.IsSelected(i);
        if (!selecting) states_.push_back(table.state());
        player_.Act(table);
    }

  private:
    std::vector<GameState>& states_;
    Player player_;
};

// The same position with the stock's order and the opponent's cards not known to be in his hand
// dealt out afresh over the same places.
inline GameState Rescrambled(const GameState& s, std::mt19937_64& random) {
    GameState out = s;
    std::vector<Int16*> hidden;
    for (Int16 i = 0; i < s.StackCount; ++i) hidden.push_back(&out.Stack[i]);
    const auto known = s.KnownCards.begin(), knownEnd = known + s.KnownCount.value();
    for (Int16 i = 0; i < s.RemoteCount; ++i)
        if (std::find(known, knownEnd, s.RemoteHand[i]) == knownEnd)
            hidden.push_back(&out.RemoteHand[i]);
    std::vector<Int16> cards;
    for (Int16* slot : hidden) cards.push_back(*slot);
    std::shuffle(cards.begin(), cards.end(), random);
    for (std::size_t k = 0; k < hidden.size(); ++k) *hidden[k] = cards[k];
    return out;
}

}  // namespace kelvane::test
