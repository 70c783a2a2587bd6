// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "game/int16.h"
#include "game/seat_view.h"

namespace kelvane {

class Table;

// The clicks a player at the table can make, and nothing else: each is the handler a click on
// the window calls, so a player acting through them can never send what the window would refuse.
class Gestures {
  public:
    virtual ~Gestures() = default;
    // Draws the stack's top card.
    virtual void imgStack_Click() = 0;
    // Takes the up-pile card at `position` and every card above it.
    virtual void imgUpPile_Click(Int16 position) = 0;
    // A left press raises or lowers the hand card at `position`; a right press discards it.
    virtual void imgLocal_MouseDown(Int16 position, int button) = 0;
    // Lays the raised cards as a new meld.
    virtual void frTable_Click() = 0;
    // Lays the raised cards off onto the meld that holds `slot`.
    virtual void imgMeld_Click(Int16 slot) = 0;
};

// Whatever moves one side of a table, once per call while it is that side's turn: the harness and
// the bot call it. A Policy is one; a test's scripted fault or recorder is another, which may
// read and change the table as no player could.
class Actor {
  public:
    virtual ~Actor() = default;
    virtual void Act(Table& table) = 0;
};

// A player at one seat. It is shown only its seat's view and can only click, so what it decides
// cannot depend on a card it may not see: the Table never reaches it.
class Policy : public Actor {
  public:
    // Shows the policy its seat's view of the table and hands it the table's clicks.
    void Act(Table& table) final;

  protected:
    // One gesture while it is this side's turn: a draw, one selection press, one click on the
    // table or a meld, or one discard.
    virtual void Play(const SeatView& seen, Gestures& clicks) = 0;
};

// What the local player sees at the table: its state through his eyes, his raised cards included.
SeatView SeatViewOf(const Table& table);

}  // namespace kelvane
