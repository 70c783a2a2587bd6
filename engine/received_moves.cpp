#include "engine/table.h"
#include "game/moves.h"

namespace kelvane {

namespace {
constexpr int kShowTakenCardsMs = 1000;
}

// The opponent's program has already checked each move against the rules; this side applies it
// through the same moves from the opponent's seat. Nothing here trusts the message's numbers with
// memory: every position and code goes through the checked types.
void Table::Data_Process(const std::string& message) {
    Enter([&] {
        const MessageKind kind = Classify(message);
        switch (kind) {
            case MessageKind::kDiscard:
                return ApplyDiscard(message);
            case MessageKind::kStackDraw:
                return ApplyStackDraw();
            case MessageKind::kUpPile:
                return ApplyUpPileTake(message);
            case MessageKind::kNewMeld:
            case MessageKind::kLayOff:
                return ApplyMeld(message, kind);
            case MessageKind::kOldVersion:
                prompts_.Tell({NoticeKind::kServerTooOld});
                return;
            case MessageKind::kDeal:
                return ApplyDeal(message);
            case MessageKind::kChat: {
                Steps steps(reporter_, "Data_Process");
                steps([&] { AddChatLine("OPPONENT: " + ChatField(message), Speaker::kOpponent); });
                return;
            }
            case MessageKind::kUnknown:
                return;
        }
    });
}

void Table::ApplyDiscard(std::string_view message) {
    Steps steps(reporter_, "Data_Process");
    Int16 card = 0;
    steps([&] { card = NumberField(message, MessageKind::kDiscard); });
    // A card the opponent does not hold cannot be discarded: a correct peer never sends this, and
    // moving some other card instead would only spread the confusion.
    if (HandPosition(state_, Seat::kRemote, card) < 0) return;
    steps([&] { kelvane::Discard(state_, Seat::kRemote, card); });
    steps([&] { screen_.RefreshUpPile(); });
    steps([&] { RefreshHands('R'); });
    steps([&] { CheckEndOfGame(); });
}

void Table::ApplyStackDraw() {
    Steps steps(reporter_, "Data_Process");
    // Both copies of the stock agree, so the card is the top of our own: the code is not read.
    if (state_.StackCount < 1) return steps([&] { screen_.ShowCardsLeft(); });
    Int16 card = 0;
    steps([&] { card = DrawFromStack(state_, Seat::kRemote); });
    if (card < 1) return;
    steps([&] { ShowStackDraw(); });
    steps([&] { RefreshHands('R'); });
}

void Table::ApplyUpPileTake(std::string_view message) {
    Steps steps(reporter_, "Data_Process");
    Int16 top = 0;
    Int16 position = 0;
    steps([&] {
        top = state_.UpCount - 1;
        position = NumberField(message, MessageKind::kUpPile);
    });
    // The local player gets to see which cards the opponent takes.
    steps([&] { ShowUpPileTake(position, top); });
    steps([&] { TakeFromUpPile(state_, Seat::kRemote, position); });
    steps([&] { RefreshHands('R'); });
    steps([&] { screen_.RefreshUpPile(); });
}

// A new meld opens the next column; a lay-off names its column and carries the column's whole new
// content, the cards already on the table included.
void Table::ApplyMeld(std::string_view message, MessageKind kind) {
    Steps steps(reporter_, "Data_Process");
    const bool newMeld = kind == MessageKind::kNewMeld;
    int column = kNewColumn;
    MeldContent content;
    bool read = false;
    steps([&] {
        if (!newMeld) column = LayOffColumn(message).value();
        content = CardListField(message, kind);
        read = true;
    });
    if (!read) return;
    Int16 laid = 0;
    steps([&] { laid = LayMeld(state_, Seat::kRemote, column, content); });
    steps([&] { ShowMeld(Seat::kRemote, laid, newMeld); });
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
        state_.Stack = DealField(message);
    });
    steps([&] { DealRound(kRoleClient); });
}

}  // namespace kelvane
