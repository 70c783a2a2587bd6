// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace kelvane {

class Table;

// A player at one seat. It decides only from what that player sees on the table (its own hand,
// the up pile, the melds, the counts, the cards the opponent took face up, the turn and the
// scores) and acts only through the Table's handlers, as clicks would.
class Policy {
  public:
    virtual ~Policy() = default;
    // One gesture while it is this side's turn: a draw, one selection press, one click on the
    // table or a meld, or one discard.
    virtual void Act(Table& table) = 0;
};

}  // namespace kelvane
