#include "engine/table.h"
#include "game/scoring.h"
#include "wire/wire.h"

namespace kelvane {

namespace {
const std::string kErrorTitle = "Error";
}

// The checks laying down and laying off share, in the order the player meets them. True when the
// gesture may go on.
bool Table::CheckMeldGesture(Steps& steps, int minimumSelected, const char* tooFewText) {
    bool myTurn = false;
    steps([&] { myTurn = state_.MyTurn; });
    if (!myTurn) return false;
    bool ok = false;
    steps([&] {
        if (!state_.HasDrawn) {
            prompts_.MessageBox("Please Draw First", Buttons::kOk, Icon::kNone, "");
            return;
        }
        int selected = 0;
        bool dutyCovered = state_.MustMeldCard == 0;
        for (Int16 i = 0; i < state_.LocalCount; ++i) {
            if (!selected_[i]) continue;
            ++selected;
            dutyCovered = dutyCovered || state_.LocalHand[i] == state_.MustMeldCard;
        }
        if (selected < minimumSelected) {
            prompts_.MessageBox(tooFewText, Buttons::kOk, Icon::kNone, kErrorTitle);
        } else if (!dutyCovered) {
            prompts_.MessageBox(
                "Please meld the " + GetCardName(state_.MustMeldCard, true) + " first",
                Buttons::kOk, Icon::kNone, kErrorTitle);
        } else {
            ok = true;
        }
    });
    return ok;
}

// Moves the selected cards into the meld in `column` (a new one when `newColumn`), whose whole
// content after the move is `list`, credits them and tells the opponent.
void Table::MeldSelected(Steps& steps, MeldList list, Int16 k, Int16 column, bool newColumn) {
    bool valid = false;
    steps([&] {
        SortMeld(list, k);
        valid = ValidMeld(list, k);
        if (!valid) prompts_.MessageBox("Not a Valid Meld", Buttons::kOk, Icon::kNone, kErrorTitle);
    });
    if (!valid) return;
    // Downwards, so the positions still to visit keep naming the cards the player selected.
    steps([&] {
        for (Int16 i = state_.LocalCount - 1; i >= 0; --i)
            if (selected_[i]) RemoveCard(i);
    });
    steps([&] {
        // Melding the whole hand passes the turn without a discard: the player floats.
        if (state_.LocalCount == 0) {
            state_.LocalFloating = true;
            state_.MyTurn = false;
            state_.HasDrawn = false;
        }
    });
    steps([&] {
        SortHand(state_);
        RefreshHands('L');
    });
    if (newColumn) steps([&] { column = CreateMeldColumn(); });
    steps([&] {
        MeldColumn& slots = state_.TableMelds.Column(column);
        for (Int16 i = 0; i < k; ++i) {
            slots[i] = list[i];
            if (list[i] == state_.MustMeldCard && state_.MustMeldCard != 0) state_.MustMeldCard = 0;
        }
        screen_.ShowMeldColumn(column);
    });
    steps([&] { CreditMeld(state_, list, k, +1); });
    steps([&] {
        TalkToRemote(newColumn ? NewMeldMessage(list, k) : LayOffMessage(column, list, k));
    });
    steps([&] { RefreshScoreBoard(); });
}

void Table::frTable_Click() {
    Enter([&] {
        Steps steps(reporter_, "frTable_Click");
        if (!CheckMeldGesture(steps, 3, "Select at least 3 cards first")) return;
        MeldList list{};
        Int16 k = 0;
        steps([&] {
            for (Int16 i = state_.LocalCount - 1; i >= 0; --i)
                if (selected_[i]) list[k++] = state_.LocalHand[i];
        });
        MeldSelected(steps, list, k, 0, true);
    });
}

void Table::imgMeld_Click(Int16 index) {
    Enter([&] {
        Steps steps(reporter_, "imgMeld_Click");
        if (!CheckMeldGesture(steps, 1, "Select at least 1 card first")) return;
        MeldList list{};
        Int16 k = 0;
        Int16 column = 0;
        steps([&] {
            for (Int16 i = state_.LocalCount - 1; i >= 0; --i)
                if (selected_[i]) list[k++] = state_.LocalHand[i];
            column = index / kSlotsPerColumn;
            for (Int16 card : state_.TableMelds.Column(column))
                if (card > 0) list[k++] = card;
        });
        MeldSelected(steps, list, k, column, false);
    });
}

}  // namespace kelvane
