#include "engine/table.h"
#include "game/scoring.h"
#include "wire/wire.h"

namespace kelvane {

namespace {
constexpr int kShowTakenCardsMs = 1000;
}

// The opponent's program has already checked each move against the rules; this side only mirrors
// it, with local and remote exchanged. Nothing here trusts the message's numbers with memory:
// every position and code goes through the checked types.
void Table::Data_Process(const std::string& message) {
    Enter([&] {
        switch (Classify(message)) {
            case MessageKind::kDiscard:
                return ApplyDiscard(message);
            case MessageKind::kStackDraw:
                return ApplyStackDraw();
            case MessageKind::kUpPile:
                return ApplyUpPileTake(message);
            case MessageKind::kNewMeld:
                return ApplyMeld(message, true);
            case MessageKind::kLayOff:
                return ApplyMeld(message, false);
            case MessageKind::kOldVersion:
                prompts_.MessageBox("Server's version is too old", Buttons::kOk, Icon::kNone, "");
                return;
            case MessageKind::kDeal:
                return ApplyDeal(message);
            case MessageKind::kChat: {
                Steps steps(reporter_, "Data_Process");
                steps([&] { AddChatLine("OPPONENT: " + UnescapeChat(RestFrom(message, 3))); });
                return;
            }
            case MessageKind::kUnknown:
                return;
        }
    });
}

void Table::ApplyDiscard(std::string_view message) {
    Steps steps(reporter_, "Data_Process");
    Int16 k = -1;
    steps([&] {
        const Int16 code = ValueOf(RestFrom(message, 5));
        for (Int16 i = 0; i < state_.RemoteCount; ++i)
            if (state_.RemoteHand[i] == code) k = i;
    });
    // A card the opponent does not hold cannot be discarded: a correct peer never sends this, and
    // moving some other card instead would only spread the confusion.
    if (k < 0) return;
    steps([&] {
        state_.UpCount += 1;
        state_.UpPile[state_.UpCount - 1] = state_.RemoteHand[k];
    });
    steps([&] { screen_.RefreshUpPile(); });
    steps([&] { RemoveRCard(k); });
    steps([&] {
        state_.MyTurn = true;
        state_.HasDrawn = false;
    });
    steps([&] { RefreshHands('R'); });
    steps([&] { state_.RemoteFloating = false; });
    steps([&] { CheckEndOfGame(); });
}

void Table::ApplyStackDraw() {
    Steps steps(reporter_, "Data_Process");
    // Both copies of the stock agree, so the card is the top of our own: the code is not read.
    Int16 card = 0;
    steps([&] { card = GetTopCardFromStack(); });
    if (card < 1) return;
    steps([&] {
        state_.RemoteCount += 1;
        state_.RemoteHand[state_.RemoteCount - 1] = card;
    });
    steps([&] { state_.HasDrawn = true; });
    steps([&] { RefreshHands('R'); });
}

void Table::ApplyUpPileTake(std::string_view message) {
    Steps steps(reporter_, "Data_Process");
    Int16 top = 0;
    Int16 n = 0;
    steps([&] {
        top = state_.UpCount - 1;
        n = ValueOf(RestFrom(message, 5));
    });
    steps([&] {
        for (Int16 i = n; i <= top; ++i) screen_.MarkUpPileSlot(i, true);
    });
    // The local player gets to see which cards the opponent takes.
    steps([&] { prompts_.Pause(kShowTakenCardsMs); });
    steps([&] {
        for (Int16 i = top; i >= n; --i) {
            screen_.MarkUpPileSlot(i, false);
            state_.RemoteCount += 1;
            state_.RemoteHand[state_.RemoteCount - 1] = state_.UpPile[i];
            // A card that goes back and forth over the pile is listed once, so the list of
            // known cards can never outgrow the deck.
            if (!CardIsKnown(state_, state_.UpPile[i])) {
                state_.KnownCount += 1;
                state_.KnownCards[state_.KnownCount - 1] = state_.UpPile[i];
            }
            state_.UpPile[i] = 0;
            state_.UpCount -= 1;
        }
    });
    steps([&] { state_.HasDrawn = true; });
    steps([&] { RefreshHands('R'); });
    steps([&] { screen_.RefreshUpPile(); });
}

// A new meld opens the next column; a lay-off names its column and carries the column's whole new
// content, the cards already on the table included.
void Table::ApplyMeld(std::string_view message, bool newMeld) {
    Steps steps(reporter_, "Data_Process");
    std::string_view list;
    Int16 column = 0;
    steps([&] {
        list = RestFrom(message, newMeld ? 7 : 8);
        if (!newMeld) column = LayOffColumn(message);
    });
    steps([&] {
        for (Int16 i = state_.RemoteCount - 1; i >= 0; --i)
            if (list.find(nformat(state_.RemoteHand[i]) + ",") != std::string_view::npos)
                RemoveRCard(i);
    });
    steps([&] {
        if (state_.RemoteCount == 0) {
            state_.RemoteFloating = true;
            state_.MyTurn = true;
            state_.HasDrawn = false;
        }
    });
    steps([&] { RefreshHands('R'); });
    if (newMeld) steps([&] { column = CreateMeldColumn(); });
    MeldList cards{};
    Int16 count = 0;
    steps([&] {
        const std::vector<std::string_view> parts = SplitList(list);
        MeldColumn& slots = state_.TableMelds.Column(column);
        // The empty element after the final comma ends the list.
        for (Int16 i = 0;; ++i) {
            if (i.value() >= static_cast<int>(parts.size())) Raise(kSubscriptOutOfRange);
            const Int16 card = ValueOf(parts[static_cast<std::size_t>(i.value())]);
            if (card <= 0) break;
            slots[i] = card;
            cards[count] = card;
            count += 1;
        }
    });
    steps([&] { screen_.ShowMeldColumn(column); });
    steps([&] { CreditMeld(state_, cards, count, -1); });
    steps([&] { RefreshScoreBoard(); });
}

void Table::ApplyDeal(std::string_view message) {
    Steps steps(reporter_, "Data_Process");
    steps([&] {
        for (int card = 1; card <= kCardsInDeck; ++card) state_.MeldCredit[card] = 0;
    });
    steps([&] { ClearTable(); });
    steps([&] {
        state_.Stack.fill(0);
        const std::vector<std::string_view> parts = SplitList(RestFrom(message, 3));
        for (int i = 0; i < kCardsInDeck; ++i) {
            if (i >= static_cast<int>(parts.size())) Raise(kSubscriptOutOfRange);
            state_.Stack[i] = ReadWholeNumber(parts[static_cast<std::size_t>(i)]);
        }
    });
    steps([&] { DealRound(kRoleClient); });
}

}  // namespace kelvane
