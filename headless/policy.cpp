// SPDX-License-Identifier: GPL-3.0-or-later
#include "headless/policy.h"

#include "engine/table.h"

namespace kelvane {

namespace {

// The clicks, passed to the table's handlers and kept in this file: a policy holds only the
// interface and cannot reach the table behind it.
class TableGestures : public Gestures {
  public:
    explicit TableGestures(Table& table) : table_(table) {}
    void imgStack_Click() override { table_.imgStack_Click(); }
    void imgUpPile_Click(Int16 position) override { table_.imgUpPile_Click(position); }
    void imgLocal_MouseDown(Int16 position, int button) override {
        table_.imgLocal_MouseDown(position, button);
    }
    void frTable_Click() override { table_.frTable_Click(); }
    void imgMeld_Click(Int16 slot) override { table_.imgMeld_Click(slot); }

  private:
    Table& table_;
};

}  // namespace

SeatView SeatViewOf(const Table& table) {
    SeatView seen(table.state());
    for (Int16 i = 0; i < seen.LocalCount; ++i) seen.Selected[i] = table.IsSelected(i);
    return seen;
}

void Policy::Act(Table& table) {
    TableGestures clicks(table);
    Play(SeatViewOf(table), clicks);
}

}  // namespace kelvane
