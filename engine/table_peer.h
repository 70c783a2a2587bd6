// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>

#include "engine/table.h"

namespace kelvane {

// For the tests and the fuzzer: a Table's state reached directly, so positions can be staged
// without a game's worth of moves.
struct TablePeer {
    static GameState& State(Table& table) { return table.play_.state_; }
    // Positions staged by hand hold only the cards a test needs, so the whole-state check that
    // debug builds make after every handler would object to them.
    static void CheckStates(Table& table, bool on) { table.play_.checkState_ = on; }
    static void Select(Table& table, int handIndex) { table.play_.selected_[handIndex] = true; }
    // Our messages kept to be sent again should the connection drop.
    static std::size_t Kept(const Table& table) { return table.session_.resume_.kept().size(); }
};

}  // namespace kelvane
