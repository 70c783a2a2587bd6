// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/play.h"

#include "game/invariants.h"
#include "game/scoring.h"

namespace kelvane {

namespace {
#ifdef NDEBUG
constexpr bool kCheckStates = false;
#else
constexpr bool kCheckStates = true;
#endif
}  // namespace

void Play::CheckState() {
    if (!kCheckStates || !checkState_) return;
    Steps steps(reporter_, "CheckInvariants");
    steps([&] {
        if (const std::string problems = CheckInvariants(state_); !problems.empty())
            throw Failure(kInternalError, "The game no longer holds together: " + problems);
    });
}

void Play::TellRefusal(const Verdict& verdict) {
    switch (verdict.refusal) {
        case Refusal::kNone:
        // Gestures out of turn and draws that cannot be made pass without a word.
        case Refusal::kNotYourTurn:
        case Refusal::kAlreadyDrawn:
        case Refusal::kStackEmpty:
        case Refusal::kNoSuchPosition:
        case Refusal::kNoSuchColumn:
        case Refusal::kNotInHand:
            return;
        default:
            prompts_.Tell({NoticeKind::kRefused, verdict});
    }
}

void Play::ShuffleStack() {
    Steps steps(reporter_, "ShuffleStack");
    steps([&] { state_.Stack.fill(0); });
    steps([&] { ClearTable(); });
    steps([&] {
        state_.Stack = ShuffleOrder(shuffleSource_());
        for (int card = 1; card <= kCardsInDeck; ++card) state_.MeldCredit[card] = 0;
        outbox_.Dealt(state_.Stack);
    });
    // The client must have the order before the server deals its own copy from it.
    steps([&] { outbox_.Send(DealMessage(state_.Stack)); });
    steps([&] { DealRound(kRoleServer); });
}

void Play::ClearGame() {
    state_ = GameState{};
    ClearTable();
    screen_.ShowStack(0);  // no stock until the deal
    screen_.ShowCardsLeft();
    screen_.RefreshUpPile();
    RefreshHands('B');
    RefreshScoreBoard();
}

void Play::DealRound(const std::string& role) {
    screen_.ShowStack(kBackPicture);
    kelvane::DealRound(state_, role);
    screen_.ShowCardsLeft();
    screen_.RefreshUpPile();
    RefreshHands('B');
    RefreshScoreBoard();
}

void Play::ClearTable() {
    Steps steps(reporter_, "ClearTable");
    steps([&] { screen_.ClearTable(); });
    steps([&] { ClearTableState(state_); });
}

void Play::RefreshHands(char which) {
    // Redrawing the local hand clears every selection border, so the selection goes with it.
    if (which != 'R') selected_.fill(false);
    screen_.RefreshHands(which);
}

void Play::RefreshScoreBoard() {
    Steps steps(reporter_, "RefreshScoreBoard");
    steps([&] { screen_.RefreshScoreBoard(); });
}

void Play::CheckEndOfGame() {
    Steps steps(reporter_, "CheckEndOfGame");
    bool over = false;
    steps([&] { over = RoundHasEnded(state_); });
    if (over) ScoreRoundEnd(steps);
}

// Kelvane's own rule: between two Kelvane programs a round in which the player to move can draw
// nothing ends at once, scored as any other; both programs see it at the same message.
void Play::CheckNobodyCanDraw() {
    Steps steps(reporter_, "CheckEndOfGame");
    bool frozen = false;
    steps([&] { frozen = NobodyCanDraw(state_); });
    if (!frozen) return;
    bool scored = false;
    steps([&] { scored = outbox_.ScoresFrozenRound(); });
    if (scored) ScoreRoundEnd(steps);
}

void Play::ScoreRoundEnd(Steps& steps) {
    RoundResult result{0, 0};
    steps([&] { result = EndRound(state_); });
    // Before the next deal, so the server's digest reaches the client ahead of it.
    steps([&] { outbox_.RoundScored(); });
    steps([&] { RefreshScoreBoard(); });
    steps([&] { screen_.ShowRoundResult(result); });
    steps([&] {
        // The game's outcome replaces the round's in the same window.
        if (const std::optional<GameOutcome> outcome = GameOver(state_)) {
            screen_.ShowGameResult(*outcome);
            ResetGame(state_);
        }
    });
    steps([&] {
        if (state_.Role == kRoleServer) ShuffleStack();
    });
}

}  // namespace kelvane
