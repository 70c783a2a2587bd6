#include "engine/table.h"

#include "game/scoring.h"
#include "wire/wire.h"

namespace kelvane {

Table::Table(Ports ports, std::function<RandomSource()> shuffleSource)
    : screen_(ports.screen),
      prompts_(ports.prompts),
      socket_(ports.socket),
      errorPrompt_(ports.errors),
      reporter_(ports.errors),
      shuffleSource_(std::move(shuffleSource)) {}

void Table::Enter(const std::function<void()>& handler) {
    if (ended_) return;
    ++depth_;
    try {
        handler();
    } catch (const ProgramEnded&) {
        --depth_;
        ended_ = true;
        throw;
    }
    --depth_;
    if (depth_ == 0) ProcessArrivals();
}

void Table::ProcessArrivals() {
    for (bool more = true; more && !ended_;) {
        more = false;
        for (int index = 0; index < 2 && !ended_; ++index) {
            if (!arrivalWaiting_[static_cast<std::size_t>(index)]) continue;
            arrivalWaiting_[static_cast<std::size_t>(index)] = false;
            more = true;
            tcpTalker_DataArrival(index);
        }
        if (!more && closeWaiting_ && !ended_) {
            closeWaiting_ = false;
            tcpTalker_Close(0);
        }
    }
}

int Table::ConnectionSocket() const {
    return state_.Role == kRoleServer ? 1 : 0;
}

void Table::ShuffleStack() {
    Steps steps(reporter_, "ShuffleStack");
    steps([&] { state_.Stack.fill(0); });
    steps([&] { ClearTable(); });
    steps([&] {
        state_.Stack = ShuffleOrder(shuffleSource_());
        for (int card = 1; card <= kCardsInDeck; ++card) state_.MeldCredit[card] = 0;
    });
    // The client must have the order before the server deals its own copy from it.
    steps([&] { TalkToRemote(DealMessage(state_.Stack)); });
    steps([&] { DealRound(kRoleServer); });
}

void Table::DealRound(const std::string& role) {
    screen_.ShowStack(kBackPicture);
    kelvane::DealRound(state_, role);
    screen_.ShowCardsLeft();
    screen_.RefreshUpPile();
    RefreshHands('B');
    RefreshScoreBoard();
}

void Table::ClearTable() {
    Steps steps(reporter_, "ClearTable");
    steps([&] { screen_.ClearTable(); });
    steps([&] { ClearTableState(state_); });
}

Int16 Table::CreateMeldColumn() {
    Steps steps(reporter_, "CreateMeldColumn");
    Int16 column = 0;
    steps([&] { column = state_.TableMelds.AddColumn(); });
    steps([&] { screen_.CreateMeldColumn(column); });
    return column;
}

Int16 Table::GetTopCardFromStack() {
    Steps steps(reporter_, "GetTopCardFromStack");
    Int16 card = 0;
    steps([&] {
        card = kelvane::GetTopCardFromStack(state_);
        if (card != 0 && state_.StackCount == 0) screen_.ShowStack(kEmptyStackPicture);
    });
    steps([&] { screen_.ShowCardsLeft(); });
    return card;
}

void Table::RemoveCard(Int16 p) {
    Steps steps(reporter_, "RemoveCard");
    steps([&] { kelvane::RemoveCard(state_, p); });
}

void Table::RemoveRCard(Int16 p) {
    Steps steps(reporter_, "RemoveRCard");
    steps([&] { kelvane::RemoveRCard(state_, p); });
}

void Table::RefreshHands(char which) {
    // Redrawing the local hand clears every selection border, so the selection goes with it.
    if (which != 'R') selected_.fill(false);
    screen_.RefreshHands(which);
}

void Table::RefreshScoreBoard() {
    Steps steps(reporter_, "RefreshScoreBoard");
    steps([&] { screen_.RefreshScoreBoard(ScoreBoard(state_)); });
}

void Table::CheckEndOfGame() {
    Steps steps(reporter_, "CheckEndOfGame");
    bool over = false;
    steps([&] { over = RoundHasEnded(state_); });
    if (!over) return;
    RoundResult result{0, 0};
    steps([&] {
        result = ScoreRound(state_);
        AddToTotals(state_, result);
    });
    // Nobody moves between a round's end and the next deal: a click in that gap would send a
    // move of the old round into the new one on the other side.
    steps([&] {
        state_.MyTurn = false;
        state_.HasDrawn = false;
    });
    steps([&] { RefreshScoreBoard(); });
    steps([&] { screen_.ShowResult(RoundMessage(result)); });
    steps([&] {
        // The game message replaces the round message in the same window.
        if (auto message = GameOverMessage(state_)) {
            screen_.ShowResult(*message);
            ResetGame(state_);
        }
    });
    steps([&] {
        if (state_.Role == kRoleServer) ShuffleStack();
    });
}

}  // namespace kelvane
