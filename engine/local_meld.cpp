// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/play.h"
#include "game/moves.h"

namespace kelvane {

// Lays the selected cards as a new meld (column kNewColumn) or onto a column, or tells the player
// why not.
void Play::Meld(int column) {
    Steps steps(reporter_, column == kNewColumn ? "frTable_Click" : "imgMeld_Click");
    MeldMove move;
    move.column = column;
    Verdict verdict;
    steps([&] {
        for (Int16 i = 0; i < state_.LocalCount; ++i)
            if (selected_[i]) move.cards.push_back(state_.LocalHand[i]);
        verdict = CanMeld(state_, Seat::kLocal, move);
    });
    if (!verdict.ok()) return TellRefusal(verdict);
    MeldContent content;
    Int16 laid = 0;
    steps([&] {
        content = ContentOf(state_, move);
        laid = LayMeld(state_, Seat::kLocal, column, content);
    });
    steps([&] { ShowMeld(Seat::kLocal, laid, column == kNewColumn); });
    steps([&] {
        outbox_.Send(column == kNewColumn ? NewMeldMessage(content) : LayOffMessage(laid, content));
    });
    steps([&] { RefreshScoreBoard(); });
    steps([&] { CheckNobodyCanDraw(); });
}

// The hand that gave the cards, then the column that took them.
void Play::ShowMeld(Seat seat, Int16 column, bool newColumn) {
    RefreshHands(seat == Seat::kLocal ? 'L' : 'R');
    if (newColumn) {
        Steps steps(reporter_, "CreateMeldColumn");
        steps([&] { screen_.CreateMeldColumn(column); });
    }
    screen_.ShowMeldColumn(column);
}

}  // namespace kelvane
