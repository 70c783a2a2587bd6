#include "engine/table.h"
#include "game/meldability.h"
#include "wire/wire.h"

namespace kelvane {

namespace {
constexpr int kShowDrawnCardMs = 1000;
}

void Table::imgStack_Click() {
    Enter([&] {
        Steps steps(reporter_, "imgStack_Click");
        bool mayDraw = false;
        steps([&] { mayDraw = state_.MyTurn && !state_.HasDrawn; });
        if (!mayDraw) return;
        Int16 card = 0;
        steps([&] { card = GetTopCardFromStack(); });
        // An empty stack draws nothing: the player may still take from the up pile.
        if (card == 0) return;
        steps([&] { screen_.ShowStack(card); });
        steps([&] { prompts_.Pause(kShowDrawnCardMs); });
        steps(
            [&] { screen_.ShowStack(state_.StackCount > 0 ? kBackPicture : kEmptyStackPicture); });
        steps([&] {
            state_.LocalCount += 1;
            state_.LocalHand[state_.LocalCount - 1] = card;
        });
        steps([&] { SortHand(state_); });
        steps([&] { state_.HasDrawn = true; });
        steps([&] { RefreshHands('L'); });
        steps([&] { TalkToRemote(StackDrawMessage(card)); });
        steps([&] { state_.TakenUpCard = 0; });
    });
}

void Table::imgUpPile_Click(Int16 index) {
    Enter([&] {
        Steps steps(reporter_, "imgUpPile_Click");
        bool mayDraw = false;
        steps([&] { mayDraw = state_.MyTurn && !state_.HasDrawn; });
        if (!mayDraw) return;
        Int16 top = 0;
        steps([&] { top = state_.UpCount - 1; });
        bool refused = false;
        steps([&] {
            if (index == top) {
                state_.TakenUpCard = state_.UpPile[top];
                return;
            }
            // A card below the top may be taken only to be melded this very turn.
            const Int16 card = state_.UpPile[index];
            if (!CheckMeld(state_, card)) {
                prompts_.MessageBox("You cannot meld the " + GetCardName(card, true), Buttons::kOk,
                                    Icon::kNone, "");
                refused = true;
                return;
            }
            state_.MustMeldCard = card;
            state_.TakenUpCard = 0;
        });
        if (refused) return;
        // The opponent takes the same cards from its copy of the pile by this position.
        steps([&] { TalkToRemote(UpPileMessage(index)); });
        steps([&] {
            for (Int16 i = index; i <= top; ++i) screen_.MarkUpPileSlot(i, true);
        });
        steps([&] { prompts_.Pause(kShowDrawnCardMs); });
        steps([&] {
            for (Int16 i = top; i >= index; --i) {
                screen_.MarkUpPileSlot(i, false);
                state_.LocalCount += 1;
                state_.LocalHand[state_.LocalCount - 1] = state_.UpPile[i];
                state_.UpPile[i] = 0;
                state_.UpCount -= 1;
            }
        });
        steps([&] { SortHand(state_); });
        steps([&] { state_.HasDrawn = true; });
        steps([&] { RefreshHands('L'); });
        steps([&] { screen_.RefreshUpPile(); });
    });
}

}  // namespace kelvane
