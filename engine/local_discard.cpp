// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/play.h"
#include "game/meldability.h"
#include "game/moves.h"

namespace kelvane {

void Play::HandClicked(Int16 index, Int16 button) {
    Steps steps(reporter_, "imgLocal_MouseDown");
    Int16 card = 0;
    steps([&] { card = state_.LocalHand[index]; });
    Verdict verdict;
    steps([&] { verdict = CanPlayFromHand(state_, Seat::kLocal); });
    if (!verdict.ok()) return TellRefusal(verdict);
    if (button == kMouseLeft) {
        steps([&] {
            selected_[index] = !selected_[index];
            screen_.ShowSelection(index, selected_[index]);
        });
        return;
    }
    // Any other button asks to discard; the first refusal that applies is the one shown.
    steps([&] {
        verdict = CanDiscard(state_, Seat::kLocal, card);
        if (!verdict.ok()) return TellRefusal(verdict);
        const bool warn = warnMeld_ && CheckMeld(state_, card);
        if (prompts_.Ask(
                {warn ? QuestionKind::kDiscardMeldable : QuestionKind::kDiscard, card, {}}))
            Discard(card);
    });
}

void Play::Discard(Int16 card) {
    Steps steps(reporter_, "Discard");
    steps([&] { outbox_.Send(DiscardMessage(card)); });
    steps([&] { kelvane::Discard(state_, Seat::kLocal, card); });
    steps([&] { screen_.RefreshUpPile(); });
    steps([&] { RefreshHands('L'); });
    steps([&] { CheckEndOfGame(); });
}

void Play::ToggleWarnMeld() {
    Steps steps(reporter_, "mnuWarnMeld_Click");
    steps([&] {
        warnMeld_ = !warnMeld_;
        screen_.ShowWarnMeldChecked(warnMeld_);
    });
}

}  // namespace kelvane
