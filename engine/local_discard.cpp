#include "engine/table.h"
#include "game/meldability.h"
#include "wire/wire.h"

namespace kelvane {

namespace {
const std::string kConfirmTitle = "Confirm Discard";
}

void Table::imgLocal_MouseDown(Int16 index, Int16 button) {
    Enter([&] {
        Steps steps(reporter_, "imgLocal_MouseDown");
        Int16 card = 0;
        std::string name;
        steps([&] {
            card = state_.LocalHand[index];
            name = GetCardName(card, true);
        });
        bool go = false;
        steps([&] {
            if (!state_.MyTurn) return;
            if (!state_.HasDrawn) {
                prompts_.MessageBox("Please Draw First", Buttons::kOk, Icon::kNone, "");
                return;
            }
            go = true;
        });
        if (!go) return;
        if (button == kMouseLeft) {
            steps([&] {
                selected_[index] = !selected_[index];
                screen_.ShowSelection(index, selected_[index]);
            });
            return;
        }
        // Any other button asks to discard; the first refusal that applies is the one shown.
        steps([&] {
            auto refuse = [&](const std::string& text) {
                prompts_.MessageBox(text, Buttons::kOk, Icon::kNone, "");
            };
            if (state_.MustMeldCard != 0)
                return refuse("You must meld the " + GetCardName(state_.MustMeldCard, true));
            if (card == state_.TakenUpCard && state_.TakenUpCard > 0)
                return refuse("You may not discard the " + name);
            const bool meldable = CheckMeld(state_, card);
            if (meldable && state_.LocalCount == 1)
                return refuse("You may not discard the " + name + ". It is meldable.");
            const Answer answer =
                warnMeld_ && meldable
                    ? prompts_.MessageBox("The " + name + " is meldable. Are you sure?",
                                          Buttons::kYesNo, Icon::kExclamation, kConfirmTitle)
                    : prompts_.MessageBox("Discard the " + name + "?", Buttons::kYesNo, Icon::kNone,
                                          kConfirmTitle);
            if (answer == Answer::kYes) Discard(index);
        });
    });
}

void Table::Discard(Int16 p) {
    Steps steps(reporter_, "Discard");
    Int16 card = 0;
    steps([&] { card = state_.LocalHand[p]; });
    steps([&] { TalkToRemote(DiscardMessage(card)); });
    steps([&] {
        state_.UpCount += 1;
        state_.UpPile[state_.UpCount - 1] = card;
    });
    steps([&] { screen_.RefreshUpPile(); });
    steps([&] { RemoveCard(p); });
    steps([&] { SortHand(state_); });
    steps([&] {
        state_.MyTurn = false;
        state_.HasDrawn = false;
    });
    steps([&] { RefreshHands('L'); });
    steps([&] { state_.LocalFloating = false; });
    steps([&] { CheckEndOfGame(); });
}

void Table::mnuWarnMeld_Click() {
    Enter([&] {
        Steps steps(reporter_, "mnuWarnMeld_Click");
        steps([&] {
            warnMeld_ = !warnMeld_;
            screen_.ShowWarnMeldChecked(warnMeld_);
        });
    });
}

}  // namespace kelvane
